// Indexes, seeks and filters.
#include "db_fixture.h"

#include <korvanebatch.h>

using namespace KorvaneDB;

class IndexTest : public CItemsTest
{
protected:
    IndexTest()
    {
        m_oids = {AddItem(30, L"pear", 1), AddItem(10, L"fig", 2), AddItem(20, L"apple", 2), AddItem(20, L"quince", 3)};
    }
    std::vector<CEOID> m_oids;
};

TEST_F(IndexTest, AnIndexOrdersTheWalk)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    EXPECT_EQ((std::vector<long>{10, 20, 20, 30}), Walk(*m_row));
    ASSERT_EQ(0, m_row->SetIndex(L"ByName"));
    EXPECT_EQ((std::vector<long>{20, 10, 30, 20}), Walk(*m_row));
    ASSERT_EQ(0, m_row->SetIndex(L"BySmall"));
    EXPECT_EQ(20, Walk(*m_row).front()) << "descending";
}

TEST_F(IndexTest, SetIndexKeepsTheCurrentRecordAndTheFlags)
{
    ASSERT_EQ(0, m_row->setBookmark(m_oids[2]));
    EXPECT_EQ(0, m_row->SetIndex(L"ByName"));
    EXPECT_EQ(m_oids[2], m_row->getBookmark());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(0, m_row->MoveNext());
    EXPECT_EQ(m_oids[1], m_row->getBookmark()) << "fig follows apple";
}

TEST_F(IndexTest, SetIndexDropsTheFilter)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    ASSERT_EQ(0, m_row->SetFilter(_variant_t(20L)));
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    _variant_t filter(1L);
    EXPECT_EQ(0, m_row->GetFilter(filter));
    EXPECT_EQ("EMPTY", Describe(filter));
    EXPECT_EQ(4u, Walk(*m_row).size());
}

TEST_F(IndexTest, AnUnknownIndexNameRaisesBeforeTheHandleIsTouched)
{
    COpenRow open(*m_row);
    const HANDLE hBefore = open.Shared().hDatabase;
    ASSERT_EQ(0, m_row->SetFilter(_variant_t(20L)));
    for (const wchar_t* pszName : {L"Nothing", L"byid", L"ById ", L""})
        EXPECT_ROW_RAISE(471, E_FAIL, "Unknown index name", m_row->SetIndex(pszName));
    EXPECT_EQ(hBefore, open.Shared().hDatabase);
    _variant_t filter;
    EXPECT_EQ(0, m_row->GetFilter(filter));
    EXPECT_EQ("I4:20", Describe(filter));
    EXPECT_ROW_RAISE(516, E_FAIL, "Index has not been set", m_row->Seek(SeekValueFirstEqual, filter));
}

TEST_F(IndexTest, AFailedReopeningLeavesAnInvalidHandleThatIsClosedOnlyToFail)
{
    m_row->getTable()->m_oid = 0x7FFFFFF0;
    EXPECT_ROW_RAISE(497, E_FAIL, "Unable to open database", m_row->SetIndex(L"ById"));
    EXPECT_EQ(INVALID_HANDLE_VALUE, COpenRow(*m_row).Shared().hDatabase);
    EXPECT_ROW_RAISE(488, E_FAIL, "Unable to close previous database", m_row->SetIndex(L"ById"));
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(0, gErrHRESULT);
    m_row = nullptr;
    EXPECT_EQ(E_FAIL, gErrHRESULT);
    EXPECT_EQ(37, gErrLinenumber);
    gErrHRESULT = 0;
}

TEST_F(IndexTest, UnmountingBehindTheConnectionMakesReopeningFail)
{
    ASSERT_TRUE(::CeUnmountDBVol(m_volume.Guid()));
    ASSERT_TRUE(::CeUnmountDBVol(m_volume.Guid()));
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(30, ReadId(*m_row)) << "the open handle goes on";
    EXPECT_ROW_RAISE(497, E_FAIL, "Unable to open database", m_row->SetIndex(L"ById"));
    unsigned long ulRows;
    EXPECT_ROW_RAISE(610, E_FAIL, "Call to function CeOidGetInfo(...) failed", m_row->getNumRows(ulRows));
    m_row = nullptr;
    EXPECT_EQ(E_FAIL, gErrHRESULT);
    gErrHRESULT = 0;
    ASSERT_TRUE(::CeMountDBVol(m_volume.Guid(), m_volume.Path(), OPEN_EXISTING));
    CREATE_SYSTEMGUID(&m_connection.m_guid); // so that the destructor does not take the test's own mount
}

