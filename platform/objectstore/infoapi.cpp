// The calls that describe objects.
#include "apiedge.h"
#include "databasehandle.h"
#include "spec.h"

using namespace store;

namespace {

// Finds what an OID stands for. Errors as CeOidGetInfoEx2 has them; otherwise pDatabase describes a database or, when
// bRecord, is the owner of a record. tell is called under the access.
template <class TTell> DWORD Identify(const CEGUID* pguid, CEOID oid, TTell tell)
{
    CVolumeRef volume;
    DWORD dwError = FindVolume(pguid, volume);
    if (dwError != ERROR_SUCCESS) return dwError;
    CReadAccess access(volume->Engine());
    dwError = volume->Sync(access);
    if (dwError != ERROR_SUCCESS) return dwError;
    CDatabase* pDatabase = nullptr;
    dwError = volume->Database(access, oid, pDatabase);
    if (dwError == ERROR_SUCCESS) {
        tell(pDatabase, oid);
        return ERROR_SUCCESS;
    }
    if (dwError != ERROR_FILE_NOT_FOUND) return dwError;
    const CEOID oidOwner = volume->FindRecord(access, oid);
    if (access.Error() != ERROR_SUCCESS) return access.Error();
    if (!oidOwner) return ERROR_INVALID_HANDLE;
    tell(nullptr, oidOwner);
    return ERROR_SUCCESS;
}

template <class TInfo> DWORD Fill(const CEGUID* pguid, CEOID oid, TInfo& info)
{
    info.wObjType = OBJTYPE_INVALID;
    return Identify(pguid, oid, [&](const CDatabase* pDatabase, CEOID oidOwner) {
        info.wObjType = pDatabase ? OBJTYPE_DATABASE : OBJTYPE_RECORD;
        if (pDatabase)
            Describe(*pDatabase, info.infDatabase);
        else
            info.infRecord.oidParent = oidOwner;
    });
}

} // namespace

BOOL WINAPI CeOidGetInfoEx2(PCEGUID pceguid, CEOID oid, CEOIDINFOEX* oidInfo)
{
    return AnswerBool([&]() -> DWORD {
        if (!oidInfo || oidInfo->wVersion != CEOIDINFOEX_VERSION) return ERROR_INVALID_PARAMETER;
        return Fill(pceguid, oid, *oidInfo);
    });
}

BOOL WINAPI CeOidGetInfoEx(PCEGUID pceguid, CEOID oid, CEOIDINFO* oidInfo)
{
    return AnswerBool([&]() -> DWORD { return oidInfo ? Fill(pceguid, oid, *oidInfo) : ERROR_INVALID_PARAMETER; });
}

BOOL WINAPI CeOidGetInfo(CEOID oid, CEOIDINFO* poidInfo)
{
    CEGUID guid = SystemGuid();
    return CeOidGetInfoEx(&guid, oid, poidInfo);
}

BOOL WINAPI CeGetDBInformationByHandle(HANDLE hDbase, LPBY_HANDLE_DB_INFORMATION lpDBInfo)
{
    return AnswerBool([&]() -> DWORD {
        const CPin pin(hDbase, CHandleObject::kDatabase);
        CDatabaseHandle* const pHandle = static_cast<CDatabaseHandle*>(pin.Get());
        if (!pHandle || !lpDBInfo || lpDBInfo->wVersion != BY_HANDLE_DB_INFORMATION_VERSION)
            return ERROR_INVALID_PARAMETER;
        CReadAccess access(pHandle->Volume().Engine());
        const DWORD dwError = pHandle->Begin(access);
        if (dwError != ERROR_SUCCESS) return dwError;
        lpDBInfo->wReserved = 0;
        lpDBInfo->guidVol = pHandle->Guid();
        lpDBInfo->oidDbase = pHandle->DatabaseOid();
        Describe(pHandle->Database(), lpDBInfo->infDatabase);
        return ERROR_SUCCESS;
    });
}
