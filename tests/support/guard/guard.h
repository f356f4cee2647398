// A memory checker for test programs, since no sanitizer has a run-time library for this target.
//
// KORVANE_GUARD=behind   each block ends where an inaccessible page begins: an overrun ends the program at once.
// KORVANE_GUARD=before   each block begins where an inaccessible page ends: the same for an underrun.
//
// Checked is what malloc, new, HeapAlloc, CoTaskMemAlloc, SysAllocString, LocalAlloc and GlobalAlloc give, whoever calls
// them: the program, the library, the framework, the store, the decoder, the C++ run-time library, the automation
// libraries, the system's codecs.
// Bytes of a block's pages that are not the block's have a pattern, which is looked at when the block is freed. What is
// freed becomes inaccessible, and its addresses are not used again before the whole arena has been (kArenaBytes). A
// block that was allocated by a module of ours during a test and is there after the test makes the test fail.
//
// A fault is told on stderr, with the block, the stack that allocated it and the stack that freed it, and ends the
// program with kFaultExitCode.
//
// Blocks from before the checker was switched on, movable ones, blocks of other heaps and of other modules go their usual
// way. More blocks at a time than kMostGuarded, those of more than kLargest bytes, and of those that one test allocates
// after its first kFirstInTest all but one in kSampled, are between patterns instead of guard pages, which are looked at
// when they are freed; the sums at the program's end tell how many. For more than kMostPlain of those there is no record:
// they go their usual way as well.
#ifndef KORVANE_TESTS_SUPPORT_GUARD_GUARD_H
#define KORVANE_TESTS_SUPPORT_GUARD_GUARD_H

#include <windows.h>

#include <cstddef>

namespace guard {

enum class EPlace
{
    kOff,
    kBehind,
    kBefore
};

constexpr int kFaultExitCode = 93;
constexpr SIZE_T kArenaBytes = 256u << 20;
constexpr SIZE_T kLargest = 16u << 20;
constexpr DWORD kFirstInTest = 30000;
constexpr DWORD kSampled = 64;
constexpr DWORD kMostGuarded = 24000;  // a block is two mappings, of which Linux gives a process 65,530
constexpr DWORD kMostPlain = 1u << 18; // the freed ones that are kept for a while are among them

// Switches the checker on for the rest of the program, unless KORVANE_GUARD has done it already.
void TurnOn(EPlace place);
EPlace Place();

// The blocks that are allocated at this moment, and those among them that a module of ours allocated after the block
// with the number `ullAfter`.
DWORD CountLive();
DWORD CountOurs(ULONGLONG ullAfter);
// The number of the last block.
ULONGLONG LastBlock();
// Writes to stderr what CountOurs counts, with the stacks.
void TellOurs(ULONGLONG ullAfter);

// While it is set, asked for each block that a module of ours allocates, itself or through the run-time libraries, or also
// for those that the run-time libraries allocate for themselves: true lets the allocation fail. NULL: nothing fails.
enum class EWhose
{
    kOurs,
    kRuntimesToo
};
using FailFunction = bool (*)();
void SetFail(FailFunction fail, EWhose whose = EWhose::kOurs);

} // namespace guard

#endif
