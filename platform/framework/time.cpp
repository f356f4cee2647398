#include "afx.h"

#include "calendar.h"

#include <climits>

namespace {

// Sums that wrap around instead of being undefined: the operands may come from anywhere.
time_t Sum(time_t a, time_t b)
{
    return static_cast<time_t>(static_cast<ULONG>(a) + static_cast<ULONG>(b));
}

time_t Difference(time_t a, time_t b)
{
    return static_cast<time_t>(static_cast<ULONG>(a) - static_cast<ULONG>(b));
}

time_t FromSeconds(INT64 nUtc)
{
    return nUtc >= 0 && nUtc <= LONG_MAX ? static_cast<time_t>(nUtc) : -1;
}

time_t FromLocalSeconds(INT64 nLocal, int nDST)
{
    TIME_ZONE_INFORMATION zone;
    INT64 nUtc;
    return calendar::ZoneOf(nLocal, zone) && calendar::UtcFromLocal(zone, nLocal, nDST, nUtc) ? FromSeconds(nUtc) : -1;
}

time_t FromLocalFields(INT64 nYear, INT64 nMonth, INT64 nDay, INT64 nHour, INT64 nMin, INT64 nSec, int nDST)
{
    const INT64 nDays = calendar::DaysFromDate(nYear, nMonth, nDay);
    return FromLocalSeconds(nDays * calendar::kSecondsPerDay + nHour * 3600 + nMin * 60 + nSec, nDST);
}

bool LocalFromUtc(INT64 nUtc, INT64& nLocal, bool& bDaylight)
{
    TIME_ZONE_INFORMATION zone;
    return calendar::ZoneOf(nUtc, zone) && calendar::LocalFromUtc(zone, nUtc, nLocal, bDaylight);
}

struct tm* ThreadTm()
{
    static thread_local struct tm buffer;
    return &buffer;
}

} // namespace

CTimeSpan::CTimeSpan(LONG lDays, int nHours, int nMins, int nSecs)
{
    const INT64 nSeconds = ((static_cast<INT64>(lDays) * 24 + nHours) * 60 + nMins) * 60 + nSecs;
    m_timeSpan = static_cast<time_t>(nSeconds);
}

CTimeSpan CTimeSpan::operator-(CTimeSpan span) const
{
    return CTimeSpan(Difference(m_timeSpan, span.m_timeSpan));
}

CTimeSpan CTimeSpan::operator+(CTimeSpan span) const
{
    return CTimeSpan(Sum(m_timeSpan, span.m_timeSpan));
}

CTime PASCAL CTime::GetCurrentTime()
{
    SYSTEMTIME st;
    ::GetSystemTime(&st);
    return CTime(FromSeconds(calendar::SecondsFromSystemTime(st)));
}

CTime::CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST)
{
    ASSERT(nYear >= 1970 && nYear <= 2038);
    ASSERT(nMonth >= 1 && nMonth <= 12);
    ASSERT(nDay >= 1 && nDay <= 31);
    ASSERT(nHour >= 0 && nHour <= 23);
    ASSERT(nMin >= 0 && nMin <= 59);
    ASSERT(nSec >= 0 && nSec <= 59);
    m_time = FromLocalFields(nYear, nMonth, nDay, nHour, nMin, nSec, nDST);
}

CTime::CTime(WORD wDosDate, WORD wDosTime, int nDST)
    : m_time(FromLocalFields((wDosDate >> 9) + 1980, (wDosDate >> 5) & 15, wDosDate & 31, wDosTime >> 11,
                             (wDosTime >> 5) & 63, 2 * (wDosTime & 31), nDST))
{
}

CTime::CTime(const SYSTEMTIME& sysTime, int nDST) : m_time(0)
{
    if (sysTime.wYear >= 1900) m_time = FromLocalSeconds(calendar::SecondsFromSystemTime(sysTime), nDST);
}

CTime::CTime(const FILETIME& fileTime, int nDST) : m_time(0)
{
    SYSTEMTIME utc;
    if (!::FileTimeToSystemTime(&fileTime, &utc) || utc.wYear < 1900) return;
    const INT64 nUtc = calendar::SecondsFromSystemTime(utc);
    if (nDST < 0) {
        // There and back with the same rules: nothing to do, and the hour that an autumn night has twice stays the
        // right one.
        m_time = FromSeconds(nUtc);
        return;
    }
    INT64 nLocal;
    bool bDaylight;
    m_time = LocalFromUtc(nUtc, nLocal, bDaylight) ? FromLocalSeconds(nLocal, nDST) : -1;
}

struct tm* CTime::GetGmtTm(struct tm* ptm) const
{
    if (!ptm) ptm = ThreadTm();
    return m_time >= 0 && calendar::TmFromSeconds(m_time, false, *ptm) ? ptm : NULL;
}

struct tm* CTime::GetLocalTm(struct tm* ptm) const
{
    if (!ptm) ptm = ThreadTm();
    INT64 nLocal;
    bool bDaylight;
    const bool bDone =
        m_time >= 0 && LocalFromUtc(m_time, nLocal, bDaylight) && calendar::TmFromSeconds(nLocal, bDaylight, *ptm);
    return bDone ? ptm : NULL;
}

int CTime::GetYear() const
{
    struct tm tm;
    return GetLocalTm(&tm) ? tm.tm_year + 1900 : 0;
}

int CTime::GetMonth() const
{
    struct tm tm;
    return GetLocalTm(&tm) ? tm.tm_mon + 1 : 0;
}

int CTime::GetDay() const
{
    struct tm tm;
    return GetLocalTm(&tm) ? tm.tm_mday : 0;
}

int CTime::GetHour() const
{
    struct tm tm;
    return GetLocalTm(&tm) ? tm.tm_hour : 0;
}

int CTime::GetMinute() const
{
    struct tm tm;
    return GetLocalTm(&tm) ? tm.tm_min : 0;
}

int CTime::GetSecond() const
{
    struct tm tm;
    return GetLocalTm(&tm) ? tm.tm_sec : 0;
}

int CTime::GetDayOfWeek() const
{
    struct tm tm;
    return GetLocalTm(&tm) ? tm.tm_wday + 1 : 0;
}

CTimeSpan CTime::operator-(CTime time) const
{
    return CTimeSpan(Difference(m_time, time.m_time));
}

CTime CTime::operator-(CTimeSpan span) const
{
    return CTime(Difference(m_time, span.GetTotalSeconds()));
}

CTime CTime::operator+(CTimeSpan span) const
{
    return CTime(Sum(m_time, span.GetTotalSeconds()));
}
