// Connections: opening from catalogues, closing, opening tables, and each of their failures.
#include "db_fixture.h"

class ConnectionTest : public CDbTest
{
protected:
    ConnectionTest() : m_volume(m_folder.File(L"items.vol")) {}

    // Opens, and closes what a failed opening leaves open, so that the volume's file can go.
    void CloseSlots(COpenConnection& connection)
    {
        for (auto& slot : connection.m_slots)
            if (slot.hDatabase != INVALID_HANDLE_VALUE && !::CloseHandle(slot.hDatabase))
                ADD_FAILURE() << ::GetLastError();
        connection.Initialize();
    }

    CItemsVolume m_volume;
    COpenConnection m_connection;
    CSmartPtr<CRow> m_row;
};

TEST_F(ConnectionTest, ANewConnectionIsClosedAndEmpty)
{
    EXPECT_EQ(0, m_connection.m_bOpen);
    EXPECT_EQ(0, m_connection.m_lRefs);
    EXPECT_TRUE(m_connection.m_sName.IsEmpty());
    EXPECT_TRUE(m_connection.GetTableNames().empty());
    EXPECT_TRUE(CHECK_SYSTEMGUID(m_connection.GetVolGUID()));
    for (const auto& slot : m_connection.m_slots) {
        EXPECT_EQ(0u, slot.oid);
        EXPECT_EQ(INVALID_HANDLE_VALUE, slot.hDatabase);
    }
}

TEST_F(ConnectionTest, ClosingWhatWasNeverOpenIsFine)
{
    EXPECT_EQ(0, m_connection.Close());
    EXPECT_EQ(0, m_connection.Close());
}

TEST_F(ConnectionTest, OpenReadsTheCatalogues)
{
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(1, m_connection.m_bOpen);
    EXPECT_STREQ(m_volume.Path(), m_connection.m_sName);
    EXPECT_EQ(0, memcmp(m_volume.Guid(), m_connection.GetVolGUID(), sizeof(CEGUID)));
    EXPECT_EQ(::GetProcessHeap(), m_connection.m_hHeap);
    ASSERT_EQ(1u, m_connection.m_tables.size());
    CTable& table = *m_connection.m_tables.begin()->second;
    EXPECT_EQ(m_volume.m_oidItems, table.GetOID());
    ASSERT_EQ(kItemFields, table.m_nFields);
    EXPECT_STREQ(L"Flag", table.m_pFields[6].m_sName);
    EXPECT_EQ(kFlag, table.m_pFields[6].m_propid);
    EXPECT_EQ(1, table.m_pFields[6].m_lLen);
    EXPECT_EQ(-7, table.m_pFields[6].m_lType);
    ASSERT_EQ(4, table.m_nIndexes);
    EXPECT_STREQ(L"BySmall", table.m_pIndexes[2].m_sName);
    EXPECT_EQ(kSmall, table.m_pIndexes[2].m_propid);
    EXPECT_EQ(1u, table.m_pIndexes[2].m_dwFlags);
}

TEST_F(ConnectionTest, AfterOpenTheSlotsKeepTheOidsAndHaveNoHandles)
{
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(m_volume.m_oidTables, m_connection.m_slots[0].oid);
    EXPECT_EQ(m_volume.m_oidFields, m_connection.m_slots[1].oid);
    EXPECT_EQ(m_volume.m_oidIndexes, m_connection.m_slots[2].oid);
    EXPECT_EQ(0u, m_connection.m_slots[3].oid);
    for (const auto& slot : m_connection.m_slots) EXPECT_EQ(INVALID_HANDLE_VALUE, slot.hDatabase);
}

TEST_F(ConnectionTest, OpenWhileOpenRaises)
{
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_CONNECTION_RAISE(143, "Already Open", m_connection.Open(m_volume.Path()));
    EXPECT_EQ(1, m_connection.m_bOpen);
    EXPECT_EQ(1u, m_connection.GetTableNames().size());
}

