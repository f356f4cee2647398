// Catalogues as they should not be: records that lack properties, name each other wrongly, or come twice.
#include "db_fixture.h"

class CatalogueTest : public CDbTest
{
protected:
    CatalogueTest() : m_volume(m_folder.File(L"catalogue.vol")) { m_volume.CreateCatalogues(); }

    CTable& Table(const wchar_t* pszName) { return *m_connection.m_tables.at(pszName); }

    CVolume m_volume;
    COpenConnection m_connection;
    CSmartPtr<CRow> m_row;
};

TEST_F(CatalogueTest, EmptyCataloguesOpenWithoutTables)
{
    EXPECT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(1, m_connection.m_bOpen);
    EXPECT_TRUE(m_connection.m_tables.empty());
    EXPECT_TRUE(m_connection.GetTableNames().empty());
}

TEST_F(CatalogueTest, ATableWithoutFieldAndIndexRecordsHasNone)
{
    const CEOID oid = m_volume.Create(L"Bare");
    m_volume.CatalogueTable(L"Bare", oid);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(0, Table(L"Bare").m_nFields);
    EXPECT_EQ(0, Table(L"Bare").m_nIndexes);
    EXPECT_EQ(0, m_connection.OpenTable(L"Bare", m_row));
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(1, m_row->IsEOF());
}

TEST_F(CatalogueTest, OfTwoTableRecordsWithOneNameTheFirstCounts)
{
    const CEOID oidFirst = m_volume.Create(L"First");
    const CEOID oidSecond = m_volume.Create(L"Second");
    m_volume.CatalogueTable(L"Twice", oidFirst);
    m_volume.CatalogueTable(L"Twice", oidSecond);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(1u, m_connection.m_tables.size());
    EXPECT_EQ(oidFirst, Table(L"Twice").GetOID());
}

TEST_F(CatalogueTest, NamesThatDifferInCaseAreTwoTables)
{
    const CEOID oid = m_volume.Create(L"Data");
    m_volume.CatalogueTable(L"Data", oid);
    m_volume.CatalogueTable(L"DATA", oid);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    const std::map<CString, unsigned long> names = m_connection.GetTableNames();
    ASSERT_EQ(2u, names.size());
    EXPECT_STREQ(L"DATA", names.begin()->first) << "ordered by units";
    EXPECT_EQ(oid, names.begin()->second);
}

TEST_F(CatalogueTest, OnlyTheLow24BitsOfAFieldIdCount)
{
    const CEOID oid = m_volume.Create(L"T", {{0x00010003}});
    m_volume.CatalogueTable(L"T", oid);
    m_volume.CatalogueField(oid, L"A", 0xFF010003);
    m_volume.CatalogueField(oid, L"B", 0x8002001F);
    m_volume.CatalogueIndex(oid, L"ByA", 0xAB010003, static_cast<long>(0xF0000001));
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(0x00010003u, Table(L"T").m_pFields[0].m_propid);
    EXPECT_EQ(0x0002001Fu, Table(L"T").m_pFields[1].m_propid);
    EXPECT_EQ(0x00010003u, Table(L"T").m_pIndexes[0].m_propid);
    EXPECT_EQ(0xF0000001u, Table(L"T").m_pIndexes[0].m_dwFlags) << "flags are whole";
    ASSERT_EQ(0, m_connection.OpenTable(L"T", m_row));
    EXPECT_EQ(0, m_row->SetIndex(L"ByA"));
}

TEST_F(CatalogueTest, LengthAndTypeAreSigned16BitNumbers)
{
    const CEOID oid = m_volume.Create(L"T");
    m_volume.CatalogueTable(L"T", oid);
    m_volume.CatalogueField(oid, L"A", 0x00010003, -1, -32768);
    m_volume.CatalogueField(oid, L"B", 0x00020003, 32767, 12);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(-1, Table(L"T").m_pFields[0].m_lLen);
    EXPECT_EQ(-32768, Table(L"T").m_pFields[0].m_lType);
    EXPECT_EQ(32767, Table(L"T").m_pFields[1].m_lLen);
    EXPECT_EQ(12, Table(L"T").m_pFields[1].m_lType);
}

