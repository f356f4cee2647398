// The calls that seek and read records.
#include "apiedge.h"
#include "databasehandle.h"
#include "values.h"

using namespace store;

namespace {

constexpr DWORD kLongestSoughtText = 1 << 24; // characters; no stored text is near it, but it still compares

// ---- Seeking -------------------------------------------------------------------------------------------------------

DWORD SeekByValue(CDatabaseHandle& handle, CAccess& access, DWORD dwSeekType, const CEPROPVAL* pValues, WORD wCount,
                  bool& bFound)
{
    const COrder* pOrder = handle.Order();
    if (!pOrder || !pValues || wCount == 0 || wCount > pOrder->spec.wNumProps) return ERROR_INVALID_PARAMETER;
    COpenVolume& volume = handle.Volume();
    CByteBuffer& key = volume.scratchKey;
    key.Clear();
    for (WORD i = 0; i < wCount; ++i) {
        CField field;
        if (pValues[i].propid != pOrder->spec.rgPropID[i] || !FieldFromValue(pValues[i], kLongestSoughtText, 0, field))
            return ERROR_INVALID_PARAMETER;
        AppendKeyPart(key, field, pOrder->spec.rgdwFlags[i], volume.Record().lcid);
    }
    bFound = handle.SeekValue(access, dwSeekType, key.Bytes(), wCount);
    return ERROR_SUCCESS;
}

DWORD Seek(CDatabaseHandle& handle, DWORD dwSeekType, DWORD dwValue, WORD wCount, DWORD* pdwIndex, CEOID& oid)
{
    CReadAccess access(handle.Volume().Engine());
    DWORD dwError = handle.Begin(access);
    if (dwError != ERROR_SUCCESS) return dwError;
    bool bFound = false;
    switch (dwSeekType) {
    case CEDB_SEEK_CURRENT:
        bFound = handle.Step(access, static_cast<long>(dwValue));
        // Nothing but a record can be stayed on: the gap of a deleted one says what it is.
        if (!bFound && dwValue == 0 && access.Error() == ERROR_SUCCESS && handle.IsInGap()) return ERROR_KEY_DELETED;
        break;
    case CEDB_SEEK_CEOID:
        bFound = handle.SeekOid(access, dwValue);
        break;
    case CEDB_SEEK_BEGINNING:
        bFound = handle.SeekFromStart(access, dwValue);
        break;
    case CEDB_SEEK_END: {
        // Some callers count with negative numbers.
        const DWORD nBack = dwValue & 0x80000000 ? 0 - dwValue : dwValue;
        bFound = handle.SeekFromEnd(access, nBack ? nBack - 1 : 0);
        break;
    }
    case CEDB_SEEK_VALUESMALLER:
    case CEDB_SEEK_VALUEFIRSTEQUAL:
    case CEDB_SEEK_VALUEGREATER:
    case CEDB_SEEK_VALUENEXTEQUAL:
        dwError = SeekByValue(handle, access, dwSeekType, reinterpret_cast<const CEPROPVAL*>(dwValue), wCount, bFound);
        if (dwError != ERROR_SUCCESS) return dwError;
        break;
    default:
        return ERROR_INVALID_PARAMETER;
    }
    if (!bFound && access.Error() == ERROR_SUCCESS)
        return dwSeekType == CEDB_SEEK_CURRENT ? handle.EndError() : ERROR_NO_MORE_ITEMS;
    if (!bFound) return access.Error();
    if (pdwIndex) *pdwIndex = handle.CurrentIndex(access);
    oid = handle.Current();
    return ERROR_SUCCESS;
}

// ---- Reading -------------------------------------------------------------------------------------------------------

// Where a read may put its block.
struct CTarget
{
    LPBYTE* ppBuffer;
    DWORD* pcbBuffer;
    bool bMayAllocate;
    HANDLE hHeap;

