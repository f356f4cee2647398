// What the memory checker says, and how it ends the program.
#include "blocks.h"

#include <cstdio>
#include <cstdlib>

namespace guard {
namespace {

volatile bool g_bFaulting = false;
constexpr DWORD kMostTold = 20;
CBlock g_told[kMostTold]; // not on the stack, which may be short

LONG CALLBACK OnException(EXCEPTION_POINTERS* pInfo)
{
    const EXCEPTION_RECORD& record = *pInfo->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || g_bFaulting) return EXCEPTION_CONTINUE_SEARCH;
    const auto dwAddress = static_cast<DWORD>(record.ExceptionInformation[1]);
    const CBlock* pBlock = BlockOfAddress(reinterpret_cast<const void*>(dwAddress));
    if (!pBlock) return EXCEPTION_CONTINUE_SEARCH;
    CStack stack;
    Capture(stack, reinterpret_cast<const void*>(pInfo->ContextRecord->Esp));
    for (int i = kFrames - 1; i > 0; --i) stack.frames[i] = stack.frames[i - 1];
    stack.frames[0] = reinterpret_cast<const void*>(pInfo->ContextRecord->Eip);
    char szWhat[120];
    const long lOffset = static_cast<long>(dwAddress - reinterpret_cast<DWORD>(pBlock->p));
    std::snprintf(szWhat, sizeof(szWhat), "%s at %08lX, which is byte %ld, %s",
                  record.ExceptionInformation[0] ? "written" : "read", static_cast<unsigned long>(dwAddress), lOffset,
                  pBlock->state == CBlock::kFreed ? "after it was freed"
                  : lOffset < 0                   ? "before its beginning"
                                                  : "behind its end");
    Fault(szWhat, pBlock, stack);
}

} // namespace

bool IsFaulting()
{
    return g_bFaulting;
}

void WatchFaults()
{
    ::AddVectoredExceptionHandler(1, &OnException);
}

void TellStack(const char* pszTitle, const CStack& stack)
{
    if (!stack.frames[0]) return;
    std::fprintf(stderr, "guard:   %s\n", pszTitle);
    for (int i = 0; i < kFrames && stack.frames[i]; ++i) {
        char szFrame[300];
        Describe(stack.frames[i], szFrame, sizeof(szFrame));
        std::fprintf(stderr, "guard:     %s\n", szFrame);
    }
}

void TellBlock(const CBlock& block)
{
    std::fprintf(stderr, "guard:   block %lu of %lu bytes at %p\n", static_cast<unsigned long>(block.ullNumber),
                 static_cast<unsigned long>(block.cb), static_cast<void*>(block.p));
    TellStack("allocated by", block.allocated);
    if (block.state == CBlock::kFreed) TellStack("freed by", block.freed);
}

void Fault(const char* pszWhat, const CBlock* pBlock, const CStack& stack)
{
    g_bFaulting = true;
    std::fflush(stdout);
    std::fprintf(stderr, "guard: a block was %s\n", pszWhat);
    TellStack("by", stack);
    if (pBlock) TellBlock(*pBlock);
    std::fflush(stderr);
    ::TerminateProcess(::GetCurrentProcess(), kFaultExitCode);
    std::abort();
}

void TellOurs(ULONGLONG ullAfter)
{
    const DWORD n = CopyOurs(ullAfter, g_told, kMostTold);
    for (DWORD i = 0; i < n && i < kMostTold; ++i) TellBlock(g_told[i]);
    if (n > kMostTold) std::fprintf(stderr, "guard:   and %lu more\n", static_cast<unsigned long>(n - kMostTold));
}

} // namespace guard
