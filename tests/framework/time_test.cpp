// CTime, CTimeSpan. What is expected of local time comes from the system's own conversions, so that these hold in any
// zone. GetTimeZoneInformationForYear is declared for this version.
#undef _WIN32_WINNT
#define _WIN32_WINNT 0x0601
#undef WINVER
#define WINVER 0x0601

#include "afx_print.h"
#include "resource.h"

#include <gtest/gtest.h>

#include <climits>

namespace {

constexpr time_t kMarch2004 = 1078495629; // 2004-03-05 14:07:09 UTC, a Friday
constexpr LONGLONG kTicksPerSecond = 10000000;
constexpr LONGLONG kSecondsFrom1601 = 11644473600;

FILETIME FileTimeOf(LONGLONG nSeconds)
{
    const ULONGLONG nTicks = (nSeconds + kSecondsFrom1601) * kTicksPerSecond;
    return {static_cast<DWORD>(nTicks), static_cast<DWORD>(nTicks >> 32)};
}

SYSTEMTIME LocalOf(time_t time)
{
    SYSTEMTIME utc, local;
    TIME_ZONE_INFORMATION zone;
    const FILETIME ft = FileTimeOf(time);
    ::FileTimeToSystemTime(&ft, &utc);
    ::GetTimeZoneInformationForYear(utc.wYear, NULL, &zone);
    ::SystemTimeToTzSpecificLocalTime(&zone, &utc, &local);
    return local;
}

// Every season and every hour from 1970-01-02 to 2038-01-17.
template <class Check> void ForManyTimes(Check check)
{
    for (LONGLONG t = 86400; t < 2147300000; t += 41 * 86400 + 3601) check(static_cast<time_t>(t));
}

CString Gmt(time_t time, LPCTSTR pszFormat)
{
    return CTime(time).FormatGmt(pszFormat);
}

} // namespace

TEST(TimeTest, IsItsSeconds)
{
    EXPECT_EQ(kMarch2004, CTime(kMarch2004).GetTime());
    EXPECT_EQ(0, CTime(time_t(0)).GetTime());
    EXPECT_EQ(-1, CTime(time_t(-1)).GetTime());
    CTime time(1);
    time = kMarch2004;
    EXPECT_EQ(kMarch2004, time.GetTime());
}

TEST(TimeTest, FieldsAreLocalTime)
{
    ForManyTimes([](time_t t) {
        const CTime time(t);
        const SYSTEMTIME local = LocalOf(t);
        ASSERT_EQ(local.wYear, time.GetYear()) << t;
        ASSERT_EQ(local.wMonth, time.GetMonth());
        ASSERT_EQ(local.wDay, time.GetDay());
        ASSERT_EQ(local.wHour, time.GetHour());
        ASSERT_EQ(local.wMinute, time.GetMinute());
        ASSERT_EQ(local.wSecond, time.GetSecond());
        ASSERT_EQ(local.wDayOfWeek + 1, time.GetDayOfWeek());
    });
}

TEST(TimeTest, FieldsGoInAsTheyComeOut)
{
    ForManyTimes([](time_t t) {
        struct tm tm;
        const CTime time(t);
        ASSERT_EQ(&tm, time.GetLocalTm(&tm));
        const CTime again(time.GetYear(), time.GetMonth(), time.GetDay(), time.GetHour(), time.GetMinute(),
                          time.GetSecond(), tm.tm_isdst);
        ASSERT_EQ(t, again.GetTime()) << "daylight: " << tm.tm_isdst;
    });
    // Noon is never an hour that a change of the clock skips or repeats.
    for (int nMonth = 1; nMonth <= 12; ++nMonth) {
        const CTime noon(2004, nMonth, 15, 12, 30, 59);
        EXPECT_EQ(2004, noon.GetYear());
        EXPECT_EQ(nMonth, noon.GetMonth());
        EXPECT_EQ(15, noon.GetDay());
        EXPECT_EQ(12, noon.GetHour());
        EXPECT_EQ(30, noon.GetMinute());
        EXPECT_EQ(59, noon.GetSecond());
    }
}

