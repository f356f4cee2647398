// Reading and writing records: ReadFromDB, WriteToDB, getVal, setVal.
#include "db_fixture.h"

class ValuesTest : public CItemsTest
{
protected:
    void Set(const wchar_t* pszName, _variant_t value) { EXPECT_EQ(0, m_row->setVal(pszName, value)); }
    std::string Get(const wchar_t* pszName)
    {
        _variant_t value;
        const long hr = m_row->getVal(pszName, value);
        return hr == 0 ? Describe(value) : "failed";
    }
    static _variant_t Date(double dValue) { return _variant_t(dValue, VT_DATE); }
    static _variant_t UI2(unsigned short value)
    {
        _variant_t var = OfType(VT_UI2);
        V_UI2(&var) = value;
        return var;
    }
    static _variant_t UI4(unsigned long value)
    {
        _variant_t var = OfType(VT_UI4);
        V_UI4(&var) = value;
        return var;
    }
    static _variant_t Bool(VARIANT_BOOL value)
    {
        _variant_t var = OfType(VT_BOOL);
        V_BOOL(&var) = value;
        return var;
    }
    void SetAll()
    {
        Set(L"Id", _variant_t(-2147483647L - 1));
        Set(L"Name", Bstr(L"W\x00E9ird \x20AC"));
        Set(L"Small", _variant_t(static_cast<short>(-32768)));
        Set(L"USmall", UI2(65535));
        Set(L"ULong", UI4(4294967295u));
        Set(L"Real", _variant_t(-0.1));
        Set(L"Flag", Bool(VARIANT_TRUE));
        Set(L"When", Date(37988.5)); // 2 January 2004, noon
    }
};

TEST_F(ValuesTest, EveryTypeComesBackAsItWasWritten)
{
    SetAll();
    ASSERT_EQ(0, m_row->WriteToDB());
    for (int i = 0; i < kItemFields; ++i) {
        _variant_t empty;
        EXPECT_EQ(0, m_row->setVal(i, empty));
    }
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ("I4:-2147483648", Get(L"Id"));
    EXPECT_EQ("BSTR:W\\00E9ird \\20AC", Get(L"Name"));
    EXPECT_EQ("I2:-32768", Get(L"Small"));
    EXPECT_EQ("UI2:65535", Get(L"USmall"));
    EXPECT_EQ("UI4:4294967295", Get(L"ULong"));
    EXPECT_EQ("R8:-0.10000000000000001", Get(L"Real"));
    EXPECT_EQ("BOOL:-1", Get(L"Flag"));
    EXPECT_EQ("DATE:37988.5", Get(L"When"));
}

TEST_F(ValuesTest, WhatTheRecordLacksReadsAsNull)
{
    AddItem(5, L"five", 55);
    SetAll();
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ("I4:5", Get(L"Id"));
    EXPECT_EQ("BSTR:five", Get(L"Name"));
    EXPECT_EQ("I2:55", Get(L"Small"));
    for (const wchar_t* pszName : {L"USmall", L"ULong", L"Real", L"Flag", L"When"}) EXPECT_EQ("NULL", Get(pszName));
}

TEST_F(ValuesTest, WritingNullRemovesTheProperty)
{
    SetAll();
    ASSERT_EQ(0, m_row->WriteToDB());
    for (const wchar_t* pszName : {L"Name", L"Small", L"Flag", L"When"}) Set(pszName, Null());
    ASSERT_EQ(0, m_row->WriteToDB());
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ("NULL", Get(L"Name"));
    EXPECT_EQ("NULL", Get(L"Small"));
    EXPECT_EQ("NULL", Get(L"Flag"));
    EXPECT_EQ("NULL", Get(L"When"));
    EXPECT_EQ("I4:-2147483648", Get(L"Id"));
}

TEST_F(ValuesTest, WriteStandsOnTheRecordThatItMade)
{
    AddItem(1);
    Set(L"Id", _variant_t(2L));
    ASSERT_EQ(0, m_row->WriteToDB());
    const CEOID oid = m_row->getBookmark();
    EXPECT_NE(0u, oid);
    Set(L"Id", _variant_t(3L));
    ASSERT_EQ(0, m_row->WriteToDB()) << "this time the record is changed";
    EXPECT_EQ(oid, m_row->getBookmark());
    EXPECT_EQ((std::vector<long>{1, 3}), Walk(*m_row));
}

