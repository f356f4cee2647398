#include "salvage.h"

#include "apiedge.h"
#include "newfile.h"
#include "volumefile.h"

#include <algorithm>
#include <cstring>

namespace store {

namespace {

constexpr wchar_t kNewSuffix[] = L".recovering";
constexpr size_t kBytesOfOneCommit = 4 << 20;
constexpr size_t kMostPagesNamed = 20;

// Whether a key can be one of the map's.
bool IsMapKey(CBytes key)
{
    switch (key.p[0]) {
    case kVolumeSpace:
        return key.cb == 1;
    case kDatabaseSpace:
        return key.cb == 5;
    case kNameSpace:
        return key.cb >= 3 && key.cb % 2 == 1 && key.cb <= 1 + 2 * (CEDB_MAXDBASENAMELEN - 1);
    case kShapeSpace:
        return key.cb == 7;
    case kRecordSpace:
        return key.cb == 9;
    case kIndexSpace:
        return key.cb >= 11;
    default:
        return false;
    }
}

// How much of a state can be walked.
class CCountSink : public IWalkSink
{
public:
    DWORD Entry(CBytes, CBytes) override
    {
        ++nEntries;
        return ERROR_SUCCESS;
    }
    void Lost(DWORD, const CKeyRange&) override {}
    DWORD nEntries = 0;
};

// The pages that a list of free pages offers.
class CFreeSink : public IWalkSink
{
public:
    DWORD Entry(CBytes, CBytes value) override
    {
        if (value.cb < sizeof(DWORD) || Load<DWORD>(value.p) > value.cb / sizeof(DWORD) - 1) {
            bWhole = false;
            return ERROR_SUCCESS;
        }
        for (DWORD i = 1; i <= Load<DWORD>(value.p); ++i) pages.Add(Load<DWORD>(value.p + i * sizeof(DWORD)));
        return ERROR_SUCCESS;
    }
    void Lost(DWORD, const CKeyRange&) override { bWhole = false; }
    CPageSet pages;
    bool bWhole = true;
};

// Puts entries into the new volume, a few megabytes a commit.
class CRescueSink : public IWalkSink
{
public:
    explicit CRescueSink(CVolume& volume) : m_volume(volume) {}

    DWORD Entry(CBytes key, CBytes value) override
    {
        if (!IsMapKey(key) || key.p[0] == kIndexSpace) return ERROR_SUCCESS;
        if (m_pWithin && !IsWithin(key, *m_pWithin)) return ERROR_SUCCESS;
        if (!m_pAccess) m_pAccess = std::make_unique<CWriteAccess>(m_volume);
        if (m_pAccess->Error() != ERROR_SUCCESS) return m_pAccess->Error();
        CBytes present;
        // The new volume has a record of its own from the start.
        if (key.p[0] == kVolumeSpace) {
            if (value.cb != 20 || Load<DWORD>(value.p) != 1) return ERROR_SUCCESS;
            bVolumeRecord = true;
        } else if (m_pAccess->Get(key, present)) {
            if (!SameBytes(present, value)) ++nVersions;
            return ERROR_SUCCESS;
        }
        if (m_pAccess->Error() != ERROR_SUCCESS) return m_pAccess->Error();
        const DWORD dwError = m_pAccess->Put(key, value);
        if (dwError != ERROR_SUCCESS) return dwError;
        ++nEntries;
        m_cb += key.cb + value.cb;
        return m_cb < kBytesOfOneCommit ? ERROR_SUCCESS : Commit();
    }

    void Lost(DWORD dwPage, const CKeyRange& range) override
    {
        lostPages.push_back(dwPage);
        ranges.push_back(range);
    }

    // From now on only entries in one of the lost ranges count.
    void TakeOnly(const CKeyRange* pRange) { m_pWithin = pRange; }

    DWORD Commit()
    {
        const DWORD dwError = m_pAccess ? m_pAccess->Commit() : ERROR_SUCCESS;
        m_pAccess.reset();
        m_cb = 0;
        return dwError;
    }

