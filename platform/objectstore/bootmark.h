// bootmark.h - tells one run of the operating system from the next.
//
// A volume that was left in use carries the mark of the run that used it. Under the same mark the system's page cache
// still holds every write of a process that was killed; under another one the machine was started anew in between, and
// what was not flushed may have reached the disk in part.
#ifndef KORVANESTORE_BOOTMARK_H
#define KORVANESTORE_BOOTMARK_H

#include <array>
#include <windows.h>

namespace store {

using CBootMark = std::array<BYTE, 16>;

// The mark of the present run, the same in all processes.
const CBootMark& PresentBoot();

} // namespace store

#endif
