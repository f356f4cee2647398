// Power cuts by a record of the writes: every page that a workload changes is recorded with the moment of the change.
// An image of the disk after a cut is the state of the last flush, and of the pages written since, each as it was at any
// moment up to the cut: later ones without earlier ones, or none at all.
#include "support.h"
#include "volume_image.h"

#include <algorithm>
#include <map>
#include <random>
#include <set>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr DWORD kDatabaseType = 77;

bool IsHeader(size_t nPage)
{
    return std::find(std::begin(kHeaderPages), std::end(kHeaderPages), nPage) != std::end(kHeaderPages);
}

// What was written since the last flush, page by page.
class CWriteRecord
{
public:
    // Everything that is in the file now is on the disk.
    void Flushed(CImage image)
    {
        m_flushed = image;
        m_now = std::move(image);
        m_writes.clear();
        m_sizes = {m_flushed.size()};
        m_headers = {m_flushed};
    }
    // A moment: what differs from the one before was written.
    void Note(const CImage& image)
    {
        for (size_t cb = 0; cb < image.size(); cb += kPageBytes) {
            const bool bSame = cb + kPageBytes <= m_now.size() &&
                               std::equal(image.begin() + cb, image.begin() + cb + kPageBytes, m_now.begin() + cb);
            if (!bSame)
                m_writes[cb / kPageBytes].push_back(
                    {m_sizes.size(), CImage(image.begin() + cb, image.begin() + cb + kPageBytes)});
        }
        m_now = image;
        m_sizes.push_back(image.size());
        m_headers.push_back(CImage(image.begin(), image.begin() + (kHeaderPages[1] + 1) * kPageBytes));
    }
    size_t Moments() const { return m_sizes.size(); }
    size_t Writes() const
    {
        size_t nWrites = 0;
        for (const auto& [nPage, writes] : m_writes) nWrites += writes.size();
        return nWrites;
    }
    // The disk after a cut behind moment nCut.
    CImage Cut(size_t nCut, std::mt19937& random) const
    {
        // The file's new length may have reached the disk or not.
        CImage image = m_flushed;
        const size_t cbLongest = *std::max_element(m_sizes.begin(), m_sizes.begin() + nCut + 1);
        if (cbLongest > image.size() && random() % 4) image.resize(cbLongest);
        const unsigned nOdds = random() % 9; // of eight: how many writes reach the disk
        for (const auto& [nPage, writes] : m_writes) {
            if (IsHeader(nPage) || (nPage + 1) * kPageBytes > image.size() || random() % 8 >= nOdds) continue;
            const size_t nDone =
                std::count_if(writes.begin(), writes.end(), [&](auto& w) { return w.nMoment <= nCut; });
            if (nDone == 0) continue;
            // Mostly the newest of them.
            const size_t nTaken = random() % 2 ? nDone - 1 : random() % nDone;
            std::copy(writes[nTaken].page.begin(), writes[nTaken].page.end(), image.begin() + nPage * kPageBytes);
        }
        for (const size_t nPage : kHeaderPages) // the store puts them on the disk in their turn
            std::copy_n(m_headers[nCut].begin() + nPage * kPageBytes, kPageBytes, image.begin() + nPage * kPageBytes);
        ChangeBootMark(image);
        return image;
    }

private:
    struct CWrite
    {
        size_t nMoment;
        CImage page;
    };
    CImage m_flushed, m_now;
    std::map<size_t, std::vector<CWrite>> m_writes; // by page, in the order of the moments
    std::vector<size_t> m_sizes;                    // of the file, by moment
    std::vector<CImage> m_headers;                  // the file's beginning, by moment
};

class CutTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        AddDatabase();
    }
    void AddDatabase()
    {
        const std::wstring strName = L"cut" + std::to_wstring(m_nNames++);
        m_databases.push_back(MakeDatabase(m_guid, strName, {Order({{kNumber}}), Order({{kName}})}, kDatabaseType));
        ASSERT_NE(0u, m_databases.back());
    }
    void Change()
    {
        const CDb db = OpenDb(m_guid, m_databases[m_random() % m_databases.size()], kNumber);
        const CEOID oid = m_random() % 3 ? ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, m_random() % 200, nullptr) : 0;
        if (oid && m_random() % 4 == 0) {
            ASSERT_WORKS(::CeDeleteRecord(db, oid));
            return;
        }
        const size_t cch = m_random() % 12 ? m_random() % 80 : m_random() % 9000;
        ASSERT_WORKS(Write(
            db, oid,
            CProps().I4(1, static_cast<long>(m_random() % 1000)).Text(2, std::wstring(cch, L'a' + m_random() % 26))));
    }
    // One step of the workload: a change, a batch of them, a database more or less.
    void Step()
    {
        const unsigned nKind = m_random() % 12;
        if (nKind == 0 && m_databases.size() < 4) {
            AddDatabase();
        } else if (nKind == 1 && m_databases.size() > 1) {
            ASSERT_WORKS(::CeDeleteDatabaseEx(&m_guid, m_databases.back()));
            m_databases.pop_back();
        } else if (nKind < 5) {
            ASSERT_WORKS(::CeBeginBatch(&m_guid));
            for (unsigned i = 2 + m_random() % 10; i > 0; --i) ASSERT_NO_FATAL_FAILURE(Change());
            ASSERT_WORKS(::CeCommitBatch(&m_guid));
        } else {
            ASSERT_NO_FATAL_FAILURE(Change());
        }
    }
    static std::string State(CEGUID guid)
    {
        std::string strState;
        const CDb search(::CeFindFirstDatabaseEx(&guid, 0));
        while (const CEOID oidDatabase = ::CeFindNextDatabaseEx(search, nullptr)) {
            strState += "database " + std::to_string(oidDatabase) + "\n";
            const CDb db = OpenDb(guid, oidDatabase);
            for (const CEOID oid : WalkForward(db))
                strState += std::to_string(oid) + " " + ReadOid(db, oid).strContent + "\n";
        }
        return strState;
    }
    void ExpectOneOf(const CImage& image, const std::set<std::string>& states)
    {
        const std::wstring strPath = m_folder.File(L"image.vol");
        WriteWholeFile(strPath, image);
        CEGUID guid = MountVolume(strPath, OPEN_EXISTING);
        ASSERT_FALSE(IsInvalidGuid(guid));
        EXPECT_EQ("", CheckVolume(guid));
        EXPECT_EQ(1u, states.count(State(guid))) << "older than the last flush, or a state that never was";
        ASSERT_WORKS(::CeUnmountDBVol(&guid));
    }

    std::mt19937 m_random{5000};
    std::vector<CEOID> m_databases;
    int m_nNames = 0;
};

TEST_F(CutTest, ACutAtAnyMomentOpensAtTheLastFlushOrAtAStateThatFollowedIt)
{
    constexpr int kMoments = 24;
    const int nRounds = IsLongRun() ? 110 : 4, nCuts = 1 + kMoments;
    size_t nWrites = 0;
    for (int i = 0; i < 150; ++i) ASSERT_NO_FATAL_FAILURE(Step());
    for (int nRound = 0; nRound < nRounds; ++nRound) {
        ASSERT_WORKS(::CeFlushDBVol(&m_guid));
        CWriteRecord record;
        record.Flushed(ReadWholeFile(m_strPath));
        std::vector<std::string> states = {State(m_guid)}; // by moment
        for (int i = 0; i < kMoments; ++i) {
            ASSERT_NO_FATAL_FAILURE(Step());
            states.push_back(State(m_guid));
            record.Note(ReadWholeFile(m_strPath));
        }
        nWrites += record.Writes();
        for (int nCut = 0; nCut < nCuts; ++nCut) {
            SCOPED_TRACE("round " + std::to_string(nRound) + " cut " + std::to_string(nCut));
            const std::set<std::string> possible(states.begin(), states.begin() + nCut + 1);
            ASSERT_NO_FATAL_FAILURE(ExpectOneOf(record.Cut(nCut, m_random), possible));
            if (HasFailure()) return;
        }
    }
    RecordProperty("cuts", nRounds * nCuts);
    RecordProperty("writes", static_cast<int>(nWrites));
    EXPECT_GT(nWrites, static_cast<size_t>(nRounds * kMoments)) << "nothing was written";
}

} // namespace
