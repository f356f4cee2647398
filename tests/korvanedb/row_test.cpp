// Rows: where a new one stands, moving, bookmarks, adding, deleting, counting.
#include "db_fixture.h"
#include "support/import_patch.h"

#include <functional>

class RowTest : public CItemsTest
{
protected:
    void AddThree() { m_oids = {AddItem(10), AddItem(20), AddItem(30)}; }
    std::vector<CEOID> m_oids;
};

TEST_F(RowTest, ANewRowIsAtBothEndsWithoutARecord)
{
    AddThree();
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(1, m_row->IsBOF());
    EXPECT_EQ(0u, m_row->getBookmark());
    EXPECT_EQ(m_connection.m_tables.at(L"Items"), m_row->getTable());
    _variant_t filter(1L);
    EXPECT_EQ(0, m_row->GetFilter(filter));
    EXPECT_EQ("EMPTY", Describe(filter));
}

TEST_F(RowTest, OnAnEmptyTableEveryMoveReachesNothingAndSucceeds)
{
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(1, m_row->IsBOF());
    EXPECT_EQ(0, m_row->MoveLast());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(1, m_row->IsBOF());
    EXPECT_EQ(0, m_row->MoveNext());
    EXPECT_EQ(0, m_row->MovePrev());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(1, m_row->IsBOF());
    EXPECT_EQ(0u, m_row->getBookmark());
}

TEST_F(RowTest, AWalkVisitsTheRecordsInOrderOfCreation)
{
    AddThree();
    EXPECT_EQ((std::vector<long>{10, 20, 30}), Walk(*m_row));
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(0, m_row->IsBOF());
    EXPECT_EQ(0u, m_row->getBookmark());
}

TEST_F(RowTest, OnANewRowMoveNextReachesTheSecondRecord)
{
    AddThree();
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    EXPECT_EQ(0, m_row->MoveNext());
    EXPECT_EQ(m_oids[1], m_row->getBookmark());
    EXPECT_EQ(0, m_row->IsEOF());
    EXPECT_EQ(0, m_row->IsBOF());
}

TEST_F(RowTest, OnANewRowReadFromDbReadsTheFirstRecord)
{
    AddThree();
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    EXPECT_EQ(0, m_row->ReadFromDB());
    EXPECT_EQ(m_oids[0], m_row->getBookmark());
    EXPECT_EQ(1, m_row->IsEOF()) << "reading changes no flag";
}

namespace {

DWORD g_dwSeekType, g_dwSeekValue;

CEOID WINAPI NoteSeek(HANDLE hDatabase, DWORD dwSeekType, DWORD dwValue, LPDWORD lpdwIndex)
{
    g_dwSeekType = dwSeekType;
    g_dwSeekValue = dwValue;
    return ::CeSeekDatabase(hDatabase, dwSeekType, dwValue, lpdwIndex);
}

} // namespace

TEST_F(RowTest, MovesAskTheStoreInTheWordsThatTheDeviceKnows)
{
    AddThree();
    const CImportPatch patch(L"korvaneLib.dll", "CeSeekDatabase@16", &NoteSeek);
    const auto expect = [](DWORD dwType, DWORD dwValue, long hr) {
        EXPECT_EQ(0, hr);
        EXPECT_EQ(dwType, g_dwSeekType);
        EXPECT_EQ(dwValue, g_dwSeekValue);
    };
    expect(CEDB_SEEK_BEGINNING, 0, m_row->MoveFirst());
    expect(CEDB_SEEK_CURRENT, 1, m_row->MoveNext());
    expect(CEDB_SEEK_CURRENT, 0xFFFFFFFF, m_row->MovePrev());
    expect(CEDB_SEEK_END, 1, m_row->MoveLast());
    expect(CEDB_SEEK_CEOID, m_oids[1], m_row->setBookmark(m_oids[1]));
}

TEST_F(RowTest, AParkedErrorComesOutOfWhatLooksAtACallOfItsOwn)
{
    AddThree();
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(0, m_row->ReadFromDB());
    const auto expectParked = [](const char* pszWhat, const std::function<long()>& call) {
        gErrHRESULT = -77;
        EXPECT_EQ(-77, call()) << pszWhat;
        EXPECT_EQ(0, gErrHRESULT) << pszWhat;
    };
    _variant_t value(55L), found;
    expectParked("setVal by name", [&] { return m_row->setVal(L"Id", value); });
    expectParked("WriteToDB", [&] { return m_row->WriteToDB(); });
    EXPECT_EQ(10, ReadId(*m_row)) << "nothing was written";
    expectParked("getVal by name", [&] { return m_row->getVal(L"Id", found); });
    expectParked("SetIndex", [&] { return m_row->SetIndex(L"ById"); });
    EXPECT_EQ(m_oids[0], m_row->getBookmark());
    expectParked("Delete", [&] { return m_row->Delete(); });
    EXPECT_EQ(m_oids[1], m_row->getBookmark()) << "behind the record that is gone";
}

