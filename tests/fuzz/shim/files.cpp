// Files for the record store: in memory, with maps that end where the file does.
//
// A map lies between pages that cannot be touched, and its last page is the file's: so the sanitizer sees each step
// beyond it, which on the platform, too, leads where nothing is mapped.
#include "target.h"

#include "handles.h"

#include <winternl.h>

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <map>

namespace shim {

// What a name leads to; without one it lives as long as a handle or a map of it.
struct CFile
{
    explicit CFile(LONGLONG llIndex) : llIndex(llIndex) { nMemory = memfd_create("file", 0); }
    ~CFile() { close(nMemory); }
    CFile(const CFile&) = delete;
    CFile& operator=(const CFile&) = delete;

    int nMemory;
    const LONGLONG llIndex;
    DWORD cb = 0;
    int nMaps = 0;
    const CHandle* pLocker = nullptr; // who has the lock that handles try on it
};

namespace {

struct COpenFile : CHandle
{
    std::shared_ptr<CFile> pFile;
    DWORD dwAccess = 0, dwShare = 0, dwAt = 0;
};

// Of a file, or of memory that processes would share.
struct CSection : CHandle
{
    std::shared_ptr<CFile> pFile;
    std::shared_ptr<BYTE> pMemory;
    DWORD cb = 0;
};

struct CView
{
    std::shared_ptr<CFile> pFile;
    std::shared_ptr<BYTE> pMemory;
    BYTE* pReserved;
    size_t cbReserved;
};

constexpr DWORD kPage = 4096, kGuard = 16 * kPage;
constexpr DWORD kLargestFile = 64 << 20; // the disk is full then

std::map<std::wstring, std::shared_ptr<CFile>> g_files;
std::map<std::wstring, std::weak_ptr<BYTE>> g_sections;
std::map<const void*, CView> g_views;
std::vector<COpenFile*> g_open;
LONGLONG g_llIndices = 0;

BOOL FailWith(DWORD dwError)
{
    SetLastError(dwError);
    return FALSE;
}

// Whether what a handle asks for and what it leaves to others go together with what the others have.
bool MayShare(const CFile* pFile, DWORD dwAccess, DWORD dwShare)
{
    const auto allows = [](DWORD dwLeft, DWORD dwAsked) {
        return (!(dwAsked & GENERIC_READ) || (dwLeft & FILE_SHARE_READ)) &&
               (!(dwAsked & GENERIC_WRITE) || (dwLeft & FILE_SHARE_WRITE));
    };
    return std::all_of(g_open.begin(), g_open.end(), [&](const COpenFile* pOpen) {
        return pOpen->pFile.get() != pFile || (allows(pOpen->dwShare, dwAccess) && allows(dwShare, pOpen->dwAccess));
    });
}

// Every handle of the store's denies deleting.
bool IsOpen(const CFile* pFile)
{
    return std::any_of(g_open.begin(), g_open.end(), [=](const COpenFile* p) { return p->pFile.get() == pFile; });
}

COpenFile* FileOf(HANDLE h)
{
    return static_cast<COpenFile*>(h);
}

bool SetSize(CFile& file, DWORD cb)
{
    if (cb > kLargestFile || ftruncate(file.nMemory, cb) != 0) return false;
    file.cb = cb;
    return true;
}

} // namespace

void CloseFile(CHandle* p)
{
    g_open.erase(std::remove(g_open.begin(), g_open.end(), p), g_open.end());
    delete static_cast<COpenFile*>(p);
}

void CloseSection(CHandle* p)
{
    delete static_cast<CSection*>(p);
}

} // namespace shim

using namespace shim;

