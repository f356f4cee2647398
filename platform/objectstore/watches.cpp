#include "watches.h"

#include "apiedge.h"

#include <algorithm>

namespace store {

namespace {

constexpr DWORD kNotesAtOnce = 128;

class CLock
{
public:
    explicit CLock(SRWLOCK& lock) : m_lock(lock) { ::AcquireSRWLockExclusive(&m_lock); }
    ~CLock() { ::ReleaseSRWLockExclusive(&m_lock); }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

private:
    SRWLOCK& m_lock;
};

// The module of this code, so that it is not unloaded under the thread. The thread lets it go.
HMODULE HoldModule()
{
    HMODULE hModule = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS, reinterpret_cast<LPCWSTR>(&HoldModule), &hModule);
    return hModule;
}

} // namespace

CWatches& CWatches::Instance()
{
    static CWatches* const s_pWatches = new CWatches;
    return *s_pWatches;
}

DWORD CWatches::Start()
{
    if (m_bRunning) return ERROR_SUCCESS;
    if (!m_hEvent) m_hEvent = OpenNoteEvent(::GetCurrentProcessId(), true);
    if (!m_hEvent) return ::GetLastError();
    const HMODULE hModule = HoldModule();
    const HANDLE hThread = ::CreateThread(nullptr, 0, Run, this, 0, nullptr);
    if (!hThread) {
        const DWORD dwError = ::GetLastError();
        ::FreeLibrary(hModule);
        return dwError;
    }
    ::CloseHandle(hThread);
    m_bRunning = true;
    return ERROR_SUCCESS;
}

DWORD CWatches::Add(CDatabaseHandle& handle, const CENOTIFYREQUEST& request)
{
    const CLock lock(m_lock);
    m_watches.reserve(m_watches.size() + 1);
    const DWORD dwError = Start();
    if (dwError != ERROR_SUCCESS) return dwError;
    CVolume& volume = handle.Volume().Engine();
    m_watches.push_back({&handle, &volume, request, ::GetCurrentThreadId()});
    volume.AddWatch();
    return ERROR_SUCCESS;
}

void CWatches::Remove(CDatabaseHandle& handle)
{
    const CLock lock(m_lock);
    handle.Volume().Engine().RemoveWatch();
    m_watches.erase(std::remove_if(m_watches.begin(), m_watches.end(),
                                   [&](const CWatch& watch) { return watch.pHandle == &handle; }),
                    m_watches.end());
    if (m_watches.empty()) ::SetEvent(m_hEvent); // the thread ends
}

void CWatches::Tell(const CWatch& watch, const CChangeNote& note)
{
    const CENOTIFYREQUEST& request = watch.request;
    if (!(request.dwFlags & CEDB_EXNOTIFICATION)) {
        ::PostMessageW(request.hwnd, note.uType, note.oid, static_cast<LPARAM>(note.oidParent));
        return;
    }
    const HANDLE hHeap = request.hHeap ? request.hHeap : ::GetProcessHeap();
    const auto pNotification = static_cast<CENOTIFICATION*>(::HeapAlloc(hHeap, 0, sizeof(CENOTIFICATION)));
    if (!pNotification) return; // as on the device, a message that finds no room is not posted
    *pNotification = {sizeof *pNotification, request.dwParam, note.uType,
                      watch.pHandle->Guid(), note.oid,        note.oidParent};
    if (!::PostMessageW(request.hwnd, WM_DBNOTIFICATION, 0, reinterpret_cast<LPARAM>(pNotification)))
        ::HeapFree(hHeap, 0, pNotification); // the window is gone, or its queue is full
}

// False: there is nobody left to tell, and the thread ends.
bool CWatches::TellAll()
{
    const CCallCount count; // before the lock: at the process's end a thread that was ended in here is noticed
    const CLock lock(m_lock);
    m_bRunning = !m_watches.empty();
    for (size_t i = 0; i < m_watches.size(); ++i) {
        CVolume* const pVolume = m_watches[i].pVolume;
        CChangeNote rgNotes[kNotesAtOnce];
        // A second watch on a volume finds its notes taken.
        while (const DWORD nNotes = pVolume->TakeNotes(rgNotes, kNotesAtOnce)) {
            for (DWORD n = 0; n < nNotes; ++n) {
                const CChangeNote& note = rgNotes[n];
                for (const CWatch& watch : m_watches) {
                    if (watch.pVolume != pVolume || watch.pHandle->DatabaseOid() != note.oidParent) continue;
                    // Whoever made the change knows of it.
                    if (pVolume->IsOwn(note) &&
                        (watch.dwThread == note.dwThread || reinterpret_cast<DWORD>(watch.pHandle) == note.dwHandle))
                        continue;
                    Tell(watch, note);
                }
            }
        }
    }
    return m_bRunning;
}

DWORD WINAPI CWatches::Run(void* pWatches)
{
    const auto pThis = static_cast<CWatches*>(pWatches);
    HMODULE hModule = nullptr;
    ::GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                         reinterpret_cast<LPCWSTR>(&HoldModule), &hModule);
    do ::WaitForSingleObject(pThis->m_hEvent, INFINITE);
    while (pThis->TellAll());
    ::FreeLibraryAndExitThread(hModule, 0);
}

} // namespace store