TEST_F(RowTest, MoveLastReachesTheLastRecordAndMovePrevGoesBackFromThere)
{
    AddThree();
    EXPECT_EQ(0, m_row->MoveLast());
    EXPECT_EQ(30, ReadId(*m_row));
    EXPECT_EQ(0, m_row->IsEOF());
    EXPECT_EQ(0, m_row->IsBOF());
    EXPECT_EQ(0, m_row->MovePrev());
    EXPECT_EQ(20, ReadId(*m_row));
    EXPECT_EQ(0, m_row->MovePrev());
    EXPECT_EQ(10, ReadId(*m_row));
    EXPECT_EQ(0, m_row->IsBOF());
    EXPECT_EQ(0, m_row->MovePrev());
    EXPECT_EQ(1, m_row->IsBOF());
    EXPECT_EQ(0, m_row->IsEOF());
    EXPECT_EQ(0u, m_row->getBookmark());
}

TEST_F(RowTest, MovePrevFromBehindTheLastRecordReachesItAndTakesTheEofBack)
{
    AddThree();
    ASSERT_EQ(0, m_row->MoveLast());
    ASSERT_EQ(0, m_row->MoveNext());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(0, m_row->MovePrev());
    EXPECT_EQ(m_oids[2], m_row->getBookmark());
    EXPECT_EQ(0, m_row->IsEOF());
}

TEST_F(RowTest, OneRecordIsFirstAndLast)
{
    const CEOID oid = AddItem(1);
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(oid, m_row->getBookmark());
    EXPECT_EQ(0, m_row->MoveLast());
    EXPECT_EQ(oid, m_row->getBookmark());
    EXPECT_EQ(0, m_row->MoveNext());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(0, m_row->IsBOF());
}

TEST_F(RowTest, MovingReadsNoValues)
{
    AddThree();
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(10, ReadId(*m_row));
    ASSERT_EQ(0, m_row->MoveNext());
    _variant_t id;
    EXPECT_EQ(0, m_row->getVal(L"Id", id));
    EXPECT_EQ("I4:10", Describe(id));
}

TEST_F(RowTest, PlainMovesLeaveAParkedErrorForTheNextCheckpoint)
{
    AddThree();
    gErrHRESULT = -77;
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(0, m_row->MoveNext());
    EXPECT_EQ(0, m_row->MovePrev());
    EXPECT_EQ(0, m_row->MoveLast());
    EXPECT_EQ(0, m_row->AddNew());
    EXPECT_EQ(-77, gErrHRESULT);
    ASSERT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(-77, m_row->ReadFromDB()) << "a checkpoint after a call that succeeded";
    EXPECT_EQ(0, gErrHRESULT);
    EXPECT_EQ(0, m_row->ReadFromDB());
}

TEST_F(RowTest, ABookmarkBringsARecordBackAndTouchesNoFlag)
{
    AddThree();
    EXPECT_EQ(0, m_row->setBookmark(m_oids[1]));
    EXPECT_EQ(m_oids[1], m_row->getBookmark());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(1, m_row->IsBOF());
    EXPECT_EQ(20, ReadId(*m_row));
    EXPECT_EQ(0, m_row->MoveNext());
    EXPECT_EQ(m_oids[2], m_row->getBookmark());
}

TEST_F(RowTest, BookmarksThatAreNoneRaise)
{
    AddThree();
    ASSERT_EQ(0, m_row->MoveFirst());
    EXPECT_ROW_RAISE(556, E_FAIL, "Invalid bookmark", m_row->setBookmark(0));
    EXPECT_EQ(m_oids[0], m_row->getBookmark());
    EXPECT_ROW_RAISE(562, E_FAIL, "Set bookmark failed", m_row->setBookmark(0xFFFFFFF0));
    EXPECT_EQ(0u, m_row->getBookmark());
}

TEST_F(RowTest, AStaleBookmarkRaisesAndLeavesNoRecord)
{
    AddThree();
    ASSERT_EQ(0, m_row->setBookmark(m_oids[1]));
    ASSERT_EQ(0, m_row->Delete());
    EXPECT_ROW_RAISE(562, E_FAIL, "Set bookmark failed", m_row->setBookmark(m_oids[1]));
    EXPECT_EQ(0u, m_row->getBookmark());
}

TEST_F(RowTest, AddNewForgetsTheRecordAndKeepsValuesAndFlags)
{
    AddThree();
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_EQ(10, ReadId(*m_row));
    EXPECT_EQ(0, m_row->AddNew());
    EXPECT_EQ(0u, m_row->getBookmark());
    EXPECT_EQ(0, m_row->IsEOF());
    EXPECT_EQ(0, m_row->WriteToDB());
    EXPECT_NE(0u, m_row->getBookmark());
    EXPECT_EQ((std::vector<long>{10, 20, 30, 10}), Walk(*m_row));
}

TEST_F(RowTest, DeleteNeedsARecord)
{
    EXPECT_ROW_RAISE(596, E_FAIL, "Either BOF or EOF is true", m_row->Delete());
    AddThree();
    ASSERT_EQ(0, m_row->MoveLast());
    ASSERT_EQ(0, m_row->MoveNext());
    EXPECT_ROW_RAISE(596, E_FAIL, "Either BOF or EOF is true", m_row->Delete());
}

