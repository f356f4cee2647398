#include "kvol_process.h"

#include "text.h"

#include <korvanebatch.h>

#include <cstring>
#include <map>
#include <set>

namespace {

constexpr size_t kPage = 4096;

using Record = std::pair<CEOID, CEOID>; // database and record
using Content = std::map<Record, std::string>;

Content ContentOf(const std::string& path)
{
    CMounted volume(path);
    Content content;
    const HANDLE hEnum = ::CeFindFirstDatabaseEx(volume.Guid(), 0);
    while (CEOID oid = ::CeFindNextDatabaseEx(hEnum, nullptr)) {
        const CEOID oidDatabase = oid;
        const HANDLE h = ::CeOpenDatabaseEx(volume.Guid(), &oid, nullptr, 0, 0, nullptr);
        EXPECT_NE(INVALID_HANDLE_VALUE, h);
        for (CEOID record = ::CeSeekDatabase(h, CEDB_SEEK_BEGINNING, 0, nullptr); record;
             record = ::CeSeekDatabase(h, CEDB_SEEK_CURRENT, 1, nullptr)) {
            content[{oidDatabase, record}] = RecordBytes(h);
        }
        ::CloseHandle(h);
    }
    ::CloseHandle(hEnum);
    wchar_t problem[200] = L"";
    EXPECT_TRUE(::CeCheckDBVol(volume.Guid(), problem, ARRAYSIZE(problem))) << kvol::ToUtf8(problem);
    return content;
}

template <class T> T At(const std::string& bytes, size_t offset)
{
    T value;
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

DWORD Big(const std::string& key, size_t offset)
{
    return static_cast<DWORD>(static_cast<BYTE>(key[offset])) << 24 | static_cast<BYTE>(key[offset + 1]) << 16 |
           static_cast<BYTE>(key[offset + 2]) << 8 | static_cast<BYTE>(key[offset + 3]);
}

// On which pages of a sound volume things lie: written from the description of the file's pages, not with the store.
struct PageMap
{
    std::map<Record, std::set<size_t>> records; // the leaf page, and those of a large value
    std::map<Record, std::set<size_t>> large;   // those of a large value behind its first
    std::map<CEOID, std::set<size_t>> shapes;   // of each database

    explicit PageMap(const std::string& file)
    {
        for (size_t page = 4; page < file.size() / kPage; ++page) {
            const size_t base = page * kPage;
            if (At<DWORD>(file, base) != page || At<WORD>(file, base + 6) != 2) continue;
            const size_t nEntries = (At<WORD>(file, base + 8) - 12u) / 2;
            for (size_t i = 0; i < nEntries; ++i) {
                const size_t node = base + At<WORD>(file, base + 12 + i * 2);
                const DWORD cbValue = At<WORD>(file, node) | static_cast<DWORD>(At<WORD>(file, node + 2)) << 16;
                const std::string key = file.substr(node + 8, At<WORD>(file, node + 6));
                if (key.size() == 7 && key[0] == 4) shapes[Big(key, 1)].insert(page);
                if (key.size() != 9 || key[0] != 16) continue;
                const Record record = {Big(key, 1), Big(key, 5)};
                records[record].insert(page);
                if (!(At<WORD>(file, node + 4) & 1)) continue;
                const size_t first = At<DWORD>(file, node + 8 + key.size());
                for (size_t k = 0; k < (cbValue + 12 + kPage - 1) / kPage; ++k) {
                    records[record].insert(first + k);
                    if (k) large[record].insert(first + k);
                }
            }
        }
    }
};

class KvolRecoverTest : public KvolTest
{
protected:
    void SetUp() override
    {
        std::string csv = "code,size,text\n";
        for (int i = 0; i < 700; ++i)
            csv += "c" + std::to_string(i) + "," + std::to_string(i * 37 % 101) + "," + std::string(i % 90, 'x') + "\n";
        Import("t", csv, {"--index", "ByCode=code,nocase", "--index", "BySize=size,desc"});
        csv = "code,text\n";
        for (int i = 0; i < 6; ++i)
            csv += "long " + std::to_string(i) + "," + std::string(3000 + 4000 * i, static_cast<char>('a' + i)) + "\n";
        Import("u", csv);
        ASSERT_EQ(0u, Kvol({"compact", Volume()}).code);
        m_sound = Read("test.vol");
        m_content = ContentOf(Volume());
    }

    // Salvages the bytes as a file; true when there was something to salvage. m_info, m_found and m_new tell what.
    bool Salvage(const std::string& bytes)
    {
        const std::wstring damaged = kvol::Wide(Write("damaged.vol", bytes));
        const std::wstring fresh = kvol::Wide(Path("new.vol"));
        ::DeleteFileW(fresh.c_str());
        m_findings.clear();
        m_new.clear();
        const bool bDone = ::CeSalvageDBVol(damaged.c_str(), fresh.c_str(), &m_info, Note, this) != FALSE;
        const DWORD dwError = ::GetLastError();
        EXPECT_EQ(bytes.size(), Read("damaged.vol").size());
        EXPECT_TRUE(bytes == Read("damaged.vol"));
        EXPECT_FALSE(Exists("new.vol.recovering"));
        EXPECT_EQ(bDone, Exists("new.vol"));
        EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_CORRUPT), bDone ? static_cast<DWORD>(ERROR_FILE_CORRUPT) : dwError);
        if (bDone) m_new = ContentOf(Path("new.vol"));
        return bDone;
    }