TEST_F(ValuesTest, ATextFieldWithAnotherTypeFailsTheWholeWrite)
{
    SetAll();
    for (const _variant_t& value : {_variant_t(5L), _variant_t(), _variant_t(1.5)}) {
        Set(L"Name", value);
        EXPECT_ROW_RAISE(315, E_FAIL, "Wrong type. VT_BSTR expected.", m_row->WriteToDB());
    }
    unsigned long ulRows = 9;
    EXPECT_EQ(0, m_row->getNumRows(ulRows));
    EXPECT_EQ(0u, ulRows);
}

TEST_F(ValuesTest, AnotherFieldWithAnotherTypeIsNamedInTheLogAndWritesNothing)
{
    SetAll();
    Set(L"USmall", _variant_t(5L));
    EXPECT_ROW_RAISE(156, E_FAIL, "Incompatible types found", m_row->WriteToDB());
    EXPECT_NE(std::string::npos, Log().find("korvanedb/row(353) : 'm_pTblDef->m_pFields[nIDX].m_sName'USmall"));
    Set(L"USmall", _variant_t());
    EXPECT_ROW_RAISE(185, E_FAIL, "Unsupported data type", m_row->WriteToDB());
    Set(L"USmall", _variant_t(static_cast<short>(-1)));
    EXPECT_EQ(0, m_row->WriteToDB());
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ("UI2:65535", Get(L"USmall"));
    EXPECT_EQ((std::vector<long>{-2147483647L - 1}), Walk(*m_row));
}

TEST_F(ValuesTest, AWriteThatTheStoreRefusesLeavesNoRecord)
{
    AddItem(1);
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(0, m_row->ReadFromDB());
    CSmartPtr<CRow> other;
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", other));
    ASSERT_EQ(0, other->MoveFirst());
    ASSERT_EQ(0, other->Delete());
    EXPECT_ROW_RAISE(380, E_FAIL, "Call to function CeWriteRecordProps(...) failed", m_row->WriteToDB());
    EXPECT_EQ(0u, m_row->getBookmark());
    EXPECT_EQ(0, m_row->WriteToDB()) << "so this makes a new record";
}

TEST_F(ValuesTest, ATextOfThePropertyLimitIsWrittenAndOneAboveIsRefused)
{
    const size_t cchLimit = CEDB_MAXPROPDATASIZE / sizeof(wchar_t); // the terminator does not count
    Set(L"Name", Bstr(std::wstring(cchLimit, L'x').c_str()));
    ASSERT_EQ(0, m_row->WriteToDB());
    Set(L"Name", Null());
    ASSERT_EQ(0, m_row->ReadFromDB());
    _variant_t name;
    ASSERT_EQ(0, m_row->getVal(L"Name", name));
    EXPECT_EQ(cchLimit, ::SysStringLen(V_BSTR(&name)));
    Set(L"Name", Bstr(std::wstring(cchLimit + 1, L'x').c_str()));
    EXPECT_ROW_RAISE(380, E_FAIL, "Call to function CeWriteRecordProps(...) failed", m_row->WriteToDB());
}

TEST_F(ValuesTest, TextsOfAllLengthsComeThrough)
{
    for (const size_t cch : {0, 1, 2, 3999, 4000, 4001, 32000}) {
        std::wstring text(cch, L'a');
        if (cch) text.back() = static_cast<wchar_t>(0xD800); // half a surrogate pair
        Set(L"Name", Bstr(text.c_str()));
        ASSERT_EQ(0, m_row->WriteToDB());
        Set(L"Name", Null());
        ASSERT_EQ(0, m_row->ReadFromDB());
        _variant_t name;
        ASSERT_EQ(0, m_row->getVal(L"Name", name));
        ASSERT_EQ(VT_BSTR, V_VT(&name));
        EXPECT_EQ(text, std::wstring(V_BSTR(&name), ::SysStringLen(V_BSTR(&name))));
    }
    Set(L"Name", OfType(VT_BSTR));
    ASSERT_EQ(0, m_row->WriteToDB());
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ("BSTR:", Get(L"Name")) << "a null text is the empty one";
}

