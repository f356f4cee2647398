// Table definitions: fields, indexes, names, assignment.
#include "db_fixture.h"

namespace {

CFieldInfo Field(const wchar_t* pszName, CEPROPID propid)
{
    CFieldInfo field;
    field.m_sName = pszName;
    field.m_propid = propid;
    return field;
}

CIndexInfo Index(const wchar_t* pszName, CEPROPID propid)
{
    CIndexInfo index;
    index.m_sName = pszName;
    index.m_propid = propid;
    return index;
}

std::vector<std::wstring> Names(CTable& table)
{
    std::vector<std::wstring> names;
    for (const CString& name : table.GetFieldNames()) names.push_back(static_cast<const wchar_t*>(name));
    return names;
}

class CEmptyTable : public CTable
{
public:
    CEmptyTable() = default;
};

} // namespace

class TableTest : public CDbTest
{
protected:
    CTable m_table{L"Items",
                   {Field(L"A", 0x00000003), Field(L"B", 0x0001001F), Field(L"A", 0x00020002)},
                   {Index(L"ByA", 0x00000003), Index(L"ByA", 0x00020002), Index(L"ByB", 0x0001001F)},
                   nullptr};
};

TEST_F(TableTest, ARecordOfAFieldOrIndexStartsWithMinusOnes)
{
    const CFieldInfo field;
    EXPECT_TRUE(field.m_sName.IsEmpty());
    EXPECT_EQ(-1, field.m_lType);
    EXPECT_EQ(-1, field.m_lLen);
    EXPECT_EQ(0xFFFFFFFFu, field.m_propid);
    const CIndexInfo index;
    EXPECT_TRUE(index.m_sName.IsEmpty());
    EXPECT_EQ(0xFFFFFFFFu, index.m_propid);
    EXPECT_EQ(0xFFFFFFFFu, index.m_dwFlags);
}

TEST_F(TableTest, ATableFromListsHasThemInOrderWithoutAnOid)
{
    EXPECT_STREQ(L"Items", m_table.m_sName);
    EXPECT_EQ(0u, m_table.GetOID());
    EXPECT_EQ(3, m_table.m_nFields);
    EXPECT_EQ(3, m_table.m_nIndexes);
    EXPECT_EQ((std::vector<std::wstring>{L"A", L"B", L"A"}), Names(m_table));
    EXPECT_STREQ(L"ByB", m_table.m_pIndexes[2].m_sName);
    EXPECT_FALSE(m_table.m_pConnection);
}

TEST_F(TableTest, OfTwoFieldsOrIndexesWithOneNameTheFirstHasTheKey)
{
    EXPECT_EQ(2u, m_table.m_mapFields.size());
    EXPECT_EQ(0, m_table.m_mapFields[L"A"]);
    EXPECT_EQ(1, m_table.m_mapFields[L"B"]);
    EXPECT_EQ(0x00020002u, m_table.m_pFields[2].m_propid);
    EXPECT_EQ(2u, m_table.m_mapIndexes.size());
    EXPECT_EQ(0, m_table.m_mapIndexes[L"ByA"]);
    EXPECT_EQ(2, m_table.m_mapIndexes[L"ByB"]);
}

TEST_F(TableTest, NamesAreToldApartByCase)
{
    EXPECT_EQ(0u, m_table.m_mapFields.count(L"a"));
    EXPECT_EQ(0u, m_table.m_mapIndexes.count(L"BYA"));
}

TEST_F(TableTest, GetFieldNameGivesTheNameAtAPosition)
{
    CString name;
    EXPECT_EQ(0, m_table.GetFieldName(1, name));
    EXPECT_STREQ(L"B", name);
}

TEST_F(TableTest, GetFieldNameAtTheCountGivesTheEmptySpareField)
{
    CString name = L"before";
    EXPECT_EQ(0, m_table.GetFieldName(3, name));
    EXPECT_STREQ(L"", name);
}

TEST_F(TableTest, GetFieldNameOutsideRaisesAndLeavesTheNameAlone)
{
    CString name = L"before";
    const long lBadIndex = DISP_E_BADINDEX;
    EXPECT_RAISE("korvanedb/table", 92, lBadIndex, "Index out of bounds", m_table.GetFieldName(-1, name));
    EXPECT_RAISE("korvanedb/table", 92, lBadIndex, "Index out of bounds", m_table.GetFieldName(4, name));
    EXPECT_RAISE("korvanedb/table", 92, lBadIndex, "Index out of bounds", m_table.GetFieldName(INT_MIN, name));
    EXPECT_RAISE("korvanedb/table", 92, lBadIndex, "Index out of bounds", m_table.GetFieldName(INT_MAX, name));
    EXPECT_STREQ(L"before", name);
}

TEST_F(TableTest, AParkedErrorWinsOverTheRaise)
{
    gErrHRESULT = -77;
    CString name;
    EXPECT_EQ(-77, m_table.GetFieldName(-1, name));
    EXPECT_EQ(0, gErrHRESULT);
    EXPECT_EQ(static_cast<long>(DISP_E_BADINDEX), m_table.GetFieldName(-1, name));
}

