// Power cuts: whatever mixture of the pages changed since the last flush reached the disk, the volume opens undamaged
// at the state of that flush or a later one.
//
// The file is copied after a flush and again while it is written on; an image takes each page from any of the copies
// and gets another boot mark, as if the machine had been started anew. Headers are taken from the copy that goes with
// the moment: the store puts them on the disk in their turn.
#include "agent.h"
#include "volume_image.h"

#include <korvanebatch.h>

#include <algorithm>
#include <random>
#include <set>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);

// How many images a test makes of a situation.
int Images(int nShort)
{
    return IsLongRun() ? 7 * nShort : nShort;
}

class PowerTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase =
            MakeDatabase(m_guid, L"power", {Order({{kNumber}}), Order({{kName}, {kNumber, CEDB_SORT_DESCENDING}})});
    }
    // Random writes, updates and deletes; after each the state is one that may be found later.
    void Work(int nOperations)
    {
        const CDb db = OpenDb(m_guid, m_oidDatabase, kNumber);
        for (int i = 0; i < nOperations; ++i) {
            const CEOID oid = m_random() % 3 ? ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, m_random() % 400, nullptr) : 0;
            if (oid && m_random() % 4 == 0) {
                ASSERT_WORKS(::CeDeleteRecord(db, oid));
            } else {
                const size_t cch = m_random() % 12 ? m_random() % 80 : m_random() % 9000;
                ASSERT_WORKS(Write(db, oid,
                                   CProps()
                                       .I4(1, static_cast<long>(m_random() % 1000))
                                       .Text(2, std::wstring(cch, L'a' + m_random() % 26))));
            }
            m_states.insert(State(m_guid));
        }
    }
    std::string State(CEGUID guid)
    {
        std::string strState;
        const CDb db = OpenDb(guid, m_oidDatabase);
        for (CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr); oid;
             oid = ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr))
            strState += std::to_string(oid) + " " + Read(db).strContent + "\n";
        return strState;
    }
    // After a flush only its state and what follows may be found.
    CImage FlushAndCopy()
    {
        EXPECT_WORKS(::CeFlushDBVol(&m_guid));
        m_states = {State(m_guid)};
        return ReadWholeFile(m_strPath);
    }
    // Each page from one of the copies; as long as the longest of them, or cut anywhere behind the first, the flushed
    // one.
    CImage Mix(const std::vector<const CImage*>& copies, const CImage& headers)
    {
        size_t cbMost = 0;
        for (const CImage* pCopy : copies) cbMost = std::max(cbMost, pCopy->size());
        const size_t nFewest = copies[0]->size() / kPageBytes, nMost = cbMost / kPageBytes;
        if (m_random() % 2) cbMost = (nFewest + m_random() % (nMost - nFewest + 1)) * kPageBytes;
        CImage image(cbMost);
        const unsigned nBias = m_random() % copies.size(), nOdds = 1 + m_random() % 8;
        for (size_t cb = 0; cb < cbMost; cb += kPageBytes) {
            const CImage& copy = *copies[m_random() % 8 < nOdds ? nBias : m_random() % copies.size()];
            if (cb + kPageBytes <= copy.size()) std::copy_n(copy.begin() + cb, kPageBytes, image.begin() + cb);
        }
        for (const size_t nPage : kHeaderPages)
            std::copy_n(headers.begin() + nPage * kPageBytes, kPageBytes, image.begin() + nPage * kPageBytes);
        ChangeBootMark(image);
        return image;
    }
    void ExpectGood(const CImage& image)
    {
        const std::wstring strPath = m_folder.File(L"image.vol");
        WriteWholeFile(strPath, image);
        CEGUID guid = MountVolume(strPath, OPEN_EXISTING);
        ASSERT_FALSE(IsInvalidGuid(guid));
        ASSERT_EQ("", CheckVolume(guid));
        ASSERT_EQ(1u, m_states.count(State(guid))) << "a state that is not the flushed one and never followed it";
        {
            const CDb db = OpenDb(guid, m_oidDatabase, kNumber);
            for (int i = 0; i < 40; ++i)
                ASSERT_WORKS(Write(db, 0, CProps().I4(1, 2000 + i).Text(2, std::wstring(i * 20, L'w'))));
        }
        const std::string strWritten = State(guid);
        ASSERT_WORKS(::CeUnmountDBVol(&guid));
        guid = MountVolume(strPath, OPEN_EXISTING);
        ASSERT_FALSE(IsInvalidGuid(guid));
        ASSERT_EQ(strWritten, State(guid));
        ASSERT_EQ("", CheckVolume(guid));
        ASSERT_WORKS(::CeUnmountDBVol(&guid));
    }

    // Of the newer header.
    DWORD Sequence() const
    {
        const CImage image = ReadWholeFile(m_strPath);
        return std::max(ImageWord(image, kHeaderPages[0], kHeaderSequence),
                        ImageWord(image, kHeaderPages[1], kHeaderSequence));
    }

    std::mt19937 m_random{300};
    CEOID m_oidDatabase = 0;
    std::set<std::string> m_states;
};

TEST_F(PowerTest, AnyMixtureOfPagesOpensAtTheFlushOrLater)
{
    for (int nRound = 0; nRound < 10; ++nRound) {
        ASSERT_NO_FATAL_FAILURE(Work(nRound == 0 ? 300 : 40));
        const CImage flushed = FlushAndCopy();
        ASSERT_NO_FATAL_FAILURE(Work(20));
        const CImage between = ReadWholeFile(m_strPath);
        ASSERT_NO_FATAL_FAILURE(Work(60));
        const CImage later = ReadWholeFile(m_strPath);
        ASSERT_NE(flushed, later);
        for (int i = 0; i < Images(30); ++i) {
            SCOPED_TRACE("round " + std::to_string(nRound) + " image " + std::to_string(i));
            ASSERT_NO_FATAL_FAILURE(ExpectGood(Mix({&flushed, &between, &later}, later)));
        }
    }
}

