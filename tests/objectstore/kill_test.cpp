// Writers that are killed at random moments: every write that had returned success is there afterwards, batches whole
// or not at all, and a compaction changes nothing whenever it ends.
//
// A writer works through an endless list of steps that follow from their number alone, and counts what has returned
// success in shared memory. So after a kill the volume must hold the state after that many steps, or one more: the one
// whose success was not yet told.
#include "child.h"
#include "killed.h"

#include <deque>
#include <memory>
#include <random>

using namespace killed;

namespace {

constexpr DWORD kSlots = 300; // of one writer

int Kills(int nShort, int nLong)
{
    return IsLongRun() ? nLong : nShort;
}

// ---- The children ----------------------------------------------------------------------------------------------

// One operation a step, by one writer alone.
int RunWriter(const CArguments& arguments)
{
    const CSharedNumbers progress(arguments.at(1), 1);
    std::string strGo;
    if (!Hear(strGo)) return 0;
    CEGUID guid = MountVolume(arguments.at(0), OPEN_EXISTING);
    CEOID oidDatabase = 0;
    const CDb db(::CeOpenDatabaseEx(&guid, &oidDatabase, const_cast<LPWSTR>(L"killed"), kSlot, 0, nullptr));
    const bool bFlush = strGo == "flush";
    Say("started");
    for (DWORD i = progress[0];; ++i) {
        if (!Perform(db, Mix(i) % kSlots, i)) break;
        progress[0] = i + 1;
        if (bFlush && i % 64 == 0 && !::CeFlushDBVol(&guid)) break;
    }
    Say("failed " + std::to_string(::GetLastError()));
    return 1;
}

// A step of one of several writers: one operation, or a batch of up to nine.
struct CStep
{
    CStep(DWORD dwWriter, DWORD dwStep)
        : dwFirst(dwStep * 16), nOperations(Mix(dwStep ^ dwWriter) % 3 ? 1 : 2 + Mix(dwStep + 7) % 8),
          dwSlots(dwWriter * kSlots)
    {
    }
    DWORD Slot(DWORD i) const { return dwSlots + Mix(dwFirst + i) % kSlots; }
    DWORD Version(DWORD i) const { return dwFirst + i; }

    DWORD dwFirst, nOperations, dwSlots;
};

int RunBatchWriter(const CArguments& arguments)
{
    const CSharedNumbers progress(arguments.at(1), 2);
    const DWORD dwWriter = std::stoul(arguments.at(2));
    std::string strGo;
    if (!Hear(strGo)) return 0;
    CEGUID guid = MountVolume(arguments.at(0), OPEN_EXISTING);
    CEOID oidDatabase = 0;
    const CDb db(::CeOpenDatabaseEx(&guid, &oidDatabase, const_cast<LPWSTR>(L"killed"), kSlot, 0, nullptr));
    Say("started");
    for (DWORD i = progress[dwWriter];; ++i) {
        const CStep step(dwWriter, i);
        if (step.nOperations > 1 && !::CeBeginBatch(&guid)) break;
        bool bGood = true;
        for (DWORD n = 0; bGood && n < step.nOperations; ++n) bGood = Perform(db, step.Slot(n), step.Version(n));
        if (!bGood || (step.nOperations > 1 && !::CeCommitBatch(&guid))) break;
        progress[dwWriter] = i + 1;
        if (Mix(i) % 100 == 0 && !::CeFlushDBVol(&guid)) break;
    }
    Say("failed " + std::to_string(::GetLastError()));
    return 1;
}

int RunCompactor(const CArguments& arguments)
{
    const CSharedNumbers completed(arguments.at(1), 1);
    std::string strGo;
    if (!Hear(strGo)) return 0;
    Say("started");
    while (::CeCompactDBVol(arguments.at(0).c_str(), nullptr, 0)) completed[0] = completed[0] + 1;
    Say("failed " + std::to_string(::GetLastError()));
    return 1;
}

const CRole g_writer(L"writer", RunWriter), g_batchWriter(L"batchwriter", RunBatchWriter),
    g_compactor(L"compactor", RunCompactor);

// ---- The tests ---------------------------------------------------------------------------------------------------

class KillTest : public VolumeTest
{
protected:
    KillTest() : m_strNumbers(L"korvane-kill-" + std::to_wstring(::GetCurrentProcessId())), m_progress(m_strNumbers, 2)
    {
    }
    void SetUp() override
    {
        VolumeTest::SetUp();
        ASSERT_TRUE(m_progress.IsOpen());
        m_oidDatabase = MakeDatabase(m_guid, L"killed", Orders());
    }
    void Unmount()
    {
        ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
        m_guid = InvalidGuid();
    }
    void Mount()
    {
        m_guid = MountVolume(m_strPath, OPEN_EXISTING);
        ASSERT_FALSE(IsInvalidGuid(m_guid));
    }
    // Lets a child go on for a random while; it never ends by itself.
    void LetRun(CChild& child, DWORD dwMostMilliseconds = 30)
    {
        ASSERT_EQ(static_cast<DWORD>(WAIT_TIMEOUT),
                  ::WaitForSingleObject(child.Process(), 1 + m_random() % dwMostMilliseconds))
            << child.ReadLine();
    }
    std::unique_ptr<CChild> Child(const wchar_t* pszRole, int nWriter = 0)
    {
        return std::make_unique<CChild>(pszRole, CArguments{m_strPath, m_strNumbers, std::to_wstring(nWriter)});
    }

