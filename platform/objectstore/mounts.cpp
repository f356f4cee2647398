#include "mounts.h"

namespace store {

namespace {

class CLock
{
public:
    explicit CLock(CRITICAL_SECTION& cs) : m_cs(cs) { ::EnterCriticalSection(&m_cs); }
    ~CLock() { ::LeaveCriticalSection(&m_cs); }
    CLock(const CLock&) = delete;
    CLock& operator=(const CLock&) = delete;

private:
    CRITICAL_SECTION& m_cs;
};

// Makes a folder and those above it.
DWORD MakeFolder(const std::wstring& strFolder)
{
    if (::CreateDirectoryW(strFolder.c_str(), nullptr)) return ERROR_SUCCESS;
    const DWORD dwError = ::GetLastError();
    if (dwError == ERROR_ALREADY_EXISTS) return ERROR_SUCCESS;
    const size_t nCut = strFolder.find_last_of(L"\\/");
    if (dwError != ERROR_PATH_NOT_FOUND || nCut == std::wstring::npos || nCut == 0) return dwError;
    const DWORD dwAbove = MakeFolder(strFolder.substr(0, nCut));
    if (dwAbove != ERROR_SUCCESS) return dwAbove;
    return ::CreateDirectoryW(strFolder.c_str(), nullptr) ? ERROR_SUCCESS : ::GetLastError();
}

bool GetVariable(const wchar_t* pszName, std::wstring& strValue)
{
    wchar_t szValue[MAX_PATH];
    const DWORD cch = ::GetEnvironmentVariableW(pszName, szValue, MAX_PATH);
    if (cch == 0 || cch >= MAX_PATH) return false;
    strValue.assign(szValue, cch);
    return true;
}

} // namespace

struct CMounts::CMounted
{
    std::unique_ptr<COpenVolume> pVolume;
    DWORD nMounts = 0; // of this process
    DWORD nRefs = 0;   // mounts not counted
};

CMounts::CMounts()
{
    ::InitializeCriticalSection(&m_cs);
}

CMounts& CMounts::Instance()
{
    static CMounts* const s_pMounts = new CMounts;
    return *s_pMounts;
}

CMounts::CMounted* CMounts::FindOpen(const wchar_t* pszPath)
{
    if (m_open.empty()) return nullptr;
    const HANDLE hFile = ::CreateFileW(pszPath, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                       nullptr, OPEN_EXISTING, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) return nullptr;
    CMounted* pFound = nullptr;
    for (CMounted& mounted : m_open)
        if (!pFound && mounted.pVolume->Engine().IsOf(hFile)) pFound = &mounted;
    ::CloseHandle(hFile);
    return pFound;
}

CMounts::CMounted* CMounts::FindOpen(const COpenVolume* pVolume)
{
    for (CMounted& mounted : m_open)
        if (mounted.pVolume.get() == pVolume) return &mounted;
    return nullptr;
}

DWORD CMounts::OpenFile(const wchar_t* pszPath, DWORD dwDisposition, bool& bExisted, CMounted*& pMounted)
{
    pMounted = FindOpen(pszPath);
    if (pMounted) {
        bExisted = true;
        switch (dwDisposition) {
        case CREATE_NEW:
            return ERROR_FILE_EXISTS;
        case CREATE_ALWAYS:
        case TRUNCATE_EXISTING:
            return ERROR_SHARING_VIOLATION;
        default:
            return ERROR_SUCCESS;
        }
    }
    m_open.reserve(m_open.size() + 1); // a volume that is new is not to be given up for want of a place here
    CMounted mounted;
    const DWORD dwError = COpenVolume::Open(pszPath, dwDisposition, mounted.pVolume, bExisted);
    if (dwError != ERROR_SUCCESS) return dwError;
    m_open.push_back(std::move(mounted));
    pMounted = &m_open.back();
    return ERROR_SUCCESS;
}

void CMounts::CloseUnused()
{
    for (size_t i = m_open.size(); i-- > 0;)
        if (m_open[i].nMounts == 0 && m_open[i].nRefs == 0) m_open.erase(m_open.begin() + i);
}

DWORD CMounts::Mount(const wchar_t* pszPath, DWORD dwDisposition, CEGUID& guid, bool& bExisted)
{
    const CLock lock(m_cs);
    CMounted* pMounted;
    const DWORD dwError = OpenFile(pszPath, dwDisposition, bExisted, pMounted);
    if (dwError != ERROR_SUCCESS) return dwError;
    guid = pMounted->pVolume->Engine().Guid();
    if (pMounted->nMounts++ == 0) pMounted->pVolume->Engine().SetMounted(true);
    return ERROR_SUCCESS;
}

DWORD CMounts::Unmount(const CEGUID& guid)
{
    const CLock lock(m_cs);
    for (CMounted& mounted : m_open) {
        if (mounted.nMounts == 0 || !IsSame(mounted.pVolume->Engine().Guid(), guid)) continue;
        if (--mounted.nMounts == 0) {
            mounted.pVolume->Engine().SetMounted(false);
            if (mounted.pVolume->EndBatch(false) == ERROR_SUCCESS) --mounted.nRefs;
            // Flushed now, whether handles are open yet or the file is closed next: closing cannot say that it failed.
            const DWORD dwError = mounted.pVolume->Engine().Flush();
            CloseUnused();
            return dwError;
        }
        return ERROR_SUCCESS;
    }
    return ERROR_INVALID_PARAMETER;
}

DWORD CMounts::OpenObjectStore(COpenVolume*& pVolume)
{
    if (!m_pObjectStore) {
        std::wstring strFolder;
        if (!GetVariable(L"KORVANE_OBJECTSTORE", strFolder)) {
            if (!GetVariable(L"LOCALAPPDATA", strFolder)) return ERROR_PATH_NOT_FOUND;
            strFolder += L"\\korvaneLib";
        }
        DWORD dwError = MakeFolder(strFolder);
        if (dwError != ERROR_SUCCESS) return dwError;
        bool bExisted;
        CMounted* pMounted;
        dwError = OpenFile((strFolder + L"\\objectstore.vol").c_str(), OPEN_ALWAYS, bExisted, pMounted);
        if (dwError != ERROR_SUCCESS) return dwError;
        ++pMounted->nRefs;
        m_pObjectStore = pMounted->pVolume.get();
    }
    pVolume = m_pObjectStore;
    return ERROR_SUCCESS;
}

DWORD CMounts::Find(const CEGUID& guid, CVolumeRef& volume)
{
    const CLock lock(m_cs);
    COpenVolume* pFound = nullptr;
    if (CHECK_SYSTEMGUID(&guid)) {
        const DWORD dwError = OpenObjectStore(pFound);
        if (dwError != ERROR_SUCCESS) return dwError;
    }
    for (CMounted& mounted : m_open)
        if (!pFound && mounted.nMounts > 0 && IsSame(mounted.pVolume->Engine().Guid(), guid))
            pFound = mounted.pVolume.get();
    if (!pFound) {
        std::vector<CMountRow> rows;
        const DWORD dwError = CStation::Instance().List(rows);
        if (dwError != ERROR_SUCCESS) return dwError;
        for (const CMountRow& row : rows) {
            bool bExisted;
            CMounted* pMounted;
            if (!IsSame(row.guid, guid) ||
                OpenFile(row.strPath.c_str(), OPEN_EXISTING, bExisted, pMounted) != ERROR_SUCCESS)
                continue;
            if (IsSame(pMounted->pVolume->Engine().Guid(), guid)) pFound = pMounted->pVolume.get();
        }
    }
    if (pFound) {
        AddRef(pFound);
        CVolumeRef found;
        found.m_pVolume = pFound;
        volume = std::move(found);
    }
    CloseUnused();
    return pFound ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
}

DWORD CMounts::BeginBatch(const CEGUID& guid)
{
    CVolumeRef volume;
    DWORD dwError = Find(guid, volume);
    if (dwError == ERROR_SUCCESS) dwError = volume->Engine().BeginBatch();
    if (dwError == ERROR_SUCCESS) {
        const CLock lock(m_cs);
        AddRef(volume.m_pVolume);
    }
    return dwError;
}

DWORD CMounts::EndBatch(const CEGUID& guid, bool bCommit)
{
    CVolumeRef volume;
    {
        // The batch has the volume open, though whoever mounted it, in another process, may have unmounted it since.
        const CLock lock(m_cs);
        for (CMounted& mounted : m_open) {
            if (volume.m_pVolume || !mounted.pVolume->Engine().HasBatch() ||
                !IsSame(mounted.pVolume->Engine().Guid(), guid))
                continue;
            ++mounted.nRefs;
            volume.m_pVolume = mounted.pVolume.get();
        }
    }
    DWORD dwError = volume.m_pVolume ? ERROR_SUCCESS : Find(guid, volume);
    if (dwError != ERROR_SUCCESS) return dwError;
    dwError = volume->EndBatch(bCommit);
    if (dwError != ERROR_NO_DATA) Release(volume.m_pVolume);
    return dwError;
}

DWORD CMounts::All(std::vector<CVolumeRef>& volumes, std::vector<CEGUID>& guids)
{
    const CLock lock(m_cs);
    COpenVolume* pVolume;
    const DWORD dwError = OpenObjectStore(pVolume);
    if (dwError != ERROR_SUCCESS) return dwError;
    const auto add = [&](COpenVolume* pOne, const CEGUID& guid) {
        CVolumeRef ref;
        AddRef(pOne);
        ref.m_pVolume = pOne;
        volumes.push_back(std::move(ref));
        guids.push_back(guid);
    };
    add(pVolume, SystemGuid());
    for (const CMounted& mounted : m_open)
        if (mounted.nMounts > 0) add(mounted.pVolume.get(), mounted.pVolume->Engine().Guid());
    return ERROR_SUCCESS;
}

DWORD CMounts::List(std::vector<CMountRow>& rows)
{
    const CLock lock(m_cs);
    return CStation::Instance().List(rows);
}

void CMounts::AddRef(COpenVolume* pVolume)
{
    ++FindOpen(pVolume)->nRefs;
}

void CMounts::Release(COpenVolume* pVolume)
{
    const CLock lock(m_cs);
    if (--FindOpen(pVolume)->nRefs == 0) CloseUnused();
}

void CMounts::CloseAll()
{
    // A thread that was ended in here left things half done, and its section with them: the volumes then close as after
    // a kill, which loses nothing.
    if (!::TryEnterCriticalSection(&m_cs)) return;
    m_open.clear();
    m_pObjectStore = nullptr;
    ::LeaveCriticalSection(&m_cs);
}

CVolumeRef::CVolumeRef(const CVolumeRef& other) : m_pVolume(other.m_pVolume)
{
    if (!m_pVolume) return;
    CMounts& mounts = CMounts::Instance();
    const CLock lock(mounts.m_cs);
    mounts.AddRef(m_pVolume);
}

CVolumeRef::~CVolumeRef()
{
    if (m_pVolume) CMounts::Instance().Release(m_pVolume);
}

} // namespace store
