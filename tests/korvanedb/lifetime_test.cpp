// Who deletes whom: connections on the stack, copies of rows, assignment to oneself, rows that outlive their
// connection.
#include "db_fixture.h"

using namespace KorvaneDB;

class LifetimeTest : public CDbTest
{
protected:
    LifetimeTest() : m_volume(m_folder.File(L"items.vol"))
    {
        m_volume.Add(m_volume.m_oidItems, {I4(kId, 1), Text(kName, L"one")});
        m_volume.Add(m_volume.m_oidItems, {I4(kId, 2), Text(kName, L"two")});
    }
    static std::string IdOf(CRow& row)
    {
        _variant_t value;
        if (row.ReadFromDB() != 0 || row.getVal(L"Id", value) != 0) return "failed";
        return Describe(value);
    }

    CItemsVolume m_volume;
};

TEST_F(LifetimeTest, OpeningOnTheStackGivesBackTheReferencesThatItTakes)
{
    COpenConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    EXPECT_EQ(1, connection.m_lRefs) << "that of the one table";
    COpenConnection failing;
    EXPECT_EQ(E_FAIL, failing.Open(m_folder.File(L"missing.vol").c_str()));
    EXPECT_EQ(0, failing.m_lRefs);
}

TEST_F(LifetimeTest, AStackConnectionSurvivesEmptyCatalogues)
{
    CVolume empty(m_folder.File(L"empty.vol"));
    empty.CreateCatalogues();
    COpenConnection connection;
    ASSERT_EQ(0, connection.Open(empty.Path()));
    EXPECT_EQ(0, connection.m_lRefs);
    EXPECT_TRUE(connection.GetTableNames().empty());
}

TEST_F(LifetimeTest, AStackConnectionSurvivesReadingItsCatalogues)
{
    COpenConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CEOID oid = m_volume.m_oidTables;
    const HANDLE hTables = ::CeOpenDatabaseEx(m_volume.Guid(), &oid, nullptr, 0, 0, nullptr);
    COpenConnection fresh;
    fresh.m_slots[0] = {oid, hTables};
    std::map<CString, unsigned long> tables;
    EXPECT_EQ(0, fresh.FillTables(tables));
    EXPECT_EQ(1u, tables.size());
    EXPECT_EQ(0, fresh.m_lRefs);
    EXPECT_EQ(0, fresh.ReleaseSystemTables());
}

TEST_F(LifetimeTest, AStackConnectionIsDestroyedOnceAfterItsRow)
{
    CConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, connection.OpenTable(L"Items", row));
    ASSERT_EQ(0, row->MoveFirst());
    EXPECT_EQ("I4:1", IdOf(*row));
}

TEST_F(LifetimeTest, ARowThatOutlivesItsStackConnectionReadsWritesAndCloses)
{
    CSmartPtr<CRow> row;
    {
        CConnection connection;
        ASSERT_EQ(0, connection.Open(m_volume.Path()));
        ASSERT_EQ(0, connection.OpenTable(L"Items", row));
    }
    EXPECT_FALSE(row->getTable()->m_pConnection);
    ASSERT_EQ(0, row->MoveFirst());
    EXPECT_EQ("I4:1", IdOf(*row));
    EXPECT_EQ(0, row->MoveNext());
    EXPECT_EQ("I4:2", IdOf(*row));
    _variant_t id(3L);
    EXPECT_EQ(0, row->setVal(L"Id", id));
    EXPECT_EQ(0, row->WriteToDB());
    unsigned long ulRows = 9;
    EXPECT_ROW_RAISE(610, E_FAIL, "Call to function CeOidGetInfo(...) failed", row->getNumRows(ulRows));
    EXPECT_ROW_RAISE(497, E_FAIL, "Unable to open database", row->SetIndex(L"ById"));
    row = nullptr;
    EXPECT_EQ(E_FAIL, gErrHRESULT) << "of the handle that SetIndex lost";
    gErrHRESULT = 0;
}

TEST_F(LifetimeTest, ADeletedConnectionIsForgottenAsWell)
{
    CConnection* const pConnection = new CConnection;
    ASSERT_EQ(0, pConnection->Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, pConnection->OpenTable(L"Items", row));
    delete pConnection;
    ASSERT_EQ(0, row->MoveLast());
    EXPECT_EQ("I4:2", IdOf(*row));
}

TEST_F(LifetimeTest, CountedPointersAndTablesKeepEachOtherAlive)
{
    COpenConnection* const pConnection = new COpenConnection;
    {
        CSmartPtr<CConnection> connection(pConnection);
        ASSERT_EQ(0, connection->Open(m_volume.Path()));
        EXPECT_EQ(2, pConnection->m_lRefs);
    }
    EXPECT_EQ(1, pConnection->m_lRefs) << "the table's: the circle";
    EXPECT_EQ(1, pConnection->m_bOpen);
    delete pConnection;
}

