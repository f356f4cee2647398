// A disk that is full, and a map that finds no room, at every moment that either can happen: the call fails, the volume
// stays as it was, and later calls work once there is room.
//
// Each operation is run again and again, with the first, the second, the third ... of the system's calls that take space
// failing, until one run meets no failure. With KORVANE_SMALL_DISK, the path of a folder on a disk of at most a few
// megabytes, real fullness is met too.
#include "support.h"
#include "support/import_patch.h"

#include <korvanebatch.h>

#include <algorithm>
#include <functional>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);

// ---- Failures of the system's calls --------------------------------------------------------------------------------

int g_nCall = 0, g_nFailAt = 0; // counted from 1; 0: none fails
bool g_bOn = false;             // the calls behind it fail as well

bool IsToFail()
{
    ++g_nCall;
    return g_nFailAt && (g_nCall == g_nFailAt || (g_bOn && g_nCall > g_nFailAt));
}

BOOL WINAPI FailingWrite(HANDLE hFile, LPCVOID p, DWORD cb, LPDWORD pcb, LPOVERLAPPED pOverlapped)
{
    if (!IsToFail()) return ::WriteFile(hFile, p, cb, pcb, pOverlapped);
    ::WriteFile(hFile, p, cb / 2, pcb, pOverlapped); // a disk takes what it can
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

BOOL WINAPI FailingFlush(HANDLE hFile)
{
    if (!IsToFail()) return ::FlushFileBuffers(hFile);
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

BOOL WINAPI FailingFlushView(LPCVOID p, SIZE_T cb)
{
    if (!IsToFail()) return ::FlushViewOfFile(p, cb);
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

HANDLE WINAPI FailingMapping(HANDLE hFile, LPSECURITY_ATTRIBUTES p, DWORD dwProtect, DWORD dwHigh, DWORD dwLow,
                             LPCWSTR pszName)
{
    if (!IsToFail()) return ::CreateFileMappingW(hFile, p, dwProtect, dwHigh, dwLow, pszName);
    ::SetLastError(ERROR_DISK_FULL);
    return nullptr;
}

LPVOID WINAPI FailingMap(HANDLE hMapping, DWORD dwAccess, DWORD dwHigh, DWORD dwLow, SIZE_T cb, LPVOID pAt)
{
    if (!IsToFail()) return ::MapViewOfFileEx(hMapping, dwAccess, dwHigh, dwLow, cb, pAt);
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

class CFailures
{
public:
    CFailures(int nFailAt, bool bOn)
    {
        g_nCall = 0;
        g_nFailAt = nFailAt;
        g_bOn = bOn;
    }
    ~CFailures() { g_nFailAt = 0; }
    static bool Met() { return g_nFailAt && g_nCall >= g_nFailAt; }

private:
    CImportPatch m_write{L"korvanestore.dll", "WriteFile", &FailingWrite};
    CImportPatch m_flush{L"korvanestore.dll", "FlushFileBuffers", &FailingFlush};
    CImportPatch m_flushView{L"korvanestore.dll", "FlushViewOfFile", &FailingFlushView};
    CImportPatch m_mapping{L"korvanestore.dll", "CreateFileMappingW", &FailingMapping};
    CImportPatch m_map{L"korvanestore.dll", "MapViewOfFileEx", &FailingMap};
};

// ---- Volumes and their states --------------------------------------------------------------------------------------

std::string State(CEGUID guid)
{
    std::string strState;
    const CDb search(::CeFindFirstDatabaseEx(&guid, 0));
    while (const CEOID oidDatabase = ::CeFindNextDatabaseEx(search, nullptr)) {
        const CDb db = OpenDb(guid, oidDatabase);
        strState += "database " + std::to_string(oidDatabase) + "\n";
        for (const CEOID oid : WalkForward(db))
            strState += std::to_string(oid) + " " + ReadOid(db, oid).strContent + "\n";
    }
    return strState;
}

CEOID Find(CEGUID guid, const wchar_t* pszName)
{
    CEOID oid = 0;
    const CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(pszName), 0, 0, nullptr));
    return oid;
}

void Fill(CEGUID guid)
{
    const CDb db = OpenDb(guid, MakeDatabase(guid, L"full", {Order({{kNumber}})}));
    for (int i = 0; i < 200; ++i)
        ASSERT_WORKS(Write(db, 0, CProps().I4(1, i * 37 % 200).Blob(2, std::vector<BYTE>(i % 300))));
    MakeDatabase(guid, L"other");
}

struct COperation
{
    const char* pszName;
    bool bAgain; // it is run once before, so that the volume is in use already
    std::function<BOOL(CEGUID)> run;
};

BOOL WriteOne(CEGUID guid, size_t cb)
{
    const CDb db = OpenDb(guid, Find(guid, L"full"));
    return Write(db, 0, CProps().I4(1, 1000).Blob(2, std::vector<BYTE>(cb, 0x55))) != 0;
}

BOOL WriteBatch(CEGUID guid)
{
    const CDb db = OpenDb(guid, Find(guid, L"full"));
    if (!::CeBeginBatch(&guid)) return FALSE;
    DWORD dwError = 0;
    for (int i = 0; i < 60 && !dwError; ++i)
        if (!Write(db, 0, CProps().I4(1, 2000 + i).Blob(2, std::vector<BYTE>(9000, 0x66)))) dwError = ::GetLastError();
    const BOOL bCommitted = dwError ? ::CeAbandonBatch(&guid) && FALSE : ::CeCommitBatch(&guid);
    if (dwError) ::SetLastError(dwError);
    return bCommitted;
}

// So small that they are put into their order later, and some of them when somebody looks.
BOOL WriteSmallBatch(CEGUID guid)
{
    const CDb db = OpenDb(guid, Find(guid, L"full"), kNumber);
    if (!::CeBeginBatch(&guid)) return FALSE;
    DWORD dwError = 0;
    for (int i = 0; i < 12000 && !dwError; ++i) {
        if (!Write(db, 0, CProps().I4(1, 2000 + i * 37 % 12000))) dwError = ::GetLastError();
        if (i == 6000 && !::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 250, nullptr)) dwError = ::GetLastError();
    }
    const BOOL bCommitted = dwError ? ::CeAbandonBatch(&guid) && FALSE : ::CeCommitBatch(&guid);
    if (dwError) ::SetLastError(dwError);
    return bCommitted;
}

BOOL Resort(CEGUID guid)
{
    CEDBASEINFOEX info = BaseInfo(L"", {Order({{kNumber, CEDB_SORT_DESCENDING}})});
    info.dwFlags = CEDB_VALIDSORTSPEC;
    return ::CeSetDatabaseInfoEx2(&guid, Find(guid, L"full"), &info);
}

BOOL Create(CEGUID guid)
{
    CEDBASEINFOEX info = BaseInfo(L"created");
    return ::CeCreateDatabaseEx2(&guid, &info) != 0;
}

BOOL Update(CEGUID guid)
{
    const CDb db = OpenDb(guid, Find(guid, L"full"));
    for (int i = 0; i < 20; ++i) {
        const CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, i * 9, nullptr);
        if (!Write(db, oid, CProps().I4(1, 5000 + i))) return FALSE;
    }
    return TRUE;
}

