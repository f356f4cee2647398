// What the checked modules call in place of the allocators.
//
// The memory that malloc and new give comes from HeapAlloc, which the C run-time libraries import. Their own hooks only
// note where they were called: among the words of the stack below that are left-overs of earlier calls.
#include "blocks.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <new>

namespace guard {

CSystemHeap g_system = {};

namespace {

template <class Function> void Import(Function& function, const wchar_t* pszModule, const char* pszName)
{
    const HMODULE hModule = ::LoadLibraryW(pszModule);
    function = reinterpret_cast<Function>(reinterpret_cast<INT_PTR>(::GetProcAddress(hModule, pszName)));
}

HANDLE g_hProcessHeap = nullptr;
HANDLE g_hRuntimeHeap = nullptr; // of msvcrt, another one
FailFunction g_fail = nullptr;
EWhose g_whose = EWhose::kOurs;

bool IsChecked(HANDLE hHeap)
{
    return (hHeap == g_hProcessHeap || hHeap == g_hRuntimeHeap) && !IsFaulting();
}

// Where on the stack the return address of malloc, new or their like is, while this thread is in one: of the outermost of
// such calls. Not a thread_local, which would allocate.
DWORD g_dwCallerSlot = TLS_OUT_OF_INDEXES;

class CCaller
{
public:
    // The frame of the function that stands in for malloc. `bForItself`: the caller wants it for itself, even if it is called
    // by malloc or new.
    explicit CCaller(void* pvFrame, bool bForItself = false)
        : m_dwError(::GetLastError()), m_pvOld(::TlsGetValue(g_dwCallerSlot))
    {
        if (!m_pvOld || bForItself) ::TlsSetValue(g_dwCallerSlot, static_cast<void**>(pvFrame) + 1);
        ::SetLastError(m_dwError);
    }
    ~CCaller() { ::TlsSetValue(g_dwCallerSlot, m_pvOld); }
    CCaller(const CCaller&) = delete;
    CCaller& operator=(const CCaller&) = delete;

private:
    DWORD m_dwError;
    void* m_pvOld;
};

struct CRuntime
{
    void*(__cdecl* malloc)(size_t);
    void*(__cdecl* calloc)(size_t, size_t);
    void*(__cdecl* realloc)(void*, size_t);
    void*(__cdecl* newObject)(size_t);
    void*(__cdecl* newArray)(size_t);
    void*(__cdecl* tryNewObject)(size_t, const std::nothrow_t&);
    void*(__cdecl* tryNewArray)(size_t, const std::nothrow_t&);
} g_runtime = {};

void* __cdecl HookMalloc(size_t cb)
{
    const CCaller caller(__builtin_frame_address(0));
    return g_runtime.malloc(cb);
}

void* __cdecl HookCalloc(size_t n, size_t cb)
{
    const CCaller caller(__builtin_frame_address(0));
    return g_runtime.calloc(n, cb);
}

void* __cdecl HookRealloc(void* p, size_t cb)
{
    const CCaller caller(__builtin_frame_address(0));
    return g_runtime.realloc(p, cb);
}

// The unwinder keeps what it finds out about each module that an exception passes, such as that of a new that fails.
void* __cdecl HookUnwindersMalloc(size_t cb)
{
    const CCaller caller(__builtin_frame_address(0), true);
    return g_runtime.malloc(cb);
}

void* __cdecl HookUnwindersCalloc(size_t n, size_t cb)
{
    const CCaller caller(__builtin_frame_address(0), true);
    return g_runtime.calloc(n, cb);
}

void* __cdecl HookUnwindersRealloc(void* p, size_t cb)
{
    const CCaller caller(__builtin_frame_address(0), true);
    return g_runtime.realloc(p, cb);
}

void* __cdecl HookNewObject(size_t cb)
{
    const CCaller caller(__builtin_frame_address(0));
    return g_runtime.newObject(cb);
}

void* __cdecl HookNewArray(size_t cb)
{
    const CCaller caller(__builtin_frame_address(0));
    return g_runtime.newArray(cb);
}

void* __cdecl HookTryNewObject(size_t cb, const std::nothrow_t& no)
{
    const CCaller caller(__builtin_frame_address(0));
    return g_runtime.tryNewObject(cb, no);
}

void* __cdecl HookTryNewArray(size_t cb, const std::nothrow_t& no)
{
    const CCaller caller(__builtin_frame_address(0));
    return g_runtime.tryNewArray(cb, no);
}

// Code of ours and of the program may put a structure as close to a block's end as its size allows, so that an overrun
// by one character is seen. The system's expects its heaps' eight bytes.
SIZE_T Alignment(const CModule* pOwner, SIZE_T cb)
{
    constexpr SIZE_T kLeast = KORVANE_GUARD_ALIGNMENT;
    if (!pOwner || (cb & 7) == 0) return 8;
    return std::max(cb & (~cb + 1), kLeast);
}

// True when the allocation is to fail: one that a module of ours asked for, or a run-time library.
bool ToFail(const CModule* pCaller)
{
    const FailFunction fail = g_fail;
    if (!fail || !pCaller) return false;
    const bool bWanted =
        pCaller->kind == EKind::kOurs || (pCaller->kind == EKind::kRuntime && g_whose == EWhose::kRuntimesToo);
    return bWanted && fail();
}

// The module of whoever called malloc or its like, or HeapAlloc itself, and so wants the memory. NULL when the system or a
// run-time library does for itself.
const CModule* Owner(const void* pvCaller)
{
    const CModule* pModule = FindModule(pvCaller);
    return pModule && (pModule->kind == EKind::kOurs || pModule->kind == EKind::kProgram) ? pModule : nullptr;
}

// `cbLeast`: what the block's address is a multiple of, whatever its size.
void* New(HANDLE hHeap, DWORD dwFlags, SIZE_T cb, const void* pFrame, SIZE_T cbLeast = 1)
{
    const DWORD dwError = ::GetLastError();
    if (const void* const pOuter = ::TlsGetValue(g_dwCallerSlot)) pFrame = pOuter;
    CStack stack;
    Capture(stack, pFrame);
    const void* const pvCaller = *static_cast<const void* const*>(pFrame);
    const CModule* pOwner = Owner(pvCaller);
    const bool bOurs = pOwner && pOwner->kind == EKind::kOurs;
    void* p = nullptr;
    if (!ToFail(FindModule(pvCaller))) {
        const SIZE_T cbAlignment = std::max(Alignment(pOwner, cb), cbLeast);
        p = Allocate(hHeap, cb, cbAlignment, dwFlags & HEAP_ZERO_MEMORY, bOurs ? pvCaller : nullptr, stack);
        // More blocks than there are records for: a program that holds so many is not to be told that there is no memory.
        if (!p) p = g_system.alloc(hHeap, dwFlags, cb);
    }
    ::SetLastError(p ? dwError : ERROR_NOT_ENOUGH_MEMORY);
    return p;
}

LPVOID WINAPI HookHeapAlloc(HANDLE hHeap, DWORD dwFlags, SIZE_T cb)
{
    if (!IsChecked(hHeap)) return g_system.alloc(hHeap, dwFlags, cb);
    return New(hHeap, dwFlags, cb, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

BOOL WINAPI HookHeapFree(HANDLE hHeap, DWORD dwFlags, LPVOID p)
{
    if (!p || (IsFaulting() && BlockOfAddress(p))) return TRUE;
    const DWORD dwError = ::GetLastError();
    CStack stack;
    Capture(stack, static_cast<void**>(__builtin_frame_address(0)) + 1);
    CBlock* pBlock = IsFaulting() ? nullptr : Find(p, "HeapFree", stack);
    if (!pBlock) return g_system.free(hHeap, dwFlags, p);
    if (pBlock->hHeap != hHeap) {
        // As the system has it.
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return FALSE;
    }
    Free(*pBlock, stack);
    ::SetLastError(dwError);
    return TRUE;
}

SIZE_T WINAPI HookHeapSize(HANDLE hHeap, DWORD dwFlags, LPCVOID p)
{
    CStack stack;
    Capture(stack, static_cast<void**>(__builtin_frame_address(0)) + 1);
    const CBlock* pBlock = IsFaulting() ? BlockOfAddress(p) : Find(const_cast<void*>(p), "HeapSize", stack);
    if (!pBlock) return g_system.size(hHeap, dwFlags, p);
    if (pBlock->hHeap == hHeap) return pBlock->cb;
    ::SetLastError(ERROR_INVALID_PARAMETER);
    return static_cast<SIZE_T>(-1);
}

// Always to another place: who keeps the old address is found out.
void* Move(CBlock& block, DWORD dwFlags, SIZE_T cb, const void* pFrame, const CStack& stack, SIZE_T cbLeast = 1)
{
    void* const pNew = New(block.hHeap, dwFlags, cb, pFrame, cbLeast);
    if (!pNew) return nullptr;
    const DWORD dwError = ::GetLastError();
    std::memcpy(pNew, block.p, cb < block.cb ? cb : block.cb);
    Free(block, stack);
    ::SetLastError(dwError);
    return pNew;
}

LPVOID WINAPI HookHeapReAlloc(HANDLE hHeap, DWORD dwFlags, LPVOID p, SIZE_T cb)
{
    CStack stack;
    const void* const pFrame = static_cast<void**>(__builtin_frame_address(0)) + 1;
    Capture(stack, pFrame);
    if (IsFaulting() && BlockOfAddress(p)) {
        void* const pNew = g_system.alloc(hHeap, dwFlags, cb);
        if (pNew) std::memcpy(pNew, p, cb < BlockOfAddress(p)->cb ? cb : BlockOfAddress(p)->cb);
        return pNew;
    }
    CBlock* pBlock = p && !IsFaulting() ? Find(p, "HeapReAlloc", stack) : nullptr;
    if (!pBlock) return g_system.reAlloc(hHeap, dwFlags, p, cb);
    if (pBlock->hHeap != hHeap) {
        ::SetLastError(ERROR_INVALID_PARAMETER);
        return nullptr;
    }
    if (dwFlags & HEAP_REALLOC_IN_PLACE_ONLY) {
        ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    return Move(*pBlock, dwFlags, cb, pFrame, stack);
}

BOOL WINAPI HookHeapValidate(HANDLE hHeap, DWORD dwFlags, LPCVOID p)
{
    const CBlock* pBlock = BlockOfAddress(p);
    if (!pBlock) return g_system.validate(hHeap, dwFlags, p);
    return pBlock->p == p && pBlock->state == CBlock::kLive && pBlock->hHeap == hHeap;
}

// LocalAlloc and GlobalAlloc give fixed blocks from the process's heap, and handles of movable ones, which go their usual
// way. Only our modules and the program are patched: the system gives and takes none of these blocks.
struct CMovable
{
    decltype(&::LocalAlloc) alloc;
    decltype(&::LocalReAlloc) reAlloc;
    decltype(&::LocalFree) free;
    decltype(&::LocalSize) size;
};
CMovable g_local = {}, g_global = {};
constexpr SIZE_T kFixedAlignment = 4; // what a dialog template needs
decltype(&::GlobalLock) g_globalLock = nullptr;
decltype(&::GlobalUnlock) g_globalUnlock = nullptr;

HLOCAL AllocateFixed(const CMovable& system, UINT nFlags, SIZE_T cb, const void* pFrame)
{
    if ((nFlags & LMEM_MOVEABLE) || IsFaulting()) return system.alloc(nFlags, cb);
    return New(g_hProcessHeap, nFlags & LMEM_ZEROINIT ? HEAP_ZERO_MEMORY : 0, cb, pFrame, kFixedAlignment);
}

HLOCAL ReAllocateFixed(const CMovable& system, HLOCAL h, SIZE_T cb, UINT nFlags, const void* pFrame)
{
    CStack stack;
    Capture(stack, pFrame);
    CBlock* pBlock = IsFaulting() ? nullptr : Find(h, "LocalReAlloc", stack);
    if (!pBlock) return system.reAlloc(h, cb, nFlags);
    if (nFlags & LMEM_MODIFY) return h;
    return Move(*pBlock, nFlags & LMEM_ZEROINIT ? HEAP_ZERO_MEMORY : 0, cb, pFrame, stack, kFixedAlignment);
}

HLOCAL FreeFixed(const CMovable& system, HLOCAL h, const void* pFrame)
{
    if (!h || (IsFaulting() && BlockOfAddress(h))) return nullptr;
    const DWORD dwError = ::GetLastError();
    CStack stack;
    Capture(stack, pFrame);
    CBlock* pBlock = IsFaulting() ? nullptr : Find(h, "LocalFree", stack);
    if (!pBlock) return system.free(h);
    Free(*pBlock, stack);
    ::SetLastError(dwError);
    return nullptr;
}

SIZE_T SizeOfFixed(const CMovable& system, HLOCAL h, const void* pFrame)
{
    CStack stack;
    Capture(stack, pFrame);
    const CBlock* pBlock = IsFaulting() ? BlockOfAddress(h) : Find(h, "LocalSize", stack);
    return pBlock ? pBlock->cb : system.size(h);
}

HLOCAL WINAPI HookLocalAlloc(UINT nFlags, SIZE_T cb)
{
    return AllocateFixed(g_local, nFlags, cb, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

HLOCAL WINAPI HookLocalReAlloc(HLOCAL h, SIZE_T cb, UINT nFlags)
{
    return ReAllocateFixed(g_local, h, cb, nFlags, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

HLOCAL WINAPI HookLocalFree(HLOCAL h)
{
    return FreeFixed(g_local, h, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

SIZE_T WINAPI HookLocalSize(HLOCAL h)
{
    return SizeOfFixed(g_local, h, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

HGLOBAL WINAPI HookGlobalAlloc(UINT nFlags, SIZE_T cb)
{
    return AllocateFixed(g_global, nFlags, cb, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

HGLOBAL WINAPI HookGlobalReAlloc(HGLOBAL h, SIZE_T cb, UINT nFlags)
{
    return ReAllocateFixed(g_global, h, cb, nFlags, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

HGLOBAL WINAPI HookGlobalFree(HGLOBAL h)
{
    return FreeFixed(g_global, h, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

SIZE_T WINAPI HookGlobalSize(HGLOBAL h)
{
    return SizeOfFixed(g_global, h, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

// A fixed block has no lock: its handle is its address.
LPVOID WINAPI HookGlobalLock(HGLOBAL h)
{
    return BlockOfAddress(h) ? h : g_globalLock(h);
}

BOOL WINAPI HookGlobalUnlock(HGLOBAL h)
{
    return BlockOfAddress(h) ? TRUE : g_globalUnlock(h);
}

// Automation strings are rounded up to 16 bytes by the system, which would hide an overrun: for our modules and the
// program they are made here, to the byte. The system frees them, by way of the hooked CoTaskMemFree.
BSTR NewString(const void* pvText, UINT cb, const void* pFrame)
{
    constexpr UINT kMost = 0x7FFFFFF0;
    auto* const pLength =
        cb < kMost ? static_cast<UINT*>(New(g_hProcessHeap, 0, sizeof(UINT) + cb + sizeof(OLECHAR), pFrame)) : nullptr;
    if (!pLength) return nullptr;
    *pLength = cb;
    auto* const pText = reinterpret_cast<BYTE*>(pLength + 1);
    if (pvText) std::memcpy(pText, pvText, cb);
    std::memset(pText + cb, 0, sizeof(OLECHAR));
    return reinterpret_cast<BSTR>(pText);
}

BSTR WINAPI HookSysAllocString(const OLECHAR* psz)
{
    if (!psz) return nullptr;
    return NewString(psz, std::wcslen(psz) * sizeof(OLECHAR), static_cast<void**>(__builtin_frame_address(0)) + 1);
}

BSTR WINAPI HookSysAllocStringLen(const OLECHAR* pwch, UINT cch)
{
    if (cch > 0x3FFFFFF0) return nullptr;
    return NewString(pwch, cch * sizeof(OLECHAR), static_cast<void**>(__builtin_frame_address(0)) + 1);
}

BSTR WINAPI HookSysAllocStringByteLen(LPCSTR pch, UINT cb)
{
    return NewString(pch, cb, static_cast<void**>(__builtin_frame_address(0)) + 1);
}

} // namespace

void SetFail(FailFunction fail, EWhose whose)
{
    g_whose = whose;
    g_fail = fail;
}

void TurnOn(EPlace place)
{
    if (place == EPlace::kOff || Place() != EPlace::kOff) return;
    const wchar_t kKernel[] = L"kernel32.dll";
    Import(g_system.alloc, kKernel, "HeapAlloc");
    Import(g_system.reAlloc, kKernel, "HeapReAlloc");
    Import(g_system.free, kKernel, "HeapFree");
    Import(g_system.size, kKernel, "HeapSize");
    Import(g_system.validate, kKernel, "HeapValidate");
    Import(g_local.alloc, kKernel, "LocalAlloc");
    Import(g_local.reAlloc, kKernel, "LocalReAlloc");
    Import(g_local.free, kKernel, "LocalFree");
    Import(g_local.size, kKernel, "LocalSize");
    Import(g_global.alloc, kKernel, "GlobalAlloc");
    Import(g_global.reAlloc, kKernel, "GlobalReAlloc");
    Import(g_global.free, kKernel, "GlobalFree");
    Import(g_global.size, kKernel, "GlobalSize");
    Import(g_globalLock, kKernel, "GlobalLock");
    Import(g_globalUnlock, kKernel, "GlobalUnlock");
    g_hProcessHeap = ::GetProcessHeap();
    INT_PTR(__cdecl * getHeap)() = nullptr;
    Import(getHeap, L"msvcrt.dll", "_get_heap_handle");
    g_hRuntimeHeap = getHeap ? reinterpret_cast<HANDLE>(getHeap()) : g_hProcessHeap;
    // Cached automation strings would be handed out again at once.
    void(__cdecl * uncache)() = nullptr;
    Import(uncache, L"oleaut32.dll", "SetOaNoCache");
    if (uncache) uncache();
    const wchar_t kLibrary[] = L"libstdc++-6.dll";
    Import(g_runtime.malloc, L"msvcrt.dll", "malloc");
    Import(g_runtime.calloc, L"msvcrt.dll", "calloc");
    Import(g_runtime.realloc, L"msvcrt.dll", "realloc");
    Import(g_runtime.newObject, kLibrary, "_Znwj");
    Import(g_runtime.newArray, kLibrary, "_Znaj");
    Import(g_runtime.tryNewObject, kLibrary, "_ZnwjRKSt9nothrow_t");
    Import(g_runtime.tryNewArray, kLibrary, "_ZnajRKSt9nothrow_t");
    g_dwCallerSlot = ::TlsAlloc();
    OpenArena(place);
    WatchFaults();
    static const CHook kHooks[] = {
        {"HeapAlloc", reinterpret_cast<void*>(&HookHeapAlloc), EPatched::kAll},
        {"HeapFree", reinterpret_cast<void*>(&HookHeapFree), EPatched::kAll},
        {"HeapReAlloc", reinterpret_cast<void*>(&HookHeapReAlloc), EPatched::kAll},
        {"HeapSize", reinterpret_cast<void*>(&HookHeapSize), EPatched::kAll},
        {"malloc", reinterpret_cast<void*>(&HookMalloc), EPatched::kOurs},
        {"calloc", reinterpret_cast<void*>(&HookCalloc), EPatched::kOurs},
        {"realloc", reinterpret_cast<void*>(&HookRealloc), EPatched::kOurs},
        {"malloc", reinterpret_cast<void*>(&HookUnwindersMalloc), EPatched::kUnwinder},
        {"calloc", reinterpret_cast<void*>(&HookUnwindersCalloc), EPatched::kUnwinder},
        {"realloc", reinterpret_cast<void*>(&HookUnwindersRealloc), EPatched::kUnwinder},
        {"_Znwj", reinterpret_cast<void*>(&HookNewObject), EPatched::kOurs},
        {"_Znaj", reinterpret_cast<void*>(&HookNewArray), EPatched::kOurs},
        {"_ZnwjRKSt9nothrow_t", reinterpret_cast<void*>(&HookTryNewObject), EPatched::kOurs},
        {"_ZnajRKSt9nothrow_t", reinterpret_cast<void*>(&HookTryNewArray), EPatched::kOurs},
        {"HeapValidate", reinterpret_cast<void*>(&HookHeapValidate), EPatched::kOurs},
        {"LocalAlloc", reinterpret_cast<void*>(&HookLocalAlloc), EPatched::kOurs},
        {"LocalReAlloc", reinterpret_cast<void*>(&HookLocalReAlloc), EPatched::kOurs},
        {"LocalFree", reinterpret_cast<void*>(&HookLocalFree), EPatched::kOurs},
        {"LocalSize", reinterpret_cast<void*>(&HookLocalSize), EPatched::kOurs},
        {"GlobalAlloc", reinterpret_cast<void*>(&HookGlobalAlloc), EPatched::kOurs},
        {"GlobalReAlloc", reinterpret_cast<void*>(&HookGlobalReAlloc), EPatched::kOurs},
        {"GlobalFree", reinterpret_cast<void*>(&HookGlobalFree), EPatched::kOurs},
        {"GlobalSize", reinterpret_cast<void*>(&HookGlobalSize), EPatched::kOurs},
        {"GlobalLock", reinterpret_cast<void*>(&HookGlobalLock), EPatched::kOurs},
        {"GlobalUnlock", reinterpret_cast<void*>(&HookGlobalUnlock), EPatched::kOurs},
        {"SysAllocString", reinterpret_cast<void*>(&HookSysAllocString), EPatched::kOurs},
        {"SysAllocStringLen", reinterpret_cast<void*>(&HookSysAllocStringLen), EPatched::kOurs},
        {"SysAllocStringByteLen", reinterpret_cast<void*>(&HookSysAllocStringByteLen), EPatched::kOurs},
    };
    PatchModules(kHooks, sizeof(kHooks) / sizeof(kHooks[0]));
}

} // namespace guard
