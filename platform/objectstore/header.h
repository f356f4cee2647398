// header.h - the volume header: what a volume file says about itself beside its pages.
//
// The file's pages 2 and 3 hold one copy each. A new header goes where the older copy is, so that a write cut short
// leaves the newer of the two before it. docs/volume-format.md has the layout in a table.
#ifndef KORVANESTORE_HEADER_H
#define KORVANESTORE_HEADER_H

#include "bootmark.h"
#include "lmdb_ext.h"

#include <windows.h>

namespace store {

constexpr DWORD kPageBytes = KV_PAGE_BYTES;
constexpr DWORD kFormatVersion = 1; // part of the file; another layout gets another number

struct CVolumeHeader // on disk: do not change
{
    char rgMagic[8];   // "KORVANEV"
    DWORD dwVersion;   // kFormatVersion
    DWORD dwPageBytes; // kPageBytes
    DWORD dwSequence;  // one more with each write; the higher of two is the newer
    DWORD dwInUse;     // 0: closed, everything is flushed; 1: in use during the run that boot names
    CBootMark boot;    // the system's run that last used the volume
    kv_state flushed;  // the last state that is on the disk whole
    DWORD dwChecksum;  // FNV-1a of the bytes before it
};
static_assert(sizeof(CVolumeHeader) == 108);

// Finds the newer sound header in pages 2 and 3 as they lie in the file. ERROR_FILE_CORRUPT: there is none;
// ERROR_REVISION_MISMATCH: there is one of another version.
DWORD ReadHeader(const BYTE* pPages, CVolumeHeader& header);

// Writes the header over the older copy, with the next sequence number, and waits until it is on the disk.
DWORD WriteHeader(HANDLE file, CVolumeHeader& header);

// Makes the file a volume with nothing in it. Whatever it held is gone.
DWORD FormatVolume(HANDLE file);

// Puts both of the file's first pages back to the header's flushed state.
DWORD RestoreFlushed(HANDLE file, const CVolumeHeader& header);

// Plain file access: the file's size, 0xFFFFFFFF for any that is larger; all of cb bytes at an offset; or the error.
DWORD GetSize(HANDLE file, DWORD& cb);
DWORD ReadAt(HANDLE file, DWORD dwOffset, void* p, DWORD cb);
DWORD WriteAt(HANDLE file, DWORD dwOffset, const void* p, DWORD cb);

} // namespace store

#endif
