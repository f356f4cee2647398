// Handles: what is none, closing, and system handles that go through the same function.
#include "support.h"

#include <set>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);

class HandleTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"handles", {Order({{kNumber}})});
    }
    // Every call that takes a database handle.
    static void ExpectNoHandle(HANDLE h)
    {
        SCOPED_TRACE(h);
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSeekDatabase(h, CEDB_SEEK_BEGINNING, 0, nullptr));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSeekDatabaseEx(h, CEDB_SEEK_BEGINNING, 0, 1, nullptr));
        alignas(4) BYTE rgBuffer[64];
        LPBYTE pBuffer = rgBuffer;
        DWORD cbBuffer = sizeof rgBuffer;
        WORD wCount = 0;
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeReadRecordProps(h, 0, &wCount, nullptr, &pBuffer, &cbBuffer));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER,
                     ::CeReadRecordPropsEx(h, 0, &wCount, nullptr, &pBuffer, &cbBuffer, nullptr));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(h, 0, CProps().I4(1, 1)));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(h, 1));
        BY_HANDLE_DB_INFORMATION info = {};
        info.wVersion = BY_HANDLE_DB_INFORMATION_VERSION;
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeGetDBInformationByHandle(h, &info));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFindNextDatabase(h));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFindNextDatabaseEx(h, nullptr));
    }
    CEOID m_oidDatabase = 0;
};

TEST_F(HandleTest, ValuesThatAreNoHandlesAreRefused)
{
    CDb db = OpenDb(m_guid, m_oidDatabase);
    const UINT_PTR nReal = reinterpret_cast<UINT_PTR>(static_cast<HANDLE>(db));
    for (const UINT_PTR n : {UINT_PTR(0), ~UINT_PTR(0), ~UINT_PTR(1), UINT_PTR(1), UINT_PTR(4), UINT_PTR(0x7FFFFFFF),
                             UINT_PTR(0x80000000), nReal ^ 1, nReal ^ 2, nReal ^ 4, nReal + 0x10000, nReal - 0x10000,
                             nReal ^ 0x80000000, nReal << 1, nReal >> 1})
        ExpectNoHandle(reinterpret_cast<HANDLE>(n));
    EXPECT_WORKS(Write(db, 0, CProps().I4(1, 1))) << "the real one suffered";
}

TEST_F(HandleTest, ASystemHandleIsNoDatabase)
{
    const HANDLE hEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ExpectNoHandle(hEvent);
    EXPECT_TRUE(CloseHandle(hEvent));
}

TEST_F(HandleTest, ADatabaseHandleHasAValueThatNoSystemHandleCanHave)
{
    const CDb db = OpenDb(m_guid, m_oidDatabase);
    DWORD dwFlags = 0;
    EXPECT_FALSE(::GetHandleInformation(db, &dwFlags)) << "the system knows it";
    const HANDLE hEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_NE(hEvent, static_cast<HANDLE>(db));
    // System handles are multiples of four.
    EXPECT_NE(0u, reinterpret_cast<UINT_PTR>(static_cast<HANDLE>(db)) & 3);
    CloseHandle(hEvent);
}

TEST_F(HandleTest, AHandleIsClosedOnce)
{
    const HANDLE h = OpenDb(m_guid, m_oidDatabase).Detach();
    EXPECT_WORKS(CloseHandle(h));
    EXPECT_FAILS(ERROR_INVALID_HANDLE, CloseHandle(h));
    ExpectNoHandle(h);
    const CDb next = OpenDb(m_guid, m_oidDatabase);
    EXPECT_NE(h, static_cast<HANDLE>(next)) << "an old value must not reach a new handle";
    EXPECT_FAILS(ERROR_INVALID_HANDLE, CloseHandle(h));
    EXPECT_WORKS(Write(next, 0, CProps().I4(1, 1)));
}

TEST_F(HandleTest, AClosedValueStaysDeadForAThousandMore)
{
    std::set<HANDLE> seen;
    for (int i = 0; i < 1000; ++i) {
        CDb db = OpenDb(m_guid, m_oidDatabase);
        EXPECT_TRUE(seen.insert(static_cast<HANDLE>(db)).second) << "a value came twice after " << i;
    }
}

TEST_F(HandleTest, ClosingWhatIsNoHandleFails)
{
    EXPECT_FAILS(ERROR_INVALID_HANDLE, CloseHandle(INVALID_HANDLE_VALUE));
    EXPECT_FAILS(ERROR_INVALID_HANDLE, CloseHandle(nullptr));
    EXPECT_FAILS(ERROR_INVALID_HANDLE, CloseHandle(reinterpret_cast<HANDLE>(0x12345677)));
    EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeCloseHandle(INVALID_HANDLE_VALUE));
}

TEST_F(HandleTest, SystemHandlesAreClosedByTheSystem)
{
    const HANDLE hEvent = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    DWORD dwFlags = 0;
    EXPECT_TRUE(::GetHandleInformation(hEvent, &dwFlags));
    EXPECT_TRUE(CloseHandle(hEvent));
    EXPECT_FALSE(::GetHandleInformation(hEvent, &dwFlags));
    const HANDLE hFile =
        ::CreateFileW(m_folder.File(L"a file").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr);
    EXPECT_TRUE(CloseHandle(hFile));
    EXPECT_TRUE(::DeleteFileW(m_folder.File(L"a file").c_str()));
}

TEST_F(HandleTest, EnumerationHandlesAreClosedTheSameWay)
{
    const HANDLE h = ::CeFindFirstDatabaseEx(&m_guid, 0);
    ASSERT_WORKS(h);
    EXPECT_WORKS(CloseHandle(h));
    EXPECT_FAILS(ERROR_INVALID_HANDLE, CloseHandle(h));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFindNextDatabaseEx(h, nullptr));
}

TEST_F(HandleTest, HandlesOfAVolumeThatIsGoneWorkOnUntilTheyAreClosed)
{
    CDb first = OpenDb(m_guid, m_oidDatabase), second = OpenDb(m_guid, m_oidDatabase, kNumber);
    CEGUID old = m_guid;
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    EXPECT_WORKS(Write(first, 0, CProps().I4(1, 1)));
    EXPECT_EQ("1:I4=1", (::CeSeekDatabase(second, CEDB_SEEK_BEGINNING, 0, nullptr), Read(second)).strContent);
    CEOID oid = m_oidDatabase;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOpenDatabaseEx(&old, &oid, nullptr, 0, 0, nullptr)) << "the name is gone";
    EXPECT_FAILS(ERROR_SHARING_VIOLATION, ::CeMountDBVol(&m_guid, m_strPath.data(), CREATE_ALWAYS))
        << "the file is still held";
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    EXPECT_EQ(1u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_WORKS(Write(second, 0, CProps().I4(1, 2)));
    EXPECT_EQ(2u, CountRecords(m_guid, m_oidDatabase)) << "both are the same volume";
    first.Close();
    second.Close();
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(HandleTest, AHandleKeepsItsPlaceAcrossAnUnmount)
{
    CDb db = OpenDb(m_guid, m_oidDatabase, kNumber);
    const CEOID a = Write(db, 0, CProps().I4(1, 1)), b = Write(db, 0, CProps().I4(1, 2));
    EXPECT_EQ(a, ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr));
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    EXPECT_WORKS(::CeDeleteRecord(db, a));
    EXPECT_EQ(b, ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr));
}

} // namespace