TEST_F(ValuesTest, GetValNeedsARecord)
{
    _variant_t value(1L);
    EXPECT_ROW_RAISE(256, E_FAIL, "Either BOF or EOF is true", m_row->getVal(L"Id", value));
    EXPECT_ROW_RAISE(256, E_FAIL, "Either BOF or EOF is true", m_row->getVal(L"Nothing", value));
    EXPECT_ROW_RAISE(274, E_FAIL, "Either BOF or EOF is true", m_row->getVal(0, value));
    EXPECT_ROW_RAISE(274, E_FAIL, "Either BOF or EOF is true", m_row->getVal(-1, value));
    EXPECT_EQ("I4:1", Describe(value));
}

TEST_F(ValuesTest, NamesAndPositionsThatAreNoneRaise)
{
    AddItem(1);
    ASSERT_EQ(0, m_row->MoveFirst());
    _variant_t value(1L);
    for (const wchar_t* pszName : {L"Nothing", L"id", L"Id ", L""}) {
        EXPECT_ROW_RAISE(261, E_FAIL, "Field does not exist", m_row->getVal(pszName, value));
        EXPECT_ROW_RAISE(288, E_FAIL, "Field does not exist", m_row->setVal(pszName, value));
    }
    for (const int nIndex : {-1, kItemFields + 1, INT_MIN, INT_MAX}) {
        EXPECT_ROW_RAISE(277, E_FAIL, "Index out of bounds", m_row->getVal(nIndex, value));
        EXPECT_ROW_RAISE(301, E_FAIL, "Index out of bounds", m_row->setVal(nIndex, value));
    }
    EXPECT_EQ("I4:1", Describe(value));
}

TEST_F(ValuesTest, ThePositionAtTheFieldCountIsASpareValueThatIsNeverStored)
{
    AddItem(1);
    ASSERT_EQ(0, m_row->MoveFirst());
    _variant_t value(1L);
    EXPECT_EQ(0, m_row->getVal(kItemFields, value));
    EXPECT_EQ("NULL", Describe(value));
    value = Bstr(L"spare");
    EXPECT_EQ(0, m_row->setVal(kItemFields, value));
    EXPECT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ(0, m_row->WriteToDB());
    _variant_t back;
    EXPECT_EQ(0, m_row->getVal(kItemFields, back));
    EXPECT_EQ("BSTR:spare", Describe(back));
    CSmartPtr<CRow> other;
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", other));
    ASSERT_EQ(0, other->MoveFirst());
    ASSERT_EQ(0, other->ReadFromDB());
    EXPECT_EQ(0, other->getVal(kItemFields, back));
    EXPECT_EQ("NULL", Describe(back));
}

TEST_F(ValuesTest, ATableWithoutFieldsHasTheSpareValueOnly)
{
    const CEOID oidBare = m_volume.Create(L"Bare");
    m_volume.Add(oidBare, {I4(kId, 1)});
    CEOID oid = oidBare;
    const HANDLE hDatabase = ::CeOpenDatabaseEx(m_volume.Guid(), &oid, nullptr, 0, 0, nullptr);
    {
        const CSmartPtr<CTable> table(new CTable(L"Bare", nullptr, 0, nullptr));
        CRow row(table, hDatabase, 1);
        ASSERT_EQ(0, row.MoveFirst());
        _variant_t value(1L);
        EXPECT_EQ(0, row.getVal(0, value));
        EXPECT_EQ("NULL", Describe(value));
        EXPECT_EQ(0, row.setVal(0, value));
        EXPECT_ROW_RAISE(277, E_FAIL, "Index out of bounds", row.getVal(1, value));
        EXPECT_GT(0, row.ReadFromDB());
        EXPECT_ROW_RAISE(380, E_FAIL, "Call to function CeWriteRecordProps(...) failed", row.WriteToDB());
    }
}