TEST(TimeTest, DaylightTimeIsAsked)
{
    TIME_ZONE_INFORMATION zone;
    ::GetTimeZoneInformationForYear(2004, NULL, &zone);
    const bool bHasDaylight = zone.DaylightDate.wMonth != 0;
    const LONG lExpected = bHasDaylight ? (zone.DaylightBias - zone.StandardBias) * 60 : 0;
    for (const int nMonth : {1, 7}) {
        const CTime standard(2004, nMonth, 15, 12, 0, 0, 0), daylight(2004, nMonth, 15, 12, 0, 0, 1);
        EXPECT_EQ(lExpected, (daylight - standard).GetTotalSeconds());
        const CTime itself(2004, nMonth, 15, 12, 0, 0);
        EXPECT_TRUE(itself == standard || itself == daylight);
        struct tm tm;
        itself.GetLocalTm(&tm);
        EXPECT_TRUE(itself == (tm.tm_isdst ? daylight : standard));
    }
}

TEST(TimeTest, LimitsOfTheCalendar)
{
    SYSTEMTIME st = LocalOf(LONG_MAX);
    EXPECT_EQ(LONG_MAX, CTime(st).GetTime());
    EXPECT_EQ(-1, CTime(FileTimeOf(LONGLONG(LONG_MAX) + 1)).GetTime());
    EXPECT_EQ(LONG_MAX, CTime(FileTimeOf(LONG_MAX)).GetTime());
    EXPECT_EQ(0, CTime(FileTimeOf(0)).GetTime());
    EXPECT_EQ(-1, CTime(FileTimeOf(-1)).GetTime());
    st.wYear = 2039;
    EXPECT_EQ(-1, CTime(st).GetTime());
    EXPECT_EQ(-1, CTime(2038, 12, 31, 0, 0, 0).GetTime());
}

#ifdef NDEBUG
TEST(TimeTest, FieldsOutsideTheirRangeCarryOver)
{
    EXPECT_TRUE(CTime(2004, 2, 31, 0, 0, 0) == CTime(2004, 3, 2, 0, 0, 0));
    EXPECT_TRUE(CTime(2003, 14, 1, 0, 0, 0) == CTime(2004, 2, 1, 0, 0, 0));
    EXPECT_TRUE(CTime(2004, 0, 1, 0, 0, 0) == CTime(2003, 12, 1, 0, 0, 0));
    EXPECT_TRUE(CTime(2004, 1, 1, 0, -60, 0) == CTime(2003, 12, 31, 23, 0, 0));
    EXPECT_EQ(-1, CTime(INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX, INT_MAX).GetTime());
    EXPECT_EQ(-1, CTime(INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN, INT_MIN).GetTime());
    EXPECT_EQ(-1, CTime(1960, 1, 1, 0, 0, 0).GetTime());
}
#else
TEST(TimeTest, FieldsOutsideTheirRangeAreAssertions)
{
    EXPECT_DEATH(CTime(1969, 1, 1, 0, 0, 0), "assertion failed");
    EXPECT_DEATH(CTime(2004, 13, 1, 0, 0, 0), "assertion failed");
    EXPECT_DEATH(CTime(2004, 1, 0, 0, 0, 0), "assertion failed");
    EXPECT_DEATH(CTime(2004, 1, 1, 24, 0, 0), "assertion failed");
    EXPECT_DEATH(CTime(2004, 1, 1, 0, 60, 0), "assertion failed");
    EXPECT_DEATH(CTime(2004, 1, 1, 0, 0, -1), "assertion failed");
}
#endif

TEST(TimeTest, LeapYears)
{
    EXPECT_EQ(29, (CTime(2004, 3, 1, 12, 0, 0) - CTimeSpan(1, 0, 0, 0)).GetDay());
    EXPECT_EQ(28, (CTime(2003, 3, 1, 12, 0, 0) - CTimeSpan(1, 0, 0, 0)).GetDay());
    EXPECT_EQ(29, (CTime(2000, 3, 1, 12, 0, 0) - CTimeSpan(1, 0, 0, 0)).GetDay());
}

