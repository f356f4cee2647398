// windows_store.h - the rest of windows.h: what the record store names. Its C part includes this too. What is a function
// here is in files.cpp and system.cpp.
#ifndef KORVANE_FUZZ_WINDOWS_STORE_H
#define KORVANE_FUZZ_WINDOWS_STORE_H

typedef DWORD* PULONG;
typedef LONG NTSTATUS;
typedef size_t SIZE_T;
typedef uintptr_t UINT_PTR;
typedef void (*FARPROC)(void);
typedef void (*PIMAGE_TLS_CALLBACK)(PVOID, DWORD, PVOID);
typedef DWORD(WINAPI* LPTHREAD_START_ROUTINE)(LPVOID);
typedef struct
{
    DWORD Offset, OffsetHigh;
    HANDLE hEvent;
} OVERLAPPED;
typedef struct
{
    DWORD dwPageSize;
} SYSTEM_INFO;
typedef struct
{
    DWORD dwVolumeSerialNumber, nFileIndexHigh, nFileIndexLow;
} BY_HANDLE_FILE_INFORMATION;
typedef struct
{
    LARGE_INTEGER AllocationSize, EndOfFile;
} FILE_STANDARD_INFO;
enum
{
    FileStandardInfo = 1
};
typedef struct
{
    int nTimes; // taken
} CRITICAL_SECTION, SRWLOCK;
typedef struct
{
    void* lpSecurityDescriptor;
    DWORD nLength;
    BOOL bInheritHandle;
} SECURITY_ATTRIBUTES;
typedef int SECURITY_DESCRIPTOR;
#define SRWLOCK_INIT                                                                                                   \
    {                                                                                                                  \
        0                                                                                                              \
    }
#define SECURITY_DESCRIPTOR_REVISION 1

#define GENERIC_WRITE 0x40000000u
#define FILE_SHARE_WRITE 2
#define CREATE_NEW 1
#define CREATE_ALWAYS 2
#define OPEN_ALWAYS 4
#define TRUNCATE_EXISTING 5
#define INVALID_FILE_SIZE 0xFFFFFFFFu
#define INVALID_FILE_ATTRIBUTES 0xFFFFFFFFu
#define FILE_ATTRIBUTE_DIRECTORY 0x10
#define FILE_END 2
#define FILE_FLAG_NO_BUFFERING 0x20000000
#define FILE_FLAG_WRITE_THROUGH 0x80000000u
#define MOVEFILE_REPLACE_EXISTING 1
#define MOVEFILE_WRITE_THROUGH 8
#define LOCKFILE_FAIL_IMMEDIATELY 1
#define LOCKFILE_EXCLUSIVE_LOCK 2
#define PAGE_READONLY 2
#define PAGE_READWRITE 4
#define FILE_MAP_WRITE 2
#define FILE_MAP_READ 4
#define MEM_COMMIT 0x1000
#define MEM_RESERVE 0x2000
#define MEM_RELEASE 0x8000
#define LMEM_FIXED 0
#define LMEM_MOVEABLE 2
#define SYNCHRONIZE 0x100000
#define PROCESS_QUERY_INFORMATION 0x400
#define PROCESS_QUERY_LIMITED_INFORMATION 0x1000
#define EVENT_MODIFY_STATE 2
#define INFINITE 0xFFFFFFFFu
#define WAIT_OBJECT_0 0
#define WAIT_ABANDONED 0x80
#define WAIT_TIMEOUT 258
#define TLS_OUT_OF_INDEXES 0xFFFFFFFFu
#define DLL_PROCESS_DETACH 0
#define DLL_PROCESS_ATTACH 1
#define DLL_THREAD_ATTACH 2
#define DLL_THREAD_DETACH 3
#define GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT 2
#define GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS 4
#define CP_UTF8 65001
#define LOCALE_INVARIANT 0x7F
#define LCID_INSTALLED 1
#define LCMAP_SORTKEY 0x400
#define NORM_IGNORENONSPACE 2
#define NORM_IGNORESYMBOLS 4
#define NORM_IGNOREKANATYPE 0x10000
#define NORM_IGNOREWIDTH 0x20000
#define SORT_STRINGSORT 0x1000

