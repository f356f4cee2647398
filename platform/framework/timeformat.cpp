// CTime and CTimeSpan as text.
//
// Written out rather than left to the C library: that ends the program on some formats that it does not know, cuts at a
// buffer's size, and takes its zone from an environment variable.
#include "afx.h"

namespace {

constexpr LPCTSTR kDays[] = {L"Sunday", L"Monday", L"Tuesday", L"Wednesday", L"Thursday", L"Friday", L"Saturday"};
constexpr LPCTSTR kMonths[] = {L"January", L"February", L"March",     L"April",   L"May",      L"June",
                               L"July",    L"August",   L"September", L"October", L"November", L"December"};
constexpr int kShortName = 3; // characters of an abbreviated name

// How one calendar date is written.
struct CalendarText
{
    const struct tm& tm;
    bool bGmt;
    CString strText;

    // False if the format has a code that does not exist.
    bool Append(LPCTSTR pszFormat)
    {
        for (; *pszFormat; ++pszFormat) {
            if (*pszFormat != L'%') {
                strText += *pszFormat;
                continue;
            }
            ++pszFormat;
            const bool bAlternate = *pszFormat == L'#';
            if (bAlternate) ++pszFormat;
            if (!AppendCode(*pszFormat, bAlternate)) return false;
        }
        return true;
    }

    bool AppendCode(TCHAR chCode, bool bAlternate)
    {
        switch (chCode) {
        case L'a':
            return AppendText(CString(kDays[tm.tm_wday], kShortName));
        case L'A':
            return AppendText(kDays[tm.tm_wday]);
        case L'b':
            return AppendText(CString(kMonths[tm.tm_mon], kShortName));
        case L'B':
            return AppendText(kMonths[tm.tm_mon]);
        case L'c':
            return Append(bAlternate ? L"%A, %B %d, %Y %H:%M:%S" : L"%m/%d/%y %H:%M:%S");
        case L'd':
            return AppendNumber(tm.tm_mday, 2, bAlternate);
        case L'H':
            return AppendNumber(tm.tm_hour, 2, bAlternate);
        case L'I':
            return AppendNumber((tm.tm_hour + 11) % 12 + 1, 2, bAlternate);
        case L'j':
            return AppendNumber(tm.tm_yday + 1, 3, bAlternate);
        case L'm':
            return AppendNumber(tm.tm_mon + 1, 2, bAlternate);
        case L'M':
            return AppendNumber(tm.tm_min, 2, bAlternate);
        case L'p':
            return AppendText(tm.tm_hour < 12 ? L"AM" : L"PM");
        case L'S':
            return AppendNumber(tm.tm_sec, 2, bAlternate);
        case L'U':
            return AppendNumber((tm.tm_yday + 7 - tm.tm_wday) / 7, 2, bAlternate);
        case L'w':
            return AppendNumber(tm.tm_wday, 1, bAlternate);
        case L'W':
            return AppendNumber((tm.tm_yday + 7 - (tm.tm_wday + 6) % 7) / 7, 2, bAlternate);
        case L'x':
            return Append(bAlternate ? L"%A, %B %d, %Y" : L"%m/%d/%y");
        case L'X':
            return Append(L"%H:%M:%S");
        case L'y':
            return AppendNumber(tm.tm_year % 100, 2, bAlternate);
        case L'Y':
            return AppendNumber(tm.tm_year + 1900, 4, bAlternate);
        case L'z':
        case L'Z':
            return AppendZone();
        case L'%':
            return AppendText(L"%");
        default:
            return false;
        }
    }

    bool AppendText(LPCTSTR psz)
    {
        strText += psz;
        return true;
    }

    bool AppendNumber(int nValue, int nDigits, bool bNoZeros)
    {
        CString strNumber;
        strNumber.Format(L"%0*d", bNoZeros ? 1 : nDigits, nValue);
        return AppendText(strNumber);
    }

    bool AppendZone()
    {
        if (bGmt) return AppendText(L"UTC");
        TIME_ZONE_INFORMATION zone;
        if (::GetTimeZoneInformation(&zone) == TIME_ZONE_ID_INVALID) return true;
        // The names fill their arrays when they are long.
        const WCHAR* pszName = tm.tm_isdst > 0 ? zone.DaylightName : zone.StandardName;
        return AppendText(CString(pszName, static_cast<int>(::wcsnlen(pszName, ARRAYSIZE(zone.StandardName)))));
    }
};

CString CalendarFormat(const struct tm* ptm, bool bGmt, LPCTSTR pszFormat)
{
    if (!ptm || !pszFormat) return CString();
    CalendarText text = {*ptm, bGmt, CString()};
    return text.Append(pszFormat) ? text.strText : CString();
}

CString ResourceText(UINT nID)
{
    CString strText;
    strText.LoadString(nID);
    return strText;
}

} // namespace

CString CTimeSpan::Format(LPCTSTR pszFormat) const
{
    CString strText;
    for (; pszFormat && *pszFormat; ++pszFormat) {
        if (*pszFormat != L'%') {
            strText += *pszFormat;
            continue;
        }
        CString strField;
        switch (*++pszFormat) {
        case L'D':
            strField.Format(L"%ld", GetDays());
            break;
        case L'H':
            strField.Format(L"%02d", GetHours());
            break;
        case L'M':
            strField.Format(L"%02d", GetMinutes());
            break;
        case L'S':
            strField.Format(L"%02d", GetSeconds());
            break;
        case L'%':
            strField = L"%";
            break;
        default:
            ASSERT(!"a code that a time span does not have");
            break;
        }
        strText += strField;
        if (*pszFormat == 0) break;
    }
    return strText;
}

CString CTimeSpan::Format(UINT nFormatID) const
{
    return Format(ResourceText(nFormatID));
}

CString CTime::Format(LPCTSTR pszFormat) const
{
    struct tm tm;
    return CalendarFormat(GetLocalTm(&tm), false, pszFormat);
}

CString CTime::Format(UINT nFormatID) const
{
    return Format(ResourceText(nFormatID));
}

CString CTime::FormatGmt(LPCTSTR pszFormat) const
{
    struct tm tm;
    return CalendarFormat(GetGmtTm(&tm), true, pszFormat);
}

CString CTime::FormatGmt(UINT nFormatID) const
{
    return FormatGmt(ResourceText(nFormatID));
}
