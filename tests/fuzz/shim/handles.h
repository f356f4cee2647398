// handles.h - what a HANDLE of the record store's platform points at in the native build.
#ifndef KORVANE_FUZZ_HANDLES_H
#define KORVANE_FUZZ_HANDLES_H

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace shim {

struct CHandle
{
    enum
    {
        kFile,
        kSection,
        kProcess
    } kind = kProcess;
};

void CloseFile(CHandle* p);
void CloseSection(CHandle* p);

// Of an object that was just made.
HANDLE Opened(CHandle* p);

} // namespace shim

#endif