const wchar_t* fuzz::PutFile(const uint8_t* data, size_t size)
{
    static const wchar_t szName[] = L"volume";
    const HANDLE h = CreateFileW(szName, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    DWORD cbWritten;
    if (!h || !WriteFile(h, data, static_cast<DWORD>(size), &cbWritten, nullptr)) fuzz::Fail("a file can be put");
    CloseHandle(h);
    return szName;
}

// ---- Files ---------------------------------------------------------------------------------------------------------

HANDLE CreateFileW(LPCWSTR pszPath, DWORD dwAccess, DWORD dwShare, void*, DWORD dwHow, DWORD, HANDLE)
{
    const auto found = g_files.find(pszPath);
    const bool bThere = found != g_files.end();
    DWORD dwError = ERROR_SUCCESS;
    if (wcschr(pszPath, L'\\'))
        dwError = ERROR_PATH_NOT_FOUND; // there are no folders
    else if (!bThere && (dwHow == OPEN_EXISTING || dwHow == TRUNCATE_EXISTING))
        dwError = ERROR_FILE_NOT_FOUND;
    else if (bThere && dwHow == CREATE_NEW)
        dwError = ERROR_FILE_EXISTS;
    else if (bThere && !MayShare(found->second.get(), dwAccess, dwShare))
        dwError = ERROR_SHARING_VIOLATION;
    else if (bThere && (dwHow == CREATE_ALWAYS || dwHow == TRUNCATE_EXISTING) && found->second->nMaps)
        dwError = ERROR_USER_MAPPED_FILE;
    if (dwError != ERROR_SUCCESS) {
        SetLastError(dwError);
        return INVALID_HANDLE_VALUE;
    }
    std::shared_ptr<CFile>& pFile = bThere ? found->second : g_files[pszPath];
    if (!pFile) pFile = std::make_shared<CFile>(++g_llIndices);
    if (dwHow == CREATE_ALWAYS || dwHow == TRUNCATE_EXISTING) SetSize(*pFile, 0);
    COpenFile* const pOpen = new COpenFile;
    pOpen->kind = CHandle::kFile;
    pOpen->pFile = pFile;
    pOpen->dwAccess = dwAccess;
    pOpen->dwShare = dwShare;
    g_open.push_back(pOpen);
    SetLastError(bThere && (dwHow == OPEN_ALWAYS || dwHow == CREATE_ALWAYS) ? ERROR_ALREADY_EXISTS : ERROR_SUCCESS);
    return Opened(pOpen);
}

BOOL ReadFile(HANDLE h, void* pv, DWORD cb, DWORD* pcbRead, void*)
{
    COpenFile& open = *FileOf(h);
    if (!(open.dwAccess & GENERIC_READ)) return FailWith(ERROR_ACCESS_DENIED);
    const ssize_t n = pread(open.pFile->nMemory, pv, cb, open.dwAt);
    if (n < 0) return FailWith(ERROR_INVALID_PARAMETER);
    open.dwAt += n;
    *pcbRead = static_cast<DWORD>(n);
    return TRUE;
}

BOOL WriteFile(HANDLE h, const void* pv, DWORD cb, DWORD* pcbWritten, void*)
{
    COpenFile& open = *FileOf(h);
    if (!(open.dwAccess & GENERIC_WRITE)) return FailWith(ERROR_ACCESS_DENIED);
    if (cb > kLargestFile || open.dwAt > kLargestFile - cb) return FailWith(ERROR_DISK_FULL);
    const ssize_t n = pwrite(open.pFile->nMemory, pv, cb, open.dwAt);
    if (n < 0) return FailWith(ERROR_INVALID_PARAMETER);
    open.dwAt += n;
    open.pFile->cb = std::max(open.pFile->cb, open.dwAt);
    if (pcbWritten) *pcbWritten = static_cast<DWORD>(n);
    return TRUE;
}

DWORD SetFilePointer(HANDLE h, LONG nMove, LONG* pnHigh, DWORD)
{
    if (nMove < 0 || (pnHigh && *pnHigh)) {
        SetLastError(ERROR_INVALID_PARAMETER);
        return INVALID_SET_FILE_POINTER;
    }
    return FileOf(h)->dwAt = nMove;
}

BOOL SetEndOfFile(HANDLE h)
{
    COpenFile& open = *FileOf(h);
    if (open.dwAt < open.pFile->cb && open.pFile->nMaps) return FailWith(ERROR_USER_MAPPED_FILE);
    return SetSize(*open.pFile, open.dwAt) || FailWith(ERROR_DISK_FULL);
}

DWORD GetFileSize(HANDLE h, DWORD* pdwHigh)
{
    if (pdwHigh) *pdwHigh = 0;
    return FileOf(h)->pFile->cb;
}

BOOL GetFileSizeEx(HANDLE h, LARGE_INTEGER* pSize)
{
    pSize->QuadPart = FileOf(h)->pFile->cb;
    return TRUE;
}

BOOL FlushFileBuffers(HANDLE)
{
    return TRUE;
}

BOOL GetFileInformationByHandleEx(HANDLE h, int, void* pv, DWORD)
{
    FILE_STANDARD_INFO info;
    info.EndOfFile.QuadPart = FileOf(h)->pFile->cb;
    info.AllocationSize.QuadPart = 0; // as if it had been copied with holes
    memcpy(pv, &info, sizeof info);
    return TRUE;
}

NTSTATUS NtQueryInformationFile(HANDLE h, IO_STATUS_BLOCK*, void* pv, ULONG, int)
{
    FILE_INTERNAL_INFORMATION info;
    info.IndexNumber.QuadPart = FileOf(h)->pFile->llIndex;
    memcpy(pv, &info, sizeof info);
    return 0;
}

BOOL LockFileEx(HANDLE h, DWORD, DWORD, DWORD, DWORD, OVERLAPPED*)
{
    const CHandle*& pLocker = FileOf(h)->pFile->pLocker;
    if (pLocker) return FailWith(ERROR_LOCK_VIOLATION);
    pLocker = FileOf(h);
    return TRUE;
}

BOOL UnlockFileEx(HANDLE h, DWORD, DWORD, DWORD, OVERLAPPED*)
{
    FileOf(h)->pFile->pLocker = nullptr;
    return TRUE;
}

BOOL DeleteFileW(LPCWSTR pszPath)
{
    const auto found = g_files.find(pszPath);
    if (found == g_files.end()) return FailWith(ERROR_FILE_NOT_FOUND);
    if (IsOpen(found->second.get()) || found->second->nMaps) return FailWith(ERROR_SHARING_VIOLATION);
    g_files.erase(found);
    return TRUE;
}

BOOL MoveFileExW(LPCWSTR pszFrom, LPCWSTR pszTo, DWORD dwFlags)
{
    const auto from = g_files.find(pszFrom), to = g_files.find(pszTo);
    if (from == g_files.end()) return FailWith(ERROR_FILE_NOT_FOUND);
    if (to != g_files.end() && !(dwFlags & MOVEFILE_REPLACE_EXISTING)) return FailWith(ERROR_ALREADY_EXISTS);
    if (IsOpen(from->second.get()) || (to != g_files.end() && IsOpen(to->second.get())))
        return FailWith(ERROR_SHARING_VIOLATION);
    const std::shared_ptr<CFile> pFile = from->second;
    g_files.erase(from);
    g_files[pszTo] = pFile;
    return TRUE;
}

DWORD GetFileAttributesW(LPCWSTR pszPath)
{
    return g_files.count(pszPath) ? FILE_ATTRIBUTE_NORMAL : INVALID_FILE_ATTRIBUTES;
}

DWORD GetFullPathNameW(LPCWSTR pszPath, DWORD cch, LPWSTR pszFull, LPWSTR*)
{
    const DWORD cchPath = static_cast<DWORD>(wcslen(pszPath));
    if (cchPath >= cch) return cchPath + 1;
    memcpy(pszFull, pszPath, (cchPath + 1) * sizeof *pszFull);
    return cchPath;
}

BOOL CreateDirectoryW(LPCWSTR, void*)
{
    return FailWith(ERROR_PATH_NOT_FOUND);
}

// ---- Maps ----------------------------------------------------------------------------------------------------------

HANDLE CreateFileMappingW(HANDLE hFile, void*, DWORD, DWORD, DWORD cb, LPCWSTR pszName)
{
    std::unique_ptr<CSection> pSection(new CSection);
    pSection->kind = CHandle::kSection;
    if (hFile == INVALID_HANDLE_VALUE) {
        pSection->pMemory = g_sections[pszName].lock();
        if (!pSection->pMemory) {
            pSection->pMemory.reset(static_cast<BYTE*>(calloc(1, cb)), free);
            g_sections[pszName] = pSection->pMemory;
        }
    } else {
        CFile& file = *FileOf(hFile)->pFile;
        if (cb == 0) cb = file.cb;
        if (cb == 0 || (cb > file.cb && !SetSize(file, cb))) {
            SetLastError(cb == 0 ? ERROR_FILE_INVALID : ERROR_DISK_FULL);
            return nullptr;
        }
        pSection->pFile = FileOf(hFile)->pFile;
    }
    pSection->cb = cb;
    return Opened(pSection.release());
}

HANDLE OpenFileMappingW(DWORD, BOOL, LPCWSTR pszName)
{
    const auto found = g_sections.find(pszName);
    if (found == g_sections.end() || found->second.expired()) {
        SetLastError(ERROR_FILE_NOT_FOUND);
        return nullptr;
    }
    return CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, 0, pszName);
}