    const std::wstring m_strNumbers;
    CSharedNumbers m_progress;
    std::mt19937 m_random{200};
    CEOID m_oidDatabase = 0;
};

class WriterKillTest : public KillTest
{
protected:
    // The volume is where the acknowledged operations, or one more, lead; the progress is set to that.
    void Verify()
    {
        while (m_dwApplied < m_progress[0]) ApplyNext();
        const CState state = ReadState(m_guid, m_oidDatabase);
        if (state != m_state) {
            ApplyNext();
            m_progress[0] = m_dwApplied;
        }
        ASSERT_TRUE(state == m_state) << "neither the state after " << m_dwApplied - 1
                                      << " operations nor after one more";
        ASSERT_EQ("", CheckVolume(m_guid));
    }
    void ApplyNext()
    {
        Apply(m_state, Mix(m_dwApplied) % kSlots, m_dwApplied);
        ++m_dwApplied;
    }
    CState m_state; // after m_dwApplied operations
    DWORD m_dwApplied = 0;
};

TEST_F(WriterKillTest, NoAcknowledgedWriteIsLost)
{
    std::deque<std::unique_ptr<CChild>> writers; // the next ones start up while this one is judged
    const int nKills = Kills(140, 500);
    for (int i = 0; i < nKills; ++i) {
        SCOPED_TRACE("kill " + std::to_string(i));
        // In half of the rounds this process has the volume mounted too and takes over what the dead one held.
        const bool bMountedHere = i % 2;
        if (!bMountedHere) {
            ASSERT_NO_FATAL_FAILURE(Unmount());
        }
        while (writers.size() < 3) writers.push_back(Child(L"writer"));
        CChild& writer = *writers.front();
        writer.Send(i % 4 < 2 ? "flush" : "plain");
        ASSERT_EQ("started", writer.ReadLine());
        ASSERT_NO_FATAL_FAILURE(LetRun(writer));
        writer.Kill();
        writers.pop_front();
        if (!bMountedHere) {
            ASSERT_NO_FATAL_FAILURE(Mount());
        }
        ASSERT_NO_FATAL_FAILURE(Verify());
        // And it can be written.
        const CDb db = OpenDb(m_guid, m_oidDatabase, kSlot);
        ASSERT_WORKS(Perform(db, Mix(m_dwApplied) % kSlots, m_dwApplied));
        ApplyNext();
        m_progress[0] = m_dwApplied;
    }
    RecordProperty("kills", nKills);
    RecordProperty("operations", static_cast<int>(m_dwApplied));
    EXPECT_GT(m_dwApplied, 1000u) << "the writer did not get to write";
}

class TwoWriterKillTest : public KillTest
{
protected:
    void Verify()
    {
        const CState state = ReadState(m_guid, m_oidDatabase);
        for (DWORD dwWriter = 0; dwWriter < 2; ++dwWriter) {
            const CState own(state.lower_bound(dwWriter * kSlots), state.lower_bound((dwWriter + 1) * kSlots));
            while (m_dwApplied[dwWriter] < m_progress[dwWriter]) ApplyNext(dwWriter);
            if (own != m_states[dwWriter]) {
                ApplyNext(dwWriter);
                m_progress[dwWriter] = m_dwApplied[dwWriter];
            }
            ASSERT_TRUE(own == m_states[dwWriter])
                << "writer " << dwWriter << ": neither the state after " << m_dwApplied[dwWriter] - 1
                << " steps nor after one more: a write is lost, or a batch is there in part";
        }
        ASSERT_EQ("", CheckVolume(m_guid));
    }
    void ApplyNext(DWORD dwWriter)
    {
        const CStep step(dwWriter, m_dwApplied[dwWriter]++);
        for (DWORD i = 0; i < step.nOperations; ++i) Apply(m_states[dwWriter], step.Slot(i), step.Version(i));
    }
    CState m_states[2]; // after m_dwApplied steps
    DWORD m_dwApplied[2] = {};
};

TEST_F(TwoWriterKillTest, TwoWritersAtOnceLoseNothingAndLeaveNoHalfBatch)
{
    std::deque<std::unique_ptr<CChild>> writers[2];
    const int nRounds = Kills(20, 190);
    for (int i = 0; i < nRounds; ++i) {
        SCOPED_TRACE("round " + std::to_string(i));
        const bool bMountedHere = i % 2;
        if (!bMountedHere) {
            ASSERT_NO_FATAL_FAILURE(Unmount());
        }
        for (int nWriter = 0; nWriter < 2; ++nWriter)
            while (writers[nWriter].size() < 2) writers[nWriter].push_back(Child(L"batchwriter", nWriter));
        CChild &first = *writers[i / 2 % 2].front(), &second = *writers[1 - i / 2 % 2].front();
        for (CChild* pWriter : {&first, &second}) pWriter->Send("go");
        for (CChild* pWriter : {&first, &second}) ASSERT_EQ("started", pWriter->ReadLine());
        ASSERT_NO_FATAL_FAILURE(LetRun(first));
        first.Kill();
        // The other one goes on over what the dead one held.
        if (i % 3) {
            ASSERT_NO_FATAL_FAILURE(LetRun(second));
        }
        second.Kill();
        for (auto& line : writers) line.pop_front();
        if (!bMountedHere) {
            ASSERT_NO_FATAL_FAILURE(Mount());
        }
        ASSERT_NO_FATAL_FAILURE(Verify());
    }
    RecordProperty("kills", 2 * nRounds);
    RecordProperty("steps", static_cast<int>(m_dwApplied[0] + m_dwApplied[1]));
    for (const DWORD dwApplied : m_dwApplied) EXPECT_GT(dwApplied, 100u) << "a writer did not get to write";
}

class CompactionKillTest : public KillTest
{
};

TEST_F(CompactionKillTest, AKilledCompactionLeavesTheVolumeAsItWas)
{
    CState state;
    DWORD dwVersion = 0;
    const auto work = [&](int nOperations) {
        const CDb db = OpenDb(m_guid, m_oidDatabase, kSlot);
        for (int i = 0; i < nOperations; ++i, ++dwVersion) {
            ASSERT_WORKS(Perform(db, Mix(dwVersion) % kSlots, dwVersion));
            Apply(state, Mix(dwVersion) % kSlots, dwVersion);
        }
    };
    ASSERT_NO_FATAL_FAILURE(work(2000));
    std::deque<std::unique_ptr<CChild>> compactors;
    const int nKills = Kills(20, 120);
    for (int i = 0; i < nKills; ++i) {
        SCOPED_TRACE("kill " + std::to_string(i));
        ASSERT_NO_FATAL_FAILURE(Unmount());
        while (compactors.size() < 3) compactors.push_back(Child(L"compactor"));
        CChild& compactor = *compactors.front();
        compactor.Send("go");
        ASSERT_EQ("started", compactor.ReadLine());
        ASSERT_NO_FATAL_FAILURE(LetRun(compactor, 250));
        compactor.Kill();
        compactors.pop_front();
        ASSERT_NO_FATAL_FAILURE(Mount());
        ASSERT_TRUE(state == ReadState(m_guid, m_oidDatabase));
        ASSERT_EQ("", CheckVolume(m_guid));
        ASSERT_NO_FATAL_FAILURE(work(30));
    }
    RecordProperty("kills", nKills);
    RecordProperty("compactions", static_cast<int>(m_progress[0]));
    EXPECT_GT(m_progress[0], 0u) << "every compaction was killed before it had come far";
    ASSERT_NO_FATAL_FAILURE(Unmount());
    EXPECT_WORKS(::CeCompactDBVol(m_strPath.c_str(), nullptr, 0));
    EXPECT_FALSE(FileExists(m_strPath + L".compacting")) << "what the killed ones left is gone";
    ASSERT_NO_FATAL_FAILURE(Mount());
    EXPECT_TRUE(state == ReadState(m_guid, m_oidDatabase));
}

} // namespace
