// What the library makes of platform calls that fail as no volume can make them fail: each is replaced for a while.
#include "db_fixture.h"
#include "support/import_patch.h"

namespace {

const wchar_t kLibrary[] = L"korvaneLib.dll";

std::vector<HANDLE> g_opened;

HANDLE WINAPI OpenAndNote(PCEGUID pguid, PCEOID poid, LPWSTR pszName, CEPROPID propid, DWORD dwFlags,
                          CENOTIFYREQUEST* pRequest)
{
    const HANDLE hDatabase = ::CeOpenDatabaseEx(pguid, poid, pszName, propid, dwFlags, pRequest);
    if (hDatabase != INVALID_HANDLE_VALUE) g_opened.push_back(hDatabase);
    return hDatabase;
}

HANDLE WINAPI NoHeap()
{
    return nullptr;
}

// Does its work, and leaves a last error all the same.
LPVOID WINAPI ReAllocAndComplain(HANDLE hHeap, DWORD dwFlags, LPVOID p, SIZE_T cb)
{
    void* const pNew = ::HeapReAlloc(hHeap, dwFlags, p, cb);
    ::SetLastError(ERROR_ACCESS_DENIED);
    return pNew;
}

DWORD g_dwReadError = 0;

CEOID WINAPI FailToRead(HANDLE, DWORD, LPWORD, CEPROPID*, LPBYTE*, LPDWORD, HANDLE)
{
    ::SetLastError(g_dwReadError);
    return 0;
}

} // namespace

class PlatformFailureTest : public CItemsTest
{
};

TEST_F(PlatformFailureTest, ALaterMissingCatalogueRaisesAtItsOwnLine)
{
    static const struct
    {
        size_t nThere;
        unsigned long ulLine;
    } kCases[] = {{1, 163}, {2, 166}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.ulLine);
        CVolume volume(m_folder.File(std::to_wstring(c.ulLine)));
        volume.Create(L"MSysTables");
        if (c.nThere > 1) volume.Create(L"MSysFields");
        COpenConnection connection;
        g_opened.clear();
        {
            const CImportPatch note(kLibrary, "CeOpenDatabaseEx@24", &OpenAndNote);
            EXPECT_CONNECTION_RAISE(c.ulLine, "CEOpenDatabaseEx failed", connection.Open(volume.Path()));
        }
        EXPECT_EQ(0, connection.m_bOpen);
        for (const auto& slot : connection.m_slots) {
            EXPECT_EQ(0u, slot.oid);
            EXPECT_EQ(INVALID_HANDLE_VALUE, slot.hDatabase);
        }
        ASSERT_EQ(c.nThere, g_opened.size());
        for (const HANDLE hDatabase : g_opened) EXPECT_TRUE(::CloseHandle(hDatabase)) << "nobody else closes it";
        CREATE_SYSTEMGUID(&connection.m_guid); // it was unmounted: the destructor would take the test's own mount
    }
}

TEST_F(PlatformFailureTest, WithoutAProcessHeapNeitherOpeningSucceeds)
{
    const CImportPatch patch(kLibrary, "GetProcessHeap", &NoHeap);
    COpenConnection connection;
    EXPECT_CONNECTION_RAISE(170, "Call to GetProcessHeap(...) failed", connection.Open(m_volume.Path()));
    EXPECT_EQ(0, connection.m_bOpen);
    for (int nSlot = 0; nSlot < 3; ++nSlot) EXPECT_TRUE(::CloseHandle(connection.m_slots[nSlot].hDatabase));
    EXPECT_EQ(0, connection.Close()) << "the volume stayed mounted";
    auto definitions = ItemsDefinition();
    EXPECT_CONNECTION_RAISE(95, "Call to GetProcessHeap(...) failed",
                            connection.OpenFromDef(m_volume.Path(), definitions));
    EXPECT_EQ(0, connection.m_bOpen);
    EXPECT_TRUE(connection.m_tables.empty());
}

TEST_F(PlatformFailureTest, EachErrorOfAReadHasItsLine)
{
    static const struct
    {
        DWORD dwError;
        unsigned long ulLine;
        const char* pszMessage;
    } kCases[] = {{ERROR_INVALID_PARAMETER, 92, "ERROR_INVALID_PARAMETER"},
                  {ERROR_NO_DATA, 94, "ERROR_NO_DATA"},
                  {ERROR_INSUFFICIENT_BUFFER, 96, "ERROR_INSUFFICIENT_BUFFER"},
                  {ERROR_KEY_DELETED, 98, "ERROR_KEY_DELETED"},
                  {ERROR_NO_MORE_ITEMS, 100, "ERROR_NO_MORE_ITEMS "},
                  {ERROR_FILE_CORRUPT, 102, "Call to function CeReadRecordPropsEx(...) failed"},
                  {ERROR_SUCCESS, 102, "Call to function CeReadRecordPropsEx(...) failed"}};
    const CEOID oid = AddItem(1, L"one");
    ASSERT_EQ(0, m_row->MoveFirst());
    const CImportPatch patch(kLibrary, "CeReadRecordPropsEx@28", &FailToRead);
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.dwError);
        g_dwReadError = c.dwError;
        EXPECT_ROW_RAISE(c.ulLine, E_FAIL, c.pszMessage, m_row->ReadFromDB());
        EXPECT_EQ(oid, m_row->getBookmark());
    }
}

TEST_F(PlatformFailureTest, AnErrorLeftByAGrowthThatSucceededIsAFailure)
{
    AddItem(1, std::wstring(6000, L'x').c_str());
    COpenRow open(*m_row);
    const CImportPatch patch(kLibrary, "HeapReAlloc", &ReAllocAndComplain);
    ASSERT_EQ(0, m_row->MoveFirst());
    EXPECT_ROW_RAISE(78, E_FAIL, "Call to function HeapReAlloc(...) failed", m_row->ReadFromDB());
    ASSERT_EQ(0, m_row->AddNew());
    _variant_t name = Bstr(std::wstring(9000, L'y').c_str());
    ASSERT_EQ(0, m_row->setVal(L"Name", name));
    EXPECT_ROW_RAISE(341, E_FAIL, "Call to function HeapRealloc(...) failed", m_row->WriteToDB());
    EXPECT_EQ(open.Shared().cbBuffer, ::HeapSize(open.Shared().hHeap, 0, open.Shared().pBuffer)) << "the row's block";
    unsigned long ulRows = 0;
    EXPECT_EQ(0, m_row->getNumRows(ulRows));
    EXPECT_EQ(1u, ulRows) << "nothing was written";
    EXPECT_EQ(0, m_row->WriteToDB()) << "it needs no further growth";
}
