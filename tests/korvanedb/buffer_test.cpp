// The record buffer of a row: how it grows, and what happens when the heap does not play along.
#include "db_fixture.h"

class BufferTest : public CItemsTest
{
protected:
    void SetName(const std::wstring& text)
    {
        _variant_t value = Bstr(text.c_str());
        EXPECT_EQ(0, m_row->setVal(L"Name", value));
    }
};

TEST_F(BufferTest, TheBufferGrowsOnceToTheReportedSizePlusTen)
{
    const std::wstring text(6000, L'x');
    AddItem(1, L"short");
    AddItem(2, text.c_str());
    COpenRow open(*m_row);
    EXPECT_EQ(8192u, open.Shared().cbBuffer);
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ(8192u, open.Shared().cbBuffer);
    ASSERT_EQ(0, m_row->MoveNext());
    ASSERT_EQ(0, m_row->ReadFromDB());
    _variant_t name;
    ASSERT_EQ(0, m_row->getVal(L"Name", name));
    EXPECT_EQ("BSTR:" + std::string(6000, 'x'), Describe(name));
    const DWORD cbGrown = open.Shared().cbBuffer;
    EXPECT_GE(cbGrown, 12002u + kItemFields * 16 + 10);
    EXPECT_LE(cbGrown, 12002u + kItemFields * 16 + 64);
    EXPECT_EQ(cbGrown, ::HeapSize(open.Shared().hHeap, 0, open.Shared().pBuffer));
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ(cbGrown, open.Shared().cbBuffer);
}

TEST_F(BufferTest, WritingGrowsTheBufferByTheExactNeedPlusTen)
{
    const std::wstring text(5000, L'x');
    SetName(text);
    ASSERT_EQ(0, m_row->WriteToDB());
    COpenRow open(*m_row);
    EXPECT_EQ(kItemFields * 16 + 5001 * 2 + 10u, open.Shared().cbBuffer);
    EXPECT_EQ(open.Shared().cbBuffer, ::HeapSize(open.Shared().hHeap, 0, open.Shared().pBuffer));
    SetName(L"short");
    ASSERT_EQ(0, m_row->WriteToDB());
    EXPECT_EQ(kItemFields * 16 + 5001 * 2 + 10u, open.Shared().cbBuffer) << "it never shrinks";
}

TEST_F(BufferTest, AHeapThatDoesNotKnowTheBufferFailsEachCallToIt)
{
    AddItem(1, std::wstring(6000, L'x').c_str());
    COpenRow open(*m_row);
    const HANDLE hOwn = open.Shared().hHeap;
    const HANDLE hOther = ::HeapCreate(0, 0, 0);
    open.Shared().hHeap = hOther;
    ASSERT_EQ(0, m_row->MoveFirst());
    EXPECT_ROW_RAISE(78, E_FAIL, "Call to function HeapReAlloc(...) failed", m_row->ReadFromDB());
    EXPECT_ROW_RAISE(327, E_FAIL, "Call to funcion HeapSize(...) failed", m_row->WriteToDB());
    open.Shared().hHeap = hOwn;
    ::HeapDestroy(hOther);
    EXPECT_EQ(0, m_row->ReadFromDB());
}

TEST_F(BufferTest, AHeapThatIsFullFailsTheGrowth)
{
    AddItem(1, std::wstring(30000, L'x').c_str());
    COpenRow open(*m_row);
    KorvaneDB::CRowShared& shared = open.Shared();
    const HANDLE hOwn = shared.hHeap;
    BYTE* const pOwn = shared.pBuffer;
    const HANDLE hSmall = ::HeapCreate(0, 0x8000, 0x8000); // a heap of 32 KB that cannot grow
    shared.hHeap = hSmall;
    shared.pBuffer = static_cast<BYTE*>(::HeapAlloc(hSmall, 0, 8192));
    ASSERT_TRUE(shared.pBuffer);
    ASSERT_EQ(0, m_row->MoveFirst());
    EXPECT_ROW_RAISE(78, E_FAIL, "Call to function HeapReAlloc(...) failed", m_row->ReadFromDB());
    EXPECT_EQ(8192u, shared.cbBuffer);
    EXPECT_EQ(8192u, ::HeapSize(hSmall, 0, shared.pBuffer)) << "the old block is still the row's";
    SetName(std::wstring(30000, L'x'));
    EXPECT_ROW_RAISE(335, E_FAIL, "Call to function HeapRealloc(...) failed", m_row->WriteToDB());
    SetName(L"small enough");
    EXPECT_EQ(0, m_row->WriteToDB());
    ::HeapFree(hSmall, 0, shared.pBuffer);
    ::HeapDestroy(hSmall);
    shared.hHeap = hOwn;
    shared.pBuffer = pOwn;
}

TEST_F(BufferTest, ABufferThatCannotBeFreedIsRecorded)
{
    COpenRow open(*m_row);
    BYTE* const pBuffer = open.Shared().pBuffer;
    const HANDLE hOwn = open.Shared().hHeap;
    const HANDLE hOther = ::HeapCreate(0, 0, 0);
    const HANDLE hDatabase = open.Shared().hDatabase;
    {
        COpenRow last(*m_row);
        last.Shared().hHeap = hOther;
        m_row = nullptr;
        static_cast<CRow&>(open) = CRow(CSmartPtr<CTable>(), INVALID_HANDLE_VALUE, 0);
        EXPECT_EQ(0, gErrHRESULT) << "one copy is left";
    }
    EXPECT_EQ(E_FAIL, gErrHRESULT);
    EXPECT_STREQ(L"korvanedb/row", gErrFilename);
    EXPECT_EQ(37, gErrLinenumber);
    gErrHRESULT = 0;
    EXPECT_FALSE(::CloseHandle(hDatabase)) << "the handle was closed all the same";
    ::HeapFree(hOwn, 0, pBuffer);
    ::HeapDestroy(hOther);
}
