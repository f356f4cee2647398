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

void SetDouble(VARIANT& target, VARTYPE type, double d)
{
    ULONGLONG ullBits;
    std::memcpy(&ullBits, &d, sizeof ullBits);
    SetPlain(target, type, ullBits);
}

// ---- Dates and file times ------------------------------------------------------------------------------------------
//
// As they stand, with no time zone. The system takes two calls for each way, which cost as much as reading the rest of a
// record. Most times are whole seconds, and those are converted here, if the system agrees.

constexpr DWORD kSecondsOfDay = 86400;
constexpr ULONGLONG kSecond = 10000000; // of a FILETIME
constexpr ULONGLONG kDay = kSecondsOfDay * kSecond;
constexpr int kFirstDay = 109205; // DATE 0, counted from FILETIME 0
constexpr int kDays = 2958466;    // that there are from DATE 0 until the year 10000

// What the system makes of a whole second from DATE 0 on. False: the time is none.
bool DateOfSecond(const FILETIME& time, DATE& date)
{
    // Without dividing, which takes long, and for which the device has no function where numbers are this long.
    constexpr DWORD kDaysOfHigh = 2732850973; // 2^32 units, in days of 2^-39: rounded down, so a day may be missing
    constexpr DWORD kInverseOf78125 = 2928494245u; // their product is 1 in 32 bits: a multiple times it is the quotient
    const ULONGLONG ullTime = static_cast<ULONGLONG>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    int nDay = static_cast<int>(static_cast<ULONGLONG>(time.dwHighDateTime) * kDaysOfHigh >> 39);
    ULONGLONG ullRest = ullTime - static_cast<DWORD>(nDay) * kDay;
    if (ullRest >= kDay) ++nDay, ullRest -= kDay;
    const DWORD dwSecond = static_cast<DWORD>(ullRest >> 7) * kInverseOf78125; // kSecond is 78125 << 7
    if (dwSecond >= kSecondsOfDay || dwSecond * kSecond != ullRest) return false;
    nDay -= kFirstDay;
    if (nDay < 0 || nDay >= kDays) return false;
    // The system adds wider numbers up and rounds once. So does this: the sum is exact.
    date = (nDay * static_cast<double>(kSecondsOfDay) + static_cast<int>(dwSecond)) / kSecondsOfDay;
    return true;
}

// The other way, for a DATE that is just what a whole second gives.
bool SecondOfDate(DATE date, FILETIME& time)
{
    if (!(date >= 0 && date < kDays)) return false;
    const int nDay = static_cast<int>(date);
    const DWORD dwSecond = static_cast<DWORD>((date - nDay) * kSecondsOfDay + 0.5);
    const ULONGLONG ullTime = static_cast<DWORD>(kFirstDay + nDay) * kDay + dwSecond * kSecond;
    time = {static_cast<DWORD>(ullTime), static_cast<DWORD>(ullTime >> 32)};
    DATE same;
    return DateOfSecond(time, same) && same == date;
}

long DateBySystem(const FILETIME& time, DATE& date)
{
    UDATE dt = {};
    if (!::FileTimeToSystemTime(&time, &dt.st)) KORVANE_RAISE(kSource, 206, E_FAIL, L"FileTimeToSystemTime failed");
    return ::VarDateFromUdate(&dt, 0, &date);
}

// Tries the system's conversions on some times from 2003 on: they must be the same to the last bit.
bool TryOut()
{
    DWORD dwRandom = 1;
    for (int i = 0; i < 100; ++i) {
        dwRandom = dwRandom * 1664525 + 1013904223;
        const ULONGLONG ullTime = (12700000000 + dwRandom % 2000000000) * kSecond;
        const FILETIME time = {static_cast<DWORD>(ullTime), static_cast<DWORD>(ullTime >> 32)};
        FILETIME back = {}, backThere = {};
        UDATE dt = {};
        DATE here, there;
        if (!DateOfSecond(time, here) || DateBySystem(time, there) != 0 || here != there) return false;
        if (!SecondOfDate(there, back) || FAILED(::VarUdateFromDate(there, 0, &dt)) ||
            !::SystemTimeToFileTime(&dt.st, &backThere) || ::CompareFileTime(&back, &backThere) != 0)
            return false;
    }
    return true;
}

bool SystemAgrees()
{
    static const bool bAgrees = TryOut();
    return bAgrees;
}

long DateFromFileTime(const FILETIME& time, DATE& date)
{
    return SystemAgrees() && DateOfSecond(time, date) ? 0 : DateBySystem(time, date);
}

long FileTimeFromDate(DATE date, FILETIME& time)
{
    if (SystemAgrees() && SecondOfDate(date, time)) return 0;
    UDATE dt = {};
    const HRESULT hrDate = ::VarUdateFromDate(date, 0, &dt);
    if (FAILED(hrDate)) return hrDate;
    if (::SystemTimeToFileTime(&dt.st, &time)) return 0;
    const DWORD dwError = ::GetLastError(); // before the trace, which changes it
    KORVANE_TRACE(kSource, 143, "dt.st", dt.st);
    KORVANE_RAISE(kSource, 144, HRESULT_FROM_WIN32(dwError), L"Call to SystemTimeToFileTime(...) failed");
    return 0;
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
    if (prop->wFlags & CEDB_PROPNOTFOUND) {
        SetPlain(value, VT_NULL, 0);
        return 0;
    }
    const auto& val = prop->val;
    switch (TypeFromPropID(prop->propid)) {
    case CEVT_I2:
        SetPlain(value, VT_I2, val.uiVal);
        return 0;
    case CEVT_UI2:
        SetPlain(value, VT_UI2, val.uiVal);
        return 0;
    case CEVT_I4:
        SetPlain(value, VT_I4, val.ulVal);
        return 0;
    case CEVT_UI4:
        SetPlain(value, VT_UI4, val.ulVal);
        return 0;
    case CEVT_R8:
        SetDouble(value, VT_R8, val.dblVal);
        return 0;
    case CEVT_BOOL:
        SetPlain(value, VT_BOOL, static_cast<WORD>(val.boolVal ? VARIANT_TRUE : VARIANT_FALSE));
        return 0;
    case CEVT_LPWSTR:
        if (val.lpwstr) {
            SetText(value, val.lpwstr, TextBytes(val.lpwstr));
        } else {
            SetPlain(value, VT_EMPTY, 0);
            V_VT(&value) = VT_BSTR;
        }
        return 0;
    case CEVT_FILETIME: {
        DATE date;
        const long hr = DateFromFileTime(val.filetime, date);
        if (hr < 0) return hr;
        SetDouble(value, VT_DATE, date);
        return 0;
    }
    case CEVT_BLOB:
        KORVANE_RAISE(kSource, 238, E_NOTIMPL, L"Blob type not ipmlemented");
        return 0;
    default:
        KORVANE_RAISE(kSource, 241, E_FAIL, L"Unknown data type");
        return 0;
    }
}

} // namespace KorvaneDB