TEST_F(ValuesTest, SetValNeedsNoRecordAndCopiesTheValue)
{
    _variant_t name = Bstr(L"mine");
    EXPECT_EQ(0, m_row->setVal(L"Name", name));
    name = Bstr(L"changed");
    Set(L"Id", _variant_t(1L));
    ASSERT_EQ(0, m_row->WriteToDB());
    EXPECT_EQ("BSTR:mine", Get(L"Name"));
}

TEST_F(ValuesTest, OfTwoFieldsWithOneNameTheFirstIsMeantByNameAndBothByPosition)
{
    const CEOID oid = m_volume.Create(L"Twins");
    std::list<KorvaneDB::CTableDefinition> definitions = {{L"Twins", {{{L"A", CEVT_I4}, {L"A", CEVT_I4}}, {}}}};
    CConnection connection;
    ASSERT_EQ(0, connection.OpenFromDef(m_volume.Path(), definitions));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, connection.OpenTable(L"Twins", row));
    EXPECT_EQ(oid, row->getTable()->GetOID());
    _variant_t one(1L), two(2L), value;
    EXPECT_EQ(0, row->setVal(1, two));
    EXPECT_EQ(0, row->setVal(L"A", one));
    ASSERT_EQ(0, row->WriteToDB());
    ASSERT_EQ(0, row->ReadFromDB());
    EXPECT_EQ(0, row->getVal(L"A", value));
    EXPECT_EQ("I4:1", Describe(value));
    EXPECT_EQ(0, row->getVal(1, value));
    EXPECT_EQ("I4:2", Describe(value));
    row = nullptr;
}

TEST_F(ValuesTest, ARecordWithNoneOfTheFieldsRaises)
{
    m_volume.Add(m_volume.m_oidItems, {I4(0x00990003, 1)});
    ASSERT_EQ(0, m_row->MoveFirst());
    Set(L"Id", _variant_t(77L));
    EXPECT_ROW_RAISE(94, E_FAIL, "ERROR_NO_DATA", m_row->ReadFromDB());
    EXPECT_EQ("I4:77", Get(L"Id")) << "the values stay";
}

TEST_F(ValuesTest, PropertiesOfOtherTypesThanTheCatalogueSaysAreMissing)
{
    m_volume.Add(m_volume.m_oidItems, {Text(0x0000001F, L"a text as Id"), I4(0x00010003, 5), I2(kSmall, 7)});
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ("NULL", Get(L"Id"));
    EXPECT_EQ("NULL", Get(L"Name"));
    EXPECT_EQ("I2:7", Get(L"Small"));
}

TEST_F(ValuesTest, ABlobFieldFailsTheReadAndKeepsTheValuesBehindIt)
{
    const CEOID oid = m_volume.Create(L"Blobs");
    BYTE rgData[3] = {1, 2, 3};
    CEPROPVAL blob = {};
    blob.propid = 0x00010000 | CEVT_BLOB;
    blob.val.blob = {3, rgData};
    m_volume.Add(oid, {I4(0x00000003, 5), blob, I4(0x00020003, 6)});
    CFieldInfo fields[3];
    fields[0].m_propid = 0x00000003;
    fields[1].m_propid = 0x00010000 | CEVT_BLOB;
    fields[2].m_propid = 0x00020003;
    CEOID oidOpen = oid;
    CRow row(CSmartPtr<CTable>(new CTable(L"Blobs", fields, 3, nullptr)),
             ::CeOpenDatabaseEx(m_volume.Guid(), &oidOpen, nullptr, 0, 0, nullptr), 1);
    _variant_t value(99L);
    EXPECT_EQ(0, row.setVal(2, value));
    EXPECT_EQ(0, row.MoveLast());
    EXPECT_ROW_RAISE(238, E_NOTIMPL, "Blob type not ipmlemented", row.ReadFromDB());
    EXPECT_EQ(0, row.getVal(0, value));
    EXPECT_EQ("I4:5", Describe(value)) << "in front of the blob";
    EXPECT_EQ(0, row.getVal(2, value));
    EXPECT_EQ("I4:99", Describe(value));
    value = Null();
    EXPECT_EQ(0, row.setVal(1, value));
    EXPECT_EQ(0, row.WriteToDB()) << "a blob can be removed";
    EXPECT_EQ(0, row.ReadFromDB());
}