const COperation kOperations[] = {
    {"a first write", false, [](CEGUID guid) { return WriteOne(guid, 10); }},
    {"a write that lets the file grow", true, [](CEGUID guid) { return WriteOne(guid, 60000); }},
    {"a batch that lets the file grow again and again", true, WriteBatch},
    {"a batch of many small records", false, WriteSmallBatch},
    {"a new database", false, Create},
    {"a new sort order", false, Resort},
    {"a database's end", false, [](CEGUID guid) { return ::CeDeleteDatabaseEx(&guid, Find(guid, L"full")); }},
    {"a flush", true, [](CEGUID guid) { return WriteOne(guid, 4000) && ::CeFlushDBVol(&guid); }},
};

class DiskFullTest : public VolumeTest, public testing::WithParamInterface<size_t>
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        Fill(m_guid);
        ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
        m_guid = InvalidGuid();
        m_image = ReadWholeFile(m_strPath);
    }
    void Prepare(const COperation& operation)
    {
        WriteWholeFile(m_strPath, m_image);
        m_guid = MountVolume(m_strPath, OPEN_EXISTING);
        ASSERT_FALSE(IsInvalidGuid(m_guid));
        if (operation.bAgain) {
            ASSERT_WORKS(WriteOne(m_guid, 1));
        }
    }
    void ExpectGood(const std::string& strState)
    {
        ASSERT_EQ(strState, State(m_guid));
        ASSERT_EQ("", CheckVolume(m_guid));
    }
    std::vector<BYTE> m_image;
};