    // Makes room for cb bytes, or says how many are needed.
    DWORD Provide(DWORD cb) const
    {
        const DWORD cbThere = *ppBuffer ? *pcbBuffer : 0;
        if (cb <= cbThere && *ppBuffer) return ERROR_SUCCESS;
        if (!bMayAllocate) {
            *pcbBuffer = cb;
            return ERROR_INSUFFICIENT_BUFFER;
        }
        void* p;
        const DWORD cbBlock = cb ? cb : 1;
        if (hHeap)
            p = *ppBuffer ? ::HeapReAlloc(hHeap, 0, *ppBuffer, cbBlock) : ::HeapAlloc(hHeap, 0, cbBlock);
        else
            p = *ppBuffer ? ::LocalReAlloc(*ppBuffer, cbBlock, LMEM_MOVEABLE) : ::LocalAlloc(LMEM_FIXED, cbBlock);
        if (!p) return ERROR_NOT_ENOUGH_MEMORY;
        *ppBuffer = static_cast<LPBYTE>(p);
        *pcbBuffer = cb;
        return ERROR_SUCCESS;
    }
};

DWORD Read(CDatabaseHandle& handle, WORD* pcPropID, const CEPROPID* rgPropID, const CTarget& target, CEOID& oid)
{
    CReadAccess access(handle.Volume().Engine());
    DWORD dwError = handle.Begin(access);
    CBytes record;
    if (dwError == ERROR_SUCCESS) dwError = handle.CurrentRecord(access, record);
    if (dwError != ERROR_SUCCESS) return dwError;
    const CShape* const pShape = handle.Database().ShapeOf(access, record);
    CRecordView view;
    if (!pShape || !view.Attach(record, *pShape) || pShape->Count() > 0xFFFF) return ERROR_FILE_CORRUPT;

    const WORD wCount = rgPropID ? *pcPropID : static_cast<WORD>(pShape->Count());
    const CReadPlan& plan = handle.PlanFor(*pShape, rgPropID, wCount);
    std::vector<CField>& varying = handle.scratchFields;
    if (varying.size() < plan.VaryingCount()) varying.resize(plan.VaryingCount());
    ULONGLONG cbNeeded;
    if (!plan.Measure(view, varying.data(), cbNeeded)) return ERROR_FILE_CORRUPT;
    if (cbNeeded > 0x7FFFFFFF) return ERROR_NOT_ENOUGH_MEMORY;
    const DWORD cb = static_cast<DWORD>(cbNeeded);
    dwError = target.Provide(cb);
    if (dwError != ERROR_SUCCESS) return dwError;
    plan.Fill(view, varying.data(), *target.ppBuffer);
    *pcPropID = wCount;
    *target.pcbBuffer = cb;
    oid = handle.Current();
    if (handle.IsAutoIncrement()) handle.Advance(access);
    return plan.FindsAny() ? ERROR_SUCCESS : ERROR_NO_DATA;
}

} // namespace

CEOID WINAPI CeSeekDatabaseEx(HANDLE hDatabase, DWORD dwSeekType, DWORD dwValue, WORD wNumVals, LPDWORD lpdwIndex)
{
    // A walk's step. What cannot be done like this is tried again the long way.
    if (dwSeekType == CEDB_SEEK_CURRENT && dwValue == 1 && !lpdwIndex) {
        const CPin pin(hDatabase, CHandleObject::kDatabase);
        CEOID oid;
        if (pin.Get() && static_cast<CDatabaseHandle*>(pin.Get())->StepQuickly(oid)) {
            if (!oid) ::SetLastError(ERROR_NO_MORE_ITEMS);
            return oid;
        }
    }
    return AnswerQuickly(CEOID{0}, [&](CEOID& oid) -> DWORD {
        const CPin pin(hDatabase, CHandleObject::kDatabase);
        if (!pin.Get()) return ERROR_INVALID_PARAMETER;
        return Seek(static_cast<CDatabaseHandle&>(*pin.Get()), dwSeekType, dwValue, wNumVals, lpdwIndex, oid);
    });
}

CEOID WINAPI CeSeekDatabase(HANDLE hDatabase, DWORD dwSeekType, DWORD dwValue, LPDWORD lpdwIndex)
{
    return CeSeekDatabaseEx(hDatabase, dwSeekType, dwValue, 1, lpdwIndex);
}

CEOID WINAPI CeReadRecordPropsEx(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID, LPBYTE* lplpBuffer,
                                 LPDWORD lpcbBuffer, HANDLE hHeap)
{
    // A walk's read, likewise.
    if (lpcPropID && *lpcPropID && rgPropID && lplpBuffer && *lplpBuffer && lpcbBuffer &&
        !(dwFlags & ~CEDB_ALLOWREALLOC)) {
        const CPin pin(hDbase, CHandleObject::kDatabase);
        CEOID oid;
        if (pin.Get() &&
            static_cast<CDatabaseHandle*>(pin.Get())->ReadQuickly(rgPropID, *lpcPropID, *lplpBuffer, *lpcbBuffer, oid))
            return oid;
    }
    return AnswerQuickly(CEOID{0}, [&](CEOID& oid) -> DWORD {
        if (!lpcPropID || (rgPropID && *lpcPropID == 0) || !lplpBuffer || !lpcbBuffer || (dwFlags & ~CEDB_ALLOWREALLOC))
            return ERROR_INVALID_PARAMETER;
        const CPin pin(hDbase, CHandleObject::kDatabase);
        if (!pin.Get()) return ERROR_INVALID_PARAMETER;
        // Without a buffer only its size can be asked for.
        if (!(dwFlags & CEDB_ALLOWREALLOC) && !*lplpBuffer && *lpcbBuffer != 0) return ERROR_INVALID_PARAMETER;
        const CTarget target = {lplpBuffer, lpcbBuffer, (dwFlags & CEDB_ALLOWREALLOC) != 0, hHeap};
        return Read(static_cast<CDatabaseHandle&>(*pin.Get()), lpcPropID, rgPropID, target, oid);
    });
}

CEOID WINAPI CeReadRecordProps(HANDLE hDbase, DWORD dwFlags, LPWORD lpcPropID, CEPROPID* rgPropID, LPBYTE* lplpBuffer,
                               LPDWORD lpcbBuffer)
{
    return CeReadRecordPropsEx(hDbase, dwFlags, lpcPropID, rgPropID, lplpBuffer, lpcbBuffer, nullptr);
}
