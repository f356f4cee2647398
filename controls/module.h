// LibraryModule: the module of the library's own code.
//
// Ownership  borrowed: it is loaded as long as the code that asks.
// Threads    any.
// Errors     none.
#ifndef KORVANE_CONTROLS_MODULE_H
#define KORVANE_CONTROLS_MODULE_H

#include <windows.h>

// The linker's name for a module's first byte, which is what its handle points to.
extern "C" IMAGE_DOS_HEADER __ImageBase;

inline HINSTANCE LibraryModule()
{
    return reinterpret_cast<HINSTANCE>(&__ImageBase);
}

#endif