#define ERROR_FILE_NOT_FOUND 2
#define ERROR_PATH_NOT_FOUND 3
#define ERROR_INVALID_HANDLE 6
#define ERROR_INVALID_DATA 13
#define ERROR_OUTOFMEMORY 14
#define ERROR_SHARING_VIOLATION 32
#define ERROR_LOCK_VIOLATION 33
#define ERROR_HANDLE_EOF 38
#define ERROR_HANDLE_DISK_FULL 39
#define ERROR_NOT_SUPPORTED 50
#define ERROR_DUP_NAME 52
#define ERROR_FILE_EXISTS 80
#define ERROR_DISK_FULL 112
#define ERROR_INSUFFICIENT_BUFFER 122
#define ERROR_INVALID_NAME 123
#define ERROR_WRITE_PROTECT 19
#define ERROR_SEEK 25
#define ERROR_ALREADY_EXISTS 183
#define ERROR_NO_DATA 232
#define ERROR_MORE_DATA 234
#define ERROR_NO_MORE_ITEMS 259
#define ERROR_FILE_INVALID 1006
#define ERROR_KEY_DELETED 1018
#define ERROR_USER_MAPPED_FILE 1224
#define ERROR_REVISION_MISMATCH 1306
#define ERROR_FILE_CORRUPT 1392

#define CreateFileMapping CreateFileMappingW
#define CreateMutex CreateMutexW
#define CreateEvent CreateEventW
#define YieldProcessor() ((void)0)
#define NTAPI

