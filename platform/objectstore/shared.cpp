#include "shared.h"

#include "engine.h"
#include "header.h"
#include "processlife.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <cwchar>

namespace store {

namespace {

constexpr DWORD kLongestNoteWait = 2000; // milliseconds

// Another one each time, in whatever process. No secret: the system's random numbers come out of a library that the
// process would load for them.
CEGUID NewGuid()
{
    LARGE_INTEGER liTicks;
    FILETIME ftNow;
    ::QueryPerformanceCounter(&liTicks);
    ::GetSystemTimeAsFileTime(&ftNow);
    const ULONGLONG ullNow = static_cast<ULONGLONG>(ftNow.dwHighDateTime) << 32 | ftNow.dwLowDateTime;
    return {liTicks.LowPart, static_cast<DWORD>(ullNow), static_cast<DWORD>(ullNow >> 32) ^ liTicks.HighPart,
            ::GetCurrentProcessId()};
}

} // namespace

DWORD CShared::Open(HANDLE hFile, const std::wstring& strPath)
{
    CStation& station = CStation::Instance();
    const DWORD dwError = station.Take(hFile, strPath, m_dwRow, m_view);
    m_pBlock = m_view.Get();
    m_bOpening = dwError == ERROR_SUCCESS;
    return dwError;
}

void CShared::LockOpening()
{
    CStation::Instance().TakeAgain(m_dwRow);
    m_bOpening = true;
}

void CShared::UnlockOpening()
{
    m_bOpening = false;
    CStation::Instance().LetGo(m_dwRow, *m_pBlock);
}

bool CShared::OthersAreHere()
{
    bool bOthers = false;
    for (DWORD i = 0; i < kProcessSlots; i++) {
        auto& process = m_pBlock->rgProcesses[i];
        if (process.dwProcess == 0 || static_cast<LONG>(i + 1) == m_lOwner) continue;
        if (IsRunning(process.dwProcess, process.ftStart)) {
            bOthers = true;
            continue;
        }
        for (DWORD k = 0; k < m_pBlock->dwOpenDatabases; k++) {
            auto& open = m_pBlock->rgOpenDatabases[k];
            if (open.oid && open.wSlot == i) open.oid = 0;
        }
        TakeOver(static_cast<LONG>(i + 1));
        ForgetWatches(i);
        process.dwProcess = 0;
    }
    return bOthers;
}

void CShared::ForgetTheDead()
{
    CStation& station = CStation::Instance();
    if (!station.TryTakeAgain(m_dwRow)) return;
    OthersAreHere();
    station.LetGo(m_dwRow, *m_pBlock);
}

void CShared::Reset(const CVolumeHeader& header, const std::wstring& strPath)
{
    // All but what these numbers say to be empty.
    std::memset(m_pBlock, 0, offsetof(CSharedBlock, rgNotes));
    m_pBlock->dwOpenDatabases = 0;
    HoldNone();
    m_pBlock->dwSequence = header.dwSequence;
    m_pBlock->flushed = header.flushed;
    m_pBlock->bNeedsRecovery = header.dwInUse && header.boot == PresentBoot();
    // Filled when the volume is opened, but not before a recovery: until then every page counts as used.
    if (m_pBlock->bNeedsRecovery) std::memset(m_pBlock->rgFreeInFlushed, 0, sizeof m_pBlock->rgFreeInFlushed);
    strPath.copy(m_pBlock->szPath, MAX_PATH - 1);
    m_pBlock->guid = NewGuid();
}

void CShared::Hold(DWORD dwPage)
{
    // First, in the machine's code as well: a process may die in between.
    if (m_pBlock->cbHeld <= dwPage / 8) m_pBlock->cbHeld = dwPage / 8 + 1;
    __atomic_signal_fence(__ATOMIC_SEQ_CST);
    kv_set_bit(m_pBlock->rgHeld, dwPage);
}

void CShared::HoldNone()
{
    std::memset(m_pBlock->rgHeld, 0, m_pBlock->cbHeld);
    __atomic_signal_fence(__ATOMIC_SEQ_CST); // last, likewise
    m_pBlock->cbHeld = 0;
}

bool CShared::AnyHeld() const
{
    const BYTE* const p = m_pBlock->rgHeld;
    return std::any_of(p, p + m_pBlock->cbHeld, [](BYTE b) { return b != 0; });
}

DWORD CShared::Enter()
{
    for (DWORD i = 0; i < kProcessSlots; i++) {
        auto& process = m_pBlock->rgProcesses[i];
        if (process.dwProcess) continue;
        process.ftStart = OwnStart();
        process.bMounted = 0;
        process.dwProcess = ::GetCurrentProcessId();
        m_lOwner = static_cast<LONG>(i + 1);
        return ERROR_SUCCESS;
    }
    return ERROR_NOT_ENOUGH_MEMORY;
}

void CShared::Leave()
{
    ForgetWatches(m_lOwner - 1);
    m_pBlock->rgProcesses[m_lOwner - 1].dwProcess = 0;
    m_lOwner = 0;
}

void CShared::SetMounted(bool bMounted)
{
    m_pBlock->rgProcesses[m_lOwner - 1].bMounted = bMounted;
}

bool CShared::IsGone(LONG lOwner) const
{
    const auto& process = m_pBlock->rgProcesses[lOwner - 1];
    return lOwner != m_lOwner && !IsRunning(process.dwProcess, process.ftStart);
}

// Ends what a dead process was about. Its uncommitted pages are of no state, so an open batch is simply over; but if it
// died while changing the volume, the pages it had put aside are lost to us until a recovery has found them.
void CShared::TakeOver(LONG lDead)
{
    ::InterlockedCompareExchange(&m_pBlock->lBatch, 0, lDead);
    if (m_pBlock->lLock == lDead) {
        if (m_pBlock->bChanging) m_pBlock->bNeedsRecovery = 1;
        m_pBlock->bChanging = 0;
        ::InterlockedCompareExchange(&m_pBlock->lLock, 0, lDead);
    }
}

// Ends as TakeOver does, but with the lock for this process. False: the holder is alive, or somebody else sees to it.
bool CShared::TakeLockOver(LONG lDead)
{
    CStation& station = CStation::Instance();
    if (!m_bOpening && !station.TryTakeAgain(m_dwRow)) return false;
    // Until here its slot may have been cleared, and taken by a process that has the lock now.
    const bool bTaken = IsGone(lDead) && ::InterlockedCompareExchange(&m_pBlock->lLock, m_lOwner, lDead) == lDead;
    if (bTaken) {
        ::InterlockedCompareExchange(&m_pBlock->lBatch, 0, lDead);
        if (m_pBlock->bChanging) m_pBlock->bNeedsRecovery = 1;
        m_pBlock->bChanging = 0;
    }
    if (!m_bOpening) station.LetGo(m_dwRow, *m_pBlock);
    return bTaken;
}

void CShared::LockSlowly()
{
    for (DWORD dwTry = 1;; dwTry++) {
        const LONG lHolder = ::InterlockedCompareExchange(&m_pBlock->lLock, m_lOwner, 0);
        if (lHolder == 0) return;
        if (dwTry % 64 != 0) {
            YieldProcessor();
        } else if (dwTry % 1024 != 0) {
            ::SwitchToThread();
        } else {
            ::Sleep(1);
            if (IsGone(lHolder) && TakeLockOver(lHolder)) return;
        }
    }
}

void CShared::WaitForBatch()
{
    for (DWORD dwTry = 1; m_pBlock->lBatch != 0 && m_pBlock->lBatch != m_lOwner; dwTry++) {
        const LONG lHolder = m_pBlock->lBatch;
        if (dwTry % 16 == 0 && IsGone(lHolder)) {
            ::InterlockedCompareExchange(&m_pBlock->lBatch, 0, lHolder);
            continue;
        }
        Unlock();
        ::Sleep(1);
        Lock();
    }
}

// ---- Who is told of changes ----------------------------------------------------------------------------------------

HANDLE OpenNoteEvent(DWORD dwProcess, bool bOwn)
{
    wchar_t szName[40];
    std::swprintf(szName, 40, L"Local\\korvanestore-notes-%08lx", dwProcess);
    return bOwn ? ::CreateEventW(nullptr, FALSE, FALSE, szName) : ::OpenEventW(EVENT_MODIFY_STATE, FALSE, szName);
}

void CShared::AddWatch()
{
    auto& process = m_pBlock->rgProcesses[m_lOwner - 1];
    if (process.nWatches++ != 0) return;
    process.bCalled = 0;
    process.dwSeen = m_pBlock->dwNotes;
    ::InterlockedIncrement(&m_pBlock->nWatching);
}

void CShared::RemoveWatch()
{
    auto& process = m_pBlock->rgProcesses[m_lOwner - 1];
    if (process.nWatches > 1)
        --process.nWatches;
    else
        ForgetWatches(m_lOwner - 1);
}

void CShared::ForgetWatches(DWORD nSlot)
{
    if (::InterlockedExchange(&m_pBlock->rgProcesses[nSlot].nWatches, 0) != 0)
        ::InterlockedDecrement(&m_pBlock->nWatching);
}

DWORD CShared::NotesThatFit() const
{
    DWORD nBehind = 0;
    for (const auto& process : m_pBlock->rgProcesses)
        if (process.dwProcess && process.nWatches) nBehind = std::max(nBehind, m_pBlock->dwNotes - process.dwSeen);
    return kChangeNotes - std::min(nBehind, kChangeNotes);
}

void CShared::WakeWatching()
{
    for (DWORD i = 0; i < kProcessSlots; i++) {
        auto& process = m_pBlock->rgProcesses[i];
        if (!process.dwProcess || !process.nWatches || process.bCalled) continue;
        const HANDLE hEvent = OpenNoteEvent(process.dwProcess, false);
        if (!hEvent) {
            if (!IsRunning(process.dwProcess, process.ftStart)) ForgetWatches(i);
            continue;
        }
        process.bCalled = ::SetEvent(hEvent);
        ::CloseHandle(hEvent);
    }
}

void CShared::Publish(const std::vector<CChangeNote>& notes)
{
    const DWORD dwStart = ::GetTickCount();
    for (size_t nDone = 0; nDone < notes.size() && IsWatched();) {
        DWORD nFit = NotesThatFit();
        if (nFit == 0 && ::GetTickCount() - dwStart >= kLongestNoteWait) nFit = kChangeNotes;
        for (; nFit && nDone < notes.size(); --nFit)
            m_pBlock->rgNotes[m_pBlock->dwNotes++ % kChangeNotes] = notes[nDone++];
        WakeWatching();
        if (nDone == notes.size()) break;
        ForgetTheDead(); // one that died is not waited for
        Unlock();
        ::Sleep(1);
        Lock();
    }
}

DWORD CShared::TakeNotes(CChangeNote* pNotes, DWORD nRoom)
{
    auto& process = m_pBlock->rgProcesses[m_lOwner - 1];
    process.bCalled = 0;
    if (m_pBlock->dwNotes - process.dwSeen > kChangeNotes) process.dwSeen = m_pBlock->dwNotes - kChangeNotes;
    DWORD nTaken = 0;
    while (nTaken < nRoom && process.dwSeen != m_pBlock->dwNotes)
        pNotes[nTaken++] = m_pBlock->rgNotes[process.dwSeen++ % kChangeNotes];
    return nTaken;
}

} // namespace store
