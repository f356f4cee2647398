#include "database.h"

#include <korvanebatch.h>

namespace kvol {

namespace {

std::string MountAdvice(DWORD dwError)
{
    switch (dwError) {
    case ERROR_FILE_NOT_FOUND:
        return "there is no such file. \"kvol import\" makes a volume";
    case ERROR_PATH_NOT_FOUND:
        return "there is no such folder";
    case ERROR_FILE_CORRUPT:
        return "the file is not a volume, or it is damaged. It was left as it is";
    case ERROR_REVISION_MISMATCH:
        return "the volume was made by another version of the store. It was left as it is";
    case ERROR_INVALID_PARAMETER:
        return "a path has 1 to 259 characters";
    default:
        return SystemText(dwError);
    }
}

} // namespace

CVolume::CVolume(const std::string& path, Use use) : m_path(path), m_widePath(Wide(path))
{
    // The store takes the empty path for no volume, the library for the object store: neither is meant here.
    if (path.empty()) throw CUsageError("the path of the volume is empty");
    ::SetLastError(ERROR_SUCCESS);
    const BOOL bMounted =
        ::CeMountDBVol(&m_guid, m_widePath.data(), use == Use::CreateIfMissing ? OPEN_ALWAYS : OPEN_EXISTING);
    const DWORD dwError = ::GetLastError();
    if (!bMounted) throw CFailure("cannot open the volume " + Quoted(path) + ": " + MountAdvice(dwError));
    m_bRemove = use == Use::CreateIfMissing && dwError != ERROR_ALREADY_EXISTS;
}

CVolume::~CVolume()
{
    ::CeUnmountDBVol(&m_guid);
    if (m_bRemove) ::DeleteFileW(m_widePath.c_str());
}

bool DescribeDatabase(CVolume& volume, CEOID oid, CEDBASEINFO& info)
{
    CEOIDINFO object = {};
    if (!::CeOidGetInfoEx(volume.Guid(), oid, &object)) {
        const DWORD dwError = ::GetLastError();
        // A database that cannot be described for want of memory is not one that there is not: recover would make it anew.
        if (dwError != ERROR_INVALID_HANDLE && dwError != ERROR_INVALID_PARAMETER && dwError != ERROR_FILE_CORRUPT) {
            throw CFailure("the volume " + Quoted(volume.Path()) + ": the store does not describe the object " +
                           std::to_string(oid) + ": " + SystemText(dwError));
        }
        return false;
    }
    if (object.wObjType != OBJTYPE_DATABASE) return false;
    info = object.infDatabase;
    return true;
}

CDatabases::CDatabases(CVolume& volume) : m_volume(volume), m_enumeration(::CeFindFirstDatabaseEx(volume.Guid(), 0))
{
    const DWORD dwError = ::GetLastError();
    if (!m_enumeration.IsValid()) Fail(dwError);
}

CEOID CDatabases::Next()
{
    const CEOID oid = ::CeFindNextDatabaseEx(m_enumeration.Get(), nullptr);
    const DWORD dwError = ::GetLastError();
    if (!oid && dwError != ERROR_NO_MORE_ITEMS) Fail(dwError);
    return oid;
}

void CDatabases::Fail(DWORD dwError) const
{
    throw CFailure("the databases of the volume " + Quoted(m_volume.Path()) +
                   " cannot be listed: " + SystemText(dwError));
}

CBatch::CBatch(CVolume& volume) : m_volume(volume)
{
    if (!::CeBeginBatch(volume.Guid())) {
        const DWORD dwError = ::GetLastError();
        throw CFailure("cannot begin a change of the volume " + Quoted(volume.Path()) + ": " + SystemText(dwError));
    }
}

CBatch::~CBatch()
{
    if (m_bOpen) ::CeAbandonBatch(m_volume.Guid());
}

void CBatch::Commit()
{
    m_bOpen = false;
    if (!::CeCommitBatch(m_volume.Guid())) {
        const DWORD dwError = ::GetLastError();
        throw CFailure("cannot write to the volume " + Quoted(m_volume.Path()) +
                       ", which is as it was: " + SystemText(dwError));
    }
}

} // namespace kvol
