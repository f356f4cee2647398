// values.h - a caller's CEPROPVAL as a field, and a field as a CEPROPVAL.
#ifndef KORVANESTORE_VALUES_H
#define KORVANESTORE_VALUES_H

#include "record.h"

namespace store {

// A property of a write call; bDelete: it is to go.
struct CGiven
{
    CField field;
    bool bDelete = false;
};

// The field points at the caller's text or blob. False: an unknown type, no text or blob where there should be one, a
// text of more than cchMax characters or a blob of more than cbMax bytes.
inline bool FieldFromValue(const CEPROPVAL& value, DWORD cchMax, DWORD cbMax, CField& field)
{
    field.propid = value.propid;
    field.form = CField::kNumber;
    switch (TypeFromPropID(value.propid)) {
    case CEVT_I2:
    case CEVT_UI2:
        field.ullBits = value.val.uiVal;
        return true;
    case CEVT_I4:
    case CEVT_UI4:
        field.ullBits = value.val.ulVal;
        return true;
    case CEVT_BOOL:
        field.ullBits = static_cast<DWORD>(value.val.boolVal);
        return true;
    case CEVT_R8:
    case CEVT_FILETIME:
        field.ullBits = Load<ULONGLONG>(&value.val);
        return true;
    case CEVT_LPWSTR:
        return value.val.lpwstr && MeasureText(value.val.lpwstr, cchMax, field);
    case CEVT_BLOB:
        field.form = CField::kBlob;
        field.p = value.val.blob.lpb;
        field.cch = value.val.blob.dwCount;
        return (field.p || field.cch == 0) && field.cch <= cbMax;
    default:
        return false;
    }
}

// Bytes that a field takes behind the array of values.
inline DWORD ExtraSize(const CField& field)
{
    if (field.form == CField::kNumber) return 0;
    return ((field.form == CField::kBlob ? field.cch : (field.cch + 1) * sizeof(wchar_t)) + 3) & ~3u;
}

// Writes a text or blob at pExtra, which has ExtraSize bytes, and the value that points there.
inline void StoreVarying(const CField& field, CEVALUNION& value, BYTE* pExtra)
{
    if (field.form == CField::kBlob) {
        value.blob.dwCount = field.cch;
        value.blob.lpb = pExtra;
        CopyBytes(pExtra, field.p, field.cch);
    } else {
        Store(&value, ULONGLONG{0});
        value.lpwstr = reinterpret_cast<LPWSTR>(pExtra);
        ExpandText(value.lpwstr, field);
    }
}

} // namespace store

#endif