TEST_F(CatalogueTest, ATableIdKeepsItsTopBit)
{
    m_volume.CatalogueTable(L"T", 0x80000005);
    m_volume.CatalogueField(0x80000005, L"A", 0x00010003);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(0x80000005u, Table(L"T").GetOID());
    EXPECT_EQ(1, Table(L"T").m_nFields);
    EXPECT_EQ(0x80000005u, m_connection.GetTableNames()[L"T"]);
}

TEST_F(CatalogueTest, WhatARecordLacksIsEmptyOrZero)
{
    const CEOID oid = m_volume.Create(L"T");
    m_volume.CatalogueTable(L"T", oid);
    m_volume.Add(m_volume.m_oidTables, {Text(0x0000001F, L"NoId")});
    m_volume.Add(m_volume.m_oidTables, {I4(0x00010003, oid)});
    m_volume.Add(m_volume.m_oidFields, {I4(0x00000003, oid)});
    m_volume.Add(m_volume.m_oidFields, {Text(0x0001001F, L"NoTable")});
    m_volume.Add(m_volume.m_oidIndexes, {I4(0x00000003, oid)});
    m_volume.Add(m_volume.m_oidIndexes, {I4(0x00030003, 5)});
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(3u, m_connection.m_tables.size());
    EXPECT_EQ(0u, Table(L"NoId").GetOID());
    EXPECT_EQ(oid, Table(L"").GetOID());
    ASSERT_EQ(1, Table(L"T").m_nFields);
    EXPECT_TRUE(Table(L"T").m_pFields[0].m_sName.IsEmpty());
    EXPECT_EQ(0u, Table(L"T").m_pFields[0].m_propid);
    EXPECT_EQ(0, Table(L"T").m_pFields[0].m_lLen);
    EXPECT_EQ(0, Table(L"T").m_pFields[0].m_lType);
    ASSERT_EQ(1, Table(L"T").m_nIndexes);
    EXPECT_TRUE(Table(L"T").m_pIndexes[0].m_sName.IsEmpty());
    EXPECT_EQ(0u, Table(L"T").m_pIndexes[0].m_propid);
    EXPECT_EQ(0u, Table(L"T").m_pIndexes[0].m_dwFlags);
    EXPECT_STREQ(L"NoTable", Table(L"NoId").m_pFields[0].m_sName) << "a record without a table belongs to table 0";
}

TEST_F(CatalogueTest, PropertiesOfOtherTypesCountAsMissing)
{
    const CEOID oid = m_volume.Create(L"T");
    m_volume.CatalogueTable(L"T", oid);
    m_volume.Add(m_volume.m_oidFields, {I4(0x00000003, oid), I4(0x00010003, 1), Text(0x0002001F, L"2"),
                                        I4(0x00030003, 70000), Text(0x0004001F, L"4")});
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_TRUE(Table(L"T").m_pFields[0].m_sName.IsEmpty());
    EXPECT_EQ(0u, Table(L"T").m_pFields[0].m_propid);
    EXPECT_EQ(0, Table(L"T").m_pFields[0].m_lLen);
    EXPECT_EQ(0, Table(L"T").m_pFields[0].m_lType);
}

TEST_F(CatalogueTest, FieldAndIndexRecordsOfUnknownTablesAreIgnored)
{
    const CEOID oid = m_volume.Create(L"T");
    m_volume.CatalogueTable(L"T", oid);
    m_volume.CatalogueField(4711, L"Stray", 0x00010003);
    m_volume.CatalogueIndex(4711, L"ByStray", 0x00010003);
    m_volume.CatalogueField(oid, L"A", 0x00010003);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(1u, m_connection.m_tables.size());
    EXPECT_EQ(1, Table(L"T").m_nFields);
    EXPECT_EQ(0, Table(L"T").m_nIndexes);
}

