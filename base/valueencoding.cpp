// The value types of the streams that are made of others: floating point, bool, texts and variants.
#include "base/bytestream.h"

#include "base/errorutil.h"

#include <oleauto.h>

#include <cstring>
#include <cwchar>
#include <iterator>

// Numbers in memory have the byte order of the format, and floats its representation.
static_assert(__BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__ && sizeof(float) == 4 && sizeof(double) == 8 &&
              sizeof(bool) == 1);
static_assert(sizeof(VARIANT) == 16);

namespace {

// Outside the operators, so that whole values, which are most, do not pay for their registers.
template <class T> [[gnu::noinline]] COutputStream& WriteBytewise(COutputStream& stream, T value)
{
    unsigned char bytes[sizeof value];
    std::memcpy(bytes, &value, sizeof value);
    for (unsigned char byte : bytes) stream << byte;
    return stream;
}

template <class T> [[gnu::noinline]] KorvaneIO::CInputStream& ReadBytewise(KorvaneIO::CInputStream& stream, T& value)
{
    unsigned char bytes[sizeof value] = {};
    for (unsigned char& byte : bytes) stream >> byte;
    std::memcpy(&value, bytes, sizeof value);
    return stream;
}

// Moves `source` into `target` by the automation calls, whose failure there is nobody to return to.
void Store(_variant_t& target, VARIANT& source)
{
    __iRecordErr(::VariantCopy(&target, &source));
    __iRecordErr(::VariantClear(&source));
}

BSTR AllocText(const CString& text)
{
    const BSTR copy = ::SysAllocString(text);
    if (copy == nullptr && !text.IsEmpty()) __iRecordErr(E_OUTOFMEMORY);
    return copy;
}

} // namespace

COutputStream& COutputStream::operator<<(float value)
{
    return CByteOutputStream::Put(*this, value) ? *this : WriteBytewise(*this, value);
}

COutputStream& COutputStream::operator<<(double value)
{
    return CByteOutputStream::Put(*this, value) ? *this : WriteBytewise(*this, value);
}

COutputStream& COutputStream::operator<<(bool value)
{
    return CByteOutputStream::Put(*this, value) ? *this : *this << static_cast<unsigned short>(value);
}

COutputStream& COutputStream::operator<<(const CString& value)
{
    if (CByteOutputStream::PutText(*this, value)) return *this;
    return *this << static_cast<const wchar_t*>(value);
}

COutputStream& COutputStream::operator<<(const wchar_t* text)
{
    if (text == nullptr) text = L"";
    if (CByteOutputStream::PutText(*this, text)) return *this;
    *this << static_cast<unsigned long>(std::wcslen(text));
    for (; *text != 0; ++text) *this << static_cast<unsigned short>(*text);
    return *this;
}

COutputStream& COutputStream::operator<<(const char* text)
{
    if (text == nullptr) text = "";
    if (CByteOutputStream::PutText(*this, text)) return *this;
    *this << static_cast<unsigned long>(std::strlen(text));
    for (; *text != 0; ++text) *this << static_cast<unsigned short>(static_cast<unsigned char>(*text));
    return *this;
}

COutputStream& COutputStream::operator<<(_variant_t value)
{
    *this << static_cast<unsigned short>(value.vt);
    switch (value.vt) {
    case VT_EMPTY:
    case VT_NULL:
        break;
    case VT_I2:
    case VT_UI2:
        *this << value.iVal;
        break;
    case VT_I4:
    case VT_UI4:
        *this << value.lVal;
        break;
    case VT_R4:
        *this << value.fltVal;
        break;
    case VT_R8:
    case VT_DATE:
        *this << value.dblVal;
        break;
    case VT_BSTR:
        *this << static_cast<const wchar_t*>(value.bstrVal);
        break;
    case VT_BOOL:
        *this << static_cast<char>(value.boolVal != 0);
        break;
    case VT_I1:
    case VT_UI1:
        *this << static_cast<unsigned char>(value.bVal);
        break;
    default:
        setError(DISP_E_BADVARTYPE);
    }
    __iRecordErr(::VariantClear(&value));
    return *this;
}

namespace KorvaneIO {

CInputStream& CInputStream::operator>>(float& value)
{
    return CByteInputStream::Get(*this, value) ? *this : ReadBytewise(*this, value);
}

CInputStream& CInputStream::operator>>(double& value)
{
    return CByteInputStream::Get(*this, value) ? *this : ReadBytewise(*this, value);
}

CInputStream& CInputStream::operator>>(bool& value)
{
    if (CByteInputStream::Get(*this, value)) return *this;
    unsigned short bits = 0;
    *this >> bits;
    value = (bits & 0xFF) != 0;
    return *this;
}

CInputStream& CInputStream::operator>>(CString& value)
{
    unsigned long count = 0;
    if (const unsigned char* const units = CByteInputStream::TakeText(*this, count)) {
        CByteInputStream::SetText(value, units, count);
        return *this;
    }
    *this >> count;
    if (m_lError == STREAM_E_EOF) return *this;
    value.Empty();
    // The count is only a claim: nothing is reserved for it, the text grows in proportion to what comes.
    wchar_t part[64];
    size_t length = 0;
    for (long left = static_cast<long>(count); left > 0 && !eof(); --left) {
        unsigned short unit = 0;
        *this >> unit;
        part[length++] = unit;
        if (length == std::size(part)) {
            value += CString(part, length);
            length = 0;
        }
    }
    value += CString(part, length);
    return *this;
}

CInputStream& CInputStream::operator>>(_variant_t& value)
{
    unsigned short tag = 0;
    *this >> tag;
    VARIANT read;
    ::VariantInit(&read);
    switch (tag) {
    case VT_EMPTY:
    case VT_NULL:
        value.vt = tag;
        return *this;
    case VT_I2:
    case VT_UI2:
        read.vt = VT_I2;
        *this >> read.iVal;
        break;
    case VT_I4:
    case VT_UI4:
        read.vt = VT_I4;
        *this >> read.lVal;
        break;
    case VT_R4:
        read.vt = VT_R4;
        *this >> read.fltVal;
        break;
    case VT_R8:
    case VT_DATE:
        read.vt = tag;
        *this >> read.dblVal;
        break;
    case VT_BSTR: {
        CString text;
        *this >> text;
        read.vt = VT_BSTR;
        read.bstrVal = AllocText(text);
        break;
    }
    case VT_BOOL: {
        char truth = 0;
        *this >> truth;
        read.vt = VT_BOOL;
        read.boolVal = truth == 1 ? VARIANT_TRUE : VARIANT_FALSE;
        break;
    }
    case VT_I1:
    case VT_UI1:
        read.vt = VT_UI1;
        *this >> read.bVal;
        break;
    default:
        m_lError = DISP_E_BADVARTYPE;
        return *this;
    }
    Store(value, read);
    // These three travel as the type of the other sign and get their own name back, whatever became of the copy.
    if (tag == VT_I1 || tag == VT_UI2 || tag == VT_UI4) value.vt = tag;
    return *this;
}

} // namespace KorvaneIO
