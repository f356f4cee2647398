#include "newfile.h"
#include "volumestate.h"

#include <cstdlib>
#include <cstring>

namespace store {

CVolumeState::~CVolumeState()
{
    if (pReadTxn) mdb_txn_abort(pReadTxn);
    if (pEnv) mdb_env_close(pEnv);
    std::free(pages.held);
    if (pages.use) ::VirtualFree(pages.use, 0, MEM_RELEASE);
    CloseFile();
}

void CVolumeState::CloseFile()
{
    if (hFile != INVALID_HANDLE_VALUE) ::CloseHandle(hFile);
    hFile = INVALID_HANDLE_VALUE;
}

namespace {

// The end of opening or closing, whatever became of it. Who is not in the block any more has no business with the file.
class COpening
{
public:
    explicit COpening(CVolumeState& state) : m_state(state) {}
    ~COpening()
    {
        if (!m_state.shared.Owner()) m_state.CloseFile();
        m_state.shared.UnlockOpening();
    }
    COpening(const COpening&) = delete;
    COpening& operator=(const COpening&) = delete;

private:
    CVolumeState& m_state;
};

} // namespace

// ---- Opening and closing -------------------------------------------------------------------------------------------

// Brings the file to a state that may be mapped: a new volume, the volume as it was closed, or its last flushed state
// after a power cut.
DWORD CVolumeState::PrepareFile(DWORD dwDisposition, bool bNew, bool bOthers, CVolumeHeader& header)
{
    const bool bToBeEmptied = !bNew && (dwDisposition == CREATE_ALWAYS || dwDisposition == TRUNCATE_EXISTING);
    if (bToBeEmptied && bOthers) return ERROR_SHARING_VIOLATION;
    BYTE image[KV_RESERVED_PAGES * kPageBytes];
    const auto read = [&] {
        const DWORD dwError = ReadAt(hFile, 0, image, sizeof image);
        if (dwError == ERROR_HANDLE_EOF) return static_cast<DWORD>(ERROR_FILE_CORRUPT);
        return dwError == ERROR_SUCCESS ? ReadHeader(image + 2 * kPageBytes, header) : dwError;
    };
    // CREATE_ALWAYS replaces whatever lies there, TRUNCATE_EXISTING empties volumes.
    DWORD dwError = ERROR_SUCCESS;
    DWORD cbFile = 0;
    if (!bNew && dwDisposition != CREATE_ALWAYS) {
        dwError = read();
        if (dwError == ERROR_SUCCESS) dwError = GetSize(hFile, cbFile);
        if (dwError == ERROR_SUCCESS && !kv_state_is_sound(&header.flushed, cbFile)) dwError = ERROR_FILE_CORRUPT;
    }
    if (dwError == ERROR_SUCCESS && (bNew || bToBeEmptied)) {
        dwError = FormatVolume(hFile);
        if (dwError == ERROR_SUCCESS) dwError = read();
    }
    if (dwError != ERROR_SUCCESS || bOthers) return dwError;

    dwError = GetSize(hFile, cbFile);
    if (dwError != ERROR_SUCCESS) return dwError;
    if (cbFile > kLargestFile + kLargestStep) return ERROR_FILE_CORRUPT;
    const bool bLeftInThisRun = header.dwInUse && header.boot == PresentBoot();
    kv_state committed;
    const bool bMetasSound = kv_read_metas(image, cbFile, &committed) == MDB_SUCCESS;
    if (bLeftInThisRun) return bMetasSound ? ERROR_SUCCESS : ERROR_FILE_CORRUPT;
    // In use during another run of the system: what came after the flush may have reached the disk in part. And closed
    // volumes have nothing after the flush.
    if (bMetasSound && std::memcmp(&committed, &header.flushed, sizeof committed) == 0) return ERROR_SUCCESS;
    if (!bNew && !bToBeEmptied) replaced.assign(image, image + 2 * kPageBytes);
    return RestoreFlushed(hFile, header);
}

// The volume is refused after all.
void CVolumeState::PutBack()
{
    if (!replaced.empty()) WriteAt(hFile, 0, replaced.data(), static_cast<DWORD>(replaced.size()));
    replaced.clear();
}

void CVolume::Accept()
{
    m_pState->bAccepted = true;
    m_pState->replaced.clear();
}

DWORD CVolumeState::OpenEnvironment()
{
    // Of the system, which hands it out untouched; the heap clears it.
    pages.use = static_cast<uint8_t*>(::VirtualAlloc(nullptr, KV_MAX_PAGES, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    if (!pages.use) return ERROR_NOT_ENOUGH_MEMORY;
    pages.file = hFile;
    pages.free_in_flushed = shared->rgFreeInFlushed;
    pages.pin = 1;
    LARGE_INTEGER cbFile;
    if (!::GetFileSizeEx(hFile, &cbFile)) return ::GetLastError();
    int rc = mdb_env_create(&pEnv);
    if (rc == MDB_SUCCESS) rc = mdb_env_set_userctx(pEnv, &pages);
    if (rc == MDB_SUCCESS) rc = mdb_env_set_mapsize(pEnv, cbFile.LowPart / kPageBytes * kPageBytes);
    if (rc == MDB_SUCCESS) {
        // A name is asked for, but nothing is opened by it.
        rc = mdb_env_open(pEnv, "volume", MDB_NOSUBDIR | MDB_WRITEMAP | MDB_NOSYNC | MDB_NOLOCK | MDB_NOTLS, 0);
    }
    if (rc != MDB_SUCCESS) return ToWin32(rc);
    // Other processes write all the while, and may have let the file grow beyond the map.
    shared.Lock();
    const DWORD dwError = kv_map_is_short(pEnv) ? MapWholeFile() : ERROR_SUCCESS;
    if (dwError == ERROR_SUCCESS) rc = mdb_txn_begin(pEnv, nullptr, MDB_RDONLY, &pReadTxn);
    if (dwError == ERROR_SUCCESS && rc == MDB_SUCCESS) {
        rc = mdb_set_compare(pReadTxn, kMainTree, kv_compare_keys);
        bReadTxnLive = true;
        dwSeenTxn = kv_committed_txnid(pEnv);
    }
    shared.Unlock();
    return dwError != ERROR_SUCCESS ? dwError : ToWin32(rc);
}

CVolume::CVolume() : m_pState(std::make_unique<CVolumeState>()) {}

DWORD CVolume::Open(const wchar_t* pszPath, DWORD dwDisposition, std::unique_ptr<CVolume>& volume, bool& bExisted)
{
    wchar_t szPath[MAX_PATH];
    const DWORD cch = ::GetFullPathNameW(pszPath, MAX_PATH, szPath, nullptr);
    if (cch == 0) return ::GetLastError();
    if (cch >= MAX_PATH) return ERROR_INVALID_PARAMETER;
    const DWORD dwHow = dwDisposition == CREATE_NEW                                            ? CREATE_NEW
                        : dwDisposition == OPEN_EXISTING || dwDisposition == TRUNCATE_EXISTING ? OPEN_EXISTING
                                                                                               : OPEN_ALWAYS;
    CNewFile newFile(szPath, false);
    std::unique_ptr<CVolume> opened(new CVolume); // before there is a handle that would have to be closed
    opened->m_pState->strPath = szPath;
    ::SetLastError(ERROR_SUCCESS);
    const HANDLE hFile = ::CreateFileW(szPath, GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       nullptr, dwHow, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        const DWORD dwError = ::GetLastError();
        const DWORD dwAttributes = ::GetFileAttributesW(szPath);
        const bool bFolder = dwAttributes != INVALID_FILE_ATTRIBUTES && (dwAttributes & FILE_ATTRIBUTE_DIRECTORY);
        return bFolder ? ERROR_ACCESS_DENIED : dwError; // whatever the system calls it
    }
    bExisted = dwHow == OPEN_EXISTING || (dwHow == OPEN_ALWAYS && ::GetLastError() == ERROR_ALREADY_EXISTS);
    opened->m_pState->hFile = hFile;
    newFile.SetDelete(!bExisted);
    const DWORD dwError = opened->m_pState->Open(dwDisposition, !bExisted);
    if (dwError != ERROR_SUCCESS) return dwError;
    newFile.SetDelete(false);
    volume = std::move(opened);
    return ERROR_SUCCESS;
}

DWORD CVolumeState::Open(DWORD dwDisposition, bool bCreated)
{
    DWORD dwError = shared.Open(hFile, strPath);
    if (dwError != ERROR_SUCCESS) return dwError;
    const COpening opening(*this);
    const bool bOthers = shared.OthersAreHere();
    CVolumeHeader header = {};
    // Another process may have made the new file a volume since it was created here.
    DWORD cbFile = 0;
    if (bCreated) dwError = GetSize(hFile, cbFile);
    if (dwError == ERROR_SUCCESS) dwError = PrepareFile(dwDisposition, bCreated && cbFile == 0, bOthers, header);
    if (dwError == ERROR_SUCCESS && !bOthers) shared.Reset(header, strPath);
    if (dwError == ERROR_SUCCESS) dwError = shared.Enter();
    if (dwError == ERROR_SUCCESS) {
        dwError = OpenEnvironment();
        if (dwError == ERROR_SUCCESS && !bOthers && !shared->bNeedsRecovery) {
            shared.Lock();
            dwError = AdoptFlushed();
            shared.Unlock();
        }
        if (dwError != ERROR_SUCCESS) shared.Leave();
    }
    if (dwError != ERROR_SUCCESS) PutBack();
    return dwError;
}

CVolume::~CVolume()
{
    if (m_pState) m_pState->Close();
}

DWORD CVolumeState::Close()
{
    if (!shared.Owner()) return ERROR_SUCCESS; // it was never quite open
    shared.LockOpening();
    const COpening opening(*this);
    DWORD dwError = ERROR_SUCCESS;
    shared.Lock();
    if (bBatch) {
        Abort();
        bBatch = false;
        shared->lBatch = 0;
    }
    const bool bLast = !shared.OthersAreHere();
    // A volume that was only read was never marked, and is left as it is.
    if (shared->bInUseMarked || (bLast && shared->bNeedsRecovery && bAccepted)) {
        if (shared->bNeedsRecovery) dwError = Recover();
        if (dwError == ERROR_SUCCESS) dwError = FlushLocked();
        if (dwError == ERROR_SUCCESS && bLast) dwError = WriteVolumeHeader(false);
    }
    const DWORD cbContent = (shared->flushed.last_page + 1) * kPageBytes;
    EndReading();
    mdb_txn_abort(pReadTxn);
    pReadTxn = nullptr;
    mdb_env_close(pEnv);
    pEnv = nullptr;
    if (bLast && dwError == ERROR_SUCCESS && shared->bInUseMarked) {
        // The file was let grow ahead of its content: back to it. If that fails it is only longer than it need be.
        DWORD cbFile = 0;
        if (GetSize(hFile, cbFile) == ERROR_SUCCESS && cbFile > cbContent &&
            ::SetFilePointer(hFile, static_cast<LONG>(cbContent), nullptr, FILE_BEGIN) == cbContent) {
            ::SetEndOfFile(hFile);
        }
    }
    if (bLast && !shared->bInUseMarked) PutBack();
    shared.Unlock();
    shared.Leave();
    return dwError;
}

bool CVolume::IsOf(HANDLE hFile) const
{
    bool bSame;
    return AreSameFile(hFile, m_pState->hFile, bSame) == ERROR_SUCCESS && bSame;
}

void CVolume::SetMounted(bool bMounted)
{
    m_pState->shared.SetMounted(bMounted);
}

const std::wstring& CVolume::Path() const
{
    return m_pState->strPath;
}

const CEGUID& CVolume::Guid() const
{
    return m_pState->shared->guid;
}

// ---- Open databases ------------------------------------------------------------------------------------------------

DWORD CVolume::NoteDatabaseOpen(CEOID oidDatabase)
{
    CShared& shared = m_pState->shared;
    shared.Lock();
    const WORD wSlot = static_cast<WORD>(shared.Owner() - 1);
    DWORD dwFree = kOpenDatabaseSlots;
    DWORD dwError = ERROR_NOT_ENOUGH_MEMORY;
    for (DWORD i = 0; i < shared->dwOpenDatabases; i++) {
        auto& open = shared->rgOpenDatabases[i];
        if (open.oid == oidDatabase && open.wSlot == wSlot && open.wCount < 0xFFFF) {
            open.wCount++;
            dwError = ERROR_SUCCESS;
            break;
        }
        if (open.oid == 0 && dwFree == kOpenDatabaseSlots) dwFree = i;
    }
    if (dwError != ERROR_SUCCESS) {
        if (dwFree == kOpenDatabaseSlots && shared->dwOpenDatabases < kOpenDatabaseSlots)
            dwFree = shared->dwOpenDatabases++;
        if (dwFree < kOpenDatabaseSlots) {
            shared->rgOpenDatabases[dwFree] = {oidDatabase, wSlot, 1};
            dwError = ERROR_SUCCESS;
        }
    }
    shared.Unlock();
    return dwError;
}

void CVolume::NoteDatabaseClosed(CEOID oidDatabase)
{
    CShared& shared = m_pState->shared;
    shared.Lock();
    const WORD wSlot = static_cast<WORD>(shared.Owner() - 1);
    for (DWORD i = 0; i < shared->dwOpenDatabases; i++) {
        auto& open = shared->rgOpenDatabases[i];
        if (open.oid != oidDatabase || open.wSlot != wSlot) continue;
        if (--open.wCount == 0) open.oid = 0;
        break;
    }
    shared.Unlock();
}

bool CVolume::IsDatabaseOpen(const CAccess&, CEOID oidDatabase)
{
    CShared& shared = m_pState->shared;
    LONG lGone = 0; // a process that died: finding out asks the system
    for (DWORD i = 0; i < shared->dwOpenDatabases; i++) {
        const auto& open = shared->rgOpenDatabases[i];
        const LONG lOwner = open.wSlot + 1;
        if (!open.oid || (oidDatabase && open.oid != oidDatabase) || lOwner == lGone) continue;
        if (!shared.IsGone(lOwner)) return true;
        lGone = lOwner;
    }
    return false;
}

// ---- Who is told of changes ----------------------------------------------------------------------------------------

void CVolume::AddWatch()
{
    m_pState->shared.Lock();
    m_pState->shared.AddWatch();
    m_pState->shared.Unlock();
}

void CVolume::RemoveWatch()
{
    m_pState->shared.Lock();
    m_pState->shared.RemoveWatch();
    m_pState->shared.Unlock();
}

DWORD CVolume::TakeNotes(CChangeNote* pNotes, DWORD nRoom)
{
    m_pState->shared.Lock();
    const DWORD nTaken = m_pState->shared.TakeNotes(pNotes, nRoom);
    m_pState->shared.Unlock();
    return nTaken;
}

bool CVolume::IsOwn(const CChangeNote& note) const
{
    return note.lOwner == m_pState->shared.Owner();
}

} // namespace store