TEST_F(LifetimeTest, ACountedConnectionThatNeverOpenedIsDeletedWithItsLastPointer)
{
    bool bDeleted = false;
    class CWatched : public CConnection
    {
    public:
        explicit CWatched(bool& bDeleted) : m_bDeleted(bDeleted) {}
        ~CWatched() override { m_bDeleted = true; }
        bool& m_bDeleted;
    };
    CSmartPtr<CConnection> connection(new CWatched(bDeleted));
    EXPECT_EQ(E_FAIL, connection->Open(m_folder.File(L"missing.vol").c_str()));
    EXPECT_FALSE(bDeleted);
    connection = nullptr;
    EXPECT_TRUE(bDeleted);
}

TEST_F(LifetimeTest, CopiesOfAConnectionShareTablesAndMount)
{
    COpenConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    {
        COpenConnection copy(connection);
        EXPECT_EQ(connection.m_lRefs, copy.m_lRefs) << "the count is copied";
        EXPECT_EQ(1, copy.m_bOpen);
        EXPECT_STREQ(connection.m_sName, copy.m_sName);
        EXPECT_EQ(connection.m_tables.at(L"Items"), copy.m_tables.at(L"Items"));
        CSmartPtr<CRow> row;
        EXPECT_EQ(0, copy.OpenTable(L"Items", row));
        EXPECT_EQ(0, row->MoveFirst());
        EXPECT_EQ("I4:1", IdOf(*row));
        CREATE_SYSTEMGUID(&copy.m_guid); // leaves the mount to the original
    }
    CSmartPtr<CRow> row;
    EXPECT_EQ(0, connection.OpenTable(L"Items", row));
    EXPECT_EQ(0, row->SetIndex(L"ById"));
}

TEST_F(LifetimeTest, AnAssignedConnectionLetsItsTablesGo)
{
    COpenConnection source;
    ASSERT_EQ(0, source.Open(m_volume.Path()));
    COpenConnection target;
    ASSERT_EQ(0, target.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, target.OpenTable(L"Items", row));
    target = source;
    EXPECT_EQ(source.m_lRefs, target.m_lRefs);
    EXPECT_EQ(source.m_tables.at(L"Items"), target.m_tables.at(L"Items"));
    EXPECT_FALSE(row->getTable()->m_pConnection);
    COpenConnection& same = target;
    target = same;
    EXPECT_EQ(1u, target.m_tables.size());
    row = nullptr;
}

TEST_F(LifetimeTest, AConnectionThatGetsItsCopyBackKeepsItsTables)
{
    COpenConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    {
        const COpenConnection copy(connection);
        connection = copy;
        ASSERT_EQ(0, connection.OpenTable(L"Items", row));
        EXPECT_EQ(0, row->SetIndex(L"ById"));
        unsigned long ulRows = 0;
        EXPECT_EQ(0, row->getNumRows(ulRows));
        EXPECT_EQ(2u, ulRows);
        CEGUID* const pGuid = connection.GetVolGUID();
        EXPECT_TRUE(::CeMountDBVol(pGuid, m_volume.Path(), OPEN_EXISTING)) << "for the one that the copy takes back";
    }
    EXPECT_EQ(0, row->MoveFirst());
    row = nullptr;
}

TEST_F(LifetimeTest, CopiesOfARowShareHandleBufferAndValues)
{
    CConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, connection.OpenTable(L"Items", row));
    ASSERT_EQ(0, row->MoveFirst());
    CRow copy(*row);
    EXPECT_EQ(row->getBookmark(), copy.getBookmark());
    EXPECT_EQ(0, copy.IsEOF());
    EXPECT_EQ("I4:1", IdOf(copy));
    _variant_t value;
    EXPECT_EQ(0, row->getVal(L"Name", value));
    EXPECT_EQ("BSTR:one", Describe(value)) << "what the copy read, the original has";
    EXPECT_EQ(0, copy.MoveNext());
    EXPECT_NE(row->getBookmark(), copy.getBookmark()) << "the OID is each one's own";
    EXPECT_EQ("I4:2", IdOf(*row)) << "the position is the handle's";
}

TEST_F(LifetimeTest, ACopyTakesTheCountAlong)
{
    CConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, connection.OpenTable(L"Items", row));
    const CSmartPtr<CRow> second = row;
    CRow copy(*row);
    EXPECT_EQ(2, copy.AddRef());
}