TEST_F(ConnectionTest, OpenOfAVolumeThatCannotBeMountedRaises)
{
    const std::wstring text = m_folder.File(L"text.vol");
    FILE* const pFile = _wfopen(text.c_str(), L"wb");
    fputs("not a volume", pFile);
    fclose(pFile);
    const std::wstring empty = m_folder.File(L"empty.vol");
    fclose(_wfopen(empty.c_str(), L"wb"));
    for (const std::wstring& path : {m_folder.File(L"missing.vol"), m_folder.File(L"no\\such\\folder.vol"),
                                     m_folder.Path(), text, empty, std::wstring(400, L'x')}) {
        CConnection connection;
        EXPECT_CONNECTION_RAISE(153, "Unable to mount database", connection.Open(path.c_str()));
        EXPECT_TRUE(connection.GetTableNames().empty());
    }
    EXPECT_EQ(INVALID_FILE_ATTRIBUTES, ::GetFileAttributesW(m_folder.File(L"missing.vol").c_str())) << "it was created";
}

TEST_F(ConnectionTest, AFailedOpenLeavesTheConnectionToBeOpenedAgain)
{
    EXPECT_EQ(E_FAIL, m_connection.Open(m_folder.File(L"missing.vol").c_str()));
    EXPECT_EQ(0, m_connection.m_bOpen);
    EXPECT_TRUE(m_connection.m_sName.IsEmpty());
    EXPECT_EQ(0, m_connection.Open(m_volume.Path()));
}

TEST_F(ConnectionTest, AMissingFirstCatalogueRaisesAndUnmounts)
{
    CVolume volume(m_folder.File(L"bare.vol"));
    EXPECT_CONNECTION_RAISE(159, "CEOpenDatabaseEx failed", m_connection.Open(volume.Path()));
    EXPECT_EQ(0, m_connection.m_bOpen);
    EXPECT_CONNECTION_RAISE(236, "General error", [&] {
        // The connection took its mount back; with the test's own gone too, nobody has the volume mounted.
        EXPECT_TRUE(::CeUnmountDBVol(volume.Guid()));
        const long hr = m_connection.Close();
        EXPECT_TRUE(::CeMountDBVol(volume.Guid(), volume.Path(), OPEN_EXISTING));
        return hr;
    }());
}

TEST_F(ConnectionTest, ReadingACatalogueCanFailAndLeavesTheConnectionClosed)
{
    // A record without any of the properties makes the read fail with "no data".
    m_volume.Add(m_volume.m_oidFields, {I4(0x00990003, 1)});
    EXPECT_ROW_RAISE(94, E_FAIL, "ERROR_NO_DATA", m_connection.Open(m_volume.Path()));
    EXPECT_EQ(0, m_connection.m_bOpen);
    EXPECT_TRUE(m_connection.m_tables.empty());
    for (int nSlot = 0; nSlot < 3; ++nSlot) EXPECT_NE(INVALID_HANDLE_VALUE, m_connection.m_slots[nSlot].hDatabase);
    CloseSlots(m_connection);
}

TEST_F(ConnectionTest, AFailureWhileReadingIsTheSameForEachCatalogue)
{
    for (const CEOID oid : {m_volume.m_oidTables, m_volume.m_oidIndexes}) {
        const CEOID oidBad = m_volume.Add(oid, {I4(0x00990003, 1)});
        COpenConnection connection;
        EXPECT_ROW_RAISE(94, E_FAIL, "ERROR_NO_DATA", connection.Open(m_volume.Path()));
        CloseSlots(connection);
        CEOID oidOpen = oid;
        const HANDLE hDatabase = ::CeOpenDatabaseEx(m_volume.Guid(), &oidOpen, nullptr, 0, 0, nullptr);
        EXPECT_TRUE(::CeDeleteRecord(hDatabase, oidBad));
        ::CloseHandle(hDatabase);
    }
    EXPECT_EQ(0, m_connection.Open(m_volume.Path()));
}

TEST_F(ConnectionTest, WhatWasReadBeforeAFailureStaysInTheMap)
{
    m_volume.Add(m_volume.m_oidTables, {I4(0x00990003, 1)});
    EXPECT_EQ(E_FAIL, m_connection.Open(m_volume.Path()));
    std::map<CString, unsigned long> tables;
    EXPECT_ROW_RAISE(94, E_FAIL, "ERROR_NO_DATA", m_connection.FillTables(tables));
    EXPECT_EQ(1u, tables.size());
    EXPECT_EQ(m_volume.m_oidItems, tables[L"Items"]);
    CloseSlots(m_connection);
}