    // What lies on pages that are not lost has come back as it was, and nothing else has.
    void ExpectWhatIsIntact(const PageMap& map, const std::set<size_t>& lost)
    {
        const auto isLost = [&](const std::set<size_t>& pages) {
            for (const size_t page : pages) {
                if (lost.count(page)) return true;
            }
            return false;
        };
        for (const auto& [record, bytes] : m_content) {
            const auto found = m_new.find(record);
            const auto shapes = map.shapes.find(record.first);
            if (found != m_new.end()) {
                const auto large = map.large.find(record);
                if (large == map.large.end() || !isLost(large->second)) {
                    EXPECT_EQ(bytes, found->second);
                }
            } else if (!isLost(map.records.at(record)) && !isLost(shapes->second)) {
                ADD_FAILURE() << "record " << record.second << " of " << record.first << " is lost: " << m_findings;
            }
        }
        for (const auto& [record, bytes] : m_new) EXPECT_TRUE(m_content.count(record)) << record.second;
    }

    static VOID CALLBACK Note(LPCWSTR lpFinding, LPVOID lpParam)
    {
        static_cast<KvolRecoverTest*>(lpParam)->m_findings += kvol::ToUtf8(lpFinding) + "\n";
    }

    std::string m_sound;
    Content m_content;
    CESALVAGEINFO m_info = {};
    std::string m_findings;
    Content m_new;
};

std::string Garbage(size_t seed)
{
    std::string page(kPage, '\0');
    DWORD state = static_cast<DWORD>(seed) * 2654435761u + 1;
    for (char& c : page) {
        state = state * 1664525 + 1013904223;
        c = static_cast<char>(state >> 24);
    }
    return page;
}

} // namespace

TEST_F(KvolRecoverTest, ASoundVolumeComesBackWhole)
{
    const std::string fresh = Path("new.vol");
    const Outcome outcome = Kvol({"recover", Volume(), fresh});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_EQ(fresh + ": 5 databases with 715 records; 0 of " + std::to_string(m_sound.size() / kPage) +
                  " pages damaged or missing, 0 records known to be lost\n",
              outcome.out);
    EXPECT_EQ(m_content, ContentOf(fresh));
    EXPECT_TRUE(m_sound == Read("test.vol"));
    const Outcome check = Kvol({"check", fresh});
    EXPECT_EQ(0u, check.code) << check;
    EXPECT_EQ(Kvol({"schema", Volume()}).out, Kvol({"schema", fresh}).out);
}

TEST_F(KvolRecoverTest, WhateverPageIsDamagedTheOthersComeBack)
{
    const PageMap map(m_sound);
    ASSERT_GT(m_sound.size() / kPage, 30u);
    for (size_t page = 0; page < m_sound.size() / kPage; ++page) {
        SCOPED_TRACE(page);
        for (const bool bZeros : {false, true}) {
            std::string damaged = m_sound;
            damaged.replace(page * kPage, kPage, bZeros ? std::string(kPage, '\0') : Garbage(page));
            ASSERT_TRUE(Salvage(damaged)) << m_findings;
            ExpectWhatIsIntact(map, {page});
        }
    }
}

TEST_F(KvolRecoverTest, WhereverTheFileIsCutWhatIsBeforeComesBack)
{
    const PageMap map(m_sound);
    const size_t nPages = m_sound.size() / kPage;
    size_t nSalvaged = 0;
    for (size_t page = 0; page < nPages; ++page) {
        SCOPED_TRACE(page);
        std::set<size_t> lost;
        for (size_t i = page; i < nPages; ++i) lost.insert(i);
        if (!Salvage(m_sound.substr(0, page * kPage + page % 2 * 100))) {
            for (const auto& [record, pages] : map.records) EXPECT_GE(*pages.rbegin(), page);
            continue;
        }
        ++nSalvaged;
        ExpectWhatIsIntact(map, lost);
    }
    EXPECT_GT(nSalvaged, nPages / 2);
}