TEST_F(IndexTest, ARecordThatIsGoneMakesSetIndexFailInTheNewOrder)
{
    CSmartPtr<CRow> other;
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", other));
    ASSERT_EQ(0, m_row->setBookmark(m_oids[0]));
    ASSERT_EQ(0, other->setBookmark(m_oids[0]));
    ASSERT_EQ(0, other->Delete());
    EXPECT_ROW_RAISE(562, E_FAIL, "Set bookmark failed", m_row->SetIndex(L"ById"));
    EXPECT_EQ(0u, m_row->getBookmark());
    EXPECT_ROW_RAISE(516, E_FAIL, "Index has not been set", m_row->Seek(SeekValueFirstEqual, _variant_t(10L)));
    EXPECT_EQ((std::vector<long>{10, 20, 20}), Walk(*m_row)) << "the handle has the new order";
}

TEST_F(IndexTest, ARowThatDoesNotOwnItsHandleLeavesBothOpen)
{
    CEOID oid = m_volume.m_oidItems;
    const HANDLE hFirst = ::CeOpenDatabaseEx(m_volume.Guid(), &oid, nullptr, 0, 0, nullptr);
    HANDLE hSecond;
    {
        CRow row(m_row->getTable(), hFirst, 0);
        EXPECT_EQ(0, row.SetIndex(L"ById"));
        hSecond = COpenRow(row).Shared().hDatabase;
        EXPECT_NE(hFirst, hSecond);
    }
    EXPECT_TRUE(::CloseHandle(hFirst));
    EXPECT_TRUE(::CloseHandle(hSecond));
}

TEST_F(IndexTest, SeekNeedsAnIndex)
{
    ASSERT_EQ(0, m_row->MoveFirst());
    EXPECT_ROW_RAISE(516, E_FAIL, "Index has not been set", m_row->Seek(SeekValueFirstEqual, _variant_t(20L)));
    EXPECT_EQ(m_oids[0], m_row->getBookmark());
}

TEST_F(IndexTest, SeekFindsAndWalksTheEqualRecords)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    EXPECT_EQ(0, m_row->Seek(SeekValueFirstEqual, _variant_t(20L)));
    EXPECT_EQ(m_oids[2], m_row->getBookmark());
    EXPECT_EQ(0, m_row->IsEOF());
    EXPECT_EQ(0, m_row->IsBOF());
    EXPECT_EQ(0, m_row->Seek(SeekValueNextEqual, _variant_t(20L)));
    EXPECT_EQ(m_oids[3], m_row->getBookmark());
    EXPECT_EQ(1, m_row->Seek(SeekValueNextEqual, _variant_t(20L)));
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(0, m_row->IsBOF());
    EXPECT_EQ(0u, m_row->getBookmark());
}

TEST_F(IndexTest, SeekForSmallerAndGreaterValues)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    EXPECT_EQ(0, m_row->Seek(SeekValueSmaller, _variant_t(30L)));
    EXPECT_EQ(20, ReadId(*m_row));
    EXPECT_EQ(0, m_row->Seek(SeekValueGreater, _variant_t(11L)));
    EXPECT_EQ(20, ReadId(*m_row));
    EXPECT_EQ(1, m_row->Seek(SeekValueGreater, _variant_t(31L)));
    EXPECT_EQ(1, m_row->Seek(SeekValueSmaller, _variant_t(10L)));
}

TEST_F(IndexTest, SeekFindingNothingKeepsBof)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    EXPECT_EQ(1, m_row->IsBOF());
    EXPECT_EQ(1, m_row->Seek(SeekValueFirstEqual, _variant_t(99L)));
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(1, m_row->IsBOF());
    ASSERT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(1, m_row->Seek(SeekValueFirstEqual, _variant_t(99L)));
    EXPECT_EQ(0, m_row->IsBOF());
    EXPECT_EQ(0u, m_row->getBookmark());
}

TEST_F(IndexTest, SeekOnATextIndex)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ByName"));
    EXPECT_EQ(0, m_row->Seek(SeekValueFirstEqual, Bstr(L"fig")));
    EXPECT_EQ(m_oids[1], m_row->getBookmark());
    EXPECT_EQ(1, m_row->Seek(SeekValueFirstEqual, Bstr(L"fi")));
    _variant_t none = OfType(VT_BSTR);
    EXPECT_EQ(1, m_row->Seek(SeekValueFirstEqual, none)) << "a null text is the empty one";
    AddItem(5, L"");
    EXPECT_EQ(0, m_row->Seek(SeekValueFirstEqual, none));
    const std::wstring longText(5000, L'z');
    AddItem(6, longText.c_str());
    EXPECT_EQ(0, m_row->Seek(SeekValueFirstEqual, Bstr(longText.c_str())));
    EXPECT_EQ(6, ReadId(*m_row));
    EXPECT_EQ(1, m_row->Seek(SeekValueFirstEqual, Bstr(std::wstring(4999, L'z').c_str())));
}

