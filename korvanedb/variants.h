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

#include <cstddef>
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

// Empties a variant, unless it is a plain one that can be written over.
inline void MakeRoom(VARIANT& target)
{
    if (IsPlain(target)) return;
    const HRESULT hr = ::VariantClear(&target);
    if (FAILED(hr)) _com_issue_error(hr);
}

// Makes a variant a plain value: its type and its bits.
inline void SetPlain(VARIANT& target, VARTYPE type, ULONGLONG ullBits)
{
    MakeRoom(target);
    const ULONGLONG ullHead = type;
    static_assert(offsetof(VARIANT, lVal) == sizeof ullHead, "type and reserved fields, then the value");
    std::memcpy(static_cast<void*>(&target), &ullHead, sizeof ullHead);
    std::memcpy(&V_I4(&target), &ullBits, sizeof ullBits);
}

// The bytes of a string that is not null: they stand before its first character.
inline UINT ByteLength(BSTR text)
{
    UINT cb;
    std::memcpy(&cb, reinterpret_cast<const char*>(text) - sizeof cb, sizeof cb);
    return cb;
}

// Looks for a terminator in a word of two characters: 0, or with the highest bit of a half set. A borrow out of a half
// that is zero is the only way for that bit to come to be set anew.
inline DWORD ZeroIn(const char* pWord)
{
    DWORD dwTwo;
    std::memcpy(&dwTwo, pWord, sizeof dwTwo);
    return (dwTwo - 0x00010001) & ~dwTwo & 0x80008000;
}

// The bytes of a text up to its terminator. Words are looked at, and four of them at once, where none reaches into a page
// of memory that the text does not.
inline UINT TextBytes(const wchar_t* pText)
{
    constexpr UINT_PTR kPage = 4096;
    const char* const pFirst = reinterpret_cast<const char*>(pText);
    const char* p = pFirst;
    if (reinterpret_cast<UINT_PTR>(p) % sizeof(DWORD) == 0) {
        while (reinterpret_cast<UINT_PTR>(p) % kPage <= kPage - 16 &&
               !(ZeroIn(p) | ZeroIn(p + 4) | ZeroIn(p + 8) | ZeroIn(p + 12)))
            p += 16;
        while (!ZeroIn(p)) p += 4;
    }
    while (pText[(p - pFirst) / sizeof(wchar_t)]) p += sizeof(wchar_t);
    return static_cast<UINT>(p - pFirst);
}

// Copies texts, which are short: a call of the C library costs as much as the copy.
inline void CopyText(void* pTo, const void* pFrom, UINT cb)
{
    char* p = static_cast<char*>(pTo);
    const char* pf = static_cast<const char*>(pFrom);
    if (cb > 256) {
        std::memcpy(p, pf, cb);
        return;
    }
    for (; cb >= 16; cb -= 16, p += 16, pf += 16) std::memcpy(p, pf, 16);
    for (; cb >= 4; cb -= 4, p += 4, pf += 4) std::memcpy(p, pf, 4);
    for (; cb; --cb) *p++ = *pf++;
}

// Makes a variant a text of cb bytes. The string that it holds is used again when it is as long.
inline void SetText(VARIANT& target, const void* pText, UINT cb)
{
    if (V_VT(&target) == VT_BSTR && V_BSTR(&target) && ByteLength(V_BSTR(&target)) == cb) {
        CopyText(V_BSTR(&target), pText, cb);
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
        MakeRoom(target);
        static_cast<VARIANT&>(target) = value;
    } else if (V_VT(&value) == VT_BSTR && V_BSTR(&value) && &target != &value) {
        SetText(target, V_BSTR(&value), ByteLength(V_BSTR(&value)));
    } else {
        target = value;
    }
}

} // namespace KorvaneDB

#endif
