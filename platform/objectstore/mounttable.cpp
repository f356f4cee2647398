#include "mounttable.h"

#include "processlife.h"

namespace store {

namespace {

constexpr DWORD kRows = 512;

} // namespace

struct CMountTable::CRow
{
    DWORD dwProcess; // 0: free
    FILETIME ftStart;
    CEGUID guid;
    WCHAR szPath[MAX_PATH];

    bool IsOwn() const
    {
        const FILETIME ft = StartOf(::GetCurrentProcess());
        return dwProcess == ::GetCurrentProcessId() && ::CompareFileTime(&ft, &ftStart) == 0;
    }
    bool IsAlive() const { return IsRunning(dwProcess, ftStart); }
};

class CMountTable::CLock
{
public:
    explicit CLock(HANDLE hMutex) : m_hMutex(hMutex) { ::WaitForSingleObject(m_hMutex, INFINITE); }
    ~CLock() { ::ReleaseMutex(m_hMutex); }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

private:
    HANDLE m_hMutex;
};

CMountTable::~CMountTable()
{
    if (m_pRows) ::UnmapViewOfFile(m_pRows);
    if (m_hSection) ::CloseHandle(m_hSection);
    if (m_hMutex) ::CloseHandle(m_hMutex);
}

DWORD CMountTable::Open()
{
    if (m_pRows) return ERROR_SUCCESS;
    if (!m_hMutex) m_hMutex = ::CreateMutexW(nullptr, FALSE, L"Local\\KorvaneStoreMountsLock");
    if (!m_hMutex) return ::GetLastError();
    if (!m_hSection)
        m_hSection = ::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kRows * sizeof(CRow),
                                          L"Local\\KorvaneStoreMounts");
    if (!m_hSection) return ::GetLastError();
    m_pRows = static_cast<CRow*>(::MapViewOfFile(m_hSection, FILE_MAP_READ | FILE_MAP_WRITE, 0, 0, 0));
    return m_pRows ? ERROR_SUCCESS : ::GetLastError();
}

DWORD CMountTable::Add(const CEGUID& guid, const std::wstring& strPath)
{
    const DWORD dwError = Open();
    if (dwError != ERROR_SUCCESS) return dwError;
    const CLock lock(m_hMutex);
    for (int nPass = 0; nPass < 2; ++nPass) {
        for (DWORD i = 0; i < kRows; ++i) {
            CRow& row = m_pRows[i];
            // Whether the others are alive is asked only when no row is free.
            if (row.dwProcess && (nPass == 0 || row.IsOwn() || row.IsAlive())) continue;
            row.ftStart = StartOf(::GetCurrentProcess());
            row.guid = guid;
            strPath.copy(row.szPath, MAX_PATH - 1);
            row.szPath[strPath.size() < MAX_PATH ? strPath.size() : MAX_PATH - 1] = 0;
            row.dwProcess = ::GetCurrentProcessId();
            return ERROR_SUCCESS;
        }
    }
    return ERROR_NOT_ENOUGH_MEMORY;
}

void CMountTable::Remove(const CEGUID& guid)
{
    if (!m_pRows) return;
    const CLock lock(m_hMutex);
    for (DWORD i = 0; i < kRows; ++i) {
        CRow& row = m_pRows[i];
        if (row.dwProcess == ::GetCurrentProcessId() && IsSame(row.guid, guid) && row.IsOwn()) row.dwProcess = 0;
    }
}

DWORD CMountTable::List(std::vector<CMountRow>& rows)
{
    const DWORD dwError = Open();
    if (dwError != ERROR_SUCCESS) return dwError;
    const CLock lock(m_hMutex);
    for (DWORD i = 0; i < kRows; ++i) {
        CRow& row = m_pRows[i];
        if (!row.dwProcess) continue;
        if (!row.IsOwn() && !row.IsAlive()) {
            row.dwProcess = 0;
            continue;
        }
        bool bKnown = false;
        for (const CMountRow& known : rows) bKnown = bKnown || IsSame(known.guid, row.guid);
        if (!bKnown) rows.push_back({row.guid, row.szPath});
    }
    return ERROR_SUCCESS;
}

} // namespace store
