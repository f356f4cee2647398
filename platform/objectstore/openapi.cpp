// The calls that enumerate and open databases.
#include "apiedge.h"
#include "databasehandle.h"
#include "spec.h"

#include <mutex>

using namespace store;

namespace {

// ---- Enumeration ---------------------------------------------------------------------------------------------------

class CEnumeration : public CHandleObject
{
public:
    explicit CEnumeration(DWORD dwType) : CHandleObject(kEnumeration), m_dwType(dwType) {}

    std::vector<CVolumeRef> volumes;
    std::vector<CEGUID> guids;

    DWORD Next(CEOID& oid, CEGUID& guid)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (; m_nVolume < volumes.size(); ++m_nVolume, m_oidLast = 0, m_bBegun = false) {
            COpenVolume& volume = *volumes[m_nVolume];
            CReadAccess access(volume.Engine());
            DWORD dwError = volume.Sync(access);
            if (dwError != ERROR_SUCCESS) return dwError;
            if (m_bBegun && volume.Record().nDeletions != m_nDeletions) return ERROR_KEY_DELETED;
            m_nDeletions = volume.Record().nDeletions;
            m_bBegun = true;
            while (const CEOID oidNext = volume.NextDatabase(access, m_oidLast)) {
                m_oidLast = oidNext;
                CDatabase* pDatabase = nullptr;
                dwError = volume.Database(access, m_oidLast, pDatabase);
                if (dwError != ERROR_SUCCESS) return dwError;
                if (m_dwType != 0 && pDatabase->dwType != m_dwType) continue;
                oid = m_oidLast;
                guid = guids[m_nVolume];
                return ERROR_SUCCESS;
            }
            if (access.Error() != ERROR_SUCCESS) return access.Error();
        }
        return ERROR_NO_MORE_ITEMS;
    }

private:
    const DWORD m_dwType;
    std::mutex m_mutex;
    size_t m_nVolume = 0;
    CEOID m_oidLast = 0;
    DWORD m_nDeletions = 0;
    bool m_bBegun = false; // in the present volume
};

// ---- Opening -------------------------------------------------------------------------------------------------------

// Chooses the order for a list of properties; null: none has them.
const COrder* ChooseOrder(const CDatabase& database, const SORTORDERSPECEX& wanted, bool bFirstWillDo)
{
    for (const COrder& order : database.orders)
        if (HaveSameProperties(order.spec, wanted)) return &order;
    for (const COrder& order : database.orders)
        if (bFirstWillDo && order.spec.rgPropID[0] == wanted.rgPropID[0]) return &order;
    return nullptr;
}

DWORD FindByName(COpenVolume& volume, const wchar_t* pszName, CEOID& oid)
{
    CReadAccess access(volume.Engine());
    const DWORD dwError = volume.Sync(access);
    if (dwError != ERROR_SUCCESS) return dwError;
    oid = volume.FindDatabase(access, pszName);
    if (oid) return ERROR_SUCCESS;
    return access.Error() != ERROR_SUCCESS ? access.Error() : ERROR_FILE_NOT_FOUND;
}

