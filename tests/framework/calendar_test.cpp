// The conversions behind CTime, in zones other than the machine's: the seasons of both halves of the world.
#include "platform/framework/calendar.h"

#include <gtest/gtest.h>

namespace {

TIME_ZONE_INFORMATION Berlin()
{
    TIME_ZONE_INFORMATION zone = {};
    zone.Bias = -60;
    zone.StandardDate = {0, 10, 0, 5, 3, 0, 0, 0}; // the last Sunday of October, 3:00
    zone.DaylightDate = {0, 3, 0, 5, 2, 0, 0, 0};  // the last Sunday of March, 2:00
    zone.DaylightBias = -60;
    return zone;
}

TIME_ZONE_INFORMATION Sydney()
{
    TIME_ZONE_INFORMATION zone = {};
    zone.Bias = -600;
    zone.StandardDate = {0, 4, 0, 1, 3, 0, 0, 0};  // the first Sunday of April
    zone.DaylightDate = {0, 10, 0, 1, 2, 0, 0, 0}; // the first Sunday of October
    zone.DaylightBias = -60;
    return zone;
}

TIME_ZONE_INFORMATION Kolkata()
{
    TIME_ZONE_INFORMATION zone = {};
    zone.Bias = -330;
    return zone;
}

INT64 At(int nYear, int nMonth, int nDay, int nHour)
{
    return calendar::DaysFromDate(nYear, nMonth, nDay) * calendar::kSecondsPerDay + nHour * 3600;
}

} // namespace

TEST(CalendarTest, DaysAreCountedFrom1970)
{
    EXPECT_EQ(0, calendar::DaysFromDate(1970, 1, 1));
    EXPECT_EQ(-1, calendar::DaysFromDate(1969, 12, 31));
    EXPECT_EQ(11016, calendar::DaysFromDate(2000, 2, 29));
    EXPECT_EQ(11017, calendar::DaysFromDate(2000, 3, 1));
    EXPECT_EQ(-134774, calendar::DaysFromDate(1601, 1, 1));
    EXPECT_EQ(-719528, calendar::DaysFromDate(0, 1, 1));
    EXPECT_EQ(calendar::DaysFromDate(2001, 1, 1), calendar::DaysFromDate(1999, 25, 1));
    EXPECT_EQ(calendar::DaysFromDate(1998, 12, 1), calendar::DaysFromDate(2000, -12, 1));
}

TEST(CalendarTest, LocalTimeHasTheDistanceOfItsOwnSeason)
{
    const struct
    {
        const char* pszWhy;
        TIME_ZONE_INFORMATION zone;
        INT64 nUtc;
        int nHours;
        bool bDaylight;
    } kCases[] = {
        {"winter in the north", Berlin(), At(2004, 1, 15, 12), 1, false},
        {"summer in the north", Berlin(), At(2004, 7, 15, 12), 2, true},
        {"the hour before summer time", Berlin(), At(2004, 3, 28, 0), 1, false},
        {"the first hour of summer time", Berlin(), At(2004, 3, 28, 1), 2, true},
        {"the last hour of summer time", Berlin(), At(2004, 10, 31, 0), 2, true},
        {"the hour after summer time", Berlin(), At(2004, 10, 31, 1), 1, false},
        {"summer in the south", Sydney(), At(2010, 1, 15, 12), 11, true},
        {"winter in the south", Sydney(), At(2010, 7, 15, 12), 10, false},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        INT64 nLocal, nUtc;
        bool bDaylight;
        ASSERT_TRUE(calendar::LocalFromUtc(c.zone, c.nUtc, nLocal, bDaylight));
        EXPECT_EQ(c.nUtc + c.nHours * 3600, nLocal);
        EXPECT_EQ(c.bDaylight, bDaylight);
        ASSERT_TRUE(calendar::UtcFromLocal(c.zone, nLocal, bDaylight, nUtc));
        EXPECT_EQ(c.nUtc, nUtc) << "back again, with the season told";
    }
}

TEST(CalendarTest, UtcIsWorkedOutFromTheDateOrTaken)
{
    INT64 nWinter, nSummer, nUtc;
    ASSERT_TRUE(calendar::UtcFromLocal(Berlin(), At(2004, 7, 15, 12), 0, nWinter));
    ASSERT_TRUE(calendar::UtcFromLocal(Berlin(), At(2004, 7, 15, 12), 1, nSummer));
    EXPECT_EQ(At(2004, 7, 15, 11), nWinter);
    EXPECT_EQ(At(2004, 7, 15, 10), nSummer);
    ASSERT_TRUE(calendar::UtcFromLocal(Berlin(), At(2004, 7, 15, 12), -1, nUtc));
    EXPECT_EQ(nSummer, nUtc);
    ASSERT_TRUE(calendar::UtcFromLocal(Berlin(), At(2004, 1, 15, 12), -1, nUtc));
    EXPECT_EQ(At(2004, 1, 15, 11), nUtc);
    ASSERT_TRUE(calendar::UtcFromLocal(Sydney(), At(2010, 1, 15, 12), -1, nUtc));
    EXPECT_EQ(At(2010, 1, 15, 1), nUtc);
}

TEST(CalendarTest, AZoneWithoutSeasonsHasOneDistance)
{
    INT64 nUtc, nLocal;
    bool bDaylight;
    for (const int nDST : {-1, 0, 1}) {
        ASSERT_TRUE(calendar::UtcFromLocal(Kolkata(), At(2004, 7, 15, 12), nDST, nUtc));
        EXPECT_EQ(At(2004, 7, 15, 12) - 330 * 60, nUtc);
    }
    ASSERT_TRUE(calendar::LocalFromUtc(Kolkata(), nUtc, nLocal, bDaylight));
    EXPECT_EQ(At(2004, 7, 15, 12), nLocal);
    EXPECT_FALSE(bDaylight);
}

TEST(CalendarTest, WhatTheSystemHasNoDateForIsRefused)
{
    SYSTEMTIME st;
    TIME_ZONE_INFORMATION zone;
    struct tm tm;
    for (const INT64 nSeconds :
         {At(1601, 1, 1, 0) - 1, At(30829, 1, 1, 0), INT64(MAXLONGLONG), INT64(-MAXLONGLONG) - 1}) {
        INT64 nOther;
        bool bDaylight;
        EXPECT_FALSE(calendar::SystemTimeFromSeconds(nSeconds, st)) << nSeconds;
        EXPECT_FALSE(calendar::ZoneOf(nSeconds, zone));
        EXPECT_FALSE(calendar::LocalFromUtc(Berlin(), nSeconds, nOther, bDaylight));
        EXPECT_FALSE(calendar::UtcFromLocal(Berlin(), nSeconds, -1, nOther));
        EXPECT_FALSE(calendar::TmFromSeconds(nSeconds, false, tm));
    }
    EXPECT_TRUE(calendar::SystemTimeFromSeconds(At(1601, 1, 1, 0), st));
    EXPECT_EQ(1601, st.wYear);
}