void* MapViewOfFile(HANDLE hSection, DWORD dwAccess, DWORD dwHigh, DWORD dwLow, SIZE_T cb)
{
    return MapViewOfFileEx(hSection, dwAccess, dwHigh, dwLow, cb, nullptr);
}

void* MapViewOfFileEx(HANDLE hSection, DWORD, DWORD, DWORD, SIZE_T cb, void*)
{
    const CSection& section = *static_cast<CSection*>(hSection);
    if (section.pMemory) {
        g_views[section.pMemory.get()] = {nullptr, section.pMemory, nullptr, 0};
        return section.pMemory.get();
    }
    if (cb == 0) cb = section.cb;
    if (cb > section.cb) {
        SetLastError(ERROR_ACCESS_DENIED);
        return nullptr;
    }
    const size_t cbMap = (cb + kPage - 1) / kPage * kPage, cbReserved = cbMap + 2 * kGuard;
    void* const pReserved = mmap(nullptr, cbReserved, PROT_NONE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (pReserved == MAP_FAILED) {
        SetLastError(ERROR_NOT_ENOUGH_MEMORY);
        return nullptr;
    }
    BYTE* const pStart = static_cast<BYTE*>(pReserved) + kGuard;
    if (mmap(pStart, cbMap, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_FIXED, section.pFile->nMemory, 0) == MAP_FAILED)
        abort();
    g_views[pStart] = {section.pFile, nullptr, static_cast<BYTE*>(pReserved), cbReserved};
    ++section.pFile->nMaps;
    return pStart;
}

BOOL UnmapViewOfFile(const void* p)
{
    const auto found = g_views.find(p);
    if (found == g_views.end()) fuzz::Fail("only what is mapped is unmapped");
    const CView& view = found->second;
    if (view.pReserved) {
        munmap(view.pReserved, view.cbReserved);
        --view.pFile->nMaps;
    }
    g_views.erase(found);
    return TRUE;
}

BOOL FlushViewOfFile(const void*, SIZE_T)
{
    return TRUE;
}
