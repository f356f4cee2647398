// winternl.h - what the record store asks the system itself.
#ifndef KORVANE_FUZZ_WINTERNL_H
#define KORVANE_FUZZ_WINTERNL_H

#include <windows.h>

typedef struct
{
    LARGE_INTEGER IndexNumber;
} FILE_INTERNAL_INFORMATION;
typedef struct
{
    LONG Status;
} IO_STATUS_BLOCK;
enum
{
    FileInternalInformation = 6
};
extern "C" NTSTATUS NtQueryInformationFile(HANDLE, IO_STATUS_BLOCK*, void*, ULONG, int);

#endif