TEST_F(ConnectionTest, ReleaseSystemTablesRaisesForEachHandleThatCannotBeClosed)
{
    static const struct
    {
        int nSlot;
        unsigned long ulLine;
    } kCases[] = {{0, 221}, {1, 223}, {2, 225}};
    for (const auto& c : kCases) {
        CEOID oid = m_volume.m_oidItems;
        const HANDLE hClosed = ::CeOpenDatabaseEx(m_volume.Guid(), &oid, nullptr, 0, 0, nullptr);
        ASSERT_TRUE(::CloseHandle(hClosed));
        m_connection.Initialize();
        m_connection.m_slots[c.nSlot] = {oid, hClosed};
        EXPECT_CONNECTION_RAISE(c.ulLine, "General error", m_connection.ReleaseSystemTables());
        EXPECT_EQ(hClosed, m_connection.m_slots[c.nSlot].hDatabase);
        m_connection.Initialize();
    }
}

TEST_F(ConnectionTest, ReleaseSystemTablesClosesTheHandlesAndKeepsTheOids)
{
    CEOID oid = m_volume.m_oidItems;
    for (int nSlot = 0; nSlot < 3; ++nSlot)
        m_connection.m_slots[nSlot] = {oid, ::CeOpenDatabaseEx(m_volume.Guid(), &oid, nullptr, 0, 0, nullptr)};
    EXPECT_EQ(0, m_connection.ReleaseSystemTables());
    for (int nSlot = 0; nSlot < 3; ++nSlot) {
        EXPECT_EQ(oid, m_connection.m_slots[nSlot].oid);
        EXPECT_EQ(INVALID_HANDLE_VALUE, m_connection.m_slots[nSlot].hDatabase);
    }
    EXPECT_EQ(0, m_connection.ReleaseSystemTables()) << "nothing is left to be closed";
}

TEST_F(ConnectionTest, ASecondCloseRaisesBecauseTheGuidIsKept)
{
    {
        CItemsVolume volume(m_folder.File(L"other.vol"));
    }
    ASSERT_EQ(0, m_connection.Open(m_folder.File(L"other.vol").c_str()));
    EXPECT_EQ(0, m_connection.Close());
    EXPECT_EQ(0, m_connection.m_bOpen);
    EXPECT_FALSE(CHECK_SYSTEMGUID(m_connection.GetVolGUID()));
    EXPECT_CONNECTION_RAISE(236, "General error", m_connection.Close());
    EXPECT_STREQ(m_folder.File(L"other.vol").c_str(), m_connection.m_sName);
}

TEST_F(ConnectionTest, AFailedCloseChangesNothing)
{
    {
        CItemsVolume volume(m_folder.File(L"other.vol"));
    }
    ASSERT_EQ(0, m_connection.Open(m_folder.File(L"other.vol").c_str()));
    EXPECT_TRUE(::CeUnmountDBVol(m_connection.GetVolGUID())) << "behind the connection's back";
    EXPECT_CONNECTION_RAISE(236, "General error", m_connection.Close());
    EXPECT_EQ(1, m_connection.m_bOpen);
    EXPECT_CONNECTION_RAISE(143, "Already Open", m_connection.Open(m_volume.Path()));
}

TEST_F(ConnectionTest, ALiveRowDoesNotMakeCloseFailAndGoesOnWorking)
{
    {
        CItemsVolume volume(m_folder.File(L"other.vol"));
        volume.Add(volume.m_oidItems, {I4(kId, 5)});
    }
    ASSERT_EQ(0, m_connection.Open(m_folder.File(L"other.vol").c_str()));
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    EXPECT_EQ(0, m_connection.Close());
    EXPECT_EQ(0, m_row->MoveFirst());
    EXPECT_EQ(0, m_row->ReadFromDB());
    _variant_t id;
    EXPECT_EQ(0, m_row->getVal(L"Id", id));
    EXPECT_EQ("I4:5", Describe(id));
    m_row = nullptr;
}

TEST_F(ConnectionTest, AfterCloseTheTablesAreListedButCannotBeOpened)
{
    {
        CItemsVolume volume(m_folder.File(L"other.vol"));
    }
    ASSERT_EQ(0, m_connection.Open(m_folder.File(L"other.vol").c_str()));
    EXPECT_EQ(0, m_connection.Close());
    EXPECT_EQ(1u, m_connection.GetTableNames().size());
    EXPECT_CONNECTION_RAISE(449, "Call to function CeOpenDatabase(...) failed",
                            m_connection.OpenTable(L"Items", m_row));
    EXPECT_FALSE(m_row);
}