TEST_F(TableTest, AParkedErrorIsLeftByWhatRaisesNothing)
{
    gErrHRESULT = -77;
    CString name;
    EXPECT_EQ(0, m_table.GetFieldName(0, name));
    EXPECT_EQ(-77, gErrHRESULT);
    gErrHRESULT = 0;
}

TEST_F(TableTest, ATableFromAnArrayCopiesItAndHasNoIndexes)
{
    CFieldInfo fields[] = {Field(L"TableName", 0x0000001F), Field(L"TableID", 0x00010003), Field(L"Rest", 1)};
    CTable table(CString(), fields, 2, nullptr);
    fields[0].m_sName = L"changed";
    EXPECT_EQ((std::vector<std::wstring>{L"TableName", L"TableID"}), Names(table));
    EXPECT_EQ(0, table.m_nIndexes);
    EXPECT_FALSE(table.m_pIndexes);
    EXPECT_TRUE(table.m_sName.IsEmpty());
}

TEST_F(TableTest, AnArrayThatIsNoneMakesATableWithoutFields)
{
    CFieldInfo field;
    for (CTable* pTable : {new CTable(L"x", nullptr, 3, nullptr), new CTable(L"x", &field, -1, nullptr),
                           new CTable(L"x", &field, 0, nullptr)}) {
        const CSmartPtr<CTable> table(pTable);
        EXPECT_EQ(0, table->m_nFields);
        EXPECT_TRUE(table->GetFieldNames().empty());
        CString name = L"before";
        EXPECT_EQ(0, table->GetFieldName(0, name));
        EXPECT_STREQ(L"", name);
    }
}

TEST_F(TableTest, ADefaultConstructedTableIsEmpty)
{
    CEmptyTable table;
    CString name = L"before";
    EXPECT_EQ(0, table.GetFieldName(0, name));
    EXPECT_STREQ(L"", name);
    EXPECT_FALSE(table.m_pFields);
    EXPECT_EQ(0u, table.GetOID());
    EXPECT_EQ(static_cast<long>(DISP_E_BADINDEX), table.GetFieldName(1, name));
}

TEST_F(TableTest, AssignmentTakesNameFieldsAndOidAndKeepsTheOwnIndexes)
{
    CTable other(L"Other", {Field(L"X", 0x00000005)}, {Index(L"ByX", 5)}, nullptr);
    other.m_oid = 4711;
    other = m_table;
    EXPECT_STREQ(L"Items", other.m_sName);
    EXPECT_EQ(0u, other.GetOID());
    EXPECT_EQ((std::vector<std::wstring>{L"A", L"B", L"A"}), Names(other));
    EXPECT_EQ(0u, other.m_mapFields.count(L"X"));
    EXPECT_EQ(0, other.m_mapFields[L"A"]);
    EXPECT_EQ(1, other.m_nIndexes);
    EXPECT_STREQ(L"ByX", other.m_pIndexes[0].m_sName);
    EXPECT_EQ(1u, other.m_mapIndexes.count(L"ByX"));
    EXPECT_EQ(0u, other.m_mapIndexes.count(L"ByA"));
}

TEST_F(TableTest, ACopyHasNoIndexes)
{
    m_table.m_oid = 12;
    CTable copy(m_table);
    EXPECT_EQ((std::vector<std::wstring>{L"A", L"B", L"A"}), Names(copy));
    EXPECT_EQ(12u, copy.GetOID());
    EXPECT_EQ(0, copy.m_nIndexes);
    EXPECT_FALSE(copy.m_pIndexes);
    EXPECT_TRUE(copy.m_mapIndexes.empty());
}

TEST_F(TableTest, AssignmentToItselfKeepsEverything)
{
    CTable& same = m_table;
    m_table = same;
    EXPECT_EQ((std::vector<std::wstring>{L"A", L"B", L"A"}), Names(m_table));
    EXPECT_EQ(2u, m_table.m_mapFields.size());
}

TEST_F(TableTest, NeitherCopyNorAssignmentTakesTheCount)
{
    const CSmartPtr<CTable> source(new CTable(m_table));
    const CSmartPtr<CTable> second = source;
    const CSmartPtr<CTable> copy(new CTable(*source));
    *copy = *source;
    EXPECT_EQ(1, copy->AddRef());
    copy->Release();
    EXPECT_EQ(2, source->AddRef());
    source->Release();
}

TEST_F(TableTest, ATableHoldsItsConnectionAndAssignmentPassesItOn)
{
    CSmartPtr<CConnection> connection(new CConnection);
    CTable table(L"x", nullptr, 0, connection);
    EXPECT_EQ(2, connection->AddRef());
    connection->Release();
    {
        CTable other(m_table);
        other = table;
        EXPECT_EQ(3, connection->AddRef());
        connection->Release();
    }
    EXPECT_EQ(2, connection->AddRef());
    connection->Release();
    table = m_table;
    EXPECT_EQ(1, connection->AddRef());
    connection->Release();
}
