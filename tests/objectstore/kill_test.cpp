// A writer that is killed at random moments: every write that had returned success is there afterwards.
//
// The writer works through an endless list of operations that follow from their number alone, and counts what has
// returned success in a mapped file. So after a kill the volume must hold the state after that many operations, or one
// more: the one whose success was not yet told.
#include "child.h"
#include "support.h"

#include <deque>
#include <map>
#include <memory>
#include <random>

namespace {

constexpr CEPROPID kSlot = Prop(1, CEVT_I4);
constexpr CEPROPID kVersion = Prop(2, CEVT_UI4);
constexpr CEPROPID kText = Prop(3, CEVT_LPWSTR);
constexpr DWORD kSlots = 300;
constexpr int kKills = 200;

struct CProgress // in the mapped file
{
    volatile DWORD dwDone; // operations that have returned success, in all
};

using CState = std::map<DWORD, DWORD>; // version by slot

DWORD Mix(DWORD n)
{
    n = (n ^ (n >> 16)) * 0x45D9F3B;
    n = (n ^ (n >> 16)) * 0x45D9F3B;
    return n ^ (n >> 16);
}

DWORD SlotOf(DWORD dwOperation)
{
    return Mix(dwOperation) % kSlots;
}

CProps Content(DWORD dwSlot, DWORD dwVersion)
{
    const size_t cch = Mix(dwVersion + 1) % 20 ? Mix(dwVersion) % 60 : 3000;
    return std::move(CProps().I4(1, dwSlot).UI4(2, dwVersion).Text(3, std::wstring(cch, L'a' + dwVersion % 26)));
}

// The model: what an operation does to the state.
void Apply(CState& state, DWORD dwOperation)
{
    const DWORD dwSlot = SlotOf(dwOperation);
    if (state.count(dwSlot) && Mix(dwOperation ^ 0x55) % 6 == 0) {
        state.erase(dwSlot);
    } else {
        state[dwSlot] = dwOperation;
    }
}

// The same to the volume; 0 on failure.
BOOL Perform(HANDLE hDb, DWORD dwOperation)
{
    const DWORD dwSlot = SlotOf(dwOperation);
    const CEOID oid = ::CeSeekDatabase(hDb, CEDB_SEEK_VALUEFIRSTEQUAL, CProps().I4(1, dwSlot).Address(), nullptr);
    if (oid && Mix(dwOperation ^ 0x55) % 6 == 0) return ::CeDeleteRecord(hDb, oid);
    return Write(hDb, oid, Content(dwSlot, dwOperation)) != 0;
}

std::vector<SORTORDERSPECEX> Orders()
{
    return {Order({{kSlot}}, CEDB_SORT_UNIQUE),
            Order({{kText, CEDB_SORT_CASEINSENSITIVE}, {kVersion, CEDB_SORT_DESCENDING}})};
}

int RunWriter(const CArguments& arguments)
{
    const HANDLE hMap = ::OpenFileMappingW(FILE_MAP_WRITE, FALSE, arguments.at(1).c_str());
    CProgress* pProgress = static_cast<CProgress*>(::MapViewOfFile(hMap, FILE_MAP_WRITE, 0, 0, sizeof(CProgress)));
    std::string strGo;
    if (!Hear(strGo)) return 0;
    CEGUID guid = MountVolume(arguments.at(0), OPEN_EXISTING);
    CEOID oidDatabase = 0;
    const CDb db(::CeOpenDatabaseEx(&guid, &oidDatabase, const_cast<LPWSTR>(L"killed"), kSlot, 0, nullptr));
    const bool bFlush = strGo == "flush";
    Say("started");
    for (DWORD i = pProgress->dwDone;; ++i) {
        if (!Perform(db, i)) break;
        pProgress->dwDone = i + 1;
        if (bFlush && i % 64 == 0 && !::CeFlushDBVol(&guid)) break;
    }
    Say("failed " + std::to_string(::GetLastError()));
    return 1;
}

const CRole g_writer(L"writer", RunWriter);

class KillTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"killed", Orders());
        m_strMap = L"korvane-kill-" + std::to_wstring(::GetCurrentProcessId());
        m_hMap =
            ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(CProgress), m_strMap.c_str());
        m_pProgress = static_cast<CProgress*>(::MapViewOfFile(m_hMap, FILE_MAP_WRITE, 0, 0, sizeof(CProgress)));
        ASSERT_NE(nullptr, m_pProgress);
    }
    void TearDown() override
    {
        ::UnmapViewOfFile(m_pProgress);
        CloseHandle(m_hMap);
        VolumeTest::TearDown();
    }
    CState ReadState()
    {
        CState state;
        const CDb db = OpenDb(m_guid, m_oidDatabase, kSlot);
        for (CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr); oid;
             oid = ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr)) {
            LPBYTE pBuffer = nullptr;
            DWORD cb = 0;
            WORD wCount = 0;
            EXPECT_WORKS(::CeReadRecordProps(db, CEDB_ALLOWREALLOC, &wCount, nullptr, &pBuffer, &cb));
            CEPROPVAL* const p = reinterpret_cast<CEPROPVAL*>(pBuffer);
            DWORD dwSlot = 0, dwVersion = 0;
            for (WORD i = 0; i < wCount; ++i) {
                if (p[i].propid == kSlot) dwSlot = p[i].val.lVal;
                if (p[i].propid == kVersion) dwVersion = p[i].val.ulVal;
            }
            EXPECT_EQ(Content(dwSlot, dwVersion).Render(), Render(p, wCount)) << "a record of two writes";
            state[dwSlot] = dwVersion;
            ::LocalFree(pBuffer);
        }
        return state;
    }
    // The volume is where the acknowledged operations, or one more, lead; the progress is set to that.
    void Verify()
    {
        while (m_dwApplied < m_pProgress->dwDone) Apply(m_state, m_dwApplied++);
        const CState state = ReadState();
        if (state != m_state) {
            Apply(m_state, m_dwApplied++);
            m_pProgress->dwDone = m_dwApplied;
        }
        ASSERT_TRUE(state == m_state) << "neither the state after " << m_dwApplied - 1
                                      << " operations nor after one more";
        ASSERT_EQ("", CheckVolume(m_guid));
    }
    CEOID m_oidDatabase = 0;
    std::wstring m_strMap;
    HANDLE m_hMap = nullptr;
    CProgress* m_pProgress = nullptr;
    CState m_state; // after m_dwApplied operations
    DWORD m_dwApplied = 0;
};