TEST_F(IndexTest, SeekWithAValueOfAnotherTypeRaisesAndMovesNothing)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    ASSERT_EQ(0, m_row->Seek(SeekValueFirstEqual, _variant_t(30L)));
    static const struct
    {
        VARTYPE vt;
        unsigned long ulLine;
    } kCases[] = {{VT_I2, 150}, {VT_UI2, 162}, {VT_R8, 174}, {VT_BOOL, 128}, {VT_DATE, 134}, {VT_BSTR, 180}};
    for (const auto& c : kCases)
        EXPECT_ROW_RAISE(c.ulLine, E_FAIL, "Incompatible types found", m_row->Seek(SeekValueFirstEqual, OfType(c.vt)));
    for (const VARTYPE vt : {VT_EMPTY, VT_CY, VT_DISPATCH, VT_I8})
        EXPECT_ROW_RAISE(185, E_FAIL, "Unsupported data type",
                         m_row->Seek(SeekValueFirstEqual, OfType(static_cast<VARTYPE>(vt))));
    EXPECT_EQ(30, ReadId(*m_row));
    ASSERT_EQ(0, m_row->SetIndex(L"ByName"));
    EXPECT_ROW_RAISE(156, E_FAIL, "Incompatible types found", m_row->Seek(SeekValueFirstEqual, _variant_t(1L)));
    EXPECT_EQ(m_oids[0], m_row->getBookmark());
}

TEST_F(IndexTest, AnUnsignedValueFindsItsSignedTwin)
{
    const CEOID oid = AddItem(-1);
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    _variant_t value = OfType(VT_UI4);
    V_UI4(&value) = 0xFFFFFFFF;
    EXPECT_EQ(0, m_row->Seek(SeekValueFirstEqual, value));
    EXPECT_EQ(oid, m_row->getBookmark());
}

TEST_F(IndexTest, AFilterLimitsTheWalkToItsValue)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    EXPECT_EQ(0, m_row->SetFilter(_variant_t(20L)));
    EXPECT_EQ((std::vector<long>{20, 20}), Walk(*m_row));
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(0, m_row->SetFilter(_variant_t(99L)));
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(1, m_row->IsEOF());
    EXPECT_EQ(1, m_row->IsBOF());
    EXPECT_EQ(0, m_row->MoveNext()) << "finding nothing is no failure";
    EXPECT_EQ(0, m_row->SetFilter(_variant_t()));
    EXPECT_EQ(4u, Walk(*m_row).size());
}

TEST_F(IndexTest, AFilterNeedsAnIndex)
{
    ASSERT_EQ(0, m_row->SetFilter(_variant_t(20L)));
    EXPECT_ROW_RAISE(516, E_FAIL, "Index has not been set", m_row->MoveFirst());
    EXPECT_ROW_RAISE(516, E_FAIL, "Index has not been set", m_row->MoveNext());
}

TEST_F(IndexTest, WithAFilterThereIsNoWayBack)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    for (const _variant_t& filter : {_variant_t(20L), Null(), Bstr(L"x"), _variant_t(1.5)}) {
        ASSERT_EQ(0, m_row->SetFilter(_variant_t()));
        ASSERT_EQ(0, m_row->MoveFirst());
        ASSERT_EQ(0, m_row->SetFilter(filter));
        EXPECT_ROW_RAISE(406, E_NOTIMPL, "Can not move prev with a filter set", m_row->MovePrev());
        EXPECT_ROW_RAISE(453, E_NOTIMPL, "Can not move last with a filter set", m_row->MoveLast());
        EXPECT_EQ(10, ReadId(*m_row));
        EXPECT_EQ(0, m_row->IsEOF());
        EXPECT_EQ(0, m_row->IsBOF());
    }
}

TEST_F(IndexTest, ANullFilterLooksForZeroOrTheEmptyText)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    ASSERT_EQ(0, m_row->SetFilter(Null()));
    EXPECT_TRUE(Walk(*m_row).empty());
    ASSERT_EQ(0, m_row->SetIndex(L"ByName"));
    ASSERT_EQ(0, m_row->SetFilter(Null()));
    EXPECT_TRUE(Walk(*m_row).empty());
    EXPECT_EQ(1, m_row->IsEOF());
}

