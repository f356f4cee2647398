// volumefile.h - a volume file read page by page, without an engine: for compaction and salvage.
//
// Nothing is written, nothing is believed: pages are checked before they are used, counts and page numbers too.
//
// Ownership  CVolumeFile owns its handle.
// Threads    one at a time.
// Errors     Win32 codes; a page that is damaged, missing or cannot be read is no error of the walk: the sink is told.
#ifndef KORVANESTORE_VOLUMEFILE_H
#define KORVANESTORE_VOLUMEFILE_H

#include "engine.h"
#include "header.h"

#include <vector>

namespace store {

class CVolumeFile
{
public:
    CVolumeFile() = default;
    ~CVolumeFile() { Close(); }
    CVolumeFile(const CVolumeFile&) = delete;
    CVolumeFile& operator=(const CVolumeFile&) = delete;

    // dwShare: what other handles may do meanwhile (FILE_SHARE_).
    DWORD Open(const wchar_t* pszPath, DWORD dwShare);
    void Close();

    DWORD PageCount() const { return m_nPages; }      // whole pages
    bool ReadPage(DWORD dwPage, BYTE* p);             // false: there is none, or the disk does not give it
    DWORD ReadError() const { return m_dwReadError; } // why it last did not

private:
    HANDLE m_hFile = INVALID_HANDLE_VALUE;
    DWORD m_nPages = 0;
    DWORD m_dwReadError = ERROR_SUCCESS;
};

// Keys from low on, below high.
struct CKeyRange
{
    std::vector<BYTE> low;
    std::vector<BYTE> high;
    bool bToEnd = true; // there is no high
};

// A set of pages.
class CPageSet
{
public:
    CPageSet() : m_bits(KV_PAGE_MAP_BYTES) {}
    bool Has(DWORD dwPage) const { return dwPage < KV_MAX_PAGES && kv_bit(m_bits.data(), dwPage); }
    // False: it was there already, or is beyond what a volume can have.
    bool Add(DWORD dwPage)
    {
        if (dwPage >= KV_MAX_PAGES || Has(dwPage)) return false;
        kv_set_bit(m_bits.data(), dwPage);
        return true;
    }

private:
    std::vector<BYTE> m_bits;
};

// What a walk finds.
class IWalkSink
{
public:
    // An entry; anything but ERROR_SUCCESS ends the walk. The bytes are good during the call.
    virtual DWORD Entry(CBytes key, CBytes value) = 0;
    // A page of the tree is lost, and with it what it had in this range.
    virtual void Lost(DWORD dwPage, const CKeyRange& range) = 0;

protected:
    ~IWalkSink() = default;
};

// Walks the trees of a file in the order of their keys.
class CTreeWalk
{
public:
    // dwEnd: the first page that is none of the state's.
    CTreeWalk(CVolumeFile& file, DWORD dwEnd) : m_file(file), m_dwEnd(dwEnd) {}

    DWORD Run(const kv_tree& tree, int nWhich, IWalkSink& sink);
    // The entries of one leaf page that is in no tree. False: the page is no sound leaf page with keys in order.
    bool ReadLeaf(DWORD dwPage, BYTE* pPage) const;
    DWORD Leaf(const BYTE* pPage, IWalkSink& sink);

    const CPageSet& Used() const { return m_used; }

private:
    DWORD Visit(DWORD dwPage, DWORD nDepth, const CKeyRange& range);
    DWORD LeafEntries(const BYTE* pPage);
    bool ReadLarge(const kv_entry& entry, CBytes& value);
    bool KeysInOrder(const BYTE* pPage, DWORD nFirst, const CKeyRange& range) const;
    int Compare(CBytes left, CBytes right) const;

    CVolumeFile& m_file;
    const DWORD m_dwEnd;
    int m_nWhich = KV_MAP_TREE;
    IWalkSink* m_pSink = nullptr; // during a walk
    CPageSet m_used;
    std::vector<BYTE> m_large;
};

// The state of the trees that a volume closed in good order or left by a dead process opens at. ERROR_FILE_CORRUPT,
// ERROR_REVISION_MISMATCH.
DWORD StateToOpen(CVolumeFile& file, kv_state& state);

} // namespace store

#endif
