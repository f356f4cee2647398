#include "volumefile.h"

#include "bytes.h"

#include <cstring>

namespace store {

DWORD CVolumeFile::Open(const wchar_t* pszPath, DWORD dwShare)
{
    Close();
    m_hFile = ::CreateFileW(pszPath, GENERIC_READ, dwShare, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (m_hFile == INVALID_HANDLE_VALUE) return ::GetLastError();
    LARGE_INTEGER cb;
    if (!::GetFileSizeEx(m_hFile, &cb)) return ::GetLastError();
    const ULONGLONG nPages = static_cast<ULONGLONG>(cb.QuadPart) / kPageBytes;
    m_nPages = nPages < KV_MAX_PAGES ? static_cast<DWORD>(nPages) : static_cast<DWORD>(KV_MAX_PAGES);
    return ERROR_SUCCESS;
}

void CVolumeFile::Close()
{
    if (m_hFile != INVALID_HANDLE_VALUE) ::CloseHandle(m_hFile);
    m_hFile = INVALID_HANDLE_VALUE;
}

bool CVolumeFile::ReadPage(DWORD dwPage, BYTE* p)
{
    if (dwPage >= m_nPages) return false;
    const DWORD dwError = ReadAt(m_hFile, dwPage * kPageBytes, p, kPageBytes);
    if (dwError != ERROR_SUCCESS) m_dwReadError = dwError;
    return dwError == ERROR_SUCCESS;
}

// ---- Trees ---------------------------------------------------------------------------------------------------------

namespace {

CBytes KeyOf(const kv_entry& entry)
{
    return {entry.key, entry.key_bytes};
}

CBytes BytesOf(const std::vector<BYTE>& bytes)
{
    return {bytes.data(), bytes.size()};
}

} // namespace

// The list of free pages has numbers for keys, the map bytes.
int CTreeWalk::Compare(CBytes left, CBytes right) const
{
    if (m_nWhich == KV_MAP_TREE || left.cb != sizeof(DWORD) || right.cb != sizeof(DWORD))
        return CompareBytes(left, right);
    const DWORD dwLeft = Load<DWORD>(left.p), dwRight = Load<DWORD>(right.p);
    return dwLeft < dwRight ? -1 : dwLeft > dwRight;
}

bool CTreeWalk::KeysInOrder(const BYTE* pPage, DWORD nFirst, const CKeyRange& range) const
{
    CBytes before = BytesOf(range.low);
    const DWORD nEntries = kv_entry_count(pPage);
    for (DWORD i = nFirst; i < nEntries; ++i) {
        const CBytes key = KeyOf(kv_entry_at(pPage, i));
        const bool bFirst = i == nFirst;
        if (!(bFirst && before.cb == 0)) {
            const int n = Compare(before, key);
            if (n > 0 || (n == 0 && !bFirst)) return false;
        }
        before = key;
    }
    return nEntries <= nFirst || range.bToEnd || Compare(before, BytesOf(range.high)) < 0;
}

DWORD CTreeWalk::Run(const kv_tree& tree, int nWhich, IWalkSink& sink)
{
    m_nWhich = nWhich;
    m_pSink = &sink;
    return tree.root == KV_NO_PAGE ? ERROR_SUCCESS : Visit(tree.root, tree.depth, {});
}

DWORD CTreeWalk::Visit(DWORD dwPage, DWORD nDepth, const CKeyRange& range)
{
    std::vector<BYTE> page(kPageBytes);
    const bool bNew = dwPage >= KV_RESERVED_PAGES && m_used.Add(dwPage);
    const int nKind = bNew && m_file.ReadPage(dwPage, page.data()) ? kv_page_kind(page.data(), dwPage, m_dwEnd)
                                                                   : static_cast<int>(KV_PAGE_BAD);
    // The first key of a branch page stands for nothing: what it leads to begins where the page does.
    if (nKind != (nDepth > 1 ? KV_PAGE_BRANCH : KV_PAGE_LEAF) || !KeysInOrder(page.data(), nDepth > 1 ? 1 : 0, range)) {
        m_pSink->Lost(dwPage, range);
        return ERROR_SUCCESS;
    }
    if (nDepth <= 1) return LeafEntries(page.data());
    const DWORD nEntries = kv_entry_count(page.data());
    CKeyRange part = range;
    for (DWORD i = 0; i < nEntries; ++i) {
        const kv_entry entry = kv_entry_at(page.data(), i);
        part.bToEnd = range.bToEnd && i + 1 == nEntries;
        if (i + 1 < nEntries) {
            const CBytes next = KeyOf(kv_entry_at(page.data(), i + 1));
            part.high.assign(next.p, next.p + next.cb);
        } else {
            part.high = range.high;
        }
        const DWORD dwError = Visit(entry.page, nDepth - 1, part);
        if (dwError != ERROR_SUCCESS) return dwError;
        part.low = part.high;
    }
    return ERROR_SUCCESS;
}

bool CTreeWalk::ReadLeaf(DWORD dwPage, BYTE* pPage) const
{
    return m_file.ReadPage(dwPage, pPage) && kv_page_kind(pPage, dwPage, m_dwEnd) == KV_PAGE_LEAF &&
           KeysInOrder(pPage, 0, {});
}

DWORD CTreeWalk::Leaf(const BYTE* pPage, IWalkSink& sink)
{
    m_pSink = &sink;
    return LeafEntries(pPage);
}

DWORD CTreeWalk::LeafEntries(const BYTE* pPage)
{
    const DWORD nEntries = kv_entry_count(pPage);
    for (DWORD i = 0; i < nEntries; ++i) {
        const kv_entry entry = kv_entry_at(pPage, i);
        CBytes value = {entry.value, entry.value_bytes};
        if (!entry.value && !ReadLarge(entry, value)) {
            CKeyRange range; // of this key alone
            range.low.assign(entry.key, entry.key + entry.key_bytes);
            range.high = range.low;
            range.high.push_back(0);
            range.bToEnd = false;
            m_pSink->Lost(entry.page, range);
            continue;
        }
        const DWORD dwError = m_pSink->Entry(KeyOf(entry), value);
        if (dwError != ERROR_SUCCESS) return dwError;
    }
    return ERROR_SUCCESS;
}

// Only the first of the pages has a head that can be checked.
bool CTreeWalk::ReadLarge(const kv_entry& entry, CBytes& value)
{
    const DWORD nPages = kv_large_pages(entry.value_bytes);
    if (nPages > m_dwEnd || entry.page > m_dwEnd - nPages || entry.page + nPages > m_file.PageCount()) return false;
    m_large.resize(static_cast<size_t>(nPages) * kPageBytes);
    for (DWORD i = 0; i < nPages; ++i) {
        if (!m_used.Add(entry.page + i) || !m_file.ReadPage(entry.page + i, m_large.data() + i * kPageBytes))
            return false;
    }
    // A value that shrank in the transaction that made it has kept the pages that it had.
    if (kv_page_kind(m_large.data(), entry.page, m_dwEnd) != KV_PAGE_LARGE ||
        kv_large_page_count(m_large.data()) < nPages)
        return false;
    value = {m_large.data() + kv_large_offset(), entry.value_bytes};
    return true;
}

// ---- States --------------------------------------------------------------------------------------------------------

DWORD StateToOpen(CVolumeFile& file, kv_state& state)
{
    std::vector<BYTE> pages(KV_RESERVED_PAGES * kPageBytes);
    for (DWORD i = 0; i < KV_RESERVED_PAGES; ++i)
        if (!file.ReadPage(i, pages.data() + i * kPageBytes)) return ERROR_FILE_CORRUPT;
    CVolumeHeader header;
    const DWORD dwError = ReadHeader(pages.data() + 2 * kPageBytes, header);
    if (dwError != ERROR_SUCCESS) return dwError;
    const DWORD cbFile = file.PageCount() * kPageBytes;
    state = header.flushed;
    if (header.dwInUse && header.boot == PresentBoot())
        return kv_read_metas(pages.data(), cbFile, &state) == MDB_SUCCESS ? ERROR_SUCCESS : ERROR_FILE_CORRUPT;
    return kv_state_is_sound(&state, cbFile) ? ERROR_SUCCESS : ERROR_FILE_CORRUPT;
}

} // namespace store
