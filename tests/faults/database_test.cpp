// Connections over a store whose calls fail one after the other, for several reasons: the result is the one that the
// call's raise has, with its source and line, and what is documented to stay as it was has stayed so.
#include "database_fixture.h"

#include <map>
#include <string>

namespace {

std::vector<std::wstring> g_boxes;

int WINAPI AnswerBox(HWND, LPCWSTR pszText, LPCWSTR, UINT)
{
    g_boxes.push_back(pszText ? pszText : L"(null)");
    return IDOK;
}

BOOL WINAPI NoMount(PCEGUID, LPWSTR, DWORD)
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return FALSE;
}

DWORD WINAPI NoText(DWORD, LPCVOID, DWORD, DWORD, LPWSTR, DWORD, va_list*)
{
    return 0;
}

} // namespace

TEST_F(DatabaseFaultTest, AnOpeningRaisesAtTheLineOfTheCallThatFailed)
{
    std::wstring path = m_folder.File(L"other.vol");
    {
        CItemsVolume volume(path);
    }
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        const CFailingStore store(dwError, EWork::kDone);
        const CNoteOpened note;
        std::map<std::string, int> seen;
        bool bOpen = false;
        size_t nTables = 0;
        FailEachCall(
            "Open",
            [&] {
                COpenConnection connection;
                const long hr = Raised([&] { return connection.Open(path.data()); });
                bOpen = connection.m_bOpen != 0;
                nTables = connection.m_tables.size();
                EXPECT_EQ(hr == 0, bOpen);
                EXPECT_EQ(hr == 0 ? path.c_str() : L"", std::wstring(connection.m_sName));
                CNoteOpened::CloseAll();
                return hr;
            },
            [&](const char* pszFunction, int, long lResult) {
                static constexpr unsigned long kCatalogues[] = {159, 163, 166}, kReleased[] = {221, 223, 225};
                const int nSeen = seen[pszFunction]++;
                if (IsOneOf(pszFunction, {"CeMountDBVol@12"})) {
                    ExpectConnection(153, "Unable to mount database", lResult);
                } else if (IsOneOf(pszFunction, {"CeOpenDatabaseEx@24"})) {
                    ExpectConnection(kCatalogues[nSeen], "CEOpenDatabaseEx failed", lResult);
                } else if (IsOneOf(pszFunction, {"GetProcessHeap"})) {
                    ExpectConnection(170, "Call to GetProcessHeap(...) failed", lResult);
                } else if (IsOneOf(pszFunction, {"CeReadRecordPropsEx@28"})) {
                    ExpectReadRaise(dwError, lResult);
                } else if (IsOneOf(pszFunction, {"CeCloseHandle@4"})) {
                    ExpectConnection(kReleased[nSeen], "General error", lResult);
                } else if (IsOneOf(pszFunction, {"CeSeekDatabase@16"})) {
                    ExpectNone(lResult); // a move that reaches no record ends the catalogue
                } else {
                    EXPECT_STREQ("CeUnmountDBVol@4", pszFunction);
                    ExpectNone(lResult); // in the destructor
                }
                EXPECT_LE(nTables, 1u);
            });
        EXPECT_EQ(3, seen["CeOpenDatabaseEx@24"]);
        EXPECT_EQ(3, seen["CeCloseHandle@4"]);
        EXPECT_EQ(kItemFields + 1 + 4, seen["CeReadRecordPropsEx@28"]) << "one for each record of the catalogues";
    }
}

TEST_F(DatabaseFaultTest, AnOpeningFromDefinitionsTellsTheSystemsErrorInABox)
{
    std::wstring path = m_folder.File(L"other.vol");
    {
        CItemsVolume volume(path);
    }
    const CImportPatch box(kLibrary, "MessageBoxW", &AnswerBox);
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        const CFailingStore store(dwError, EWork::kDone);
        FailEachCall(
            "OpenFromDef",
            [&] {
                g_boxes.clear();
                COpenConnection connection;
                auto definitions = ItemsDefinition();
                const size_t cbLog = Log().size();
                const long hr = Raised([&] { return connection.OpenFromDef(path.data(), definitions); });
                EXPECT_EQ(hr == 0, connection.m_bOpen != 0);
                EXPECT_EQ(hr == 0 ? 1u : 0u, connection.m_tables.size());
                EXPECT_NE(std::string::npos, Log().find(" : 'sDBName'", cbLog));
                EXPECT_NE(std::string::npos, Log().find(" : 'GetLastError()'", cbLog));
                return hr;
            },
            [&](const char* pszFunction, int, long lResult) {
                if (IsOneOf(pszFunction, {"CeMountDBVol@12"})) {
                    ExpectConnection(90, "Unable to mount database", lResult);
                    ASSERT_EQ(dwError ? 1u : 0u, g_boxes.size());
                    if (dwError) {
                        EXPECT_NE(L"", g_boxes[0]);
                    }
                } else if (IsOneOf(pszFunction, {"GetProcessHeap"})) {
                    ExpectConnection(95, "Call to GetProcessHeap(...) failed", lResult);
                } else {
                    EXPECT_STREQ("CeUnmountDBVol@4", pszFunction);
                    ExpectNone(lResult);
                }
            });
    }
}

