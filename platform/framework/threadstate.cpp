#include "threadstate.h"

namespace {

// A slot of the system's: unlike a thread_local object it can still be used while the process's static objects are
// being destroyed.
DWORD g_dwSlot = TLS_OUT_OF_INDEXES;

void DeleteThreadState()
{
    CThreadState* const pState = CThreadState::GetIfAny();
    ::TlsSetValue(g_dwSlot, NULL);
    delete pState;
}

} // namespace

CThreadState* CThreadState::GetIfAny()
{
    // TlsGetValue sets the last error to 0, which callers of a destructor or of Detach do not expect.
    const DWORD dwKeep = ::GetLastError();
    void* const pState = ::TlsGetValue(g_dwSlot);
    ::SetLastError(dwKeep);
    return static_cast<CThreadState*>(pState);
}

CThreadState& CThreadState::Get()
{
    if (CThreadState* const pState = GetIfAny()) return *pState;
    std::unique_ptr<CThreadState> pNew(new (std::nothrow) CThreadState);
    if (!pNew || !::TlsSetValue(g_dwSlot, pNew.get())) AfxThrowMemoryException();
    return *pNew.release();
}

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD dwReason, LPVOID pReserved)
{
    switch (dwReason) {
    case DLL_PROCESS_ATTACH:
        g_dwSlot = ::TlsAlloc();
        return g_dwSlot != TLS_OUT_OF_INDEXES;
    case DLL_THREAD_DETACH:
        DeleteThreadState();
        break;
    case DLL_PROCESS_DETACH:
        if (!pReserved && g_dwSlot != TLS_OUT_OF_INDEXES) {
            DeleteThreadState();
            ::TlsFree(g_dwSlot);
        }
        break;
    }
    return TRUE;
}
