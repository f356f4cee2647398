// Values that a reading has left in the row's buffer until they are asked for: nobody can tell them from others.
#include "db_fixture.h"
#include "support/import_patch.h"

namespace {

const wchar_t kLibrary[] = L"korvaneLib.dll";

BSTR WINAPI NoString(const char*, UINT)
{
    return nullptr;
}

} // namespace

class UnmadeValuesTest : public CItemsTest
{
protected:
    std::string Get(const wchar_t* pszName)
    {
        _variant_t value;
        const long hr = m_row->getVal(pszName, value);
        return hr == 0 ? Describe(value) : "failed";
    }
    void Set(const wchar_t* pszName, _variant_t value) { EXPECT_EQ(0, m_row->setVal(pszName, value)); }
    // Reads the first record, and asks for none of its values.
    void ReadFirst()
    {
        ASSERT_EQ(0, m_row->MoveFirst());
        ASSERT_EQ(0, m_row->ReadFromDB());
        COpenRow open(*m_row);
        ASSERT_EQ(7, open.Shared().nWaiting) << "all but the time, which may be none that a DATE can hold";
    }
    void ExpectFirst()
    {
        EXPECT_EQ("I4:1", Get(L"Id"));
        EXPECT_EQ("BSTR:first", Get(L"Name"));
        EXPECT_EQ("I2:11", Get(L"Small"));
        EXPECT_EQ("NULL", Get(L"Real"));
    }
};

TEST_F(UnmadeValuesTest, AskedForInAnyOrderAndAgainTheyAreTheRecords)
{
    AddItem(1, L"first", 11);
    ReadFirst();
    EXPECT_EQ("I2:11", Get(L"Small"));
    ExpectFirst();
    ExpectFirst();
}

TEST_F(UnmadeValuesTest, AReadingThatFailsLeavesThem)
{
    AddItem(1, L"first", 11);
    const CEOID oid = AddItem(2, L"second", 22);
    ReadFirst();
    ASSERT_EQ(0, m_row->MoveNext());
    CSmartPtr<CRow> other;
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", other));
    ASSERT_EQ(0, other->setBookmark(oid));
    ASSERT_EQ(0, other->Delete());
    EXPECT_ROW_RAISE(98, E_FAIL, "ERROR_KEY_DELETED", m_row->ReadFromDB());
    ExpectFirst();
}

// The store fills in that the record has none of the fields, where the properties of the one before are.
TEST_F(UnmadeValuesTest, ARecordWithoutAnyOfTheFieldsLeavesThem)
{
    AddItem(1, L"first", 11);
    m_volume.Add(m_volume.m_oidItems, {I4(0x00990003, 5)});
    ReadFirst();
    ASSERT_EQ(0, m_row->MoveNext());
    for (int i = 0; i < 2; ++i) EXPECT_ROW_RAISE(94, E_FAIL, "ERROR_NO_DATA", m_row->ReadFromDB());
    ExpectFirst();
    ASSERT_EQ(0, m_row->AddNew());
    ASSERT_EQ(0, m_row->WriteToDB());
    ASSERT_EQ(0, m_row->MoveLast());
    ASSERT_EQ(0, m_row->ReadFromDB());
    ExpectFirst();
}

TEST_F(UnmadeValuesTest, WhatWasInTheirPlacesGoesWithTheReading)
{
    struct CCounted : IUnknown
    {
        STDMETHODIMP QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
        STDMETHODIMP_(ULONG) AddRef() override { return ++lRefs; }
        STDMETHODIMP_(ULONG) Release() override { return --lRefs; }
        LONG lRefs = 1;
    } object;
    AddItem(1, L"first", 11);
    ReadFirst();
    Set(L"Id", _variant_t(static_cast<IUnknown*>(&object)));
    EXPECT_EQ(2, object.lRefs);
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ(1, object.lRefs);
    ExpectFirst();
}

TEST_F(UnmadeValuesTest, ABufferThatMovesLeavesThem)
{
    AddItem(1, L"first", 11);
    AddItem(2, std::wstring(6000, L'x').c_str(), 22);
    ReadFirst();
    ASSERT_EQ(0, m_row->MoveNext());
    COpenRow open(*m_row);
    const HANDLE hOwn = open.Shared().hHeap;
    const HANDLE hOther = ::HeapCreate(0, 0, 0);
    open.Shared().hHeap = hOther;
    EXPECT_ROW_RAISE(78, E_FAIL, "Call to function HeapReAlloc(...) failed", m_row->ReadFromDB());
    open.Shared().hHeap = hOwn;
    ::HeapDestroy(hOther);
    ExpectFirst();
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ("I2:22", Get(L"Small"));
}

