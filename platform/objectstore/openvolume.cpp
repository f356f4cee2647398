#include "openvolume.h"

#include "newfile.h"
#include "resort.h"
#include "station.h"

namespace store {

namespace {

constexpr DWORD kMapVersion = 1; // of keys and values; the file's own version is the engine's matter
constexpr size_t kVolumeRecordSize = 20;
constexpr DWORD kOidBlock = 16;

} // namespace

DWORD COpenVolume::Open(const wchar_t* pszPath, DWORD dwDisposition, std::unique_ptr<COpenVolume>& volume,
                        bool& bExisted)
{
    CNewFile newFile(pszPath, false);
    std::unique_ptr<COpenVolume> opened(new COpenVolume);
    DWORD dwError = CVolume::Open(pszPath, dwDisposition, opened->m_pEngine, bExisted);
    if (dwError != ERROR_SUCCESS) return dwError;
    newFile.SetDelete(!bExisted);
    dwError = opened->Prepare();
    if (dwError != ERROR_SUCCESS) return dwError;
    newFile.SetDelete(false);
    opened->m_pEngine->Accept();
    volume = std::move(opened);
    return ERROR_SUCCESS;
}

DWORD COpenVolume::Prepare()
{
    bool bNew;
    {
        CReadAccess access(*m_pEngine);
        if (access.Error() != ERROR_SUCCESS) return access.Error();
        CTreeCursor cursor(*m_pEngine);
        static constexpr BYTE kLowestKey = 0;
        bNew = !cursor.SeekAtLeast(access, {&kLowestKey, 1});
        if (access.Error() != ERROR_SUCCESS) return access.Error();
        if (!bNew) {
            const DWORD dwError = Sync(access);
            if (dwError != ERROR_SUCCESS) return dwError;
        }
    }
    if (bNew) {
        CWriteAccess access(*m_pEngine);
        CBytes value;
        // Another process may have been faster.
        if (access.Error() != ERROR_SUCCESS || access.Get(VolumeKey(), value)) return access.Error();
        CVolumeRecord record;
        record.dwStamp = CollationStamp(record.lcid);
        const DWORD dwError = SaveRecord(access, record);
        return dwError != ERROR_SUCCESS ? dwError : access.Commit();
    }
    return m_record.dwStamp == CStation::Instance().Collation(m_record.lcid) ? ERROR_SUCCESS
                                                                             : ResortTexts(*this, m_record.lcid);
}

DWORD COpenVolume::Sync(CAccess& access)
{
    if (access.Error() != ERROR_SUCCESS) return access.Error();
    if (m_bBatchEnding) ForgetAll();
    if (access.ContentVersion() == m_ullVersion) return ERROR_SUCCESS;
    CBytes value;
    if (!access.Get(VolumeKey(), value) || value.cb < sizeof(DWORD)) return ERROR_FILE_CORRUPT;
    if (Load<DWORD>(value.p) != kMapVersion) return ERROR_REVISION_MISMATCH;
    if (value.cb != kVolumeRecordSize) return ERROR_FILE_CORRUPT;
    m_record.lcid = Load<DWORD>(value.p + 4);
    m_record.dwStamp = Load<DWORD>(value.p + 8);
    m_record.oidNext = Load<DWORD>(value.p + 12);
    m_record.nDeletions = Load<DWORD>(value.p + 16);
    m_ullVersion = access.ContentVersion();
    ++m_ullEpoch;
    m_nFree = 0;
    return ERROR_SUCCESS;
}

DWORD COpenVolume::SaveRecord(CWriteAccess& access, const CVolumeRecord& record)
{
    BYTE rgb[kVolumeRecordSize];
    Store(rgb, kMapVersion);
    Store(rgb + 4, record.lcid);
    Store(rgb + 8, record.dwStamp);
    Store(rgb + 12, record.oidNext);
    Store(rgb + 16, record.nDeletions);
    const DWORD dwError = access.Put(VolumeKey(), {rgb, sizeof rgb});
    if (dwError == ERROR_SUCCESS) m_record = record;
    return dwError;
}

void COpenVolume::ForgetAll()
{
    m_ullVersion = 0;
    ++m_ullEpoch;
    ++m_ullShapeEpoch;
    m_nFree = 0;
}

DWORD COpenVolume::EndBatch(bool bCommit)
{
    {
        const CReadAccess access(*m_pEngine);
        m_bBatchEnding = true;
    }
    const DWORD dwError = bCommit ? m_pEngine->CommitBatch() : m_pEngine->AbandonBatch();
    const bool bGone = !bCommit || dwError != ERROR_SUCCESS;
    {
        const CReadAccess access(*m_pEngine);
        m_bBatchEnding = false;
        m_ftTick = {};
        ForgetAll();
        m_nAbandoned += bGone;
    }
    if (bGone && dwError != ERROR_NO_DATA) KeepOids();
    return dwError;
}

// OIDs that an abandoned batch gave out are not given out again, by whatever process: somebody may have one yet. If that
// cannot be written, or would have to wait for another process, this process alone knows.
void COpenVolume::KeepOids()
{
    if (m_pEngine->IsInAnyBatch()) return;
    CChange change(*this);
    CVolumeRecord record = m_record;
    if (change.Error() != ERROR_SUCCESS || record.oidNext == 0 || record.oidNext >= m_oidUnknown) return;
    record.oidNext = m_oidUnknown;
    if (change.Begin(kVolumeRecordSize) == ERROR_SUCCESS && SaveRecord(change.Access(), record) == ERROR_SUCCESS)
        change.Commit();
}

FILETIME COpenVolume::Now(const CAccess& access)
{
    FILETIME ftNow;
    if (!access.IsInBatch()) {
        ::GetSystemTimeAsFileTime(&ftNow);
        return ftNow;
    }
    const DWORD dwTick = ::GetTickCount(); // a read of memory
    if (dwTick != m_dwTick || m_ftTick.dwHighDateTime == 0) {
        ::GetSystemTimeAsFileTime(&m_ftTick);
        m_dwTick = dwTick;
    }
    return m_ftTick;
}

DWORD COpenVolume::TakeOid(CWriteAccess& access, CEOID& oid)
{
    if (m_nFree == 0) {
        CVolumeRecord record = m_record;
        if (record.oidNext == 0) return ERROR_DISK_FULL;
        // An OID that was given out in an abandoned batch may be in somebody's handle or bookmark yet.
        if (record.oidNext < m_oidUnknown) record.oidNext = m_oidUnknown;
        const DWORD nLeft = 0 - record.oidNext; // up to the highest OID there can be
        m_oidFree = record.oidNext;
        const DWORD nTaken = nLeft < kOidBlock ? nLeft : kOidBlock;
        record.oidNext += nTaken;
        const DWORD dwError = SaveRecord(access, record);
        if (dwError != ERROR_SUCCESS) return dwError;
        m_nFree = nTaken;
    }
    oid = m_oidFree++;
    --m_nFree;
    if (m_oidUnknown < m_oidFree) m_oidUnknown = m_oidFree;
    return ERROR_SUCCESS;
}

CDatabase& COpenVolume::Remember(CEOID oid)
{
    auto& pDatabase = m_databases[oid];
    if (!pDatabase) pDatabase = std::make_unique<CDatabase>(oid);
    pDatabase->ullEpoch = m_ullEpoch;
    if (pDatabase->ullShapeEpoch != m_ullShapeEpoch) {
        pDatabase->ForgetShapes();
        pDatabase->ullShapeEpoch = m_ullShapeEpoch;
    }
    return *pDatabase;
}

void COpenVolume::Forget(CEOID oid)
{
    // Not removed: a handle may point at it yet. Its epoch sends the next user to the map.
    const auto found = m_databases.find(oid);
    if (found != m_databases.end()) found->second->ullEpoch = 0;
}

DWORD COpenVolume::LoadDatabase(CAccess& access, CEOID oid, CDatabase*& pDatabase)
{
    pDatabase = nullptr;
    CBytes value;
    // Not remembered before it is known to be one: any OID may be asked for.
    if (!access.Get(DatabaseKey(oid), value)) {
        Forget(oid);
        return access.Error() != ERROR_SUCCESS ? access.Error() : ERROR_FILE_NOT_FOUND;
    }
    CDatabase& database = Remember(oid);
    if (!database.Decode(value)) {
        database.ullEpoch = 0;
        return ERROR_FILE_CORRUPT;
    }
    pDatabase = &database;
    return ERROR_SUCCESS;
}

void AppendNameKey(CByteBuffer& key, const wchar_t* pszName)
{
    wchar_t szFolded[CEDB_MAXDBASENAMELEN] = {};
    DWORD cch = 0;
    bool bPlain = true;
    for (; pszName[cch] && cch < CEDB_MAXDBASENAMELEN - 1; ++cch) {
        const wchar_t ch = pszName[cch];
        szFolded[cch] = ch >= L'a' && ch <= L'z' ? static_cast<wchar_t>(ch - L'a' + L'A') : ch;
        bPlain = bPlain && ch < 128;
    }
    if (!bPlain) ::CharUpperBuffW(szFolded, cch);
    key.Append(kNameSpace);
    for (DWORD i = 0; i < cch; ++i) {
        key.Append(static_cast<BYTE>(szFolded[i] >> 8));
        key.Append(static_cast<BYTE>(szFolded[i]));
    }
}

CEOID COpenVolume::FindDatabase(CAccess& access, const wchar_t* pszName)
{
    DWORD cch = 0;
    while (pszName[cch] && cch < CEDB_MAXDBASENAMELEN) ++cch;
    if (cch == 0 || cch == CEDB_MAXDBASENAMELEN) return 0;
    scratchKey.Clear();
    AppendNameKey(scratchKey, pszName);
    CBytes value;
    if (!access.Get(scratchKey.Bytes(), value) || value.cb != sizeof(CEOID)) return 0;
    return Load<CEOID>(value.p);
}

CEOID COpenVolume::NextDatabase(CAccess& access, CEOID oidAfter)
{
    CTreeCursor cursor(*m_pEngine);
    if (oidAfter == 0xFFFFFFFF || !cursor.SeekAtLeast(access, DatabaseKey(oidAfter + 1))) return 0;
    const CBytes key = cursor.Key();
    return key.cb == 5 && key.p[0] == kDatabaseSpace ? GetBig32(key.p + 1) : 0;
}

CEOID COpenVolume::FindRecord(CAccess& access, CEOID oidRecord)
{
    CBytes value;
    CEOID oidDatabase = 0;
    while ((oidDatabase = NextDatabase(access, oidDatabase)) != 0)
        if (access.Get(RecordKey(oidDatabase, oidRecord), value)) return oidDatabase;
    return 0;
}

} // namespace store