TEST(TimeTest, PackedDatesAreLocalTime)
{
    const WORD wDate = ((2004 - 1980) << 9) | (3 << 5) | 5;
    const WORD wTime = (14 << 11) | (7 << 5) | (8 / 2);
    EXPECT_TRUE(CTime(wDate, wTime) == CTime(2004, 3, 5, 14, 7, 8));
    EXPECT_TRUE(CTime(wDate, wTime, 0) == CTime(2004, 3, 5, 14, 7, 8, 0));
    // Every field at its largest: month 15, hour 31, minute 63, second 62 in the year 2107.
    EXPECT_EQ(-1, CTime(WORD(0xFFFF), WORD(0xFFFF)).GetTime());
}

TEST(TimeTest, SystemTimesAreLocalTime)
{
    SYSTEMTIME st = {2004, 3, 0, 5, 14, 7, 9, 999};
    EXPECT_TRUE(CTime(st) == CTime(2004, 3, 5, 14, 7, 9)) << "the milliseconds are dropped";
    EXPECT_TRUE(CTime(st, 0) == CTime(2004, 3, 5, 14, 7, 9, 0));
    st.wYear = 1899;
    EXPECT_EQ(0, CTime(st).GetTime());
    st.wYear = 1900;
    EXPECT_EQ(-1, CTime(st).GetTime());
    st = {0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF, 0xFFFF};
    EXPECT_EQ(-1, CTime(st).GetTime());
}

TEST(TimeTest, FileTimesAreUtcInEverySeason)
{
    ForManyTimes([](time_t t) { ASSERT_EQ(t, CTime(FileTimeOf(t)).GetTime()); });
    EXPECT_EQ(0, CTime(FileTimeOf(-2208988801LL)).GetTime()) << "1899-12-31 23:59:59";
    EXPECT_EQ(-1, CTime(FileTimeOf(-2208988800LL)).GetTime());
    EXPECT_EQ(0, CTime(FILETIME{0, 0}).GetTime());
    EXPECT_EQ(0, CTime(FILETIME{0xFFFFFFFF, 0xFFFFFFFF}).GetTime());
    struct tm tm;
    CTime(kMarch2004).GetLocalTm(&tm);
    EXPECT_EQ(kMarch2004, CTime(FileTimeOf(kMarch2004), tm.tm_isdst).GetTime()) << "by way of local time";
}

TEST(TimeTest, CurrentTimeIsNow)
{
    FILETIME before, after;
    ::GetSystemTimeAsFileTime(&before);
    const CTime now = CTime::GetCurrentTime();
    ::GetSystemTimeAsFileTime(&after);
    EXPECT_TRUE(now >= CTime(before));
    EXPECT_TRUE(now <= CTime(after));
}

TEST(TimeTest, BrokenDownTimeGoesIntoTheBufferOrTheThreads)
{
    const CTime time(kMarch2004);
    struct tm tm;
    EXPECT_EQ(&tm, time.GetGmtTm(&tm));
    EXPECT_EQ(104, tm.tm_year);
    EXPECT_EQ(2, tm.tm_mon);
    EXPECT_EQ(5, tm.tm_mday);
    EXPECT_EQ(14, tm.tm_hour);
    EXPECT_EQ(7, tm.tm_min);
    EXPECT_EQ(9, tm.tm_sec);
    EXPECT_EQ(5, tm.tm_wday);
    EXPECT_EQ(64, tm.tm_yday);
    EXPECT_EQ(0, tm.tm_isdst);
    const struct tm* pTm = time.GetGmtTm();
    ASSERT_NE(nullptr, pTm);
    EXPECT_EQ(14, pTm->tm_hour);
    pTm = time.GetLocalTm();
    ASSERT_NE(nullptr, pTm);
    EXPECT_EQ(LocalOf(kMarch2004).wHour, pTm->tm_hour);
}

TEST(TimeTest, ANegativeTimeHasNoCalendarDate)
{
    for (const time_t t : {time_t(-1), time_t(LONG_MIN)}) {
        const CTime time(t);
        struct tm tm;
        EXPECT_EQ(nullptr, time.GetLocalTm());
        EXPECT_EQ(nullptr, time.GetLocalTm(&tm));
        EXPECT_EQ(nullptr, time.GetGmtTm());
        EXPECT_EQ(0, time.GetYear());
        EXPECT_EQ(0, time.GetMonth());
        EXPECT_EQ(0, time.GetDay());
        EXPECT_EQ(0, time.GetHour());
        EXPECT_EQ(0, time.GetMinute());
        EXPECT_EQ(0, time.GetSecond());
        EXPECT_EQ(0, time.GetDayOfWeek());
        EXPECT_EQ(L"", time.Format(L"%Y"));
        EXPECT_EQ(L"", time.FormatGmt(L"text"));
    }
}