TEST_F(UnmadeValuesTest, ATimeThatIsNoDateKeepsWhatIsBehindItAndOnlyThat)
{
    CEPROPVAL when = {};
    when.propid = 0x00010040;
    const CEOID oidTable = m_volume.Create(L"Times");
    m_volume.Add(oidTable, {I4(0x00000003, 1), when, Text(0x0002001F, L"one")});
    when.val.filetime.dwHighDateTime = 0x7FFFFFFF; // in the year 30828
    m_volume.Add(oidTable, {I4(0x00000003, 2), when, Text(0x0002001F, L"two")});
    CFieldInfo fields[3];
    fields[0].m_propid = 0x00000003;
    fields[1].m_propid = 0x00010040;
    fields[2].m_propid = 0x0002001F;
    CEOID oidOpen = oidTable;
    CRow row(CSmartPtr<CTable>(new CTable(L"Times", fields, 3, nullptr)),
             ::CeOpenDatabaseEx(m_volume.Guid(), &oidOpen, nullptr, 0, 0, nullptr), 1);
    _variant_t value;
    for (int nRecord = 0; nRecord < 2; ++nRecord) {
        ASSERT_EQ(0, nRecord == 0 ? row.MoveFirst() : row.MoveNext());
        const long hr = row.ReadFromDB();
        EXPECT_EQ(nRecord == 0, hr == 0);
        EXPECT_EQ(0, row.getVal(0, value));
        EXPECT_EQ(nRecord == 0 ? "I4:1" : "I4:2", Describe(value)) << "in front of the time";
        EXPECT_EQ(0, row.getVal(2, value));
        EXPECT_EQ("BSTR:one", Describe(value)) << "behind it";
    }
}

TEST_F(UnmadeValuesTest, OneThatIsSetLeavesTheOthersToBeWrittenAsTheyWere)
{
    AddItem(1, L"first", 11);
    ReadFirst();
    Set(L"Small", _variant_t(static_cast<short>(12)));
    ASSERT_EQ(0, m_row->WriteToDB());
    CSmartPtr<CRow> other;
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", other));
    std::swap(m_row, other);
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ("I4:1", Get(L"Id"));
    EXPECT_EQ("BSTR:first", Get(L"Name"));
    EXPECT_EQ("I2:12", Get(L"Small"));
    other = nullptr;
}

TEST_F(UnmadeValuesTest, ARecordReadIsWrittenAgainAsANewOne)
{
    AddItem(1, L"first", 11);
    ReadFirst();
    ASSERT_EQ(0, m_row->AddNew());
    ASSERT_EQ(0, m_row->WriteToDB());
    unsigned long ulRows = 0;
    EXPECT_EQ(0, m_row->getNumRows(ulRows));
    EXPECT_EQ(2u, ulRows);
    ASSERT_EQ(0, m_row->ReadFromDB());
    ExpectFirst();
}

TEST_F(UnmadeValuesTest, AParkedErrorComesOutBehindTheFirstValueAndKeepsTheRest)
{
    AddItem(1, L"first", 11);
    AddItem(2, L"second", 22);
    ReadFirst();
    ASSERT_EQ(0, m_row->MoveNext());
    gErrHRESULT = -77;
    EXPECT_EQ(-77, m_row->ReadFromDB());
    EXPECT_EQ(0, gErrHRESULT);
    EXPECT_EQ("I4:2", Get(L"Id"));
    EXPECT_EQ("BSTR:first", Get(L"Name"));
    EXPECT_EQ("I2:11", Get(L"Small"));
}

TEST_F(UnmadeValuesTest, ACopyOfTheRowHasThemToo)
{
    AddItem(1, L"first", 11);
    AddItem(2, L"second", 22);
    ReadFirst();
    COpenRow copy(*m_row);
    _variant_t value;
    EXPECT_EQ(0, copy.getVal(L"Name", value));
    EXPECT_EQ("BSTR:first", Describe(value));
    ASSERT_EQ(0, copy.MoveNext());
    ASSERT_EQ(0, copy.ReadFromDB());
    EXPECT_EQ("BSTR:second", Get(L"Name")) << "they share what one reads";
}

TEST_F(UnmadeValuesTest, MemoryThatRunsOutForATextIsReportedByWhoeverNeedsItAndLosesNothing)
{
    AddItem(1, L"first", 11);
    ReadFirst();
    _variant_t value;
    {
        const CImportPatch patch(kLibrary, "SysAllocStringByteLen", &NoString);
        EXPECT_THROW(m_row->getVal(L"Name", value), _com_error);
        EXPECT_THROW(m_row->WriteToDB(), _com_error);
        _variant_t id(5L);
        EXPECT_THROW(m_row->setVal(L"Id", id), _com_error);
    }
    ExpectFirst();
    EXPECT_EQ(0, m_row->WriteToDB());
}
