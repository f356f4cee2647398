#include "blocks.h"

#include <cstring>

namespace guard {
namespace {

constexpr SIZE_T kPage = 4096;
constexpr DWORD kPages = kArenaBytes / kPage;
constexpr DWORD kBuckets = 1u << 16;
constexpr SIZE_T kEdge = 16;               // bytes of pattern on each side of a plain block
constexpr BYTE kPattern = 0xA5;            // around a block
constexpr BYTE kUnset = 0xCD;              // in a block that nobody has written to
constexpr BYTE kGone = 0xDD;               // in a plain block that has been freed
constexpr DWORD kPlainKept = 8192;         // freed plain blocks that are not given back yet
constexpr SIZE_T kLargestKept = 64 << 10;  // of them
constexpr SIZE_T kLargestFilled = 1 << 20; // of the blocks that are filled with kUnset
constexpr int kStackWords = 250;

EPlace g_place = EPlace::kOff;
BYTE* g_pArena = nullptr;
CBlock* g_guarded = nullptr; // by the number of a block's first page
DWORD* g_owner = nullptr;    // of a page: the first page of its block, plus 1
DWORD g_nNextPage = 0;

CBlock* g_plain = nullptr;
DWORD* g_buckets = nullptr; // index into g_plain, plus 1
DWORD g_nPlainUsed = 0, g_nPlainFree = 0;
DWORD g_kept[kPlainKept]; // a ring of indexes, plus 1
DWORD g_nKept = 0;

ULONGLONG g_ullTest = 0; // the last block before the test
DWORD g_nLive = 0;
CBlock* g_pNewest = nullptr; // of the blocks of modules of ours
CFigures g_figures = {};
SRWLOCK g_lock = SRWLOCK_INIT;

class CLock
{
public:
    CLock() { ::AcquireSRWLockExclusive(&g_lock); }
    ~CLock() { ::ReleaseSRWLockExclusive(&g_lock); }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;
};

template <class T> T* Reserve(SIZE_T n)
{
    return static_cast<T*>(::VirtualAlloc(nullptr, n * sizeof(T), MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
}

DWORD Bucket(const void* p)
{
    return (reinterpret_cast<DWORD>(p) >> 3) * 2654435761u >> 16;
}

bool Intact(const BYTE* p, SIZE_T cb, BYTE pattern)
{
    for (SIZE_T i = 0; i < cb; ++i) {
        if (p[i] != pattern) return false;
    }
    return true;
}

// The block that a page is of or was of last, or NULL.
CBlock* BlockOfPage(DWORD nPage)
{
    if (!g_owner[nPage]) return nullptr;
    CBlock& block = g_guarded[g_owner[nPage] - 1];
    // The record can have been used again, for a block that ends before this page.
    return nPage < block.dwFirst + block.nPages ? &block : nullptr;
}

// The first of `nPages` pages in a row that no allocated block has, from where the last search ended; kPages when there
// are none.
DWORD FindPages(DWORD nPages)
{
    DWORD nStart = g_nNextPage, nRun = 0;
    bool bWrapped = false;
    for (DWORD i = nStart;;) {
        if (i == kPages) {
            if (bWrapped) return kPages;
            bWrapped = true;
            i = nStart = nRun = 0;
        }
        const CBlock* pBlock = BlockOfPage(i);
        if (pBlock && pBlock->state == CBlock::kLive) {
            i = nStart = pBlock->dwFirst + pBlock->nPages;
            nRun = 0;
            continue;
        }
        ++i;
        if (++nRun == nPages) return nStart;
    }
}

// A page for each of a test's first blocks, and for some of the others: it costs as much as a hundred plain ones.
bool IsPageDue()
{
    const ULONGLONG ull = g_figures.ullBlocks - g_ullTest;
    return ull < kFirstInTest || ull % kSampled == 0;
}

void* AllocateGuarded(SIZE_T cb, SIZE_T cbAlignment, CBlock*& pBlock)
{
    const SIZE_T cbRounded = (cb + cbAlignment - 1) & ~(cbAlignment - 1);
    const DWORD nPages = static_cast<DWORD>(((cbRounded ? cbRounded : 1) + kPage - 1) / kPage) + 1;
    const DWORD nFirst = FindPages(nPages);
    if (nFirst == kPages) return nullptr;
    BYTE* pPages = g_pArena + nFirst * kPage;
    BYTE* pOpen = g_place == EPlace::kBefore ? pPages + kPage : pPages;
    const SIZE_T cbOpen = (nPages - 1) * kPage;
    if (!::VirtualAlloc(pOpen, cbOpen, MEM_COMMIT, PAGE_READWRITE)) return nullptr;
    g_nNextPage = nFirst + nPages;
    // Records of earlier blocks that these pages were part of are of no use any more.
    for (DWORD i = nFirst; i < nFirst + nPages; ++i) {
        g_guarded[i].state = CBlock::kNever;
        g_owner[i] = nFirst + 1;
    }
    pBlock = &g_guarded[nFirst];
    pBlock->bPlain = false;
    pBlock->dwFirst = nFirst;
    pBlock->nPages = nPages;
    BYTE* const p = g_place == EPlace::kBefore ? pOpen : pOpen + cbOpen - cbRounded;
    std::memset(pOpen, kPattern, p - pOpen);
    std::memset(p + cb, kPattern, pOpen + cbOpen - (p + cb));
    return p;
}

void* AllocatePlain(SIZE_T cb, CBlock*& pBlock)
{
    if (!g_nPlainFree && g_nPlainUsed == kMostPlain) return nullptr;
    auto* const pWhole = static_cast<BYTE*>(g_system.alloc(::GetProcessHeap(), 0, cb + 2 * kEdge));
    if (!pWhole) return nullptr;
    DWORD nIndex = g_nPlainUsed;
    if (g_nPlainFree) {
        nIndex = g_nPlainFree - 1;
        g_nPlainFree = g_plain[nIndex].nNext;
    } else {
        ++g_nPlainUsed;
    }
    BYTE* const p = pWhole + kEdge;
    std::memset(pWhole, kPattern, kEdge);
    std::memset(p + cb, kPattern, kEdge);
    pBlock = &g_plain[nIndex];
    pBlock->bPlain = true;
    pBlock->nNext = g_buckets[Bucket(p)];
    g_buckets[Bucket(p)] = nIndex + 1;
    ++g_figures.ullPlain;
    return p;
}

// Gives a plain block that was freed some time ago back to the heap.
void GiveBack(DWORD nIndex)
{
    CBlock& block = g_plain[nIndex];
    if (!Intact(block.p, block.cb <= kLargestKept ? block.cb : kLargestKept, kGone))
        Fault("written to after it was freed", &block, block.freed);
    DWORD* pLink = &g_buckets[Bucket(block.p)];
    while (*pLink != nIndex + 1) pLink = &g_plain[*pLink - 1].nNext;
    *pLink = block.nNext;
    g_system.free(::GetProcessHeap(), 0, block.p - kEdge);
    block.state = CBlock::kNever;
    block.nNext = g_nPlainFree;
    g_nPlainFree = nIndex + 1;
}

void CheckEdges(const CBlock& block, const CStack& stack)
{
    SIZE_T cbBefore = kEdge, cbBehind = kEdge;
    if (!block.bPlain) {
        const BYTE* pOpen = g_pArena + (block.dwFirst + (g_place == EPlace::kBefore)) * kPage;
        cbBefore = block.p - pOpen;
        cbBehind = pOpen + (block.nPages - 1) * kPage - (block.p + block.cb);
    }
    if (!Intact(block.p - cbBefore, cbBefore, kPattern)) Fault("the bytes before it were written to", &block, stack);
    if (!Intact(block.p + block.cb, cbBehind, kPattern)) Fault("the bytes behind it were written to", &block, stack);
}

} // namespace

void Capture(CStack& stack, const void* pFrom)
{
    const void* const* pWord = static_cast<const void* const*>(pFrom);
    const void* const* pEnd;
    asm("movl %%fs:4, %0" : "=r"(pEnd)); // the stack's end
    if (pEnd - pWord > kStackWords) pEnd = pWord + kStackWords;
    int n = 0;
    for (; pWord < pEnd && n < kFrames; ++pWord) {
        if (IsReturnAddress(*pWord)) stack.frames[n++] = *pWord;
    }
    if (n < kFrames) stack.frames[n] = nullptr;
}

void OpenArena(EPlace place)
{
    g_pArena = static_cast<BYTE*>(::VirtualAlloc(nullptr, kArenaBytes, MEM_RESERVE | MEM_TOP_DOWN, PAGE_NOACCESS));
    g_guarded = Reserve<CBlock>(kPages);
    g_owner = Reserve<DWORD>(kPages);
    g_plain = Reserve<CBlock>(kMostPlain);
    g_buckets = Reserve<DWORD>(kBuckets);
    if (!g_pArena || !g_guarded || !g_owner || !g_plain || !g_buckets) {
        Fault("there is no address space for the memory checker", nullptr, CStack{});
    }
    g_place = place;
}

EPlace Place()
{
    return g_place;
}

void* Allocate(HANDLE hHeap, SIZE_T cb, SIZE_T cbAlignment, bool bZero, const void* pvOurs, const CStack& stack)
{
    const CLock lock;
    CBlock* pBlock = nullptr;
    void* p = nullptr;
    if (cb <= kLargest && g_nLive < kMostGuarded && IsPageDue()) p = AllocateGuarded(cb, cbAlignment, pBlock);
    if (!p && cb <= 0x7FFFFFFF) p = AllocatePlain(cb, pBlock);
    if (!p) return nullptr;
    if (bZero || cb <= kLargestFilled) std::memset(p, bZero ? 0 : kUnset, cb);
    pBlock->p = static_cast<BYTE*>(p);
    pBlock->cb = cb;
    pBlock->hHeap = hHeap;
    pBlock->pvOurs = pvOurs;
    pBlock->ullNumber = ++g_figures.ullBlocks;
    pBlock->allocated = stack;
    pBlock->state = CBlock::kLive;
    if (pvOurs) {
        pBlock->pNewer = nullptr;
        pBlock->pOlder = g_pNewest;
        if (g_pNewest) g_pNewest->pNewer = pBlock;
        g_pNewest = pBlock;
    }
    if (++g_nLive > g_figures.dwMostLive) g_figures.dwMostLive = g_nLive;
    return p;
}

CBlock* Find(void* p, const char* pszCall, const CStack& stack)
{
    const CLock lock;
    CBlock* pBlock = nullptr;
    const auto* pb = static_cast<BYTE*>(p);
    if (pb >= g_pArena && pb < g_pArena + kArenaBytes) {
        pBlock = BlockOfPage((pb - g_pArena) / kPage);
    } else {
        DWORD nIndex = g_buckets[Bucket(p)];
        while (nIndex && g_plain[nIndex - 1].p != p) nIndex = g_plain[nIndex - 1].nNext;
        if (!nIndex) return nullptr;
        pBlock = &g_plain[nIndex - 1];
    }
    if (pBlock && pBlock->p == p && pBlock->state == CBlock::kLive) return pBlock;
    char szWhat[100] = "given to ";
    std::strncat(szWhat, pszCall, 40);
    if (!pBlock || pBlock->state == CBlock::kNever) {
        std::strcat(szWhat, " and not a block");
    } else {
        std::strcat(szWhat, pBlock->p != p ? " with a wrong address" : " after it was freed");
    }
    Fault(szWhat, pBlock, stack);
}

void Free(CBlock& block, const CStack& stack)
{
    const CLock lock;
    CheckEdges(block, stack);
    block.state = CBlock::kFreed;
    block.freed = stack;
    --g_nLive;
    if (block.pvOurs) {
        (block.pNewer ? block.pNewer->pOlder : g_pNewest) = block.pOlder;
        if (block.pOlder) block.pOlder->pNewer = block.pNewer;
    }
    if (!block.bPlain) {
        ::VirtualFree(g_pArena + (block.dwFirst + (g_place == EPlace::kBefore)) * kPage, (block.nPages - 1) * kPage,
                      MEM_DECOMMIT);
        return;
    }
    std::memset(block.p, kGone, block.cb <= kLargestKept ? block.cb : kLargestKept);
    if (block.cb > kLargestKept) {
        GiveBack(static_cast<DWORD>(&block - g_plain));
        return;
    }
    DWORD& nSlot = g_kept[g_nKept++ % kPlainKept];
    if (nSlot) GiveBack(nSlot - 1);
    nSlot = static_cast<DWORD>(&block - g_plain) + 1;
}

const CBlock* BlockOfAddress(const void* pv)
{
    const auto* pb = static_cast<const BYTE*>(pv);
    if (!g_pArena || pb < g_pArena || pb >= g_pArena + kArenaBytes) return nullptr;
    return BlockOfPage((pb - g_pArena) / kPage);
}

CFigures Figures()
{
    return g_figures;
}

DWORD CopyOurs(ULONGLONG ullAfter, CBlock* blocks, DWORD nMost)
{
    const CLock lock;
    DWORD n = 0;
    for (const CBlock* p = g_pNewest; p && p->ullNumber > ullAfter; p = p->pOlder, ++n) {
        if (n < nMost) blocks[n] = *p;
    }
    return n;
}

DWORD CountOurs(ULONGLONG ullAfter)
{
    return CopyOurs(ullAfter, nullptr, 0);
}

void BeginTest()
{
    g_ullTest = g_figures.ullBlocks;
}

DWORD CountLive()
{
    return g_nLive;
}

ULONGLONG LastBlock()
{
    return g_figures.ullBlocks;
}

} // namespace guard