TEST_F(LifetimeTest, TheLastCopyOfARowClosesTheHandle)
{
    CConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, connection.OpenTable(L"Items", row));
    HANDLE hDatabase;
    {
        COpenRow copy(*row);
        COpenRow copyOfCopy(copy);
        hDatabase = copy.Shared().hDatabase;
        row = nullptr;
        EXPECT_EQ(0, copy.MoveFirst());
        EXPECT_EQ("I4:1", IdOf(copyOfCopy));
    }
    EXPECT_FALSE(::CloseHandle(hDatabase));
    EXPECT_EQ(0, gErrHRESULT);
}

TEST_F(LifetimeTest, CopiesSeeAGrownBufferAndAReplacedHandle)
{
    m_volume.Add(m_volume.m_oidItems, {I4(kId, 0), Text(kName, std::wstring(9000, L'x').c_str())});
    CConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, connection.OpenTable(L"Items", row));
    CRow copy(*row);
    ASSERT_EQ(0, row->MoveLast());
    EXPECT_EQ("I4:0", IdOf(*row));
    EXPECT_EQ("I4:0", IdOf(copy));
    ASSERT_EQ(0, row->SetIndex(L"ById"));
    EXPECT_EQ(0, copy.MoveFirst());
    EXPECT_EQ("I4:0", IdOf(copy)) << "in the new order";
    EXPECT_ROW_RAISE(516, E_FAIL, "Index has not been set", copy.Seek(SeekValueFirstEqual, _variant_t(1L)));
}

TEST_F(LifetimeTest, AssigningARowReleasesWhatTheTargetAloneHeld)
{
    CConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> first, second;
    ASSERT_EQ(0, connection.OpenTable(L"Items", first));
    ASSERT_EQ(0, connection.OpenTable(L"Items", second));
    const HANDLE hSecond = COpenRow(*second).Shared().hDatabase;
    ASSERT_EQ(0, first->MoveFirst());
    ASSERT_EQ(0, first->SetFilter(_variant_t(5L)));
    *second = *first;
    EXPECT_FALSE(::CloseHandle(hSecond));
    EXPECT_EQ(COpenRow(*first).Shared().hDatabase, COpenRow(*second).Shared().hDatabase);
    EXPECT_EQ(first->getBookmark(), second->getBookmark());
    _variant_t filter;
    EXPECT_EQ(0, second->GetFilter(filter));
    EXPECT_EQ("I4:5", Describe(filter));
    first = nullptr;
    EXPECT_EQ("I4:1", IdOf(*second));
}

TEST_F(LifetimeTest, ARowAssignedToItselfStays)
{
    CConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, connection.OpenTable(L"Items", row));
    ASSERT_EQ(0, row->MoveFirst());
    CRow& same = *row;
    *row = same;
    EXPECT_EQ("I4:1", IdOf(*row));
    EXPECT_EQ(1, row->AddRef());
    row->Release();
}

TEST_F(LifetimeTest, ARowWithoutATableHasNothingButTheSpareValue)
{
    CRow row(CSmartPtr<CTable>(), INVALID_HANDLE_VALUE, 0);
    _variant_t value(1L);
    EXPECT_EQ(0, row.MoveFirst());
    EXPECT_EQ(1, row.IsEOF());
    EXPECT_ROW_RAISE(471, E_FAIL, "Unknown index name", row.SetIndex(L"ById"));
    EXPECT_ROW_RAISE(288, E_FAIL, "Field does not exist", row.setVal(L"Id", value));
    EXPECT_EQ(0, row.setVal(0, value));
    unsigned long ulRows;
    EXPECT_ROW_RAISE(610, E_FAIL, "Call to function CeOidGetInfo(...) failed", row.getNumRows(ulRows));
    EXPECT_FALSE(row.getTable());
}

TEST_F(LifetimeTest, ATableThatGetsMoreFieldsDoesNotReachBehindTheRowsArrays)
{
    CConnection connection;
    ASSERT_EQ(0, connection.Open(m_volume.Path()));
    CSmartPtr<CRow> row;
    ASSERT_EQ(0, connection.OpenTable(L"Items", row));
    std::list<CFieldInfo> fields(100);
    int nField = 0;
    for (CFieldInfo& field : fields) {
        field.m_sName.Format(L"F%d", nField);
        field.m_propid = (nField++ << 16) | CEVT_I4;
    }
    *row->getTable() = CTable(L"Wide", fields, {}, row->getTable()->m_pConnection);
    ASSERT_EQ(0, row->MoveFirst());
    EXPECT_EQ(0, row->ReadFromDB());
    _variant_t value;
    EXPECT_ROW_RAISE(277, E_FAIL, "Index out of bounds", row->getVal(L"F50", value));
    EXPECT_ROW_RAISE(301, E_FAIL, "Index out of bounds", row->setVal(50, value));
    EXPECT_EQ(0, row->WriteToDB());
}