TEST_F(ConnectionTest, OpenAfterCloseKeepsTheEarlierDefinitionsOfKnownNames)
{
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    CTable* const pBefore = m_connection.m_tables[L"Items"];
    EXPECT_EQ(0, m_connection.Close());
    const CEOID oidMore = m_volume.Create(L"More");
    m_volume.CatalogueTable(L"More", oidMore);
    m_volume.CatalogueField(m_volume.m_oidItems, L"Late", 0x00080003);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(2u, m_connection.m_tables.size());
    EXPECT_EQ(pBefore, m_connection.m_tables[L"Items"]);
    EXPECT_EQ(kItemFields, m_connection.m_tables[L"Items"]->m_nFields);
    EXPECT_EQ(oidMore, m_connection.m_tables[L"More"]->GetOID());
}

TEST_F(ConnectionTest, AnEmptyNameOpensTheObjectStoreAndMountsNothing)
{
    CEGUID guid;
    CREATE_SYSTEMGUID(&guid);
    std::vector<CEOID> oids;
    for (const wchar_t* pszName : {L"MSysTables", L"MSysFields", L"MSysIndexes"})
        oids.push_back(::CeCreateDatabase(const_cast<wchar_t*>(pszName), 0, 0, nullptr));
    EXPECT_EQ(0, m_connection.Open(L""));
    EXPECT_TRUE(CHECK_SYSTEMGUID(m_connection.GetVolGUID()));
    EXPECT_TRUE(m_connection.GetTableNames().empty());
    EXPECT_EQ(0, m_connection.Close());
    EXPECT_EQ(0, m_connection.Close()) << "nothing to unmount, however often";
    EXPECT_EQ(0, m_connection.Open(nullptr)) << "no name is an empty one";
    EXPECT_EQ(0, m_connection.Close());
    for (CEOID oid : oids) EXPECT_TRUE(::CeDeleteDatabase(oid));
    EXPECT_CONNECTION_RAISE(159, "CEOpenDatabaseEx failed", m_connection.Open(L""));
}

TEST_F(ConnectionTest, OpenTableFindsExactNamesOnly)
{
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    CRow* const pBefore = m_row;
    EXPECT_CONNECTION_RAISE(431, "Table not found", m_connection.OpenTable(L"items", m_row));
    EXPECT_CONNECTION_RAISE(431, "Table not found", m_connection.OpenTable(L"Items ", m_row));
    EXPECT_CONNECTION_RAISE(431, "Table not found", m_connection.OpenTable(L"", m_row));
    EXPECT_EQ(pBefore, m_row) << "the row stays on failure";
}

TEST_F(ConnectionTest, OpenTableReplacesTheRowThatItIsGiven)
{
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    const HANDLE hBefore = COpenRow(*m_row).Shared().hDatabase;
    ASSERT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    EXPECT_EQ(1, m_row->AddRef());
    m_row->Release();
    EXPECT_FALSE(::CloseHandle(hBefore)) << "the replaced row closed its handle";
}

TEST_F(ConnectionTest, ATableWhoseDatabaseIsGoneCannotBeOpened)
{
    m_volume.Remove(m_volume.m_oidItems);
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    EXPECT_CONNECTION_RAISE(449, "Call to function CeOpenDatabase(...) failed",
                            m_connection.OpenTable(L"Items", m_row));
    EXPECT_EQ(1u, m_connection.GetTableNames().size());
}

TEST_F(ConnectionTest, AParkedErrorComesOutAtTheFirstCheckpointOfOpen)
{
    gErrHRESULT = -77;
    EXPECT_EQ(-77, m_connection.Open(m_volume.Path()));
    EXPECT_EQ(0, gErrHRESULT);
    EXPECT_EQ(0, m_connection.m_bOpen);
    CloseSlots(m_connection);
}

TEST_F(ConnectionTest, CloseAndOpenTableWithoutARaiseLeaveAParkedErrorAlone)
{
    ASSERT_EQ(0, m_connection.Open(m_volume.Path()));
    gErrHRESULT = -77;
    EXPECT_EQ(0, m_connection.OpenTable(L"Items", m_row));
    EXPECT_EQ(0, m_connection.Close());
    EXPECT_EQ(-77, gErrHRESULT);
    EXPECT_EQ(-77, m_connection.OpenTable(L"none", m_row)) << "it wins over the raise";
    EXPECT_EQ(0, gErrHRESULT);
    CREATE_SYSTEMGUID(&m_connection.m_guid); // so that the destructor does not take the test's own mount
}