// pWanted: null for the order of creation. bSearch: all volumes, by name.
DWORD Open(const CEGUID* pguid, CEOID* poid, const wchar_t* pszName, const SORTORDERSPECEX* pWanted, bool bFirstWillDo,
           DWORD dwFlags, const CENOTIFYREQUEST* pRequest, HANDLE& h)
{
    if (!pguid || !poid || (dwFlags & ~CEDB_AUTOINCREMENT)) return ERROR_INVALID_PARAMETER;
    std::vector<CVolumeRef> volumes(1);
    std::vector<CEGUID> guids = {*pguid};
    const bool bSearch = CHECK_INVALIDGUID(pguid);
    CEOID oid = bSearch ? 0 : *poid;
    if (oid == 0 && !pszName) return ERROR_INVALID_PARAMETER;
    DWORD dwError;
    if (bSearch) {
        volumes.clear();
        guids.clear();
        dwError = CMounts::Instance().All(volumes, guids);
    } else {
        dwError = FindVolume(pguid, volumes[0]);
    }
    size_t nVolume = 0;
    if (dwError == ERROR_SUCCESS && oid == 0) {
        dwError = ERROR_FILE_NOT_FOUND;
        for (nVolume = 0; nVolume < volumes.size(); ++nVolume) {
            dwError = FindByName(*volumes[nVolume], pszName, oid);
            if (dwError != ERROR_FILE_NOT_FOUND) break;
        }
    }
    if (dwError != ERROR_SUCCESS) return dwError;
    // The old messages do not name a volume.
    if (pRequest && !(pRequest->dwFlags & CEDB_EXNOTIFICATION) && !CHECK_SYSTEMGUID(&guids[nVolume]))
        return ERROR_INVALID_PARAMETER;
    auto pHandle = std::make_unique<CDatabaseHandle>(volumes[nVolume], guids[nVolume], oid, dwFlags, dwError);
    if (dwError != ERROR_SUCCESS) return dwError;
    {
        CReadAccess access(pHandle->Volume().Engine());
        dwError = pHandle->Begin(access);
        if (dwError == ERROR_INVALID_HANDLE) return ERROR_INVALID_PARAMETER; // there is no such database
        if (dwError != ERROR_SUCCESS) return dwError;
        if (pWanted) {
            const COrder* pOrder = ChooseOrder(pHandle->Database(), *pWanted, bFirstWillDo);
            if (!pOrder) return ERROR_INVALID_PARAMETER;
            pHandle->SetOrder(*pOrder);
        }
        pHandle->SeekFromStart(access, 0);
        if (access.Error() != ERROR_SUCCESS) return access.Error();
    }
    if (pRequest) dwError = pHandle->Watch(*pRequest);
    if (dwError != ERROR_SUCCESS) return dwError;
    h = AddHandle(std::move(pHandle));
    if (h == INVALID_HANDLE_VALUE) return ERROR_NOT_ENOUGH_MEMORY;
    *poid = oid;
    return ERROR_SUCCESS;
}

DWORD OpenByProperty(const CEGUID* pguid, CEOID* poid, const wchar_t* pszName, CEPROPID propid, DWORD dwFlags,
                     const CENOTIFYREQUEST* pRequest, HANDLE& h)
{
    SORTORDERSPECEX wanted = {};
    wanted.wNumProps = 1;
    wanted.rgPropID[0] = propid;
    return Open(pguid, poid, pszName, propid ? &wanted : nullptr, true, dwFlags, pRequest, h);
}

bool IsGoodRequest(const CENOTIFYREQUEST* pRequest)
{
    return !pRequest || (pRequest->dwSize == sizeof(CENOTIFYREQUEST) && ::IsWindow(pRequest->hwnd) &&
                         !(pRequest->dwFlags & ~CEDB_EXNOTIFICATION));
}

} // namespace

HANDLE WINAPI CeFindFirstDatabaseEx(PCEGUID pceguid, DWORD dwDbaseType)
{
    const HANDLE hEnum = Answer(INVALID_HANDLE_VALUE, [&](HANDLE& h) -> DWORD {
        auto pEnumeration = std::make_unique<CEnumeration>(dwDbaseType);
        DWORD dwError;
        if (!pceguid || CHECK_INVALIDGUID(pceguid)) {
            dwError = CMounts::Instance().All(pEnumeration->volumes, pEnumeration->guids);
        } else {
            pEnumeration->volumes.resize(1);
            pEnumeration->guids.push_back(*pceguid);
            dwError = FindVolume(pceguid, pEnumeration->volumes[0]);
        }
        if (dwError != ERROR_SUCCESS) return dwError;
        h = AddHandle(std::move(pEnumeration));
        return h != INVALID_HANDLE_VALUE ? ERROR_SUCCESS : ERROR_NOT_ENOUGH_MEMORY;
    });
    // This call alone has the other name of the same thing.
    if (hEnum == INVALID_HANDLE_VALUE && ::GetLastError() == ERROR_NOT_ENOUGH_MEMORY) ::SetLastError(ERROR_OUTOFMEMORY);
    return hEnum;
}