TEST_F(KvolRecoverTest, AVolumeWithoutHeaderAndFirstPagesComesBack)
{
    ASSERT_TRUE(Salvage(std::string(4 * kPage, '\0') + m_sound.substr(4 * kPage))) << m_findings;
    EXPECT_EQ(m_content, m_new) << m_findings;
    EXPECT_NE(std::string::npos, m_findings.find("every page is looked at"));
    ASSERT_TRUE(Salvage(m_sound.substr(0, 2 * kPage) + std::string(2 * kPage, 'x') + m_sound.substr(4 * kPage)));
    EXPECT_EQ(m_content, m_new);
    ASSERT_TRUE(Salvage(std::string(2 * kPage, 'x') + m_sound.substr(2 * kPage)));
    EXPECT_EQ(m_content, m_new);
}

TEST_F(KvolRecoverTest, DeletedRecordsDoNotComeBackWithADamagedBranch)
{
    ASSERT_EQ(0u, Kvol({"drop", Volume(), "u"}).code);
    for (int i = 0; i < 101; i += 7)
        ASSERT_EQ(0u, Kvol({"delete", Volume(), "t", "BySize", std::to_string(i), "--all"}).code);
    m_content = ContentOf(Volume());
    const std::string sound = Read("test.vol");
    for (size_t page = 4; page < sound.size() / kPage; ++page) {
        if (At<DWORD>(sound, page * kPage) != page || At<WORD>(sound, page * kPage + 6) != 1) continue; // a branch page
        SCOPED_TRACE(page);
        std::string damaged = sound;
        damaged.replace(page * kPage, kPage, Garbage(page));
        ASSERT_TRUE(Salvage(damaged)) << m_findings;
        EXPECT_EQ(m_content, m_new) << m_findings;
    }
}

TEST_F(KvolRecoverTest, BytesChangedAnywhereNeitherCrashNorHang)
{
    DWORD state = 1;
    const auto random = [&state](size_t below) {
        state = state * 1664525 + 1013904223;
        return (state >> 8) % below;
    };
    size_t nSalvaged = 0;
    for (int i = 0; i < 200; ++i) {
        SCOPED_TRACE(i);
        std::string damaged = m_sound;
        for (size_t n = 1 + random(20); n > 0; --n) {
            // The heads of pages are hit as often as all else.
            const size_t page = random(damaged.size() / kPage);
            damaged[page * kPage + (n % 2 ? random(16) : random(kPage))] = static_cast<char>(random(256));
        }
        nSalvaged += Salvage(damaged);
    }
    EXPECT_GT(nSalvaged, 190u);
}

TEST_F(KvolRecoverTest, TheReportTellsWhatIsLostAndTheNewVolumeIsSound)
{
    // Each page in turn through the program; those of the catalogues are among them.
    const std::string fresh = Path("new.vol");
    const PageMap map(m_sound);
    for (size_t page = 4; page < m_sound.size() / kPage; page += 3) {
        SCOPED_TRACE(page);
        std::string damaged = m_sound;
        damaged.replace(page * kPage, kPage, Garbage(page));
        Write("damaged.vol", damaged);
        ::DeleteFileW(kvol::Wide(fresh).c_str());
        const Outcome outcome = Kvol({"recover", Path("damaged.vol"), fresh});
        EXPECT_LE(outcome.code, 1u) << outcome;
        EXPECT_TRUE(outcome.OutHas(fresh + ": ")) << outcome;
        if (outcome.code == 1) {
            EXPECT_TRUE(outcome.OutHas("page " + std::to_string(page) + " is damaged\n")) << outcome;
        }
        if (map.shapes.begin()->second.count(page)) continue;
        const Outcome check = Kvol({"check", fresh});
        EXPECT_EQ(0u, check.code) << check << outcome;
    }
}

TEST_F(KvolRecoverTest, WhatCannotBeRecoveredIsRefused)
{
    Write("text.vol", std::string(50000, 'x'));
    const Outcome text = Kvol({"recover", Path("text.vol"), Path("new.vol")});
    EXPECT_EQ(1u, text.code);
    EXPECT_TRUE(text.ErrHas("nothing of a volume can be found in it")) << text;
    EXPECT_FALSE(Exists("new.vol"));
    const Outcome missing = Kvol({"recover", Path("none.vol"), Path("new.vol")});
    EXPECT_EQ(1u, missing.code);
    EXPECT_FALSE(Exists("new.vol"));
    Write("new.vol", "mine");
    const Outcome there = Kvol({"recover", Volume(), Path("new.vol")});
    EXPECT_EQ(1u, there.code);
    EXPECT_TRUE(there.ErrHas("this one is there already")) << there;
    EXPECT_EQ("mine", Read("new.vol"));
    EXPECT_EQ(2u, Kvol({"recover", Volume()}).code);
}
