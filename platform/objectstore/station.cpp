#include "station.h"

#include "processlife.h"
#include "shared.h"
#include "sortkey.h"

#include <cwchar>
#include <winternl.h>

namespace store {

namespace {

constexpr DWORD kRows = 512;
constexpr DWORD kNoRow = kRows;
constexpr DWORD kCollations = 8;
constexpr size_t kTableBytes = 16384;

// ---- Words that one process takes ----------------------------------------------------------------------------------

// A process, by its number and the start of its life; 0: nobody.
using COwner = LONGLONG;

COwner OwnName()
{
    return static_cast<COwner>(OwnStart().dwLowDateTime) << 32 | ::GetCurrentProcessId();
}

bool IsGone(COwner owner)
{
    return owner != OwnName() && !IsRunning(static_cast<DWORD>(owner), static_cast<DWORD>(owner >> 32));
}

bool IsFree(volatile COwner& word)
{
    const COwner owner = ::InterlockedCompareExchange64(&word, 0, 0);
    return owner == 0 || IsGone(owner);
}

bool TryTake(volatile COwner& word)
{
    const COwner holder = ::InterlockedCompareExchange64(&word, OwnName(), 0);
    if (holder == 0) return true;
    return IsGone(holder) && ::InterlockedCompareExchange64(&word, OwnName(), holder) == holder;
}

void GiveBack(volatile COwner& word)
{
    ::InterlockedExchange64(&word, 0);
}

// Whoever has such a word may be waiting for the disk.
void WaitABit(DWORD& dwTry)
{
    if (++dwTry < 16) {
        ::SwitchToThread();
    } else {
        ::Sleep(1);
    }
}

void Take(volatile COwner& word)
{
    for (DWORD dwTry = 0; !TryTake(word);) WaitABit(dwTry);
}

// ---- Files ---------------------------------------------------------------------------------------------------------

DWORD GetIndex(HANDLE hFile, LARGE_INTEGER& index)
{
    // The system's own call: what GetFileInformationByHandle adds to it, Wine asks of another process.
    FILE_INTERNAL_INFORMATION info;
    IO_STATUS_BLOCK status;
    if (::NtQueryInformationFile(hFile, &status, &info, sizeof info, FileInternalInformation) < 0)
        return ERROR_NOT_SUPPORTED;
    index = info.IndexNumber;
    return ERROR_SUCCESS;
}

// Whether a lock that is taken through one handle is met through the other. None is kept: what has a lock on it is never
// quite closed under Wine. The byte is this thread's own, so that nobody else's trial is taken for this one's; volumes
// end long before it.
DWORD HaveLocksInCommon(HANDLE hFile, HANDLE hOther, bool& bCommon)
{
    OVERLAPPED at = {};
    at.Offset = ::GetCurrentThreadId();
    at.OffsetHigh = 1;
    constexpr DWORD kHow = LOCKFILE_EXCLUSIVE_LOCK | LOCKFILE_FAIL_IMMEDIATELY;
    if (!::LockFileEx(hFile, kHow, 0, 1, 0, &at)) return ::GetLastError();
    DWORD dwError = ERROR_SUCCESS;
    bCommon = !::LockFileEx(hOther, kHow, 0, 1, 0, &at);
    if (bCommon)
        dwError = ::GetLastError() == ERROR_LOCK_VIOLATION ? ERROR_SUCCESS : ::GetLastError();
    else
        ::UnlockFileEx(hOther, 0, 1, 0, &at);
    ::UnlockFileEx(hFile, 0, 1, 0, &at);
    return dwError;
}

} // namespace

DWORD AreSameFile(HANDLE hFile, HANDLE hOther, bool& bSame)
{
    bSame = false;
    LARGE_INTEGER index, other;
    DWORD dwError = GetIndex(hFile, index);
    if (dwError == ERROR_SUCCESS) dwError = GetIndex(hOther, other);
    if (dwError != ERROR_SUCCESS || index.QuadPart != other.QuadPart) return dwError;
    return HaveLocksInCommon(hFile, hOther, bSame);
}

struct CStation::CTable
{
    struct CRow
    {
        volatile COwner opening; // who may open and close the volume
        LONGLONG llIndex;        // of the file
        LONG bUsed;
        LONG lReserved;
    };
    volatile COwner lock; // of the rows; held for short
    DWORD dwRows;         // that have ever been used
    DWORD dwReserved;
    volatile struct
    {
        LONG bKnown;
        LCID lcid;
        DWORD dwStamp;
    } rgCollations[kCollations];
    DWORD dwCollations; // known so far
    CRow rgRows[kRows];
};

CStation& CStation::Instance()
{
    static CStation s_station;
    return s_station;
}

DWORD CStation::Open()
{
    if (__atomic_load_n(&m_pTable, __ATOMIC_ACQUIRE)) return ERROR_SUCCESS;
    static_assert(sizeof(CTable) <= kTableBytes);
    ::AcquireSRWLockExclusive(&m_lock);
    DWORD dwError = ERROR_SUCCESS;
    if (!m_pTable) {
        // A section of the system's own memory: the system hands it out cleared. The number in its name is that of the
        // layout of table and blocks.
        const HANDLE hSection = ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                                     kTableBytes + sizeof(CSharedBlock), L"Local\\korvanestore-2");
        void* const p = hSection ? ::MapViewOfFile(hSection, FILE_MAP_WRITE, 0, 0, 0) : nullptr;
        if (p) {
            __atomic_store_n(&m_pTable, static_cast<CTable*>(p), __ATOMIC_RELEASE);
        } else {
            dwError = ::GetLastError();
            if (hSection) ::CloseHandle(hSection);
        }
    }
    ::ReleaseSRWLockExclusive(&m_lock);
    return dwError;
}