TEST_F(CatalogueTest, TheOrderOfRecordsIsTheOrderOfFieldsAndIndexes)
{
    const CEOID oid = m_volume.Create(L"T");
    const CEOID oidOther = m_volume.Create(L"U");
    m_volume.CatalogueTable(L"T", oid);
    m_volume.CatalogueTable(L"U", oidOther);
    std::vector<std::wstring> expected;
    for (int i = 0; i < 40; ++i) {
        const std::wstring name = L"F" + std::to_wstring((i * 17) % 40);
        m_volume.CatalogueField(oid, name.c_str(), (i << 16) | CEVT_I4);
        m_volume.CatalogueField(oidOther, L"x", 3);
        m_volume.CatalogueIndex(oid, name.c_str(), (i << 16) | CEVT_I4);
        expected.push_back(name);
    }
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    CTable& table = Table(L"T");
    ASSERT_EQ(40, table.m_nFields);
    ASSERT_EQ(40, table.m_nIndexes);
    for (int i = 0; i < 40; ++i) {
        EXPECT_STREQ(expected[i].c_str(), table.m_pFields[i].m_sName);
        EXPECT_STREQ(expected[i].c_str(), table.m_pIndexes[i].m_sName);
    }
}

TEST_F(CatalogueTest, AnIndexOnAPropertyWithoutSortOrderCannotBeSet)
{
    const CEOID oid = m_volume.Create(L"T");
    m_volume.CatalogueTable(L"T", oid);
    m_volume.CatalogueField(oid, L"A", 0x00010003);
    m_volume.CatalogueIndex(oid, L"ByA", 0x00010003);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    ASSERT_EQ(0, m_connection.OpenTable(L"T", m_row));
    EXPECT_ROW_RAISE(497, E_FAIL, "Unable to open database", m_row->SetIndex(L"ByA"));
    m_row = nullptr;
    EXPECT_EQ(E_FAIL, gErrHRESULT) << "the handle that there is no more cannot be closed";
    gErrHRESULT = 0;
}

TEST_F(CatalogueTest, AFieldOfAnUnknownTypeFailsWhereItIsUsed)
{
    const CEOID oid = m_volume.Create(L"T");
    m_volume.CatalogueTable(L"T", oid);
    m_volume.CatalogueField(oid, L"A", 0x00010003);
    m_volume.CatalogueField(oid, L"Odd", 0x00020007);
    m_volume.Add(oid, {I4(0x00010003, 1)});
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    ASSERT_EQ(0, m_connection.OpenTable(L"T", m_row));
    ASSERT_EQ(0, m_row->MoveFirst());
    const long hr = m_row->ReadFromDB();
    if (hr == 0) {
        // The store knows no such property of the record, so it is missing like any other.
        _variant_t value;
        EXPECT_EQ(0, m_row->getVal(L"Odd", value));
        EXPECT_EQ("NULL", Describe(value));
    } else {
        EXPECT_EQ(E_FAIL, hr);
    }
}

TEST_F(CatalogueTest, LongAndOddTextsComeThrough)
{
    const CEOID oid = m_volume.Create(L"T");
    const std::wstring longName(32000, L'n');
    const wchar_t szSurrogate[] = {L'a', static_cast<wchar_t>(0xD800), L'b', 0};
    m_volume.CatalogueTable(longName.c_str(), oid);
    m_volume.CatalogueTable(szSurrogate, oid);
    m_volume.CatalogueTable(L"", oid);
    m_volume.CatalogueField(oid, longName.c_str(), 0x00010003);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(3u, m_connection.m_tables.size());
    EXPECT_EQ(0, m_connection.OpenTable(longName.c_str(), m_row));
    EXPECT_EQ(0, m_connection.OpenTable(szSurrogate, m_row));
    EXPECT_EQ(0, m_connection.OpenTable(L"", m_row));
    EXPECT_STREQ(longName.c_str(), m_row->getTable()->m_pFields[0].m_sName);
}
