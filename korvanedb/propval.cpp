#include "korvanedb/row.h"

#include "base/errorutil.h"
#include "base/timedumps.h"
#include "korvanedb/variants.h"

namespace KorvaneDB {
namespace {

const wchar_t kSource[] = L"korvanedb/row";

long RaiseIncompatible(unsigned long ulLine)
{
    KORVANE_RAISE(kSource, ulLine, E_FAIL, L"Incompatible types found");
    return 0;
}

// A DATE as it stands, with no time zone, as a FILETIME.
long FileTimeFromDate(DATE date, FILETIME& time)
{
    UDATE dt = {};
    const HRESULT hrDate = ::VarUdateFromDate(date, 0, &dt);
    if (FAILED(hrDate)) return hrDate;
    if (::SystemTimeToFileTime(&dt.st, &time)) return 0;
    const DWORD dwError = ::GetLastError(); // before the trace, which changes it
    KORVANE_TRACE(kSource, 143, "dt.st", dt.st);
    KORVANE_RAISE(kSource, 144, HRESULT_FROM_WIN32(dwError), L"Call to SystemTimeToFileTime(...) failed");
    return 0;
}

long DateFromFileTime(const FILETIME& time, DATE& date)
{
    UDATE dt = {};
    if (!::FileTimeToSystemTime(&time, &dt.st)) KORVANE_RAISE(kSource, 206, E_FAIL, L"FileTimeToSystemTime failed");
    return ::VarDateFromUdate(&dt, 0, &date);
}

} // namespace

long CRow::getPropvalFromVariant(_CEPROPVAL* prop, const _variant_t& value)
{
    prop->wFlags &= ~1;
    const WORD wType = TypeFromPropID(prop->propid);
    switch (V_VT(&value)) {
    case VT_NULL:
        prop->wFlags |= CEDB_PROPDELETE;
        return 0;
    case VT_BOOL:
        if (wType != CEVT_BOOL) return RaiseIncompatible(128);
        prop->val.boolVal = V_BOOL(&value) != 0;
        return 0;
    case VT_DATE:
        if (wType != CEVT_FILETIME) return RaiseIncompatible(134);
        return FileTimeFromDate(V_DATE(&value), prop->val.filetime);
    case VT_I2:
        if (wType != CEVT_I2 && wType != CEVT_UI2) return RaiseIncompatible(150);
        prop->val.iVal = V_I2(&value);
        return 0;
    case VT_I4:
        if (wType != CEVT_I4 && wType != CEVT_UI4) return RaiseIncompatible(156);
        prop->val.lVal = V_I4(&value);
        return 0;
    case VT_UI2:
        if (wType != CEVT_I2 && wType != CEVT_UI2) return RaiseIncompatible(162);
        prop->val.uiVal = V_UI2(&value);
        return 0;
    case VT_UI4:
        if (wType != CEVT_I4 && wType != CEVT_UI4) return RaiseIncompatible(168);
        prop->val.ulVal = V_UI4(&value);
        return 0;
    case VT_R8:
        if (wType != CEVT_R8) return RaiseIncompatible(174);
        prop->val.dblVal = V_R8(&value);
        return 0;
    case VT_BSTR:
        if (wType != CEVT_LPWSTR) return RaiseIncompatible(180);
        prop->val.lpwstr = nullptr;
        return 0;
    default:
        KORVANE_RAISE(kSource, 185, E_FAIL, L"Unsupported data type");
        return 0;
    }
}

long CRow::getVariantFromPropval(_CEPROPVAL* prop, _variant_t& value)
{
    VARIANT result = {};
    V_VT(&result) = VT_NULL;
    if (prop->wFlags & CEDB_PROPNOTFOUND) {
        SetPlain(value, result);
        return 0;
    }
    switch (TypeFromPropID(prop->propid)) {
    case CEVT_I2:
        V_VT(&result) = VT_I2;
        V_I2(&result) = prop->val.iVal;
        break;
    case CEVT_UI2:
        V_VT(&result) = VT_UI2;
        V_UI2(&result) = prop->val.uiVal;
        break;
    case CEVT_I4:
        V_VT(&result) = VT_I4;
        V_I4(&result) = prop->val.lVal;
        break;
    case CEVT_UI4:
        V_VT(&result) = VT_UI4;
        V_UI4(&result) = prop->val.ulVal;
        break;
    case CEVT_R8:
        V_VT(&result) = VT_R8;
        V_R8(&result) = prop->val.dblVal;
        break;
    case CEVT_BOOL:
        V_VT(&result) = VT_BOOL;
        V_BOOL(&result) = prop->val.boolVal ? VARIANT_TRUE : VARIANT_FALSE;
        break;
    case CEVT_LPWSTR:
        if (prop->val.lpwstr) {
            SetText(value, prop->val.lpwstr, wcslen(prop->val.lpwstr) * sizeof(wchar_t));
            return 0;
        }
        V_VT(&result) = VT_BSTR;
        break;
    case CEVT_FILETIME: {
        const long hr = DateFromFileTime(prop->val.filetime, V_DATE(&result));
        if (hr < 0) return hr;
        V_VT(&result) = VT_DATE;
        break;
    }
    case CEVT_BLOB:
        KORVANE_RAISE(kSource, 238, E_NOTIMPL, L"Blob type not ipmlemented");
        return 0;
    default:
        KORVANE_RAISE(kSource, 241, E_FAIL, L"Unknown data type");
        return 0;
    }
    SetPlain(value, result);
    return 0;
}

} // namespace KorvaneDB