DWORD CStation::LockTable()
{
    const DWORD dwError = Open();
    if (dwError == ERROR_SUCCESS) store::Take(m_pTable->lock);
    return dwError;
}

void CStation::UnlockTable()
{
    GiveBack(m_pTable->lock);
}

// ---- Blocks --------------------------------------------------------------------------------------------------------

DWORD CBlockView::Open(DWORD dwRow, bool bMake)
{
    BYTE* const pTable = reinterpret_cast<BYTE*>(CStation::Instance().m_pTable);
    if (dwRow == 0) {
        m_pBlock = reinterpret_cast<CSharedBlock*>(pTable + kTableBytes);
        return ERROR_SUCCESS;
    }
    wchar_t szName[40];
    std::swprintf(szName, 40, L"Local\\korvanestore-2-%lu", dwRow);
    m_hSection =
        bMake ? ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(CSharedBlock), szName)
              : ::OpenFileMappingW(FILE_MAP_WRITE, FALSE, szName);
    if (m_hSection) m_pBlock = static_cast<CSharedBlock*>(::MapViewOfFile(m_hSection, FILE_MAP_WRITE, 0, 0, 0));
    if (m_pBlock) return ERROR_SUCCESS;
    const DWORD dwError = ::GetLastError();
    Close();
    return dwError;
}

void CBlockView::Close()
{
    if (m_hSection && m_pBlock) ::UnmapViewOfFile(m_pBlock);
    if (m_hSection) ::CloseHandle(m_hSection);
    m_hSection = nullptr;
    m_pBlock = nullptr;
}

namespace {

bool HasProcess(const CSharedBlock& block)
{
    for (const auto& process : block.rgProcesses)
        if (process.dwProcess && IsRunning(process.dwProcess, process.ftStart)) return true;
    return false;
}

// Whether a living process has the row's volume open. Asked only when no row is free.
bool HasProcess(DWORD dwRow)
{
    CBlockView view;
    if (view.Open(dwRow, false) == ERROR_FILE_NOT_FOUND) return false; // it went with the last process
    return !view.Get() || HasProcess(*view.Get());                     // it cannot be known, or it is
}

} // namespace

// ---- Rows ----------------------------------------------------------------------------------------------------------

// A row that nobody has; kNoRow when all are taken.
DWORD CStation::FindFree()
{
    for (DWORD i = 0; i < m_pTable->dwRows; ++i)
        if (!m_pTable->rgRows[i].bUsed) return i;
    if (m_pTable->dwRows < kRows) return m_pTable->dwRows++;
    for (DWORD i = 0; i < kRows; ++i)
        if (IsFree(m_pTable->rgRows[i].opening) && !HasProcess(i)) return i;
    return kNoRow;
}

// Whether the row, which nobody else is opening or closing, may be had for the file of its index: because it is the
// file's, or nobody's any more. An error says that it cannot be known: then the file gets no row at all, for two would
// be the end of it.
DWORD CStation::IsFor(DWORD dwRow, HANDLE hFile, const std::wstring& strPath, bool& bIs)
{
    CBlockView view;
    const DWORD dwError = view.Open(dwRow, false);
    bIs = dwError == ERROR_FILE_NOT_FOUND; // it went with the last process
    if (dwError != ERROR_SUCCESS) return bIs ? ERROR_SUCCESS : dwError;
    // Who has a volume open keeps its file from being moved.
    bIs = ::lstrcmpiW(view.Get()->szPath, strPath.c_str()) == 0 || !HasProcess(*view.Get());
    if (bIs) return ERROR_SUCCESS;
    const HANDLE hOther =
        ::CreateFileW(view.Get()->szPath, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, 0, nullptr);
    if (hOther == INVALID_HANDLE_VALUE) return ERROR_SHARING_VIOLATION;
    const bool bKnown = AreSameFile(hFile, hOther, bIs) == ERROR_SUCCESS;
    ::CloseHandle(hOther);
    return bKnown ? ERROR_SUCCESS : ERROR_SHARING_VIOLATION;
}