    static bool IsWithin(CBytes key, const CKeyRange& range)
    {
        return CompareBytes(key, {range.low.data(), range.low.size()}) >= 0 &&
               (range.bToEnd || CompareBytes(key, {range.high.data(), range.high.size()}) < 0);
    }

    std::vector<DWORD> lostPages;
    std::vector<CKeyRange> ranges;
    DWORD nEntries = 0;
    DWORD nVersions = 0; // entries that were found again, with another value
    bool bVolumeRecord = false;

private:
    CVolume& m_volume;
    std::unique_ptr<CWriteAccess> m_pAccess;
    const CKeyRange* m_pWithin = nullptr;
    size_t m_cb = 0; // in m_pAccess
};

class CSalvageReader
{
public:
    CSalvageReader(CVolumeFile& file, COpenVolume& volume, CFindings& findings)
        : m_file(file), m_findings(findings), m_sink(volume.Engine())
    {
    }

    DWORD Run(bool& bVolumeRecord)
    {
        m_findings.info.nPages = m_file.PageCount();
        const bool bState = ChooseState();
        const DWORD dwEnd = bState ? m_state.last_page + 1 : m_file.PageCount();
        CTreeWalk freeWalk(m_file, dwEnd);
        CTreeWalk mapWalk(m_file, dwEnd);
        CFreeSink free;
        DWORD dwError = ERROR_SUCCESS;
        if (bState) {
            dwError = freeWalk.Run(kv_tree_of(&m_state, KV_FREE_TREE), KV_FREE_TREE, free);
            if (dwError == ERROR_SUCCESS) dwError = mapWalk.Run(kv_tree_of(&m_state, KV_MAP_TREE), KV_MAP_TREE, m_sink);
        } else {
            m_findings.Say(
                L"neither the header nor the first pages say where the trees begin: every page is looked at");
            m_sink.ranges.emplace_back();
            FindFreeList(dwEnd, free);
        }
        if (dwError == ERROR_SUCCESS && !m_sink.ranges.empty()) {
            if (!free.bWhole || m_bInUse || !bState)
                m_findings.Say(L"which pages are free is not known for sure: records that had been deleted or changed "
                               L"before may be back as they were");
            dwError = Orphans(mapWalk, freeWalk, free, dwEnd);
        }
        if (dwError == ERROR_SUCCESS) dwError = m_sink.Commit();
        TellPages();
        bVolumeRecord = m_sink.bVolumeRecord;
        if (dwError == ERROR_SUCCESS && m_sink.nEntries == 0 && (!bState || !m_sink.lostPages.empty()))
            return ERROR_FILE_CORRUPT;
        return dwError;
    }

private:
    // The state that the volume would open at; when the header is not whole, the newest that leads to
    // anything.
    bool ChooseState()
    {
        std::vector<BYTE> page(kPageBytes);
        std::vector<kv_state> states;
        std::vector<CVolumeHeader> headers;
        for (DWORD i = 0; i < 2; ++i) {
            kv_state state;
            if (m_file.ReadPage(i, page.data()) && kv_read_meta(page.data(), i, &state) == MDB_SUCCESS)
                states.push_back(state);
        }
        const size_t nMetas = states.size();
        for (DWORD i = 2; i < 4; ++i) {
            std::vector<BYTE> pages(2 * kPageBytes); // the other copy is left empty
            CVolumeHeader header;
            if (!m_file.ReadPage(i, pages.data()) || ReadHeader(pages.data(), header) != ERROR_SUCCESS ||
                !kv_state_is_sound(&header.flushed, 0xFFFFFFFF))
                continue;
            headers.push_back(header);
            states.push_back(header.flushed);
        }
        if (headers.size() < 2)
            m_findings.Say(headers.empty() ? L"both copies of the header are damaged"
                                           : L"one of the two copies of the header is damaged");
        if (nMetas < 2)
            m_findings.Say(nMetas ? L"one of the two meta pages is damaged" : L"both meta pages are damaged");
        if (states.empty()) return false;
        const auto newer = [](const kv_state& a, const kv_state& b) { return a.txnid < b.txnid; };
        if (headers.size() == 2) {
            const CVolumeHeader& header =
                static_cast<LONG>(headers[1].dwSequence - headers[0].dwSequence) > 0 ? headers[1] : headers[0];
            m_bInUse = header.dwInUse != 0;
            m_state = header.flushed;
            if (m_bInUse && header.boot == PresentBoot() && nMetas)
                m_state = *std::max_element(states.begin(), states.begin() + nMetas, newer);
            return true;
        }
        m_bInUse = true; // as far as one can know
        std::sort(states.begin(), states.end(), newer);
        m_state = states.back();
        for (size_t i = states.size(); i-- > 0;) {
            CCountSink count;
            CTreeWalk(m_file, states[i].last_page + 1).Run(kv_tree_of(&states[i], KV_MAP_TREE), KV_MAP_TREE, count);
            if (count.nEntries == 0) continue;
            m_state = states[i];
            break;
        }
        return true;
    }