TEST_F(DatabaseFaultTest, AnErrorThatTheSystemHasNoTextForIsABoxWithoutOne)
{
    const CImportPatch box(kLibrary, "MessageBoxW", &AnswerBox);
    const CImportPatch mount(kLibrary, "CeMountDBVol@12", &NoMount);
    const CImportPatch text(kLibrary, "FormatMessageW", &NoText);
    g_boxes.clear();
    COpenConnection connection;
    auto definitions = ItemsDefinition();
    ExpectConnection(90, "Unable to mount database",
                     Raised([&] { return connection.OpenFromDef(m_volume.Path(), definitions); }));
    EXPECT_EQ(std::vector<std::wstring>({L""}), g_boxes);
}

TEST_F(DatabaseFaultTest, AClosingThatFailsChangesNothing)
{
    std::wstring path = m_folder.File(L"other.vol");
    {
        CItemsVolume volume(path);
    }
    for (const DWORD dwError : kErrors) {
        COpenConnection connection;
        ASSERT_EQ(0, connection.Open(path.data()));
        const CFailing<&::CeUnmountDBVol> unmount(kLibrary, "CeUnmountDBVol@4", FALSE, dwError);
        FailEachCall(
            "Close",
            [&] {
                if (!connection.m_bOpen) {
                    EXPECT_EQ(0, connection.Open(path.data()));
                }
                const long hr = Raised([&] { return connection.Close(); });
                EXPECT_EQ(hr < 0, connection.m_bOpen != 0);
                if (hr < 0) {
                    EXPECT_EQ(0, connection.Close());
                }
                return hr;
            },
            [&](const char*, int, long lResult) { ExpectConnection(236, "General error", lResult); });
        CREATE_SYSTEMGUID(&connection.m_guid); // it is unmounted
    }
}

TEST_F(DatabaseFaultTest, ATableThatCannotBeOpenedLeavesTheRowAlone)
{
    AddItem(1, L"one");
    const CSmartPtr<CRow> held = OpenRow();
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        const CFailingStore store(dwError, EWork::kDone);
        FailEachCall(
            "OpenTable",
            [&] {
                CSmartPtr<CRow> row = held;
                const long hr = Raised([&] { return m_connection.OpenTable(L"Items", row); });
                EXPECT_EQ(hr < 0, row == held);
                return hr;
            },
            [&](const char* pszFunction, int, long lResult) {
                if (IsOneOf(pszFunction, {"CeOpenDatabaseEx2@24"})) {
                    ExpectConnection(449, "Call to function CeOpenDatabase(...) failed", lResult);
                } else {
                    EXPECT_STREQ("CeCloseHandle@4", pszFunction);
                    ExpectNone(lResult);
                    ExpectRecordOfRow();
                }
            });
    }
}

TEST_F(DatabaseFaultTest, ANameThatCannotBeLookedUpIsListedWithoutAnIdentifier)
{
    for (const DWORD dwError : kErrors) {
        SCOPED_TRACE(dwError);
        const CFailingStore store(dwError, EWork::kDone);
        FailEachCall(
            "GetTableNames",
            [&] {
                COpenConnection connection;
                connection.m_guid = *m_volume.Guid();
                connection.m_bOpen = 1;
                const CSmartPtr<CTable> table = m_connection.m_tables.begin()->second;
                const CEOID oid = table->m_oid;
                table->m_oid = 0;
                connection.m_tables = m_connection.m_tables;
                const auto names = connection.GetTableNames();
                EXPECT_EQ(1u, names.size());
                const bool bFound = names.begin()->second == oid;
                EXPECT_EQ(bFound ? oid : 0, names.begin()->second);
                table->m_oid = oid;
                connection.m_tables.clear();
                CREATE_SYSTEMGUID(&connection.m_guid); // the mount is the test's
                return bFound ? 0L : -1L;
            },
            [](const char* pszFunction, int, long lResult) {
                EXPECT_EQ(IsOneOf(pszFunction, {"CeOpenDatabaseEx@24"}) ? -1 : 0, lResult);
                EXPECT_EQ(0, gErrHRESULT);
            });
    }
}