TEST(TimeTest, ArithmeticAndComparison)
{
    const CTime time(1000000), later(1000060);
    EXPECT_EQ(60, (later - time).GetTotalSeconds());
    EXPECT_EQ(-60, (time - later).GetTotalSeconds());
    EXPECT_TRUE(time + CTimeSpan(60) == later);
    EXPECT_TRUE(later - CTimeSpan(60) == time);
    CTime moved(time);
    moved += CTimeSpan(60);
    EXPECT_TRUE(moved == later);
    moved -= CTimeSpan(60);
    EXPECT_TRUE(moved == time);
    EXPECT_TRUE(time != later && time < later && time <= later && later > time && later >= time);
    EXPECT_FALSE(time == later || later < time || later <= time || time > later || time >= later);
    EXPECT_EQ(LONG_MIN, (CTime(LONG_MAX) + CTimeSpan(1)).GetTime()) << "wraps around";
}

TEST(TimeFormatTest, EveryCode)
{
    static constexpr struct
    {
        LPCTSTR pszFormat, pszText;
    } kCases[] = {
        {L"%a %A", L"Fri Friday"},
        {L"%b %B", L"Mar March"},
        {L"%c", L"03/05/04 14:07:09"},
        {L"%#c", L"Friday, March 05, 2004 14:07:09"},
        {L"%d %#d", L"05 5"},
        {L"%H %I %p", L"14 02 PM"},
        {L"%j %#j", L"065 65"},
        {L"%m %#m", L"03 3"},
        {L"%M %S", L"07 09"},
        {L"%U %W %w", L"09 09 5"},
        {L"%x", L"03/05/04"},
        {L"%#x", L"Friday, March 05, 2004"},
        {L"%X", L"14:07:09"},
        {L"%y %#y %Y", L"04 4 2004"},
        {L"%Z %z", L"UTC UTC"},
        {L"%%", L"%"},
        {L"", L""},
        {L"on %Y-%m-%d.", L"on 2004-03-05."},
    };
    for (const auto& c : kCases) EXPECT_EQ(c.pszText, Gmt(kMarch2004, c.pszFormat)) << CString(c.pszFormat);
}

TEST(TimeFormatTest, HoursWeeksAndDaysAtTheirLimits)
{
    EXPECT_EQ(L"00 12 AM 001 00 00 Thu", Gmt(0, L"%H %I %p %j %U %W %a"));
    EXPECT_EQ(L"12 12 PM", Gmt(12 * 3600, L"%H %I %p"));
    EXPECT_EQ(L"11 11 AM", Gmt(11 * 3600, L"%H %I %p"));
    EXPECT_EQ(L"2000-12-31 366 53 52", Gmt(978220800, L"%Y-%m-%d %j %U %W"));
    EXPECT_EQ(L"2001-01-01 001 00 01", Gmt(978307200, L"%Y-%m-%d %j %U %W"));
    EXPECT_EQ(L"2038-01-19 03:14:07", Gmt(LONG_MAX, L"%Y-%m-%d %H:%M:%S"));
}

TEST(TimeFormatTest, UnknownCodesMakeTheTextEmpty)
{
    for (const LPCTSTR pszFormat : {L"%Q", L"year %Y %E", L"%", L"abc%", L"%#", L"%02d", L"% d"}) {
        EXPECT_EQ(L"", Gmt(kMarch2004, pszFormat)) << CString(pszFormat);
    }
    EXPECT_EQ(L"", Gmt(kMarch2004, NULL));
}

TEST(TimeFormatTest, AnyLength)
{
    const CString strLong(L'x', 5000);
    EXPECT_EQ(strLong + L"2004", Gmt(kMarch2004, strLong + L"%Y"));
}