    // Without a state: the newest page that is a list of free pages, by the number of the last transaction in it.
    void FindFreeList(DWORD dwEnd, CFreeSink& free)
    {
        std::vector<BYTE> page(kPageBytes), best;
        DWORD dwNewest = 0;
        for (DWORD i = KV_RESERVED_PAGES; i < dwEnd; ++i) {
            if (!m_file.ReadPage(i, page.data()) || kv_page_kind(page.data(), i, dwEnd) != KV_PAGE_LEAF) continue;
            const kv_entry last = kv_entry_at(page.data(), kv_entry_count(page.data()) - 1);
            if (last.key_bytes != sizeof(DWORD) || Load<DWORD>(last.key) < dwNewest) continue;
            dwNewest = Load<DWORD>(last.key);
            best = page;
        }
        free.bWhole = false;
        if (!best.empty()) CTreeWalk(m_file, dwEnd).Leaf(best.data(), free);
    }

    // The leaf pages that nothing accounts for, each of which belongs into one of the lost ranges.
    DWORD Orphans(CTreeWalk& mapWalk, const CTreeWalk& freeWalk, const CFreeSink& free, DWORD dwEnd)
    {
        const std::vector<CKeyRange> ranges = m_sink.ranges;
        std::vector<BYTE> page(kPageBytes);
        for (DWORD i = KV_RESERVED_PAGES; i < dwEnd; ++i) {
            if (mapWalk.Used().Has(i) || freeWalk.Used().Has(i) || free.pages.Has(i)) continue;
            if (!mapWalk.ReadLeaf(i, page.data())) continue;
            const CKeyRange* const pRange = RangeOf(ranges, page.data());
            if (!pRange) continue;
            m_sink.TakeOnly(pRange);
            const DWORD dwError = mapWalk.Leaf(page.data(), m_sink);
            if (dwError != ERROR_SUCCESS) return dwError;
        }
        if (m_sink.nVersions) {
            m_findings.Say(L"of " + std::to_wstring(m_sink.nVersions) +
                           L" entries there were several versions; the first one found was taken");
        }
        return ERROR_SUCCESS;
    }

    static const CKeyRange* RangeOf(const std::vector<CKeyRange>& ranges, const BYTE* pPage)
    {
        const DWORD nEntries = kv_entry_count(pPage);
        for (DWORD i = 0; i < nEntries; ++i) {
            const kv_entry entry = kv_entry_at(pPage, i);
            if (!IsMapKey({entry.key, entry.key_bytes})) return nullptr;
        }
        const kv_entry first = kv_entry_at(pPage, 0), last = kv_entry_at(pPage, nEntries - 1);
        for (const CKeyRange& range : ranges) {
            if (CRescueSink::IsWithin({first.key, first.key_bytes}, range) &&
                CRescueSink::IsWithin({last.key, last.key_bytes}, range))
                return &range;
        }
        return nullptr;
    }

