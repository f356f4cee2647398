// Values in variants, with calls of the system only where they cannot be done without: a row's values are copied for
// every record that is read.
//
// Errors     a variant that the system cannot copy or clear (one of no known type), and a text for which memory is out,
//            end in _com_issue_error; the target is as it was, or empty.
//
// For the library's own sources: not part of korvanelib.h.
#ifndef KORVANE_KORVANEDB_VARIANTS_H
#define KORVANE_KORVANEDB_VARIANTS_H

#include <comdef.h>
#include <windows.h>

#include <cstring>

namespace KorvaneDB {

// Whether a value is nothing but its bits, so that it is copied and overwritten without a call.
inline bool IsPlain(const VARIANT& value)
{
    switch (V_VT(&value)) {
    case VT_EMPTY:
    case VT_NULL:
    case VT_I2:
    case VT_I4:
    case VT_R8:
    case VT_DATE:
    case VT_BOOL:
    case VT_UI2:
    case VT_UI4:
        return true;
    default:
        return false;
    }
}

// Overwrites a variant with a plain value.
inline void SetPlain(VARIANT& target, const VARIANT& value)
{
    if (!IsPlain(target)) {
        const HRESULT hr = ::VariantClear(&target);
        if (FAILED(hr)) _com_issue_error(hr);
    }
    target = value;
}

// Makes a variant a text of cb bytes. The string that it holds is used again when it is as long.
inline void SetText(VARIANT& target, const void* pText, UINT cb)
{
    if (V_VT(&target) == VT_BSTR && V_BSTR(&target) && ::SysStringByteLen(V_BSTR(&target)) == cb) {
        std::memcpy(V_BSTR(&target), pText, cb);
        return;
    }
    const BSTR pNew = ::SysAllocStringByteLen(static_cast<const char*>(pText), cb);
    if (!pNew) _com_issue_error(E_OUTOFMEMORY);
    if (!IsPlain(target)) {
        const HRESULT hr = ::VariantClear(&target);
        if (FAILED(hr)) {
            ::SysFreeString(pNew);
            _com_issue_error(hr);
        }
    }
    V_VT(&target) = VT_BSTR;
    V_BSTR(&target) = pNew;
}

// What `target = value` does.
inline void Copy(_variant_t& target, const _variant_t& value)
{
    if (IsPlain(value)) {
        SetPlain(target, value);
    } else if (V_VT(&value) == VT_BSTR && V_BSTR(&value) && &target != &value) {
        SetText(target, V_BSTR(&value), ::SysStringByteLen(V_BSTR(&value)));
    } else {
        target = value;
    }
}

} // namespace KorvaneDB

#endif
