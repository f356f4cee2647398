// The blocks that the memory checker gives out.
#ifndef KORVANE_TESTS_SUPPORT_GUARD_BLOCKS_H
#define KORVANE_TESTS_SUPPORT_GUARD_BLOCKS_H

#include "guard.h"
#include "modules.h"

namespace guard {

// The system's functions: the program's own imports of them are patched too.
struct CSystemHeap
{
    decltype(&::HeapAlloc) alloc;
    decltype(&::HeapReAlloc) reAlloc;
    decltype(&::HeapFree) free;
    decltype(&::HeapSize) size;
    decltype(&::HeapValidate) validate;
};
extern CSystemHeap g_system;

constexpr int kFrames = 14;

// Return addresses in checked modules, the innermost first, NULL behind the last. Without frame pointers they are looked
// for in the stack's words, so that an address left over from an earlier call can be among them.
struct CStack
{
    const void* frames[kFrames];
};

// Fills `stack` with what is found from `pFrom` on.
void Capture(CStack& stack, const void* pFrom);

struct CBlock
{
    enum EState : BYTE
    {
        kNever,
        kLive,
        kFreed
    };
    BYTE* p;
    SIZE_T cb;
    HANDLE hHeap;
    ULONGLONG ullNumber;
    const void* pvOurs; // where a module of ours asked for it; NULL: another module did
    EState state;
    bool bPlain;             // between patterns, with no guard page
    DWORD dwFirst, nPages;   // of the arena; the guard page is among them
    DWORD nNext;             // plain blocks: the next of its hash chain or of the free ones
    CBlock *pOlder, *pNewer; // the allocated blocks of modules of ours
    CStack allocated, freed;
};

// Makes the arena. REQUIRES: not kOff, called once.
void OpenArena(EPlace place);

// A block of `hHeap`; NULL when there is no memory or no record. `cbAlignment`: 1, 2, 4 or 8. `pvOurs`: see CBlock.
void* Allocate(HANDLE hHeap, SIZE_T cb, SIZE_T cbAlignment, bool bZero, const void* pvOurs, const CStack& stack);

// The block that begins at `p` and is allocated. NULL when it is none of these blocks. A pointer into the middle of a
// block, or to one that has been freed, ends the program; `pszCall` and `stack` are told then.
CBlock* Find(void* p, const char* pszCall, const CStack& stack);

// REQUIRES: Find gave it. Damage around the block ends the program.
void Free(CBlock& block, const CStack& stack);

// Copies the newest blocks of modules of ours whose number is above `ullAfter`, at most `nMost`; the result is how many
// there are.
DWORD CopyOurs(ULONGLONG ullAfter, CBlock* blocks, DWORD nMost);

// The block whose pages have the address, allocated or freed, or NULL.
const CBlock* BlockOfAddress(const void* pv);

// Counts a test's blocks from here.
void BeginTest();

struct CFigures
{
    ULONGLONG ullBlocks;
    ULONGLONG ullPlain;
    DWORD dwMostLive;
};
CFigures Figures();

// Writes what is wrong, the block and the stacks to stderr, and ends the program. From its call on nothing is
// checked any more.
[[noreturn]] void Fault(const char* pszWhat, const CBlock* pBlock, const CStack& stack);
void TellStack(const char* pszTitle, const CStack& stack);
void TellBlock(const CBlock& block);
// From now on an access to an inaccessible page of the arena is told as a fault.
void WatchFaults();
// True once Fault was called.
bool IsFaulting();

} // namespace guard

#endif