TEST_F(PowerTest, ACutInTheMiddleOfAFlushOpensAtTheFlushBefore)
{
    ASSERT_NO_FATAL_FAILURE(Work(200));
    const CImage flushed = FlushAndCopy();
    ASSERT_NO_FATAL_FAILURE(Work(50));
    const std::set<std::string> states = m_states;
    const CImage before = ReadWholeFile(m_strPath);
    const CImage after = FlushAndCopy();
    m_states = states;
    for (int i = 0; i < Images(30); ++i) {
        SCOPED_TRACE(i);
        ASSERT_NO_FATAL_FAILURE(
            ExpectGood(Mix({&flushed, &before, &after}, before))); // the new header was still to come
    }
    for (const size_t nTorn : kHeaderPages) { // a new header half written
        CImage image = Mix({&flushed, &before, &after}, before);
        if (ImageWord(after, nTorn, 16) == ImageWord(before, nTorn, 16)) continue;
        std::copy_n(after.begin() + nTorn * kPageBytes, 60, image.begin() + nTorn * kPageBytes);
        ASSERT_NO_FATAL_FAILURE(ExpectGood(image));
    }
}

TEST_F(PowerTest, AfterTheFlushNothingOfTheOldStateIsNeeded)
{
    ASSERT_NO_FATAL_FAILURE(Work(200));
    CImage image = FlushAndCopy();
    ChangeBootMark(image);
    ExpectGood(image);
}

TEST_F(PowerTest, ABatchThatWasNotFlushedIsThereWholeOrNotAtAll)
{
    ASSERT_NO_FATAL_FAILURE(Work(100));
    const CImage flushed = FlushAndCopy();
    EXPECT_WORKS(::CeBeginBatch(&m_guid));
    {
        const CDb db = OpenDb(m_guid, m_oidDatabase, kNumber);
        for (int i = 0; i < 300; ++i) ASSERT_WORKS(Write(db, 0, CProps().I4(1, i).Text(2, L"in the batch")));
    }
    const CImage open = ReadWholeFile(m_strPath);
    EXPECT_WORKS(::CeCommitBatch(&m_guid));
    m_states.insert(State(m_guid));
    const CImage committed = ReadWholeFile(m_strPath);
    for (int i = 0; i < Images(20); ++i) {
        SCOPED_TRACE(i);
        ASSERT_NO_FATAL_FAILURE(ExpectGood(Mix({&flushed, &open, &committed}, committed)));
    }
}

TEST_F(PowerTest, AKilledWriterAndThenAPowerCutLeaveTheFlushOrLater)
{
    ASSERT_NO_FATAL_FAILURE(Work(150));
    const CImage flushed = FlushAndCopy();
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    agent.Do("open power");
    for (int i = 0; i < 40; ++i) {
        ASSERT_NE(0u, agent.DoForOid("write 0 " + std::to_string(5000 + i)));
        m_states.insert(State(m_guid));
    }
    agent.Do("begin");
    for (int i = 0; i < 40; ++i) ASSERT_NE(0u, agent.DoForOid("write 0 9999"));
    const CImage killed = ReadWholeFile(m_strPath);
    agent.Kill();
    ASSERT_NO_FATAL_FAILURE(Work(30)); // this process takes over what the dead one held
    const CImage later = ReadWholeFile(m_strPath);
    for (int i = 0; i < Images(20); ++i) {
        SCOPED_TRACE(i);
        ASSERT_NO_FATAL_FAILURE(ExpectGood(Mix({&flushed, &killed, &later}, later)));
    }
}

TEST_F(PowerTest, AVolumeThatIsWrittenOnAndOnDoesNotGrowBeyondTwiceItsContent)
{
    ASSERT_NO_FATAL_FAILURE(Work(300));
    const size_t cbFlushed = FlushAndCopy().size();
    const CDb db = OpenDb(m_guid, m_oidDatabase);
    const CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr);
    for (long i = 0; i < 5000; ++i) ASSERT_WORKS(Write(db, oid, CProps().I4(1, i % 700)));
    EXPECT_LE(ReadWholeFile(m_strPath).size(), 2 * cbFlushed + 512 * 1024);
}

TEST_F(PowerTest, FiftyThousandCommitsAreFlushedUnasked)
{
    for (const bool bInBatches : {false, true}) {
        SCOPED_TRACE(bInBatches);
        const CDb db = OpenDb(m_guid, m_oidDatabase);
        const CEOID oid = Write(db, 0, CProps().I4(1, 0));
        ASSERT_WORKS(oid);
        ASSERT_WORKS(::CeFlushDBVol(&m_guid));
        const DWORD dwBefore = Sequence();
        for (long i = 0; i < 50000; ++i) {
            ASSERT_TRUE(!bInBatches || ::CeBeginBatch(&m_guid));
            ASSERT_WORKS(Write(db, oid, CProps().I4(1, i)));
            ASSERT_TRUE(!bInBatches || ::CeCommitBatch(&m_guid));
        }
        EXPECT_EQ(dwBefore + 1, Sequence()) << "each flush writes the header once";
    }
}

} // namespace