#ifdef __cplusplus
extern "C" {
#endif
BOOL WriteFile(HANDLE, const void*, DWORD, DWORD*, void*);
BOOL SetEndOfFile(HANDLE);
BOOL FlushFileBuffers(HANDLE);
BOOL DeleteFileW(LPCWSTR);
BOOL MoveFileExW(LPCWSTR, LPCWSTR, DWORD);
DWORD GetFileAttributesW(LPCWSTR);
DWORD GetFullPathNameW(LPCWSTR, DWORD, LPWSTR, LPWSTR*);
BOOL CreateDirectoryW(LPCWSTR, void*);
BOOL GetFileInformationByHandleEx(HANDLE, int, void*, DWORD);
BOOL LockFileEx(HANDLE, DWORD, DWORD, DWORD, DWORD, OVERLAPPED*);
BOOL UnlockFileEx(HANDLE, DWORD, DWORD, DWORD, OVERLAPPED*);
HANDLE CreateFileMappingW(HANDLE, void*, DWORD, DWORD, DWORD, LPCWSTR);
HANDLE OpenFileMappingW(DWORD, BOOL, LPCWSTR);
void* MapViewOfFile(HANDLE, DWORD, DWORD, DWORD, SIZE_T);
void* MapViewOfFileEx(HANDLE, DWORD, DWORD, DWORD, SIZE_T, void*);
BOOL UnmapViewOfFile(const void*);
BOOL FlushViewOfFile(const void*, SIZE_T);

void* VirtualAlloc(void*, SIZE_T, DWORD, DWORD);
BOOL VirtualFree(void*, SIZE_T, DWORD);
HANDLE GetProcessHeap(void);
void* HeapAlloc(HANDLE, DWORD, SIZE_T);
void* HeapReAlloc(HANDLE, DWORD, void*, SIZE_T);
BOOL HeapFree(HANDLE, DWORD, void*);
HGLOBAL LocalAlloc(UINT, SIZE_T);
HGLOBAL LocalReAlloc(HGLOBAL, SIZE_T, UINT);

LONG InterlockedExchange(volatile LONG*, LONG);
LONG InterlockedCompareExchange(volatile LONG*, LONG, LONG);
LONGLONG InterlockedExchange64(volatile LONGLONG*, LONGLONG);
LONGLONG InterlockedCompareExchange64(volatile LONGLONG*, LONGLONG, LONGLONG);
void AcquireSRWLockExclusive(SRWLOCK*);
void ReleaseSRWLockExclusive(SRWLOCK*);
void InitializeCriticalSection(CRITICAL_SECTION*);
void EnterCriticalSection(CRITICAL_SECTION*);
BOOL TryEnterCriticalSection(CRITICAL_SECTION*);
void LeaveCriticalSection(CRITICAL_SECTION*);
void Sleep(DWORD);
BOOL SwitchToThread(void);
DWORD GetCurrentProcessId(void);
DWORD GetCurrentThreadId(void);
HANDLE GetCurrentProcess(void);
HANDLE OpenProcess(DWORD, BOOL, DWORD);
BOOL GetProcessTimes(HANDLE, FILETIME*, FILETIME*, FILETIME*, FILETIME*);
DWORD WaitForSingleObject(HANDLE, DWORD);
HANDLE CreateEventW(void*, BOOL, BOOL, LPCWSTR);
HANDLE OpenEventW(DWORD, BOOL, LPCWSTR);
BOOL SetEvent(HANDLE);
HANDLE CreateThread(void*, SIZE_T, LPTHREAD_START_ROUTINE, void*, DWORD, DWORD*);
void FreeLibraryAndExitThread(HMODULE, DWORD) __attribute__((noreturn));
BOOL FreeLibrary(HMODULE);
HMODULE GetModuleHandleW(LPCWSTR);
BOOL GetModuleHandleExW(DWORD, LPCWSTR, HMODULE*);
FARPROC GetProcAddress(HMODULE, LPCSTR);
DWORD GetEnvironmentVariableW(LPCWSTR, LPWSTR, DWORD);
DWORD GetTickCount(void);
BOOL QueryPerformanceCounter(LARGE_INTEGER*);
void GetSystemTimeAsFileTime(FILETIME*);
LONG CompareFileTime(const FILETIME*, const FILETIME*);
void GetSystemInfo(SYSTEM_INFO*);
BOOL IsWindow(HWND);
BOOL PostMessageW(HWND, UINT, WPARAM, LPARAM);

BOOL IsValidLocale(LCID, DWORD);
int LCMapStringW(LCID, DWORD, LPCWSTR, int, LPWSTR, int);
int lstrcmpiW(LPCWSTR, LPCWSTR);
LPWSTR lstrcpynW(LPWSTR, LPCWSTR, int);

// Named by the part of the map's source that takes locks and copies volumes, which the store does not use.
DWORD TlsAlloc(void);
BOOL TlsFree(DWORD);
void* TlsGetValue(DWORD);
BOOL TlsSetValue(DWORD, void*);
HANDLE CreateMutexA(void*, BOOL, LPCSTR);
HANDLE CreateMutexW(void*, BOOL, LPCWSTR);
HANDLE OpenMutexA(DWORD, BOOL, LPCSTR);
BOOL ReleaseMutex(HANDLE);
DWORD SignalObjectAndWait(HANDLE, HANDLE, DWORD, BOOL);
BOOL LockFile(HANDLE, DWORD, DWORD, DWORD, DWORD);
BOOL UnlockFile(HANDLE, DWORD, DWORD, DWORD, DWORD);
BOOL GetFileInformationByHandle(HANDLE, BY_HANDLE_FILE_INFORMATION*);
DWORD GetVersion(void);
DWORD FormatMessageA(DWORD, const void*, DWORD, DWORD, LPSTR, DWORD, va_list*);
BOOL InitializeSecurityDescriptor(SECURITY_DESCRIPTOR*, DWORD);
BOOL SetSecurityDescriptorDacl(SECURITY_DESCRIPTOR*, BOOL, void*, BOOL);
void* _aligned_malloc(size_t, size_t);
void _aligned_free(void*);
#ifdef __cplusplus
}
#endif

#endif