HANDLE WINAPI CeFindFirstDatabase(DWORD dwDbaseType)
{
    CEGUID guid = SystemGuid();
    return CeFindFirstDatabaseEx(&guid, dwDbaseType);
}

CEOID WINAPI CeFindNextDatabaseEx(HANDLE hEnum, PCEGUID pceguid)
{
    return Answer(CEOID{0}, [&](CEOID& oid) -> DWORD {
        const CPin pin(hEnum, CHandleObject::kEnumeration);
        CEnumeration* const pEnumeration = static_cast<CEnumeration*>(pin.Get());
        if (!pEnumeration) return ERROR_INVALID_PARAMETER;
        CEGUID guid;
        const DWORD dwError = pEnumeration->Next(oid, guid);
        if (dwError == ERROR_SUCCESS && pceguid) *pceguid = guid;
        return dwError;
    });
}

CEOID WINAPI CeFindNextDatabase(HANDLE hEnum)
{
    return CeFindNextDatabaseEx(hEnum, nullptr);
}

HANDLE WINAPI CeOpenDatabaseEx(PCEGUID pceguid, PCEOID poid, LPWSTR lpszName, CEPROPID propid, DWORD dwFlags,
                               CENOTIFYREQUEST* pRequest)
{
    return Answer(INVALID_HANDLE_VALUE, [&](HANDLE& h) -> DWORD {
        if (!IsGoodRequest(pRequest)) return ERROR_INVALID_PARAMETER;
        return OpenByProperty(pceguid, poid, lpszName, propid, dwFlags, pRequest, h);
    });
}

HANDLE WINAPI CeOpenDatabaseEx2(PCEGUID pceguid, PCEOID poid, LPWSTR lpszName, SORTORDERSPECEX* pSort, DWORD dwFlags,
                                CENOTIFYREQUEST* pRequest)
{
    return Answer(INVALID_HANDLE_VALUE, [&](HANDLE& h) -> DWORD {
        if (!IsGoodRequest(pRequest) || (pSort && (pSort->wVersion != SORTORDERSPECEX_VERSION ||
                                                   pSort->wNumProps == 0 || pSort->wNumProps > CEDB_MAXSORTPROP)))
            return ERROR_INVALID_PARAMETER;
        return Open(pceguid, poid, lpszName, pSort, false, dwFlags, pRequest, h);
    });
}

HANDLE WINAPI CeOpenDatabase(PCEOID poid, LPWSTR lpszName, CEPROPID propid, DWORD dwFlags, HWND hwndNotify)
{
    return Answer(INVALID_HANDLE_VALUE, [&](HANDLE& h) -> DWORD {
        if (hwndNotify && !::IsWindow(hwndNotify)) return ERROR_INVALID_PARAMETER;
        CEGUID guid = SystemGuid();
        const CENOTIFYREQUEST request = {sizeof request, hwndNotify, 0, nullptr, 0};
        return OpenByProperty(&guid, poid, lpszName, propid, dwFlags, hwndNotify ? &request : nullptr, h);
    });
}

BOOL WINAPI CeFreeNotification(PCENOTIFYREQUEST pRequest, PCENOTIFICATION pNotify)
{
    return AnswerBool([&]() -> DWORD {
        if (!pRequest || !pNotify) return ERROR_INVALID_PARAMETER;
        const HANDLE hHeap = pRequest->hHeap ? pRequest->hHeap : ::GetProcessHeap();
        return ::HeapFree(hHeap, 0, pNotify) ? ERROR_SUCCESS : ERROR_INVALID_PARAMETER;
    });
}
