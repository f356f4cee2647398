// Opening from definitions: what becomes of them, the trace lines, and the box after a failed mount.
#include "db_fixture.h"

namespace {

// Presses OK on each box "Error" that this thread shows, and keeps their number and the last one's text.
class CBoxAnswer
{
public:
    CBoxAnswer()
    {
        s_pCurrent = this;
        m_hHook = ::SetWindowsHookExW(WH_CBT, OnHook, nullptr, ::GetCurrentThreadId());
    }
    ~CBoxAnswer() { ::UnhookWindowsHookEx(m_hHook); }

    int m_nBoxes = 0;
    std::wstring m_text;

private:
    static LRESULT CALLBACK OnHook(int nCode, WPARAM wParam, LPARAM lParam)
    {
        const HWND hBox = reinterpret_cast<HWND>(wParam);
        wchar_t szClass[16] = L"", szCaption[16] = L"";
        if (nCode == HCBT_ACTIVATE && ::GetClassNameW(hBox, szClass, 16) && wcscmp(szClass, L"#32770") == 0 &&
            ::GetWindowTextW(hBox, szCaption, 16) && wcscmp(szCaption, L"Error") == 0)
            s_pCurrent->Answer(hBox);
        return ::CallNextHookEx(nullptr, nCode, wParam, lParam);
    }

    void Answer(HWND hBox)
    {
        ++m_nBoxes;
        for (HWND h = nullptr; (h = ::FindWindowExW(hBox, h, L"Static", nullptr)) != nullptr;) {
            wchar_t szText[1024] = L"";
            ::GetWindowTextW(h, szText, 1024);
            if (szText[0]) m_text = szText;
        }
        ::PostMessageW(hBox, WM_COMMAND, IDOK, 0);
    }

    static CBoxAnswer* s_pCurrent;
    HHOOK m_hHook;
};
CBoxAnswer* CBoxAnswer::s_pCurrent = nullptr;

} // namespace

class DefinitionsTest : public CDbTest
{
protected:
    DefinitionsTest() : m_volume(m_folder.File(L"def.vol")) {}
    static bool HasDisplay()
    {
        const HWND hWindow =
            ::CreateWindowW(L"Static", L"probe", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, nullptr, nullptr);
        if (hWindow) ::DestroyWindow(hWindow);
        return hWindow != nullptr;
    }

    CVolume m_volume;
    COpenConnection m_connection;
    CSmartPtr<CRow> m_row;
    std::list<KorvaneDB::CTableDefinition> m_definitions;
};

TEST_F(DefinitionsTest, AnEmptyListOpensWithoutTables)
{
    EXPECT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    EXPECT_EQ(1, m_connection.m_bOpen);
    EXPECT_STREQ(m_volume.Path(), m_connection.m_sName);
    EXPECT_TRUE(m_connection.m_tables.empty());
    for (const auto& slot : m_connection.m_slots) EXPECT_EQ(INVALID_HANDLE_VALUE, slot.hDatabase);
}

TEST_F(DefinitionsTest, FieldsGetTheirPositionAsPropertyNumber)
{
    const std::list<KorvaneDB::CFieldDefinition> fields = {{L"A", CEVT_I4}, {L"B", CEVT_LPWSTR}, {L"C", CEVT_I2}};
    const std::list<KorvaneDB::CIndexDefinition> indexes = {{L"ByB", {0xFF01001F, 0xFFFF}}};
    m_definitions = {{L"T", {fields, indexes}}};
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    CTable& table = *m_connection.m_tables.at(L"T");
    ASSERT_EQ(3, table.m_nFields);
    EXPECT_EQ(0x00000003u, table.m_pFields[0].m_propid);
    EXPECT_EQ(0x0001001Fu, table.m_pFields[1].m_propid);
    EXPECT_EQ(0x00020002u, table.m_pFields[2].m_propid);
    EXPECT_EQ(CEVT_LPWSTR, table.m_pFields[1].m_lType);
    EXPECT_EQ(0, table.m_pFields[1].m_lLen);
    EXPECT_EQ(0xFF01001Fu, table.m_pIndexes[0].m_propid) << "not masked";
    EXPECT_EQ(0xFFFFu, table.m_pIndexes[0].m_dwFlags) << "widened without sign";
    EXPECT_EQ(0u, table.GetOID());
}

TEST_F(DefinitionsTest, OfTwoDefinitionsWithOneNameTheFirstCounts)
{
    m_definitions = {{L"T", {{{L"A", CEVT_I4}}, {}}}, {L"T", {{{L"B", CEVT_I4}, {L"C", CEVT_I4}}, {}}}};
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    ASSERT_EQ(1u, m_connection.m_tables.size());
    EXPECT_EQ(1, m_connection.m_tables.at(L"T")->m_nFields);
}

TEST_F(DefinitionsTest, ATableWithoutADatabaseFailsWhenItIsOpened)
{
    m_definitions = {{L"Nowhere", {{{L"A", CEVT_I4}}, {}}}};
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    EXPECT_CONNECTION_RAISE(449, "Call to function CeOpenDatabase(...) failed",
                            m_connection.OpenTable(L"Nowhere", m_row));
    EXPECT_EQ(0u, m_connection.GetTableNames()[L"Nowhere"]);
}

TEST_F(DefinitionsTest, GetTableNamesFillsInTheOidsThatItFinds)
{
    const CEOID oid = m_volume.Create(L"Here");
    m_definitions = {{L"Here", {{{L"A", CEVT_I4}}, {}}}, {L"Nowhere", {{{L"A", CEVT_I4}}, {}}}};
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    std::map<CString, unsigned long> names = m_connection.GetTableNames();
    EXPECT_EQ(2u, names.size());
    EXPECT_EQ(oid, names[L"Here"]);
    EXPECT_EQ(0u, names[L"Nowhere"]);
    EXPECT_EQ(oid, m_connection.m_tables.at(L"Here")->GetOID());
    m_volume.Remove(oid); // works only when the handle of the look-up was closed again
}

