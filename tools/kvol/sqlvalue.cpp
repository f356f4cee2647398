#include "sqlvalue.h"

#include "text.h"
#include "value.h"

#include <cmath>
#include <cstring>
#include <limits>

namespace kvol {

namespace {

constexpr uint64_t kTicksOfSecond = 10000000;
constexpr uint64_t kTicksOfDay = 86400 * kTicksOfSecond;

bool HasLoneSurrogate(std::wstring_view text)
{
    for (size_t i = 0; i < text.size(); ++i) {
        if (text[i] < 0xD800 || text[i] > 0xDFFF) continue;
        const bool bPair = text[i] <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        if (!bPair) return true;
        ++i;
    }
    return false;
}

uint64_t BitsOf(double value)
{
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    return bits;
}

bool TakeNumber(std::string_view& text, size_t nDigits, unsigned& value)
{
    if (text.size() < nDigits) return false;
    value = 0;
    for (size_t i = 0; i < nDigits; ++i) {
        if (text[i] < '0' || text[i] > '9') return false;
        value = value * 10 + static_cast<unsigned>(text[i] - '0');
    }
    text.remove_prefix(nDigits);
    return true;
}

bool TakeChar(std::string_view& text, char c)
{
    if (text.empty() || text[0] != c) return false;
    text.remove_prefix(1);
    return true;
}

bool TakeInteger(const CStatement& statement, int n, WORD wType, CEVALUNION& value, std::string& why)
{
    struct Range
    {
        WORD wType;
        int64_t min, max;
    };
    static constexpr Range kRanges[] = {{CEVT_I2, -32768, 32767},
                                        {CEVT_UI2, 0, 65535},
                                        {CEVT_I4, INT32_MIN, INT32_MAX},
                                        {CEVT_UI4, 0, UINT32_MAX},
                                        {CEVT_BOOL, INT32_MIN, INT32_MAX}};
    for (const Range& range : kRanges) {
        if (range.wType != wType) continue;
        const int64_t number = statement.Integer(n);
        if (statement.Type(n) == SQLITE_INTEGER && number >= range.min && number <= range.max) {
            value = {};
            if (wType == CEVT_I2 || wType == CEVT_UI2) {
                value.uiVal = static_cast<USHORT>(number);
            } else {
                value.ulVal = static_cast<ULONG>(number);
            }
            return true;
        }
        why = "is not an " + TypeName(wType) + ", a whole number from " + std::to_string(range.min) + " to " +
              std::to_string(range.max);
    }
    return false;
}

bool TakeReal(const CStatement& statement, int n, double& value, std::string& why)
{
    const int type = statement.Type(n);
    why = "is not an R8, a number";
    if (type == SQLITE_BLOB) {
        const std::string_view bytes = statement.Blob(n);
        if (bytes.size() != sizeof value) return false;
        std::memcpy(&value, bytes.data(), sizeof value);
        return true;
    }
    if (type != SQLITE_INTEGER && type != SQLITE_FLOAT) return false;
    value = statement.Real(n);
    return true;
}

bool TakeTime(const CStatement& statement, int n, FILETIME& value, std::string& why)
{
    uint64_t ticks = 0;
    if (statement.Type(n) == SQLITE_INTEGER) {
        ticks = static_cast<uint64_t>(statement.Integer(n));
    } else if (statement.Type(n) != SQLITE_TEXT || !ParseTicks(statement.Text(n), ticks)) {
        why = "is not a FILETIME, a time such as 2004-03-05T14:07:09Z from 1601 to 9999";
        return false;
    }
    value.dwLowDateTime = static_cast<DWORD>(ticks);
    value.dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    return true;
}

bool TakeText(const CStatement& statement, int n, bool bWide, std::wstring& text, std::string& why)
{
    switch (statement.Type(n)) {
    case SQLITE_BLOB: {
        const std::string_view bytes = statement.Blob(n);
        if (bytes.size() % sizeof(wchar_t) != 0) {
            why = "is a blob, not a text";
            return false;
        }
        text.resize(bytes.size() / sizeof(wchar_t));
        std::memcpy(text.data(), bytes.data(), bytes.size());
        break;
    }
    case SQLITE_FLOAT:
        text = Wide(FormatReal(statement.Real(n)));
        break;
    default:
        if (bWide) {
            text = statement.WideText(n);
        } else if (!ToWide(statement.Text(n), text)) {
            why = "is not well-formed UTF-8";
            return false;
        }
        break;
    }
    if (text.find(L'\0') != std::wstring::npos) {
        why = "has the character U+0000, which no text of a volume can have";
        return false;
    }
    if (text.size() > kMostTextUnits) {
        why = "is too long: a text has at most " + Counted(kMostTextUnits) + " UTF-16 units, this one " +
              Counted(text.size());
        return false;
    }
    return true;
}

} // namespace

bool FormatTicks(uint64_t ticks, bool bDays, std::string& text)
{
    FILETIME ft = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    SYSTEMTIME st;
    if (ticks > static_cast<uint64_t>(INT64_MAX) || !::FileTimeToSystemTime(&ft, &st) || st.wYear > 9999) return false;
    char buffer[48];
    if (bDays && ticks % kTicksOfDay == 0) {
        std::snprintf(buffer, sizeof buffer, "%04u-%02u-%02u", st.wYear, st.wMonth, st.wDay);
        text = buffer;
        return true;
    }
    std::snprintf(buffer, sizeof buffer, "%04u-%02u-%02uT%02u:%02u:%02u.%07lu", st.wYear, st.wMonth, st.wDay, st.wHour,
                  st.wMinute, st.wSecond, static_cast<unsigned long>(ticks % kTicksOfSecond));
    text = buffer;
    text.erase(text.find_last_not_of('0') + 1);
    if (text.back() == '.') text.pop_back();
    text += 'Z';
    return true;
}

bool ParseTicks(std::string_view text, uint64_t& ticks)
{
    unsigned year, month, day, hour = 0, minute = 0, second = 0, fraction = 0;
    if (!TakeNumber(text, 4, year) || !TakeChar(text, '-') || !TakeNumber(text, 2, month) || !TakeChar(text, '-') ||
        !TakeNumber(text, 2, day))
        return false;
    if (!text.empty()) {
        if (!TakeChar(text, 'T') && !TakeChar(text, ' ')) return false;
        if (!TakeNumber(text, 2, hour) || !TakeChar(text, ':') || !TakeNumber(text, 2, minute)) return false;
        const bool bSeconds = TakeChar(text, ':');
        if (bSeconds && !TakeNumber(text, 2, second)) return false;
        if (bSeconds && TakeChar(text, '.')) {
            unsigned digit;
            size_t nDigits = 0;
            for (; nDigits < 7 && TakeNumber(text, 1, digit); ++nDigits) fraction = fraction * 10 + digit;
            if (nDigits == 0) return false;
            for (; nDigits < 7; ++nDigits) fraction *= 10;
        }
        TakeChar(text, 'Z');
    }
    SYSTEMTIME st = {};
    st.wYear = static_cast<WORD>(year);
    st.wMonth = static_cast<WORD>(month);
    st.wDay = static_cast<WORD>(day);
    st.wHour = static_cast<WORD>(hour);
    st.wMinute = static_cast<WORD>(minute);
    st.wSecond = static_cast<WORD>(second);
    // A day that does not exist is refused by the one system and taken for the following one by another (29 February).
    FILETIME ft;
    SYSTEMTIME back;
    if (!text.empty() || year < 1601 || !::SystemTimeToFileTime(&st, &ft) || !::FileTimeToSystemTime(&ft, &back) ||
        back.wDay != st.wDay)
        return false;
    ticks = (static_cast<uint64_t>(ft.dwHighDateTime) << 32 | ft.dwLowDateTime) + fraction;
    return true;
}

const char* DeclaredType(WORD wType, bool bDays)
{
    switch (wType) {
    case CEVT_I2:
        return "SMALLINT";
    case CEVT_UI2:
        return "UNSIGNED SMALLINT";
    case CEVT_I4:
        return "INTEGER";
    case CEVT_UI4:
        return "UNSIGNED INTEGER";
    case CEVT_R8:
        return "REAL";
    case CEVT_BOOL:
        return "BOOLEAN";
    case CEVT_FILETIME:
        return bDays ? "DATE" : "DATETIME";
    case CEVT_BLOB:
        return "BLOB";
    default:
        return "TEXT";
    }
}

void BindValue(CStatement& statement, int n, const CEPROPVAL& value, bool bDays)
{
    const CEVALUNION& val = value.val;
    switch (TypeFromPropID(value.propid)) {
    case CEVT_I2:
        statement.Bind(n, static_cast<sqlite3_int64>(val.iVal));
        break;
    case CEVT_UI2:
        statement.Bind(n, static_cast<sqlite3_int64>(val.uiVal));
        break;
    case CEVT_I4:
    case CEVT_BOOL:
        statement.Bind(n, static_cast<sqlite3_int64>(val.lVal));
        break;
    case CEVT_UI4:
        statement.Bind(n, static_cast<sqlite3_int64>(val.ulVal));
        break;
    case CEVT_R8:
        // SQLite takes what is no number for a null, and stores -0 as 0.
        if (std::isnan(val.dblVal) || BitsOf(val.dblVal) == BitsOf(-0.0)) {
            statement.BindBlob(n, &val.dblVal, sizeof val.dblVal);
        } else {
            statement.Bind(n, val.dblVal);
        }
        break;
    case CEVT_FILETIME: {
        const uint64_t ticks = static_cast<uint64_t>(val.filetime.dwHighDateTime) << 32 | val.filetime.dwLowDateTime;
        std::string text;
        if (FormatTicks(ticks, bDays, text)) {
            statement.Bind(n, text);
        } else {
            statement.Bind(n, static_cast<sqlite3_int64>(ticks));
        }
        break;
    }
    case CEVT_BLOB:
        statement.BindBlob(n, val.blob.lpb, val.blob.dwCount);
        break;
    default: {
        const std::wstring_view text = val.lpwstr;
        if (HasLoneSurrogate(text)) {
            statement.BindBlob(n, text.data(), text.size() * sizeof(wchar_t));
        } else {
            statement.Bind(n, ToUtf8(text));
        }
        break;
    }
    }
}

bool TakeValue(const CStatement& statement, int n, CEPROPID propid, bool bWide, StoredValue& stored, std::string& why)
{
    stored.value = {};
    stored.value.propid = propid;
    CEVALUNION& val = stored.value.val;
    switch (TypeFromPropID(propid)) {
    case CEVT_R8:
        return TakeReal(statement, n, val.dblVal, why);
    case CEVT_FILETIME:
        return TakeTime(statement, n, val.filetime, why);
    case CEVT_BLOB: {
        const std::string_view bytes = statement.Type(n) == SQLITE_BLOB ? statement.Blob(n) : std::string_view();
        if (statement.Type(n) != SQLITE_BLOB) {
            why = "is not a blob";
            return false;
        }
        if (bytes.size() > CEDB_MAXPROPDATASIZE) {
            why = "is too long: a blob has at most " + Counted(CEDB_MAXPROPDATASIZE) + " bytes, this one " +
                  Counted(bytes.size());
            return false;
        }
        stored.blob.assign(bytes.begin(), bytes.end());
        Point(stored);
        return true;
    }
    case CEVT_LPWSTR:
        if (!TakeText(statement, n, bWide, stored.text, why)) return false;
        Point(stored);
        return true;
    default:
        return TakeInteger(statement, n, TypeFromPropID(propid), val, why);
    }
}

void Point(StoredValue& stored)
{
    if (TypeFromPropID(stored.value.propid) == CEVT_LPWSTR) {
        stored.value.val.lpwstr = stored.text.data();
    } else if (TypeFromPropID(stored.value.propid) == CEVT_BLOB) {
        static BYTE s_none[1]; // the store refuses a null pointer
        stored.value.val.blob.dwCount = static_cast<DWORD>(stored.blob.size());
        stored.value.val.blob.lpb = stored.blob.empty() ? s_none : stored.blob.data();
    }
}

} // namespace kvol