TEST_F(KillTest, NoAcknowledgedWriteIsLostInTwoHundredKills)
{
    std::mt19937 random(200);
    std::deque<std::unique_ptr<CChild>> writers; // the next ones start up while this one is judged
    for (int i = 0; i < kKills; ++i) {
        SCOPED_TRACE("kill " + std::to_string(i));
        // In half of the rounds this process has the volume mounted too and takes over what the dead one held.
        const bool bMountedHere = i % 2;
        if (!bMountedHere) {
            ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
            m_guid = InvalidGuid();
        }
        while (writers.size() < 3)
            writers.push_back(std::make_unique<CChild>(L"writer", CArguments{m_strPath, m_strMap}));
        CChild& writer = *writers.front();
        writer.Send(i % 4 < 2 ? "flush" : "plain");
        ASSERT_EQ("started", writer.ReadLine());
        // The random moment; the writer never ends by itself.
        ASSERT_EQ(static_cast<DWORD>(WAIT_TIMEOUT), ::WaitForSingleObject(writer.Process(), 1 + random() % 30))
            << writer.ReadLine();
        writer.Kill();
        writers.pop_front();
        if (!bMountedHere) m_guid = MountVolume(m_strPath, OPEN_EXISTING);
        ASSERT_FALSE(IsInvalidGuid(m_guid));
        ASSERT_NO_FATAL_FAILURE(Verify());
        // And it can be written.
        const CDb db = OpenDb(m_guid, m_oidDatabase, kSlot);
        ASSERT_WORKS(Perform(db, m_dwApplied));
        Apply(m_state, m_dwApplied++);
        m_pProgress->dwDone = m_dwApplied;
    }
    RecordProperty("operations", static_cast<int>(m_dwApplied));
    EXPECT_GT(m_dwApplied, 1000u) << "the writer did not get to write";
}

} // namespace
