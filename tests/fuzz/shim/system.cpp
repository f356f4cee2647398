// The rest of the record store's platform: one process with one thread, so that nobody has a lock when it is asked for.
#include "target.h"

#include "handles.h"

#include <cstdarg>
#include <cstdio>
#include <set>

using namespace shim;

// Those that are open. What the process keeps until its end is no leak.
static std::set<CHandle*>& g_handles = *new std::set<CHandle*>;

HANDLE shim::Opened(CHandle* p)
{
    g_handles.insert(p);
    return p;
}
BOOL CloseHandle(HANDLE h)
{
    CHandle* const p = static_cast<CHandle*>(h);
    if (!g_handles.erase(p)) fuzz::Fail("only an open handle is closed");
    switch (p->kind) {
    case CHandle::kFile:
        CloseFile(p);
        break;
    case CHandle::kSection:
        CloseSection(p);
        break;
    default:
        delete p;
    }
    return TRUE;
}

extern "C" int swprintf(wchar_t* to, size_t cch, const wchar_t* format, ...) noexcept
{
    va_list args;
    va_start(args, format);
    const int n = _vsnwprintf(to, cch, format, args);
    va_end(args);
    return n;
}

// ---- Locks ---------------------------------------------------------------------------------------------------------

LONG InterlockedExchange(volatile LONG* p, LONG nValue)
{
    const LONG nOld = *p;
    *p = nValue;
    return nOld;
}
LONG InterlockedCompareExchange(volatile LONG* p, LONG nValue, LONG nIf)
{
    const LONG nOld = *p;
    if (nOld == nIf) *p = nValue;
    return nOld;
}
LONGLONG InterlockedExchange64(volatile LONGLONG* p, LONGLONG llValue)
{
    const LONGLONG llOld = *p;
    *p = llValue;
    return llOld;
}
LONGLONG InterlockedCompareExchange64(volatile LONGLONG* p, LONGLONG llValue, LONGLONG llIf)
{
    const LONGLONG llOld = *p;
    if (llOld == llIf) *p = llValue;
    return llOld;
}
void AcquireSRWLockExclusive(SRWLOCK* p)
{
    if (p->nTimes++) fuzz::Fail("a lock is not taken twice");
}
void ReleaseSRWLockExclusive(SRWLOCK* p)
{
    if (--p->nTimes) fuzz::Fail("only a lock that was taken is let go");
}
void InitializeCriticalSection(CRITICAL_SECTION* p)
{
    p->nTimes = 0;
}
void EnterCriticalSection(CRITICAL_SECTION* p)
{
    ++p->nTimes;
}
BOOL TryEnterCriticalSection(CRITICAL_SECTION* p)
{
    ++p->nTimes;
    return TRUE;
}
void LeaveCriticalSection(CRITICAL_SECTION* p)
{
    if (p->nTimes-- == 0) fuzz::Fail("only a section that was entered is left");
}
void Sleep(DWORD)
{
    fuzz::Fail("nobody waits for another thread: there is none");
}
BOOL SwitchToThread()
{
    Sleep(0);
    return FALSE;
}

// ---- Processes, threads, modules -----------------------------------------------------------------------------------

static constexpr DWORD kProcess = 4711;