TEST_P(DiskFullTest, EachCallThatFailsLeavesTheVolumeAsItWas)
{
    const COperation& operation = kOperations[GetParam()];
    SCOPED_TRACE(operation.pszName);
    ASSERT_NO_FATAL_FAILURE(Prepare(operation));
    const std::string strBefore = State(m_guid);
    ASSERT_WORKS(operation.run(m_guid));
    const std::string strAfter = State(m_guid);
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    int nMet = 0;
    for (const bool bOn : {false, true}) {
        for (int nFailAt = 1, bMet = 1; bMet; ++nFailAt) {
            SCOPED_TRACE("call " + std::to_string(nFailAt) + (bOn ? " and all behind it" : ""));
            ASSERT_LT(nFailAt, 2000);
            ASSERT_NO_FATAL_FAILURE(Prepare(operation));
            BOOL bDone;
            DWORD dwLast;
            std::string strFailed;
            {
                const CFailures failures(nFailAt, bOn);
                bDone = operation.run(m_guid);
                dwLast = ::GetLastError();
                bMet = failures.Met();
                nMet += bMet;
                // What was there can still be read, if the map did not have to be made anew for it.
                strFailed = State(m_guid);
            }
            if (!bDone) {
                ASSERT_TRUE(bMet) << "error " << dwLast;
                ASSERT_TRUE(dwLast == ERROR_DISK_FULL || dwLast == ERROR_NOT_ENOUGH_MEMORY) << dwLast;
                if (strFailed != strBefore) {
                    // A flush comes after its write: that stays.
                    ASSERT_EQ(strAfter, strFailed);
                    ASSERT_STREQ("a flush", operation.pszName);
                    ASSERT_WORKS(::CeFlushDBVol(&m_guid));
                } else {
                    ASSERT_NO_FATAL_FAILURE(ExpectGood(strBefore));
                    ASSERT_WORKS(operation.run(m_guid)) << "there is room again";
                }
            }
            ASSERT_EQ("", CheckVolume(m_guid));
            const std::string strNow = State(m_guid);
            ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
            m_guid = MountVolume(m_strPath, OPEN_EXISTING);
            ASSERT_FALSE(IsInvalidGuid(m_guid));
            ASSERT_NO_FATAL_FAILURE(ExpectGood(strNow));
            {
                const CDb other = OpenDb(m_guid, Find(m_guid, L"other"));
                ASSERT_WORKS(Write(other, 0, CProps().Blob(2, std::vector<BYTE>(65000))));
            }
            ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
            m_guid = InvalidGuid();
        }
    }
    EXPECT_GT(nMet, 1) << "no call that can fail was met";
}

INSTANTIATE_TEST_SUITE_P(Operations, DiskFullTest, testing::Range(size_t{0}, std::size(kOperations)));

// Entries that a batch has yet to put into an order will need pages. They are seen to when the entries are written.
TEST_F(DiskFullTest, WhatABatchHasYetToPutFindsTheRoomThatWasKeptForIt)
{
    ASSERT_NO_FATAL_FAILURE(Prepare(kOperations[0]));
    const CDb db = OpenDb(m_guid, Find(m_guid, L"full"), kNumber);
    DWORD nDue = 200;
    for (const int nCount : {1, 30, 900, 7000, 20000, 2000, 7}) {
        SCOPED_TRACE(nCount);
        ASSERT_WORKS(::CeBeginBatch(&m_guid));
        for (int i = 0; i < nCount; ++i) ASSERT_WORKS(Write(db, 0, CProps().I4(1, i * 7919 % 65521 - 30000)));
        nDue += nCount;
        {
            const CFailures failures(1, true);
            DWORD dwIndex = 0;
            EXPECT_WORKS(::CeSeekDatabase(db, CEDB_SEEK_END, 0, &dwIndex));
            EXPECT_EQ(nDue - 1, dwIndex);
            EXPECT_WORKS(::CeCommitBatch(&m_guid));
        }
        ASSERT_EQ("", CheckVolume(m_guid));
    }
}