TEST(TimeFormatTest, FormatIsLocalTime)
{
    const SYSTEMTIME local = LocalOf(kMarch2004);
    CString strExpected;
    strExpected.Format(L"%04d-%02d-%02d %02d:%02d:%02d", local.wYear, local.wMonth, local.wDay, local.wHour,
                       local.wMinute, local.wSecond);
    EXPECT_EQ(strExpected, CTime(kMarch2004).Format(L"%Y-%m-%d %H:%M:%S"));
    TIME_ZONE_INFORMATION zone;
    ::GetTimeZoneInformation(&zone);
    const CTime january(2004, 1, 15, 12, 0, 0);
    struct tm tm;
    january.GetLocalTm(&tm);
    EXPECT_EQ(CString(tm.tm_isdst ? zone.DaylightName : zone.StandardName), january.Format(L"%Z"));
}

TEST(TimeFormatTest, AResourceIsAFormat)
{
    EXPECT_EQ(L"2004-03-05", CTime(kMarch2004).FormatGmt(IDS_TIME_FORMAT));
    EXPECT_EQ(CTime(kMarch2004).Format(L"%Y-%m-%d"), CTime(kMarch2004).Format(IDS_TIME_FORMAT));
    EXPECT_EQ(L"1 days, 02:03:04", CTimeSpan(1, 2, 3, 4).Format(IDS_SPAN_FORMAT));
}

TEST(TimeSpanTest, IsMadeFromItsParts)
{
    const CTimeSpan span(3, 4, 5, 6);
    EXPECT_EQ(3 * 86400 + 4 * 3600 + 5 * 60 + 6, span.GetTotalSeconds());
    EXPECT_EQ(3, span.GetDays());
    EXPECT_EQ(4, span.GetHours());
    EXPECT_EQ(5, span.GetMinutes());
    EXPECT_EQ(6, span.GetSeconds());
    EXPECT_EQ(76, span.GetTotalHours());
    EXPECT_EQ(76 * 60 + 5, span.GetTotalMinutes());
    EXPECT_EQ(7, CTimeSpan(7).GetTotalSeconds());
}

TEST(TimeSpanTest, NegativePartsAreNegative)
{
    const CTimeSpan span(-(86400 + 23 * 3600 + 59 * 60 + 58));
    EXPECT_EQ(-1, span.GetDays());
    EXPECT_EQ(-23, span.GetHours());
    EXPECT_EQ(-59, span.GetMinutes());
    EXPECT_EQ(-58, span.GetSeconds());
    EXPECT_EQ(-47, span.GetTotalHours());
}

TEST(TimeSpanTest, ArithmeticAndComparison)
{
    CTimeSpan span(100);
    EXPECT_EQ(150, (span + CTimeSpan(50)).GetTotalSeconds());
    EXPECT_EQ(50, (span - CTimeSpan(50)).GetTotalSeconds());
    span += CTimeSpan(1);
    span -= CTimeSpan(2);
    EXPECT_TRUE(span == CTimeSpan(99));
    EXPECT_TRUE(span != CTimeSpan(98) && span > CTimeSpan(98) && span >= CTimeSpan(99));
    EXPECT_TRUE(span < CTimeSpan(100) && span <= CTimeSpan(99));
    EXPECT_EQ(LONG_MIN, (CTimeSpan(LONG_MAX) + CTimeSpan(1)).GetTotalSeconds()) << "wraps around";
    EXPECT_EQ(static_cast<LONG>(86400LL * LONG_MAX), CTimeSpan(LONG_MAX, 0, 0, 0).GetTotalSeconds()) << "wraps around";
}

TEST(TimeSpanTest, FormatHasItsOwnCodes)
{
    const CTimeSpan span(3, 4, 5, 6);
    EXPECT_EQ(L"3 04:05:06 100%", span.Format(L"%D %H:%M:%S 100%%"));
    EXPECT_EQ(L"", span.Format(L""));
    EXPECT_EQ(L"", span.Format(static_cast<LPCTSTR>(NULL)));
    EXPECT_EQ(L"0 -1", CTimeSpan(-3600).Format(L"%D %H"));
    EXPECT_ASSERTION_OR(EXPECT_EQ(L"a3", span.Format(L"a%Q%D")), span.Format(L"%Q"));
    EXPECT_ASSERTION_OR(EXPECT_EQ(L"end", span.Format(L"end%")), span.Format(L"end%"));
}