DWORD GetCurrentProcessId()
{
    return kProcess;
}
DWORD GetCurrentThreadId()
{
    return 1;
}
HANDLE GetCurrentProcess()
{
    return INVALID_HANDLE_VALUE;
}
HANDLE OpenProcess(DWORD, BOOL, DWORD dwProcess)
{
    if (dwProcess != kProcess) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    return Opened(new CHandle);
}
BOOL GetProcessTimes(HANDLE, FILETIME* pStart, FILETIME* pEnd, FILETIME* pKernel, FILETIME* pUser)
{
    *pEnd = *pKernel = *pUser = {0, 0};
    *pStart = {0x12345678, 1};
    return TRUE;
}
DWORD WaitForSingleObject(HANDLE, DWORD)
{
    return WAIT_TIMEOUT; // a process, which runs
}
static HANDLE NotThere()
{
    SetLastError(ERROR_NOT_SUPPORTED);
    return nullptr;
}
HANDLE CreateEventW(void*, BOOL, BOOL, LPCWSTR)
{
    return NotThere();
}
HANDLE OpenEventW(DWORD, BOOL, LPCWSTR)
{
    return NotThere();
}
BOOL SetEvent(HANDLE)
{
    return FALSE;
}
HANDLE CreateThread(void*, SIZE_T, LPTHREAD_START_ROUTINE, void*, DWORD, DWORD*)
{
    return NotThere();
}
void FreeLibraryAndExitThread(HMODULE, DWORD)
{
    abort(); // no thread was begun
}
BOOL FreeLibrary(HMODULE)
{
    return TRUE;
}
HMODULE GetModuleHandleW(LPCWSTR)
{
    return nullptr;
}
BOOL GetModuleHandleExW(DWORD, LPCWSTR, HMODULE* phModule)
{
    *phModule = nullptr;
    return FALSE;
}
FARPROC GetProcAddress(HMODULE, LPCSTR)
{
    return nullptr;
}
DWORD GetEnvironmentVariableW(LPCWSTR, LPWSTR, DWORD)
{
    return 0;
}
BOOL IsWindow(HWND)
{
    return FALSE;
}
BOOL PostMessageW(HWND, UINT, WPARAM, LPARAM)
{
    return FALSE;
}

// ---- Time: goes on with each look at it, in each run alike -----------------------------------------------------------

static LONGLONG g_llTicks = 0x01D0000000000000;

DWORD GetTickCount()
{
    return 1000;
}
BOOL QueryPerformanceCounter(LARGE_INTEGER* p)
{
    p->QuadPart = ++g_llTicks;
    return TRUE;
}
void GetSystemTimeAsFileTime(FILETIME* p)
{
    ++g_llTicks;
    *p = {static_cast<DWORD>(g_llTicks), static_cast<DWORD>(g_llTicks >> 32)};
}
LONG CompareFileTime(const FILETIME* pLeft, const FILETIME* pRight)
{
    const auto whole = [](const FILETIME* p) {
        return static_cast<ULONGLONG>(p->dwHighDateTime) << 32 | p->dwLowDateTime;
    };
    return whole(pLeft) < whole(pRight) ? -1 : whole(pLeft) > whole(pRight);
}
void GetSystemInfo(SYSTEM_INFO* p)
{
    p->dwPageSize = 4096;
}

// ---- Memory --------------------------------------------------------------------------------------------------------

void* VirtualAlloc(void*, SIZE_T cb, DWORD, DWORD)
{
    return calloc(1, cb);
}
BOOL VirtualFree(void* p, SIZE_T, DWORD)
{
    free(p);
    return TRUE;
}
HANDLE GetProcessHeap()
{
    return nullptr;
}
void* HeapAlloc(HANDLE, DWORD, SIZE_T cb)
{
    return malloc(cb);
}
void* HeapReAlloc(HANDLE, DWORD, void* p, SIZE_T cb)
{
    return realloc(p, cb);
}
BOOL HeapFree(HANDLE, DWORD, void* p)
{
    free(p);
    return TRUE;
}
HGLOBAL LocalAlloc(UINT, SIZE_T cb)
{
    return malloc(cb);
}
HGLOBAL LocalReAlloc(HGLOBAL p, SIZE_T cb, UINT)
{
    return realloc(p, cb);
}

// ---- Texts ---------------------------------------------------------------------------------------------------------