TEST_F(DiskFullTest, AnUnmountThatCannotWriteLosesNothing)
{
    for (int nFailAt = 1, bMet = 1; bMet; ++nFailAt) {
        SCOPED_TRACE(nFailAt);
        ASSERT_NO_FATAL_FAILURE(Prepare(kOperations[0]));
        ASSERT_WORKS(Update(m_guid));
        const std::string strState = State(m_guid);
        {
            const CFailures failures(nFailAt, true);
            const BOOL bDone = ::CeUnmountDBVol(&m_guid);
            const DWORD dwError = ::GetLastError();
            bMet = failures.Met();
            // When nothing but the note that the volume is closed is lost, so is nothing else.
            if (nFailAt == 1) {
                EXPECT_FALSE(bDone);
                EXPECT_EQ(DWORD{ERROR_DISK_FULL}, dwError) << "a power cut would cost something now";
            }
        }
        m_guid = MountVolume(m_strPath, OPEN_EXISTING);
        ASSERT_FALSE(IsInvalidGuid(m_guid));
        ASSERT_NO_FATAL_FAILURE(ExpectGood(strState));
        ASSERT_WORKS(WriteOne(m_guid, 5000));
        ASSERT_EQ("", CheckVolume(m_guid));
        ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
        m_guid = InvalidGuid();
    }
}

TEST_F(DiskFullTest, AVolumeThatFindsNoRoomIsNotMade)
{
    const std::wstring strNew = m_folder.File(L"new.vol");
    for (int nFailAt = 1, bMet = 1; bMet; ++nFailAt) {
        SCOPED_TRACE(nFailAt);
        CEGUID guid;
        BOOL bDone;
        {
            const CFailures failures(nFailAt, true);
            bDone = ::CeMountDBVol(&guid, const_cast<LPWSTR>(strNew.c_str()), CREATE_NEW);
            const DWORD dwLast = ::GetLastError();
            bMet = failures.Met();
            ASSERT_TRUE(bDone || dwLast == ERROR_DISK_FULL || dwLast == ERROR_NOT_ENOUGH_MEMORY) << dwLast;
        }
        ASSERT_EQ(bDone, FileExists(strNew));
        if (bDone) {
            EXPECT_WORKS(::CeUnmountDBVol(&guid));
            ::DeleteFileW(strNew.c_str());
        }
    }
}

TEST_F(DiskFullTest, ACompactionThatFindsNoRoomLeavesTheVolumeAlone)
{
    int nMet = 0;
    for (const bool bOn : {false, true}) {
        for (int nFailAt = 1, bMet = 1; bMet; ++nFailAt) {
            SCOPED_TRACE("call " + std::to_string(nFailAt) + (bOn ? " and all behind it" : ""));
            WriteWholeFile(m_strPath, m_image);
            BOOL bDone;
            {
                const CFailures failures(nFailAt, bOn);
                bDone = ::CeCompactDBVol(m_strPath.c_str(), nullptr, 0);
                const DWORD dwLast = ::GetLastError();
                bMet = failures.Met();
                ASSERT_TRUE(bDone || dwLast == ERROR_DISK_FULL || dwLast == ERROR_NOT_ENOUGH_MEMORY) << dwLast;
            }
            nMet += bMet;
            ASSERT_FALSE(FileExists(m_strPath + L".compacting"));
            if (!bDone) {
                ASSERT_TRUE(m_image == ReadWholeFile(m_strPath));
                ASSERT_WORKS(::CeCompactDBVol(m_strPath.c_str(), nullptr, 0)) << "there is room again";
            }
            m_guid = MountVolume(m_strPath, OPEN_EXISTING);
            ASSERT_FALSE(IsInvalidGuid(m_guid));
            ASSERT_EQ("", CheckVolume(m_guid));
            ASSERT_EQ(200u, CountRecords(m_guid, Find(m_guid, L"full")));
            ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
            m_guid = InvalidGuid();
        }
    }
    EXPECT_GT(nMet, 5);
}

