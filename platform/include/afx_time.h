// afx_time.h - CTime, a point in time in whole seconds, and CTimeSpan, the distance of two.
//
// Threads    values. GetLocalTm and GetGmtTm without a buffer answer in one of the calling thread's.
// Errors     a date that does not fit into the 32 bits (before 1970-01-01 or after 2038-01-19, UTC) becomes -1. A
//            negative time has no calendar date: its fields are 0, its tm is NULL and it formats to an empty text.
#ifndef AFX_TIME_H
#define AFX_TIME_H

#include "afx_string.h"

#include <ctime>

class AFX_API CTimeSpan
{
public:
    CTimeSpan() {} // not initialized
    CTimeSpan(time_t time) : m_timeSpan(time) {}
    CTimeSpan(LONG lDays, int nHours, int nMins, int nSecs);

    // Whole units of the span, rounded towards 0; the second of each pair is what is left of the next larger unit,
    // with the span's sign: hours -23 to 23, minutes and seconds -59 to 59.
    LONG GetDays() const { return m_timeSpan / (24 * 3600); }
    LONG GetTotalHours() const { return m_timeSpan / 3600; }
    int GetHours() const { return GetTotalHours() % 24; }
    LONG GetTotalMinutes() const { return m_timeSpan / 60; }
    int GetMinutes() const { return GetTotalMinutes() % 60; }
    LONG GetTotalSeconds() const { return m_timeSpan; }
    int GetSeconds() const { return m_timeSpan % 60; }

    CTimeSpan operator-(CTimeSpan span) const;
    CTimeSpan operator+(CTimeSpan span) const;
    const CTimeSpan& operator+=(CTimeSpan span) { return *this = *this + span; }
    const CTimeSpan& operator-=(CTimeSpan span) { return *this = *this - span; }
    bool operator==(CTimeSpan span) const { return m_timeSpan == span.m_timeSpan; }
    bool operator!=(CTimeSpan span) const { return m_timeSpan != span.m_timeSpan; }
    bool operator<(CTimeSpan span) const { return m_timeSpan < span.m_timeSpan; }
    bool operator>(CTimeSpan span) const { return m_timeSpan > span.m_timeSpan; }
    bool operator<=(CTimeSpan span) const { return m_timeSpan <= span.m_timeSpan; }
    bool operator>=(CTimeSpan span) const { return m_timeSpan >= span.m_timeSpan; }

    // %D days, %H %M %S with two digits, %%. Any other code is an assertion, without assertions left out.
    CString Format(LPCTSTR pszFormat) const;
    CString Format(UINT nFormatID) const;

private:
    time_t m_timeSpan; // seconds
};

class AFX_API CTime
{
public:
    static CTime PASCAL GetCurrentTime();

    CTime() {} // not initialized
    CTime(time_t time) : m_time(time) {}
    // Local time. nDST: 0 standard time, above 0 daylight time, below 0 whichever the date has.
    // REQUIRES: year 1970 to 2038, month 1 to 12, day 1 to 31, hour 0 to 23, minute and second 0 to 59 (assertions).
    // Without assertions a field outside its range carries over into the next: 31 February is 3 March.
    CTime(int nYear, int nMonth, int nDay, int nHour, int nMin, int nSec, int nDST = -1);
    // A date and time as file systems pack them; local time, two seconds exact.
    CTime(WORD wDosDate, WORD wDosTime, int nDST = -1);
    // Local time, milliseconds dropped. A year before 1900 gives 0.
    CTime(const SYSTEMTIME& sysTime, int nDST = -1);
    // UTC. A year before 1900, or a value that is no time, gives 0.
    CTime(const FILETIME& fileTime, int nDST = -1);

    // The calendar in UTC or in local time. NULL if the time is negative. With ptm NULL the answer is in a buffer of
    // the thread's, valid until the next such call.
    struct tm* GetGmtTm(struct tm* ptm = NULL) const;
    struct tm* GetLocalTm(struct tm* ptm = NULL) const;

    time_t GetTime() const { return m_time; }
    // Local time.
    int GetYear() const;
    int GetMonth() const;     // 1 to 12
    int GetDay() const;       // 1 to 31
    int GetHour() const;      // 0 to 23
    int GetMinute() const;    // 0 to 59
    int GetSecond() const;    // 0 to 59
    int GetDayOfWeek() const; // 1 is Sunday

    CTimeSpan operator-(CTime time) const;
    CTime operator-(CTimeSpan span) const;
    CTime operator+(CTimeSpan span) const;
    const CTime& operator=(time_t time)
    {
        m_time = time;
        return *this;
    }
    const CTime& operator+=(CTimeSpan span) { return *this = *this + span; }
    const CTime& operator-=(CTimeSpan span) { return *this = *this - span; }
    bool operator==(CTime time) const { return m_time == time.m_time; }
    bool operator!=(CTime time) const { return m_time != time.m_time; }
    bool operator<(CTime time) const { return m_time < time.m_time; }
    bool operator>(CTime time) const { return m_time > time.m_time; }
    bool operator<=(CTime time) const { return m_time <= time.m_time; }
    bool operator>=(CTime time) const { return m_time >= time.m_time; }

    // The codes of strftime: a A b B c d H I j m M p S U w W x X y Y z Z %, with # for "no leading zeros" (#c and #x:
    // the long form). Names are English. Any other code makes the whole text empty. Any length.
    CString Format(LPCTSTR pszFormat) const;
    CString Format(UINT nFormatID) const;
    CString FormatGmt(LPCTSTR pszFormat) const;
    CString FormatGmt(UINT nFormatID) const;

private:
    time_t m_time; // seconds since 1970-01-01 00:00:00 UTC
};
static_assert(sizeof(time_t) == 4 && sizeof(CTime) == 4 && sizeof(CTimeSpan) == 4, "the device's records");

#endif