TEST_F(RowTest, DeleteStandsOnTheFollowingRecordAfterwards)
{
    AddThree();
    ASSERT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(0, m_row->Delete());
    EXPECT_EQ(m_oids[1], m_row->getBookmark());
    EXPECT_EQ(20, ReadId(*m_row));
    EXPECT_EQ(0, m_row->IsEOF());
    EXPECT_EQ(0, m_row->MoveLast());
    EXPECT_EQ(0, m_row->Delete());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(0u, m_row->getBookmark());
    EXPECT_EQ((std::vector<long>{20}), Walk(*m_row));
}

TEST_F(RowTest, DeletingFromTheFirstToTheLastEmptiesTheTable)
{
    for (long l = 0; l < 20; ++l) AddItem(l);
    int nDeleted = 0;
    ASSERT_EQ(0, m_row->MoveFirst());
    while (!m_row->IsEOF() && nDeleted < 100) {
        ASSERT_EQ(0, m_row->Delete());
        ++nDeleted;
    }
    EXPECT_EQ(20, nDeleted);
    unsigned long ulRows = 1;
    EXPECT_EQ(0, m_row->getNumRows(ulRows));
    EXPECT_EQ(0u, ulRows);
}

TEST_F(RowTest, ARecordThatAnotherRowDeletedCannotBeReadOrDeleted)
{
    AddThree();
    CSmartPtr<CRow> other;
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", other));
    ASSERT_EQ(0, m_row->setBookmark(m_oids[1]));
    ASSERT_EQ(0, other->setBookmark(m_oids[1]));
    ASSERT_EQ(0, other->Delete());
    EXPECT_ROW_RAISE(98, E_FAIL, "ERROR_KEY_DELETED", m_row->ReadFromDB());
    EXPECT_EQ(m_oids[1], m_row->getBookmark()) << "a failing read leaves the record as it was";
    EXPECT_ROW_RAISE(600, E_FAIL, "Error deleting record from database", m_row->Delete());
    EXPECT_EQ(0, m_row->MoveNext());
    EXPECT_EQ(m_oids[2], m_row->getBookmark());
}

TEST_F(RowTest, GetNumRowsCountsTheWholeTable)
{
    unsigned long ulRows = 99;
    EXPECT_EQ(0, m_row->getNumRows(ulRows));
    EXPECT_EQ(0u, ulRows);
    AddThree();
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    ASSERT_EQ(0, m_row->SetFilter(_variant_t(10L)));
    EXPECT_EQ(0, m_row->getNumRows(ulRows));
    EXPECT_EQ(3u, ulRows);
}

TEST_F(RowTest, GetNumRowsOfATableWithoutADatabaseRaises)
{
    unsigned long ulRows = 99;
    for (const CEOID oid : {0u, 0x7FFFFFF0u}) {
        m_row->getTable()->m_oid = oid;
        EXPECT_ROW_RAISE(610, E_FAIL, "Call to function CeOidGetInfo(...) failed", m_row->getNumRows(ulRows));
    }
    EXPECT_EQ(99u, ulRows);
}

TEST_F(RowTest, GetNumRowsOfWhatIsNoDatabaseRaises)
{
    unsigned long ulRows = 99;
    m_row->getTable()->m_oid = AddItem(1);
    EXPECT_ROW_RAISE(613, E_FAIL, "Invalid info type returned by CeOidGetInfo(...)", m_row->getNumRows(ulRows));
    EXPECT_EQ(99u, ulRows);
}

TEST_F(RowTest, AHandleClosedBehindTheRowsBackFailsEverything)
{
    AddThree();
    ASSERT_EQ(0, m_row->MoveFirst());
    ASSERT_TRUE(::CloseHandle(COpenRow(*m_row).Shared().hDatabase));
    EXPECT_ROW_RAISE(92, E_FAIL, "ERROR_INVALID_PARAMETER", m_row->ReadFromDB());
    EXPECT_ROW_RAISE(600, E_FAIL, "Error deleting record from database", m_row->Delete());
    EXPECT_ROW_RAISE(488, E_FAIL, "Unable to close previous database", m_row->SetIndex(L"ById"));
    EXPECT_ROW_RAISE(380, E_FAIL, "Call to function CeWriteRecordProps(...) failed", m_row->WriteToDB());
    EXPECT_EQ(0u, m_row->getBookmark()) << "a failed write leaves no record";
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(1, m_row->IsEOF());
    m_row = nullptr;
    EXPECT_EQ(E_FAIL, gErrHRESULT);
    EXPECT_STREQ(L"korvanedb/row", gErrFilename);
    EXPECT_EQ(37, gErrLinenumber);
    gErrHRESULT = 0;
}

TEST_F(RowTest, ReadingPastTheEndRaises)
{
    AddThree();
    ASSERT_EQ(0, m_row->MoveLast());
    ASSERT_EQ(0, m_row->MoveNext());
    EXPECT_ROW_RAISE(100, E_FAIL, "ERROR_NO_MORE_ITEMS ", m_row->ReadFromDB());
}