// A map that has no room beside itself is let go before a larger one is asked for. If that finds no room either, the
// volume cannot be read until it does.
TEST_F(DiskFullTest, ALargeMapThatIsLostComesBack)
{
    ASSERT_NO_FATAL_FAILURE(Prepare(kOperations[0]));
    const CEOID oid = Find(m_guid, L"other");
    const CProps large = std::move(CProps().Blob(2, std::vector<BYTE>(65000)));
    CDb db = OpenDb(m_guid, oid);
    const auto write = [&](int nMost) {
        for (int i = 0; i < nMost; ++i)
            if (!Write(db, 0, large)) return false;
        return true;
    };
    ASSERT_WORKS(::CeBeginBatch(&m_guid));
    ASSERT_TRUE(write(4300)) << "280 MB";
    ASSERT_WORKS(::CeCommitBatch(&m_guid));
    const DWORD nBefore = CountRecords(m_guid, oid);
    for (const bool bBatch : {false, true}) {
        SCOPED_TRACE(bBatch);
        DWORD nDone = 0;
        {
            const CImportPatch map(L"korvanestore.dll", "MapViewOfFileEx", &FailingMap);
            g_nCall = 0;
            g_nFailAt = 1;
            g_bOn = true;
            if (bBatch) {
                ASSERT_WORKS(::CeBeginBatch(&m_guid));
            }
            while (Write(db, 0, large)) ++nDone;
            ASSERT_EQ(static_cast<DWORD>(ERROR_NOT_ENOUGH_MEMORY), ::GetLastError());
            ASSERT_LT(nDone, 200u);
            EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr));
            EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, Write(db, 0, large));
            if (!bBatch) {
                EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeFlushDBVol(&m_guid));
            } else {
                EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeCommitBatch(&m_guid));
                nDone = 0;
            }
            g_nFailAt = 0;
        }
        EXPECT_EQ(nBefore + nDone, CountRecords(m_guid, oid));
        EXPECT_WORKS(::CeSeekDatabase(db, CEDB_SEEK_END, 0, nullptr));
        for (; nDone > 0; --nDone) ASSERT_WORKS(::CeDeleteRecord(db, ::CeSeekDatabase(db, CEDB_SEEK_END, 0, nullptr)));
        EXPECT_WORKS(::CeFlushDBVol(&m_guid));
        wchar_t szProblem[200] = L"";
        EXPECT_WORKS(::CeCheckDBVol(&m_guid, szProblem, 200)) << szProblem;
    }
    EXPECT_TRUE(write(200)) << "there is room again";
    EXPECT_EQ(nBefore + 200, CountRecords(m_guid, oid));
}

// ---- A disk that is really full ------------------------------------------------------------------------------------

// The folders that the tests below fill: on a small disk there is not much to be filled.
std::vector<std::wstring> SmallDisks()
{
    wchar_t szFolder[MAX_PATH] = L"";
    const DWORD cch = ::GetEnvironmentVariableW(L"KORVANE_SMALL_DISK", szFolder, MAX_PATH);
    if (cch == 0 || cch >= MAX_PATH) return {};
    return {szFolder};
}