    void TellPages()
    {
        std::vector<DWORD>& pages = m_sink.lostPages;
        std::sort(pages.begin(), pages.end());
        pages.erase(std::unique(pages.begin(), pages.end()), pages.end());
        m_findings.info.nDamagedPages = static_cast<DWORD>(pages.size());
        for (size_t i = 0; i < pages.size() && i < kMostPagesNamed; ++i) {
            m_findings.Say(L"page " + std::to_wstring(pages[i]) +
                           (pages[i] < m_file.PageCount() ? L" is damaged" : L" is beyond the end of the file"));
        }
        if (pages.size() > kMostPagesNamed)
            m_findings.Say(L"damaged or missing pages beside these: " +
                           std::to_wstring(pages.size() - kMostPagesNamed));
    }

    CVolumeFile& m_file;
    CFindings& m_findings;
    CRescueSink m_sink;
    kv_state m_state = {};
    bool m_bInUse = false; // pages may be out of use that no list names
};

DWORD Salvage(const wchar_t* pszDamaged, const wchar_t* pszNew, CFindings& findings)
{
    wchar_t szNew[MAX_PATH];
    const DWORD cch = ::GetFullPathNameW(pszNew, MAX_PATH, szNew, nullptr);
    if (cch == 0) return ::GetLastError();
    if (cch + ARRAYSIZE(kNewSuffix) + 16 > MAX_PATH) return ERROR_INVALID_PARAMETER;
    CVolumeFile file;
    DWORD dwError = file.Open(pszDamaged, FILE_SHARE_READ | FILE_SHARE_WRITE);
    if (dwError != ERROR_SUCCESS) return dwError;
    if (::GetFileAttributesW(szNew) != INVALID_FILE_ATTRIBUTES) return ERROR_FILE_EXISTS;
    const std::wstring strTemporary = std::wstring(szNew) + kNewSuffix;
    CNewFile newFile(strTemporary.c_str());
    {
        std::unique_ptr<COpenVolume> volume;
        bool bExisted, bVolumeRecord = false;
        dwError = COpenVolume::Open(strTemporary.c_str(), CREATE_ALWAYS, volume, bExisted);
        if (dwError != ERROR_SUCCESS) return dwError;
        dwError = CSalvageReader(file, *volume, findings).Run(bVolumeRecord);
        if (dwError == ERROR_SUCCESS) dwError = MendVolume(*volume, !bVolumeRecord, findings);
        // There may well be something in it: what is wrong is the disk.
        if (dwError == ERROR_FILE_CORRUPT && file.ReadError() != ERROR_SUCCESS) dwError = file.ReadError();
        if (dwError == ERROR_SUCCESS) dwError = volume->Engine().Flush();
    }
    // Checks it as well, and brings it to its size.
    if (dwError == ERROR_SUCCESS && !::CeCompactDBVol(strTemporary.c_str(), nullptr, 0)) dwError = ::GetLastError();
    if (dwError == ERROR_SUCCESS && !::MoveFileExW(strTemporary.c_str(), szNew, MOVEFILE_WRITE_THROUGH))
        dwError = ::GetLastError();
    newFile.SetDelete(dwError != ERROR_SUCCESS);
    return dwError;
}

} // namespace

} // namespace store

using namespace store;

BOOL WINAPI CeSalvageDBVol(LPCWSTR lpszDamaged, LPCWSTR lpszNew, CESALVAGEINFO* lpInfo, CESALVAGEPROC lpFound,
                           LPVOID lpParam)
{
    return AnswerBool([&]() -> DWORD {
        if (!lpszDamaged || !*lpszDamaged || !lpszNew || !*lpszNew || !lpInfo) return ERROR_INVALID_PARAMETER;
        *lpInfo = {};
        CFindings findings(lpFound, lpParam, *lpInfo);
        return Salvage(lpszDamaged, lpszNew, findings);
    });
}
