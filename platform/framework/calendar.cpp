// GetTimeZoneInformationForYear is declared for this version; systems one version older have it too.
#undef _WIN32_WINNT
#define _WIN32_WINNT 0x0601
#undef WINVER
#define WINVER 0x0601

#include "calendar.h"

namespace calendar {

namespace {

constexpr INT64 kSecondsFrom1601 = 11644473600; // to 1970
constexpr INT64 kTicksPerSecond = 10000000;

bool HasDaylightTime(const TIME_ZONE_INFORMATION& zone)
{
    return zone.DaylightDate.wMonth != 0 && zone.DaylightBias != zone.StandardBias;
}

} // namespace

INT64 DaysFromDate(INT64 nYear, INT64 nMonth, INT64 nDay)
{
    // Months are counted from March, so that the day a leap year adds is the last one.
    const INT64 nMonths = nYear * 12 + nMonth - 3;
    const INT64 nYears = nMonths >= 0 ? nMonths / 12 : (nMonths - 11) / 12;
    const INT64 nMonthOfYear = nMonths - nYears * 12;
    const INT64 nEra = nYears >= 0 ? nYears / 400 : (nYears - 399) / 400;
    const INT64 nYearOfEra = nYears - nEra * 400;
    const INT64 nDaysBeforeMonth = (153 * nMonthOfYear + 2) / 5;
    // 719468 days lie between 0000-03-01 and 1970-01-01.
    return nEra * 146097 + nYearOfEra * 365 + nYearOfEra / 4 - nYearOfEra / 100 + nDaysBeforeMonth + nDay - 1 - 719468;
}

bool SystemTimeFromSeconds(INT64 nSeconds, SYSTEMTIME& st)
{
    if (nSeconds < -kSecondsFrom1601 || nSeconds >= MAXLONGLONG / kTicksPerSecond - kSecondsFrom1601) return false;
    ULARGE_INTEGER ticks;
    ticks.QuadPart = static_cast<ULONGLONG>((nSeconds + kSecondsFrom1601) * kTicksPerSecond);
    const FILETIME ft = {ticks.LowPart, ticks.HighPart};
    return ::FileTimeToSystemTime(&ft, &st);
}

INT64 SecondsFromSystemTime(const SYSTEMTIME& st)
{
    return DaysFromDate(st.wYear, st.wMonth, st.wDay) * kSecondsPerDay + st.wHour * 3600 + st.wMinute * 60 + st.wSecond;
}

// The rules of a year, looked up in the registry: dear enough to be kept for a while. A change of the machine's zone is
// seen a second later.
bool ZoneOf(INT64 nSeconds, TIME_ZONE_INFORMATION& zone)
{
    static thread_local struct
    {
        WORD wYear;
        DWORD dwTick;
        TIME_ZONE_INFORMATION zone;
    } kept;
    SYSTEMTIME st;
    if (!SystemTimeFromSeconds(nSeconds, st)) return false;
    const DWORD dwNow = ::GetTickCount();
    if (kept.wYear != st.wYear || dwNow - kept.dwTick >= 1000) {
        kept.wYear = 0;
        if (!::GetTimeZoneInformationForYear(st.wYear, NULL, &kept.zone)) return false;
        kept.wYear = st.wYear;
        kept.dwTick = dwNow;
    }
    zone = kept.zone;
    return true;
}

bool LocalFromUtc(const TIME_ZONE_INFORMATION& zone, INT64 nUtc, INT64& nLocal, bool& bDaylight)
{
    SYSTEMTIME utc, local;
    if (!SystemTimeFromSeconds(nUtc, utc) || !::SystemTimeToTzSpecificLocalTime(&zone, &utc, &local)) return false;
    nLocal = SecondsFromSystemTime(local);
    bDaylight = HasDaylightTime(zone) && nUtc - nLocal == (zone.Bias + zone.DaylightBias) * 60;
    return true;
}

bool UtcFromLocal(const TIME_ZONE_INFORMATION& zone, INT64 nLocal, int nDST, INT64& nUtc)
{
    if (nDST < 0) {
        SYSTEMTIME local, utc;
        if (!SystemTimeFromSeconds(nLocal, local) || !::TzSpecificLocalTimeToSystemTime(&zone, &local, &utc))
            return false;
        nUtc = SecondsFromSystemTime(utc);
    } else {
        const LONG lSeason = nDST > 0 && HasDaylightTime(zone) ? zone.DaylightBias : zone.StandardBias;
        nUtc = nLocal + (zone.Bias + lSeason) * 60;
    }
    return true;
}

bool TmFromSeconds(INT64 nSeconds, bool bDaylight, struct tm& tm)
{
    SYSTEMTIME st;
    if (!SystemTimeFromSeconds(nSeconds, st)) return false;
    tm = {};
    tm.tm_sec = st.wSecond;
    tm.tm_min = st.wMinute;
    tm.tm_hour = st.wHour;
    tm.tm_mday = st.wDay;
    tm.tm_mon = st.wMonth - 1;
    tm.tm_year = st.wYear - 1900;
    tm.tm_wday = st.wDayOfWeek;
    tm.tm_yday = static_cast<int>(DaysFromDate(st.wYear, st.wMonth, st.wDay) - DaysFromDate(st.wYear, 1, 1));
    tm.tm_isdst = bDaylight;
    return true;
}

} // namespace calendar