TEST_F(IndexTest, DeleteWithAFilterSkipsNone)
{
    for (int i = 0; i < 5; ++i) AddItem(20, L"more");
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    ASSERT_EQ(0, m_row->SetFilter(_variant_t(20L)));
    int nDeleted = 0;
    ASSERT_EQ(0, m_row->MoveFirst());
    while (!m_row->IsEOF() && nDeleted < 50) {
        ASSERT_EQ(0, m_row->Delete());
        ++nDeleted;
    }
    EXPECT_EQ(7, nDeleted);
    ASSERT_EQ(0, m_row->SetFilter(_variant_t()));
    EXPECT_EQ((std::vector<long>{10, 30}), Walk(*m_row));
}

TEST_F(IndexTest, AVariantThatCannotBeCopiedEndsInAComError)
{
    _variant_t bad;
    V_VT(&bad) = 0x0FFF;
    long lCode = 0;
    try {
        m_row->SetFilter(bad);
    } catch (const _com_error& error) {
        lCode = error.Error();
    }
    EXPECT_EQ(static_cast<long>(DISP_E_BADVARTYPE), lCode);
    V_VT(&bad) = VT_EMPTY;
}

TEST_F(IndexTest, WithAFilterACheckpointTakesAParkedError)
{
    ASSERT_EQ(0, m_row->SetIndex(L"ById"));
    ASSERT_EQ(0, m_row->SetFilter(_variant_t(20L)));
    gErrHRESULT = -77;
    EXPECT_EQ(-77, m_row->MoveFirst());
    EXPECT_EQ(0, gErrHRESULT);
}

TEST_F(IndexTest, RowsOfABatchAreFoundByEveryIndexBeforeItsEnd)
{
    CEGUID* const pGuid = m_connection.GetVolGUID();
    CSmartPtr<CRow> byId, byName;
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", byId));
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", byName));
    ASSERT_EQ(0, byId->SetIndex(L"ById"));
    ASSERT_EQ(0, byName->SetIndex(L"ByName"));
    for (int i = 0; i < kItemFields; ++i) {
        _variant_t null = Null();
        ASSERT_EQ(0, m_row->setVal(i, null));
    }
    const auto add = [this](long lId, const wchar_t* pszName) {
        _variant_t id(lId), name = Bstr(pszName);
        m_row->AddNew();
        EXPECT_EQ(0, m_row->setVal(L"Id", id));
        EXPECT_EQ(0, m_row->setVal(L"Name", name));
        EXPECT_EQ(0, m_row->WriteToDB());
        return m_row->getBookmark();
    };
    unsigned long nRows = 0;
    for (const bool bCommit : {false, true}) {
        SCOPED_TRACE(bCommit);
        ASSERT_TRUE(::CeBeginBatch(pGuid));
        const unsigned long ulPlum = add(15, L"plum"), ulDate = add(5, L"date");
        EXPECT_EQ(0, byName->Seek(SeekValueFirstEqual, Bstr(L"plum")));
        EXPECT_EQ(ulPlum, byName->getBookmark());
        EXPECT_EQ((std::vector<long>{5, 10, 15, 20, 20, 30}), Walk(*byId));
        add(25, L"lime");
        EXPECT_EQ(0, byId->Seek(SeekValueGreater, _variant_t(21L)));
        EXPECT_EQ(25, ReadId(*byId));
        // One that has just come changes its place, another goes.
        _variant_t id(35L), name;
        EXPECT_EQ(0, m_row->setBookmark(ulDate));
        EXPECT_EQ(0, m_row->ReadFromDB());
        EXPECT_EQ(0, m_row->setVal(L"Id", id));
        EXPECT_EQ(0, m_row->WriteToDB());
        EXPECT_EQ(0, m_row->setBookmark(ulPlum));
        EXPECT_EQ(0, m_row->Delete());
        EXPECT_EQ((std::vector<long>{10, 20, 20, 25, 30, 35}), Walk(*byId));
        EXPECT_EQ((std::vector<long>{20, 35, 10, 25, 30, 20}), Walk(*byName));
        EXPECT_EQ(0, m_row->getNumRows(nRows));
        EXPECT_EQ(6u, nRows);
        ASSERT_TRUE(bCommit ? ::CeCommitBatch(pGuid) : ::CeAbandonBatch(pGuid));
        EXPECT_EQ(bCommit ? (std::vector<long>{10, 20, 20, 25, 30, 35}) : (std::vector<long>{10, 20, 20, 30}),
                  Walk(*byId));
    }
}
