// The modules of this process: whose an address is, and their import tables.
#ifndef KORVANE_TESTS_SUPPORT_GUARD_MODULES_H
#define KORVANE_TESTS_SUPPORT_GUARD_MODULES_H

#include <windows.h>

#include <cstddef>

namespace guard {

enum class EKind
{
    kOurs, // the library, the framework, the store, the decoder, the starter of browsers, kvol's commands as a module
    kProgram,  // the test program
    kRuntime,  // the C and C++ run-time libraries
    kUnwinder, // those of them that unwind the stack, and the threads' that they use
    kSystem    // what else is patched
};

struct CModule
{
    const BYTE* pBase;
    const BYTE* pEnd;
    const BYTE* pCode; // its executable sections
    const BYTE* pCodeEnd;
    EKind kind;
};

enum class EPatched
{
    kAll,
    kOurs, // our modules and the program
    kUnwinder
};

struct CHook
{
    const char* pszName;
    void* pvReplacement;
    EPatched where;
};

// Patches the modules that are checked, those that are loaded later as well. `hooks` has to live as long as the program.
void PatchModules(const CHook* hooks, size_t nHooks);

// The checked module that has this code, or NULL.
const CModule* FindModule(const void* pv);

// True when the byte behind a call instruction is at `pv`, in a checked module.
bool IsReturnAddress(const void* pv);

// "korvaneLib.dll+0x1234 Function", cut where `cch` ends. Not for allocators: it allocates.
void Describe(const void* pv, char* psz, size_t cch);

} // namespace guard

#endif
