#include "value.h"

#include "text.h"

#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdint>
#include <limits>

namespace kvol {

namespace {

struct TypeRow
{
    WORD wType;
    const char* pszName;
    short odbc;
    short cb;
};

constexpr TypeRow kTypes[] = {
    {CEVT_I2, "I2", kOdbcSmallInt, 2},        {CEVT_UI2, "UI2", kOdbcSmallInt, 2},
    {CEVT_I4, "I4", kOdbcInteger, 4},         {CEVT_UI4, "UI4", kOdbcInteger, 4},
    {CEVT_R8, "R8", kOdbcDouble, 8},          {CEVT_BOOL, "BOOL", kOdbcBit, 4},
    {CEVT_LPWSTR, "LPWSTR", kOdbcVarchar, 0}, {CEVT_FILETIME, "FILETIME", kOdbcTimestamp, 8},
};

const TypeRow* FindType(WORD wType)
{
    for (const TypeRow& row : kTypes) {
        if (row.wType == wType) return &row;
    }
    return nullptr;
}

// Whether the text is the word, in any case. Not by its characters up to a zero: a cell can have one.
bool IsWord(std::string_view text, std::string_view word)
{
    return text.size() == word.size() && ::_strnicmp(text.data(), word.data(), word.size()) == 0;
}

std::string_view WithoutPlus(std::string_view text)
{
    if (text.size() > 1 && text[0] == '+' && text[1] != '-') text.remove_prefix(1);
    return text;
}

template <class T> bool ParseInteger(std::string_view text, WORD wType, T& value, std::string& why)
{
    const std::string_view digits = WithoutPlus(text);
    const char* const pEnd = digits.data() + digits.size();
    int64_t wide = 0;
    const auto result = std::from_chars(digits.data(), pEnd, wide);
    const bool bDigits = !digits.empty() && result.ptr == pEnd && result.ec != std::errc::invalid_argument;
    using Limits = std::numeric_limits<T>;
    if (bDigits && result.ec == std::errc() && wide >= Limits::min() && wide <= static_cast<int64_t>(Limits::max())) {
        value = static_cast<T>(wide);
        return true;
    }
    why = (bDigits ? "does not fit " : "is not an ") + TypeName(wType) + ", a whole number from " +
          std::to_string(Limits::min()) + " to " + std::to_string(Limits::max());
    return false;
}

bool ParseReal(std::string_view text, double& value, std::string& why)
{
    const std::string_view digits = WithoutPlus(text);
    const char* const pEnd = digits.data() + digits.size();
    const auto result = std::from_chars(digits.data(), pEnd, value);
    if (result.ptr == pEnd && result.ec == std::errc() && std::isfinite(value)) return true;
    why = result.ptr == pEnd && result.ec == std::errc::result_out_of_range
              ? "does not fit R8, whose largest number is about 1.8e308 and smallest about 4.9e-324"
              : "is not an R8, a number such as -12.5 or 1e9";
    return false;
}

bool ParseBool(std::string_view text, bool& value, std::string& why)
{
    if (text == "1" || IsWord(text, "true")) {
        value = true;
    } else if (text == "0" || IsWord(text, "false")) {
        value = false;
    } else {
        why = "is not a BOOL: true or false";
        return false;
    }
    return true;
}

// Takes exactly count digits off the front of text.
bool TakeDigits(std::string_view& text, size_t count, WORD& value)
{
    if (text.size() < count) return false;
    value = 0;
    for (size_t i = 0; i < count; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = static_cast<WORD>(value * 10 + (text[i] - '0'));
    }
    text.remove_prefix(count);
    return true;
}

bool Take(std::string_view& text, char c)
{
    if (text.empty() || text[0] != c) return false;
    text.remove_prefix(1);
    return true;
}

bool TakeTime(std::string_view& text, SYSTEMTIME& st)
{
    if (!TakeDigits(text, 2, st.wHour) || !Take(text, ':') || !TakeDigits(text, 2, st.wMinute)) return false;
    if (Take(text, ':')) {
        if (!TakeDigits(text, 2, st.wSecond)) return false;
        if (Take(text, '.')) {
            if (!Take(text, '0')) return false;
            while (Take(text, '0')) {
            }
        }
    }
    Take(text, 'Z');
    return true;
}

bool ParseTime(std::string_view text, DATE& value, std::string& why)
{
    UDATE date = {};
    SYSTEMTIME& st = date.st;
    std::string_view rest = text;
    bool bGood = TakeDigits(rest, 4, st.wYear) && Take(rest, '-') && TakeDigits(rest, 2, st.wMonth) &&
                 Take(rest, '-') && TakeDigits(rest, 2, st.wDay);
    if (bGood && !rest.empty()) bGood = (Take(rest, 'T') || Take(rest, ' ')) && TakeTime(rest, st) && rest.empty();
    // A day that does not exist is refused by the one system and taken for the following one by another (29 February).
    FILETIME ft;
    SYSTEMTIME back;
    if (bGood && st.wYear >= 1601 && st.wYear <= 9999 && ::SystemTimeToFileTime(&st, &ft) &&
        ::FileTimeToSystemTime(&ft, &back) && back.wDay == st.wDay && SUCCEEDED(::VarDateFromUdate(&date, 0, &value))) {
        return true;
    }
    why = "is not a FILETIME from 1601 to 9999, such as 2004-03-05 or 2004-03-05T14:07:09Z (whole seconds, UTC)";
    return false;
}

std::string FormatTime(DATE value, bool bDays)
{
    UDATE date = {};
    if (FAILED(::VarUdateFromDate(value, 0, &date))) return "?";
    const SYSTEMTIME& st = date.st;
    char text[40];
    if (bDays && !st.wHour && !st.wMinute && !st.wSecond) {
        std::snprintf(text, sizeof text, "%04u-%02u-%02u", st.wYear, st.wMonth, st.wDay);
    } else {
        std::snprintf(text, sizeof text, "%04u-%02u-%02uT%02u:%02u:%02uZ", st.wYear, st.wMonth, st.wDay, st.wHour,
                      st.wMinute, st.wSecond);
    }
    return text;
}

bool ParseText(std::string_view text, _variant_t& value, std::string& why)
{
    std::wstring wide;
    if (!ToWide(text, wide)) {
        why = "is not UTF-8 text";
        return false;
    }
    if (wide.find(L'\0') != std::wstring::npos) {
        why = "has a character U+0000, which ends a text in a volume";
        return false;
    }
    if (wide.size() > kMostTextUnits) {
        why = "has " + Counted(wide.size()) + " UTF-16 units; a text has at most " + Counted(kMostTextUnits);
        return false;
    }
    value = wide.c_str();
    return true;
}

} // namespace

std::string TypeName(WORD wType)
{
    if (const TypeRow* pRow = FindType(wType)) return pRow->pszName;
    return wType == CEVT_BLOB ? "BLOB" : "type " + std::to_string(wType);
}

WORD TypeFromName(std::string_view name)
{
    for (const TypeRow& row : kTypes) {
        if (IsWord(name, row.pszName)) return row.wType;
    }
    return 0;
}

short OdbcOf(WORD wType)
{
    const TypeRow* pRow = FindType(wType);
    return pRow ? pRow->odbc : 0;
}

short LengthOf(WORD wType)
{
    const TypeRow* pRow = FindType(wType);
    return pRow ? pRow->cb : 0;
}

bool ParseValue(WORD wType, std::string_view text, _variant_t& value, std::string& why)
{
    value.Clear();
    switch (wType) {
    case CEVT_I2:
        if (!ParseInteger<short>(text, wType, V_I2(&value), why)) return false;
        V_VT(&value) = VT_I2;
        return true;
    case CEVT_UI2:
        if (!ParseInteger<USHORT>(text, wType, V_UI2(&value), why)) return false;
        V_VT(&value) = VT_UI2;
        return true;
    case CEVT_I4:
        if (!ParseInteger<LONG>(text, wType, V_I4(&value), why)) return false;
        V_VT(&value) = VT_I4;
        return true;
    case CEVT_UI4:
        if (!ParseInteger<ULONG>(text, wType, V_UI4(&value), why)) return false;
        V_VT(&value) = VT_UI4;
        return true;
    case CEVT_R8: {
        double number = 0;
        if (!ParseReal(text, number, why)) return false;
        V_R8(&value) = number;
        V_VT(&value) = VT_R8;
        return true;
    }
    case CEVT_BOOL: {
        bool bValue = false;
        if (!ParseBool(text, bValue, why)) return false;
        V_BOOL(&value) = bValue ? VARIANT_TRUE : VARIANT_FALSE;
        V_VT(&value) = VT_BOOL;
        return true;
    }
    case CEVT_FILETIME: {
        DATE date = 0;
        if (!ParseTime(text, date, why)) return false;
        V_DATE(&value) = date;
        V_VT(&value) = VT_DATE;
        return true;
    }
    case CEVT_LPWSTR:
        return ParseText(text, value, why);
    default:
        why = "cannot be a " + TypeName(wType) + ", a type that kvol does not write";
        return false;
    }
}

std::string FormatReal(double value)
{
    if (!std::isfinite(value)) return std::isnan(value) ? "nan" : value < 0 ? "-inf" : "inf";
    char text[32];
    const auto result = std::to_chars(text, text + sizeof text, value, std::chars_format::scientific);
    const std::string_view all(text, result.ptr - text);
    const size_t e = all.find('e');
    int exponent = 0;
    std::from_chars(all.data() + e + (all[e + 1] == '+' ? 2 : 1), result.ptr, exponent);
    if (exponent < -6 || exponent >= 21) return std::string(all);
    std::string digits;
    for (const char c : all.substr(0, e)) {
        if (c >= '0' && c <= '9') digits += c;
    }
    std::string out = all[0] == '-' ? "-" : "";
    if (exponent < 0) return out + "0." + std::string(-exponent - 1, '0') + digits;
    const size_t whole = exponent + 1;
    if (digits.size() <= whole) return out + digits + std::string(whole - digits.size(), '0');
    return out + digits.substr(0, whole) + "." + digits.substr(whole);
}

std::string FormatValue(const _variant_t& value, bool bDays)
{
    switch (V_VT(&value)) {
    case VT_NULL:
        return std::string();
    case VT_I2:
        return std::to_string(V_I2(&value));
    case VT_UI2:
        return std::to_string(V_UI2(&value));
    case VT_I4:
        return std::to_string(V_I4(&value));
    case VT_UI4:
        return std::to_string(V_UI4(&value));
    case VT_R8:
        return FormatReal(V_R8(&value));
    case VT_BOOL:
        return V_BOOL(&value) ? "true" : "false";
    case VT_DATE:
        return FormatTime(V_DATE(&value), bDays);
    case VT_BSTR:
        return ToUtf8(std::wstring_view(V_BSTR(&value), ::SysStringLen(V_BSTR(&value))));
    default:
        return "?";
    }
}

bool IsWritten(WORD wType, std::string_view text, bool bDays)
{
    _variant_t value;
    std::string why;
    return ParseValue(wType, text, value, why) && FormatValue(value, bDays) == text;
}

} // namespace kvol
