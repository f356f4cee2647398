// CPocketPCTime: the framework's time value with a formatter of its own and English month names.
//
// Ownership  a value: one 32-bit count of seconds since 1 January 1970 UTC, copied and assigned as such.
// Threads    Format takes the broken-down time from the framework's shared buffer: one thread at a time.
// Errors     none are reported; see Format.
//
//     CPocketPCTime departure(2004, 3, 5, 14, 7, 9, -1);
//     CString text = departure.Format(L"%d %b %Y %H:%M:%S"); // "5 mar 2004 14:07:09"
#ifndef KORVANE_BASE_POCKETTIME_H
#define KORVANE_BASE_POCKETTIME_H

#include "base/api.h"

#include <afx.h>

class KORVANE_API CPocketPCTime : public CTime
{
public:
    // Size in characters of the longest formatted text, its terminating zero included.
    static const int maxTimeBufferSize = 128;
    // The month names that "%b" and "%B" write, exactly as they stand, from January on.
    static const TCHAR* SHORT_MOUNTS_NAMES[12];
    static const TCHAR* LONG_MOUNTS_NAMES[12];

    // The constructors are CTime's: the value unset; seconds since 1970; local calendar fields; a DOS date and time
    // (local); a SYSTEMTIME (local); a FILETIME (UTC). `nDST` is 0 for standard time, above 0 for daylight saving time,
    // below 0 to have it worked out.
    CPocketPCTime();
    CPocketPCTime(unsigned long t);
    CPocketPCTime(int year, int month, int day, int hour, int min, int sec, int nDST);
    CPocketPCTime(unsigned short dosDate, unsigned short dosTime, int nDST);
    CPocketPCTime(const SYSTEMTIME& time, int nDST);
    CPocketPCTime(const FILETIME& time, int nDST);
    CPocketPCTime(const CPocketPCTime& other) = default;

    CPocketPCTime& operator=(const CPocketPCTime& other) = default;
    CPocketPCTime& operator=(const CTime& other);

    // The local time, written as `format` says: a character is copied, "%" and the character behind it are
    //   %y  year, 2 digits    %m  month, 2 digits          %d  day, no leading zero    %M  minute, 2 digits
    //   %Y  year              %b  month, short name        %H  hour, 2 digits          %S  second, 2 digits
    //                         %B  month, long name
    // and before any other character "%" is dropped and that character copied ("%%" is "%"). A "%" at the very end is
    // dropped. The text ends after 127 characters. It is empty when `format` is empty or null, and when a field is
    // asked of a time that the C library cannot break down.
    CString Format(const TCHAR* format) const;
    static CString Format(const CTime& time, const TCHAR* format);
};

#endif