class SmallDiskTest : public testing::TestWithParam<std::wstring>
{
protected:
    SmallDiskTest() : m_strPath(GetParam() + L"\\small.vol"), m_strFiller(GetParam() + L"\\filler") {}
    void SetUp() override
    {
        ULARGE_INTEGER cbFree;
        ASSERT_TRUE(::GetDiskFreeSpaceExW(GetParam().c_str(), &cbFree, nullptr, nullptr));
        ASSERT_LT(cbFree.QuadPart, 64u << 20) << "not a small disk";
        m_guid = MountVolume(m_strPath, CREATE_ALWAYS);
        ASSERT_FALSE(IsInvalidGuid(m_guid));
        Fill(m_guid);
    }
    void TearDown() override
    {
        if (!IsInvalidGuid(m_guid)) {
            EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
        }
        ::DeleteFileW(m_strPath.c_str());
        ::DeleteFileW(m_strFiller.c_str());
    }
    // Leaves so many bytes, at most.
    void FillDisk(DWORD cbLeft)
    {
        const HANDLE hFile = ::CreateFileW(m_strFiller.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
        const std::vector<BYTE> bytes(4096, 0x77);
        DWORD cbWritten = 0, cbFiller = 0;
        while (::WriteFile(hFile, bytes.data(), 4096, &cbWritten, nullptr) && cbWritten == 4096) cbFiller += 4096;
        ::SetFilePointer(hFile, cbFiller > cbLeft ? cbFiller - cbLeft : 0, nullptr, FILE_BEGIN);
        ::SetEndOfFile(hFile);
        CloseHandle(hFile);
    }
    const std::wstring m_strPath, m_strFiller;
    CEGUID m_guid = InvalidGuid();
};

TEST_P(SmallDiskTest, WritingUntilTheDiskIsFullAndOnLosesNothing)
{
    for (const DWORD cbLeft : {0u, 4096u, 20u * 4096, 100u * 4096}) {
        SCOPED_TRACE(cbLeft);
        FillDisk(cbLeft);
        int nDone = 0, nFull = 0;
        for (int i = 0; i < 400; ++i) {
            const std::string strBefore = i % 40 ? "" : State(m_guid);
            if (WriteOne(m_guid, i * 97 % 8000)) {
                ++nDone;
                continue;
            }
            ASSERT_EQ(static_cast<DWORD>(ERROR_DISK_FULL), ::GetLastError());
            if (i % 40 == 0) {
                ASSERT_EQ(strBefore, State(m_guid));
            }
            ++nFull;
        }
        EXPECT_GT(nFull, 0);
        EXPECT_TRUE(Update(m_guid) || ::GetLastError() == ERROR_DISK_FULL);
        EXPECT_TRUE(::CeFlushDBVol(&m_guid) || ::GetLastError() == ERROR_DISK_FULL);
        EXPECT_FALSE(WriteBatch(m_guid));
        ASSERT_EQ("", CheckVolume(m_guid));
        ::DeleteFileW(m_strFiller.c_str());
        ASSERT_WORKS(WriteOne(m_guid, 60000)) << "there is room again";
        ASSERT_WORKS(::CeFlushDBVol(&m_guid));
        const std::string strState = State(m_guid);
        ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
        m_guid = MountVolume(m_strPath, OPEN_EXISTING);
        ASSERT_EQ(strState, State(m_guid));
        CEOID oid = Find(m_guid, L"full");
        ASSERT_WORKS(::CeDeleteDatabaseEx(&m_guid, oid));
        CEOID oidOther = Find(m_guid, L"other");
        ASSERT_WORKS(::CeDeleteDatabaseEx(&m_guid, oidOther));
        Fill(m_guid);
    }
}

TEST_P(SmallDiskTest, AHoleInTheFileIsFilledBeforeItIsStoredInto)
{
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = InvalidGuid();
    const HANDLE hFile = ::CreateFileW(m_strPath.c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    ::SetFilePointer(hFile, 800 * 1024, nullptr, FILE_END);
    ::SetEndOfFile(hFile);
    CloseHandle(hFile);
    FillDisk(0);
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    ASSERT_FALSE(IsInvalidGuid(m_guid)) << "reading takes no room";
    const std::string strState = State(m_guid);
    for (int i = 0; i < 3; ++i) EXPECT_FAILS(ERROR_DISK_FULL, WriteOne(m_guid, 60000));
    EXPECT_EQ(strState, State(m_guid));
    ::DeleteFileW(m_strFiller.c_str());
    EXPECT_WORKS(WriteOne(m_guid, 60000));
    FillDisk(0);
    while (WriteOne(m_guid, 60000)) {
    }
    EXPECT_EQ(static_cast<DWORD>(ERROR_DISK_FULL), ::GetLastError());
    EXPECT_EQ("", CheckVolume(m_guid));
    ::DeleteFileW(m_strFiller.c_str());
}

GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(SmallDiskTest);
INSTANTIATE_TEST_SUITE_P(Disks, SmallDiskTest, testing::ValuesIn(SmallDisks()), [](const auto&) { return "Small"; });

} // namespace
