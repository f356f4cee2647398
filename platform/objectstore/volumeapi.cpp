// The calls on volumes, on handles as such, and the library's end.
#include "apiedge.h"
#include "handles.h"
#include "mounts.h"
#include "resort.h"

#include <korvanebatch.h>

using namespace store;

volatile LONG store::g_nCalls = 0;

BOOL WINAPI CeMountDBVol(PCEGUID pceguid, LPWSTR lpszDBVol, DWORD dwFlags)
{
    if (pceguid) CREATE_INVALIDGUID(pceguid);
    bool bExisted = false;
    const BOOL bDone = AnswerBool([&]() -> DWORD {
        if (!pceguid || !lpszDBVol || !*lpszDBVol || dwFlags < CREATE_NEW || dwFlags > TRUNCATE_EXISTING)
            return ERROR_INVALID_PARAMETER;
        DWORD cch = 0;
        while (lpszDBVol[cch])
            if (++cch >= MAX_PATH) return ERROR_INVALID_PARAMETER;
        CEGUID guid;
        const DWORD dwError = CMounts::Instance().Mount(lpszDBVol, dwFlags, guid, bExisted);
        if (dwError == ERROR_SUCCESS) *pceguid = guid;
        return dwError;
    });
    if (bDone)
        ::SetLastError(bExisted && (dwFlags == OPEN_ALWAYS || dwFlags == CREATE_ALWAYS) ? ERROR_ALREADY_EXISTS
                                                                                        : ERROR_SUCCESS);
    return bDone;
}

BOOL WINAPI CeUnmountDBVol(PCEGUID pceguid)
{
    return AnswerBool(
        [&]() -> DWORD { return pceguid ? CMounts::Instance().Unmount(*pceguid) : ERROR_INVALID_PARAMETER; });
}

BOOL WINAPI CeFlushDBVol(PCEGUID pceguid)
{
    return AnswerBool([&]() -> DWORD {
        CVolumeRef volume;
        const DWORD dwError = FindVolume(pceguid, volume);
        return dwError == ERROR_SUCCESS ? volume->Engine().Flush() : dwError;
    });
}

BOOL WINAPI CeEnumDBVolumes(PCEGUID pceguid, LPWSTR lpBuf, DWORD dwNumChars)
{
    return AnswerBool([&]() -> DWORD {
        if (!pceguid || !lpBuf) return ERROR_INVALID_PARAMETER;
        std::vector<CMountRow> rows;
        const DWORD dwError = CMounts::Instance().List(rows);
        if (dwError != ERROR_SUCCESS) return dwError;
        size_t nNext = 0;
        if (!CHECK_INVALIDGUID(pceguid)) {
            while (nNext < rows.size() && !IsSame(rows[nNext].guid, *pceguid)) ++nNext;
            if (nNext++ == rows.size()) return ERROR_KEY_DELETED;
        }
        if (nNext >= rows.size()) return ERROR_NO_MORE_ITEMS;
        const std::wstring& strPath = rows[nNext].strPath;
        if (dwNumChars <= strPath.size()) return ERROR_INSUFFICIENT_BUFFER;
        memcpy(lpBuf, strPath.c_str(), (strPath.size() + 1) * sizeof(WCHAR));
        *pceguid = rows[nNext].guid;
        return ERROR_SUCCESS;
    });
}

VOID WINAPI CeChangeDatabaseLCID(PCEGUID pceguid, DWORD LCID)
{
    AnswerBool([&]() -> DWORD {
        CVolumeRef volume;
        if (LCID != LOCALE_INVARIANT && !::IsValidLocale(LCID, LCID_INSTALLED)) return ERROR_INVALID_PARAMETER;
        const DWORD dwError = FindVolume(pceguid, volume);
        if (dwError != ERROR_SUCCESS) return dwError;
        return ResortTexts(*volume, LCID);
    });
}

BOOL WINAPI CeBeginBatch(PCEGUID pceguid)
{
    return AnswerBool(
        [&]() -> DWORD { return pceguid ? CMounts::Instance().BeginBatch(*pceguid) : ERROR_INVALID_PARAMETER; });
}

BOOL WINAPI CeCommitBatch(PCEGUID pceguid)
{
    return AnswerBool(
        [&]() -> DWORD { return pceguid ? CMounts::Instance().EndBatch(*pceguid, true) : ERROR_INVALID_PARAMETER; });
}

BOOL WINAPI CeAbandonBatch(PCEGUID pceguid)
{
    return AnswerBool(
        [&]() -> DWORD { return pceguid ? CMounts::Instance().EndBatch(*pceguid, false) : ERROR_INVALID_PARAMETER; });
}

BOOL WINAPI CeCloseHandle(HANDLE hObject)
{
    if (hObject == INVALID_HANDLE_VALUE) {
        ::SetLastError(ERROR_INVALID_HANDLE);
        return FALSE;
    }
    if (!IsStoreHandle(hObject)) return ::CloseHandle(hObject);
    return AnswerBool([&]() -> DWORD { return CloseStoreHandle(hObject) ? ERROR_SUCCESS : ERROR_INVALID_HANDLE; });
}

// Called by the loader. A process that ends in good order with volumes mounted leaves them flushed and closed.
extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD dwReason, LPVOID)
{
    // By now the other threads are gone; one that was ended inside a call has left locks behind.
    if (dwReason == DLL_PROCESS_DETACH && g_nCalls == 0 && !IsAnyHandleInUse()) {
        CloseAllHandles();
        CMounts::Instance().CloseAll();
    }
    return TRUE;
}