TEST_F(DefinitionsTest, OpenTableFindsTheDatabaseByNameAndKeepsItsOid)
{
    const CEOID oid = m_volume.Create(L"Items", {{kId}, {kName}, {kSmall, CEDB_SORT_DESCENDING}});
    m_definitions = ItemsDefinition();
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    EXPECT_EQ(oid, m_row->getTable()->GetOID());
    _variant_t id(7L);
    EXPECT_EQ(0, m_row->setVal(L"Id", id));
    _variant_t name = Bstr(L"seven");
    EXPECT_EQ(0, m_row->setVal(L"Name", name));
    EXPECT_EQ(0, m_row->WriteToDB());
    EXPECT_EQ(0, m_row->SetIndex(L"ByName"));
    EXPECT_EQ(0, m_row->Seek(KorvaneDB::SeekValueFirstEqual, name));
}

TEST_F(DefinitionsTest, SetIndexFindsTheDatabaseByNameToo)
{
    const CEOID oid = m_volume.Create(L"Items", {{kId}});
    m_definitions = ItemsDefinition();
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    m_row->getTable()->m_oid = 0;
    EXPECT_EQ(0, m_row->SetIndex(L"ById"));
    EXPECT_EQ(oid, m_row->getTable()->GetOID());
}

TEST_F(DefinitionsTest, OpeningFromDefinitionsTwiceRaises)
{
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    EXPECT_CONNECTION_RAISE(55, "Already Open", m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    EXPECT_CONNECTION_RAISE(143, "Already Open", m_connection.Open(m_volume.Path()));
}

TEST_F(DefinitionsTest, AMountThatSucceedsTracesNameAndZeroAndShowsNoBox)
{
    CBoxAnswer answer;
    ::SetLastError(ERROR_GEN_FAILURE);
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    EXPECT_EQ(0, answer.m_nBoxes);
    const std::string log = Log();
    const size_t atName = log.find("korvanedb/connection(64) : 'sDBName'");
    const size_t atError = log.find("korvanedb/connection(88) : 'GetLastError()'0");
    ASSERT_NE(std::string::npos, atName);
    ASSERT_NE(std::string::npos, atError);
    EXPECT_LT(atName, atError);
    EXPECT_NE(std::string::npos, log.find("def.vol", atName));
}

TEST_F(DefinitionsTest, AMountThatFailsTracesShowsTheSystemsTextAndRaises)
{
    const std::wstring path = m_folder.File(L"missing.vol");
    CBoxAnswer answer;
    EXPECT_CONNECTION_RAISE(90, "Unable to mount database", m_connection.OpenFromDef(path.c_str(), m_definitions));
    const int nBoxes = answer.m_nBoxes;
    if (HasDisplay()) {
        LPWSTR pszText = nullptr;
        ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                         nullptr, ERROR_FILE_NOT_FOUND, 0, reinterpret_cast<LPWSTR>(&pszText), 0, nullptr);
        EXPECT_EQ(1, nBoxes);
        EXPECT_EQ(std::wstring(pszText), answer.m_text);
        ::LocalFree(pszText);
    } else {
        EXPECT_EQ(0, nBoxes);
    }
    const std::string log = Log();
    const size_t atName = log.find("korvanedb/connection(64) : 'sDBName'");
    const size_t atError = log.find("korvanedb/connection(88) : 'GetLastError()'2");
    ASSERT_NE(std::string::npos, atName);
    ASSERT_NE(std::string::npos, atError);
    EXPECT_LT(atName, atError);
    EXPECT_NE(std::string::npos, log.find("missing.vol", atName));
    EXPECT_EQ(0, m_connection.m_bOpen);
    EXPECT_TRUE(m_connection.m_tables.empty());
}

TEST_F(DefinitionsTest, AnEmptyNameTracesNothingAndOpensTheObjectStore)
{
    m_definitions = {{L"T", {{{L"A", CEVT_I4}}, {}}}};
    EXPECT_EQ(0, m_connection.OpenFromDef(L"", m_definitions));
    EXPECT_TRUE(CHECK_SYSTEMGUID(m_connection.GetVolGUID()));
    EXPECT_EQ("", Log());
    EXPECT_EQ(0, m_connection.Close());
    EXPECT_EQ(0, m_connection.OpenFromDef(nullptr, m_definitions));
    EXPECT_EQ("", Log());
}

TEST_F(DefinitionsTest, WithoutALogNothingIsTracedAndNothingBreaks)
{
    CStreamWriter* const pWriter = theLogStream;
    theLogStream = nullptr;
    EXPECT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    theLogStream = pWriter;
}

TEST_F(DefinitionsTest, DefinitionsAreNotChecked)
{
    m_volume.Create(L"T");
    m_definitions = {{L"T", {{{L"A", CEVT_I4}, {L"A", CEVT_I2}, {L"", 0}, {L"Z", 0xFFFF}}, {{L"", {0, 0}}}}}};
    ASSERT_EQ(0, m_connection.OpenFromDef(m_volume.Path(), m_definitions));
    ASSERT_EQ(0, m_connection.OpenTable(L"T", m_row));
    EXPECT_EQ(0x0003FFFFu, m_row->getTable()->m_pFields[3].m_propid);
    EXPECT_EQ(3u, m_row->getTable()->m_mapFields.size());
    EXPECT_ROW_RAISE(380, E_FAIL, "Call to function CeWriteRecordProps(...) failed", m_row->WriteToDB());
}
