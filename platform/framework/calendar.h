// calendar.h - seconds since 1970-01-01 00:00:00 and the calendar, in UTC and in the time zone of the machine.
//
// Seconds are 64-bit here: what fits into a CTime is CTime's business.
// The device's own conversions use today's distance to UTC for every date; these use the distance that the date itself
// has, so that a summer date read in winter is the one that was written.
#ifndef KORVANE_PLATFORM_FRAMEWORK_CALENDAR_H
#define KORVANE_PLATFORM_FRAMEWORK_CALENDAR_H

#include <windows.h>

#include <ctime>

namespace calendar {

constexpr INT64 kSecondsPerDay = 24 * 60 * 60;

// Days from 1970-01-01. A month or day outside its range carries over.
INT64 DaysFromDate(INT64 nYear, INT64 nMonth, INT64 nDay);
// False if the system has no calendar date for it (before 1601, after 30827).
bool SystemTimeFromSeconds(INT64 nSeconds, SYSTEMTIME& st);
INT64 SecondsFromSystemTime(const SYSTEMTIME& st);
// The machine's zone with the rules of that year. False as above.
bool ZoneOf(INT64 nSeconds, TIME_ZONE_INFORMATION& zone);
// Local time from UTC, and whether it is daylight time. False as above.
bool LocalFromUtc(const TIME_ZONE_INFORMATION& zone, INT64 nUtc, INT64& nLocal, bool& bDaylight);
// UTC from local time; nDST 0: standard time, above 0: daylight time, below 0: what the date has. False as above.
bool UtcFromLocal(const TIME_ZONE_INFORMATION& zone, INT64 nLocal, int nDST, INT64& nUtc);
// False as above.
bool TmFromSeconds(INT64 nSeconds, bool bDaylight, struct tm& tm);

} // namespace calendar

#endif