static wchar_t Upper(wchar_t ch)
{
    return ch >= L'a' && ch <= L'z' ? static_cast<wchar_t>(ch - L'a' + L'A') : ch;
}
BOOL IsValidLocale(LCID lcid, DWORD)
{
    return lcid == 0x407 || lcid == 0x409;
}
int lstrcmpiW(LPCWSTR pLeft, LPCWSTR pRight)
{
    while (*pLeft && Upper(*pLeft) == Upper(*pRight)) ++pLeft, ++pRight;
    return Upper(*pLeft) - Upper(*pRight);
}
LPWSTR lstrcpynW(LPWSTR pTo, LPCWSTR pFrom, int cch)
{
    if (cch <= 0) return nullptr;
    while (--cch && *pFrom) *pTo++ = *pFrom++;
    *pTo = 0;
    return pTo;
}
// A sort key built as the platform's are: first weights, which never have a byte below 2, then the case, then nothing.
int LCMapStringW(LCID lcid, DWORD dwFlags, LPCWSTR psz, int cch, LPWSTR pKey, int cbRoom)
{
    std::string strKey;
    for (int i = 0; i < cch; ++i) {
        const wchar_t ch = Upper(psz[i]);
        if (ch < 0x80) {
            if (lcid == 0x407 && ch == L'Z') strKey += "\x0E\x0F"; // so that locales differ
            strKey += "\x0E";
            strKey += static_cast<char>(2 + ch);
        } else {
            strKey += static_cast<char>(0x10 + (ch >> 12));
            strKey += static_cast<char>(2 + (ch >> 6 & 0x3F));
            strKey += static_cast<char>(2 + (ch & 0x3F));
        }
    }
    strKey += "\1\1";
    if (!(dwFlags & NORM_IGNORECASE)) {
        int nCased = cch;
        while (nCased && Upper(psz[nCased - 1]) != psz[nCased - 1]) --nCased;
        for (int i = 0; i < nCased; ++i) strKey += Upper(psz[i]) == psz[i] ? '\x12' : '\x02';
    }
    strKey += "\1\1";
    const int cb = static_cast<int>(strKey.size()) + 1;
    if (cbRoom == 0) return cb;
    if (cb > cbRoom) {
        SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return 0;
    }
    memcpy(pKey, strKey.c_str(), cb);
    return cb;
}

// ---- What is named and not used ------------------------------------------------------------------------------------

static int Unused()
{
    fuzz::Fail("nothing calls this");
    return 0;
}
DWORD TlsAlloc()
{
    return Unused();
}
BOOL TlsFree(DWORD)
{
    return Unused();
}
void* TlsGetValue(DWORD)
{
    Unused();
    return nullptr;
}
BOOL TlsSetValue(DWORD, void*)
{
    return Unused();
}
HANDLE CreateMutexA(void*, BOOL, LPCSTR)
{
    Unused();
    return nullptr;
}
HANDLE CreateMutexW(void*, BOOL, LPCWSTR)
{
    Unused();
    return nullptr;
}
HANDLE OpenMutexA(DWORD, BOOL, LPCSTR)
{
    Unused();
    return nullptr;
}
BOOL ReleaseMutex(HANDLE)
{
    return Unused();
}
DWORD SignalObjectAndWait(HANDLE, HANDLE, DWORD, BOOL)
{
    return Unused();
}
BOOL LockFile(HANDLE, DWORD, DWORD, DWORD, DWORD)
{
    return Unused();
}
BOOL UnlockFile(HANDLE, DWORD, DWORD, DWORD, DWORD)
{
    return Unused();
}
BOOL GetFileInformationByHandle(HANDLE, BY_HANDLE_FILE_INFORMATION*)
{
    return Unused();
}
DWORD FormatMessageA(DWORD, const void*, DWORD, DWORD, LPSTR, DWORD, va_list*)
{
    return Unused();
}
BOOL InitializeSecurityDescriptor(SECURITY_DESCRIPTOR*, DWORD)
{
    return Unused();
}
BOOL SetSecurityDescriptorDacl(SECURITY_DESCRIPTOR*, BOOL, void*, BOOL)
{
    return Unused();
}
void* _aligned_malloc(size_t, size_t)
{
    Unused();
    return nullptr;
}
void _aligned_free(void*)
{
    Unused();
}
DWORD GetVersion()
{
    return 4; // Windows NT
}