DWORD CStation::Take(HANDLE hFile, const std::wstring& strPath, DWORD& dwRow, CBlockView& view)
{
    LARGE_INTEGER index;
    const DWORD dwIndexError = GetIndex(hFile, index);
    if (dwIndexError != ERROR_SUCCESS) return dwIndexError;
    for (DWORD dwTry = 0;; WaitABit(dwTry)) {
        const CBan ban;
        if (ban.Error() != ERROR_SUCCESS) return ban.Error();
        DWORD dwFound = kNoRow;
        bool bTaken = false; // another process, or thread, is opening or closing the volume
        for (DWORD i = 0; i < m_pTable->dwRows && dwFound == kNoRow && !bTaken; ++i) {
            CTable::CRow& row = m_pTable->rgRows[i];
            if (!row.bUsed || row.llIndex != index.QuadPart) continue;
            bTaken = !TryTake(row.opening);
            if (bTaken) break;
            bool bIs;
            const DWORD dwError = IsFor(i, hFile, strPath, bIs);
            if (dwError == ERROR_SUCCESS && bIs)
                dwFound = i;
            else
                GiveBack(row.opening);
            if (dwError != ERROR_SUCCESS) return dwError;
        }
        if (bTaken) continue;
        if (dwFound == kNoRow) {
            dwFound = FindFree();
            if (dwFound == kNoRow) return ERROR_NOT_ENOUGH_MEMORY;
            CTable::CRow& row = m_pTable->rgRows[dwFound];
            row.llIndex = index.QuadPart;
            ::InterlockedExchange64(&row.opening, OwnName());
            row.bUsed = 1;
        }
        const DWORD dwError = view.Open(dwFound, true);
        if (dwError != ERROR_SUCCESS) {
            // A row that was new is left to be found out as empty.
            GiveBack(m_pTable->rgRows[dwFound].opening);
            return dwError;
        }
        dwRow = dwFound;
        return ERROR_SUCCESS;
    }
}

void CStation::TakeAgain(DWORD dwRow)
{
    store::Take(m_pTable->rgRows[dwRow].opening);
}

bool CStation::TryTakeAgain(DWORD dwRow)
{
    return TryTake(m_pTable->rgRows[dwRow].opening);
}

void CStation::LetGo(DWORD dwRow, const CSharedBlock& block)
{
    const CBan ban;
    CTable::CRow& row = m_pTable->rgRows[dwRow];
    bool bEmpty = true;
    for (const auto& process : block.rgProcesses) bEmpty = bEmpty && !process.dwProcess;
    if (bEmpty) row.bUsed = 0;
    GiveBack(row.opening);
}

DWORD CStation::Collation(LCID lcid)
{
    {
        const CBan ban;
        if (ban.Error() != ERROR_SUCCESS) return CollationStamp(lcid);
        for (const auto& known : m_pTable->rgCollations)
            if (known.bKnown && known.lcid == lcid) return known.dwStamp;
    }
    const DWORD dwStamp = CollationStamp(lcid);
    const CBan ban;
    auto& place = m_pTable->rgCollations[m_pTable->dwCollations++ % kCollations];
    place.bKnown = 0; // a process that dies here leaves nothing wrong
    place.lcid = lcid;
    place.dwStamp = dwStamp;
    place.bKnown = 1;
    return dwStamp;
}

DWORD CStation::List(std::vector<CMountRow>& rows)
{
    const CBan ban;
    if (ban.Error() != ERROR_SUCCESS) return ban.Error();
    for (DWORD i = 0; i < m_pTable->dwRows; ++i) {
        if (!m_pTable->rgRows[i].bUsed) continue;
        CBlockView view;
        if (view.Open(i, false) != ERROR_SUCCESS) continue;
        const CSharedBlock& block = *view.Get();
        for (const auto& process : block.rgProcesses) {
            if (!process.dwProcess || !process.bMounted || !IsRunning(process.dwProcess, process.ftStart)) continue;
            rows.push_back({block.guid, block.szPath});
            break;
        }
    }
    return ERROR_SUCCESS;
}

} // namespace store
