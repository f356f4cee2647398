// CPocketPCTime: its constructors, and each specifier of Format.
#include "korvanelib.h"

#include <gtest/gtest.h>

#include <string>

namespace {

std::wstring Formatted(const CPocketPCTime& time, const wchar_t* format)
{
    return std::wstring(time.Format(format));
}

CPocketPCTime Date(int year, int month, int day = 15)
{
    return CPocketPCTime(year, month, day, 12, 0, 0, -1);
}

const CPocketPCTime kMarch(2004, 3, 5, 14, 7, 9, -1);

} // namespace

TEST(PocketTimeTest, ItIsATimeOfTheFrameworkAndNothingMore)
{
    EXPECT_EQ(sizeof(CPocketPCTime), sizeof(CTime));
    EXPECT_EQ(CPocketPCTime::maxTimeBufferSize, 128);
}

TEST(PocketTimeTest, EachConstructorIsThatOfTheFramework)
{
    EXPECT_EQ(CPocketPCTime(1078495629ul).GetTime(), 1078495629);
    EXPECT_EQ(kMarch.GetTime(), CTime(2004, 3, 5, 14, 7, 9, -1).GetTime());
    const unsigned short date = (2004 - 1980) << 9 | 3 << 5 | 5, time = 14 << 11 | 7 << 5 | 4;
    EXPECT_EQ(CPocketPCTime(date, time, -1).GetTime(), CTime(2004, 3, 5, 14, 7, 8).GetTime());
    SYSTEMTIME system = {2004, 3, 0, 5, 14, 7, 9, 500};
    EXPECT_EQ(CPocketPCTime(system, -1).GetTime(), kMarch.GetTime());
    FILETIME file;
    ASSERT_TRUE(::SystemTimeToFileTime(&system, &file));
    EXPECT_EQ(CPocketPCTime(file, -1).GetTime(), CTime(file).GetTime());
    EXPECT_EQ(CPocketPCTime(kMarch).GetTime(), kMarch.GetTime());
    for (int nDST : {-1, 0, 1}) {
        EXPECT_EQ(CPocketPCTime(2004, 7, 5, 14, 7, 9, nDST).GetTime(), CTime(2004, 7, 5, 14, 7, 9, nDST).GetTime());
        EXPECT_EQ(CPocketPCTime(date, time, nDST).GetTime(), CTime(date, time, nDST).GetTime());
        EXPECT_EQ(CPocketPCTime(system, nDST).GetTime(), CTime(system, nDST).GetTime());
        EXPECT_EQ(CPocketPCTime(file, nDST).GetTime(), CTime(file, nDST).GetTime());
    }
}

TEST(PocketTimeTest, AssignmentCopiesTheValueAndReturnsTheObject)
{
    CPocketPCTime time;
    EXPECT_EQ(&(time = kMarch), &time);
    EXPECT_EQ(time.GetTime(), kMarch.GetTime());
    EXPECT_EQ(&(time = CTime(5)), &time);
    EXPECT_EQ(time.GetTime(), 5);
}

TEST(PocketTimeTest, EveryFieldOfADate)
{
    EXPECT_EQ(Formatted(kMarch, L"%d %b %Y %H:%M:%S"), L"5 mar 2004 14:07:09");
    EXPECT_EQ(Formatted(kMarch, L"%y"), L"04");
    EXPECT_EQ(Formatted(kMarch, L"%Y"), L"2004");
    EXPECT_EQ(Formatted(kMarch, L"%m"), L"03");
    EXPECT_EQ(Formatted(kMarch, L"%b"), L"mar");
    EXPECT_EQ(Formatted(kMarch, L"%B"), L"march");
    EXPECT_EQ(Formatted(kMarch, L"%d"), L"5");
    EXPECT_EQ(Formatted(kMarch, L"%H"), L"14");
    EXPECT_EQ(Formatted(kMarch, L"%M"), L"07");
    EXPECT_EQ(Formatted(kMarch, L"%S"), L"09");
}

TEST(PocketTimeTest, TheDayAloneHasNoLeadingZero)
{
    const CPocketPCTime early(2009, 1, 2, 3, 4, 5, -1);
    EXPECT_EQ(Formatted(early, L"%y-%m-%d %H:%M:%S"), L"09-01-2 03:04:05");
    EXPECT_EQ(Formatted(Date(2009, 12, 31), L"%m %d"), L"12 31");
}

TEST(PocketTimeTest, TheYearHasTwoDigitsOrAll)
{
    EXPECT_EQ(Formatted(Date(2005, 6), L"%y"), L"05");
    EXPECT_EQ(Formatted(Date(2010, 6), L"%y"), L"10");
    EXPECT_EQ(Formatted(Date(2000, 6), L"%y"), L"00");
    EXPECT_EQ(Formatted(Date(1999, 6), L"%y %Y"), L"99 1999");
    EXPECT_EQ(Formatted(Date(2037, 6), L"%Y"), L"2037");
}

TEST(PocketTimeTest, TheMonthNamesAreTheOnesOfTheTables)
{
    const wchar_t* const shortNames[] = {L"jan", L"feb", L"mar", L"apr", L"may", L"jun",
                                         L"jul", L"aug", L"sep", L"oct", L"nov", L"dec"};
    const wchar_t* const longNames[] = {L"january", L"february", L"march",    L"april",   L"may",     L"juny",
                                        L"july",    L"august",   L"septeber", L"october", L"noveber", L"deceber"};
    for (int month = 0; month < 12; ++month) {
        EXPECT_STREQ(CPocketPCTime::SHORT_MOUNTS_NAMES[month], shortNames[month]);
        EXPECT_STREQ(CPocketPCTime::LONG_MOUNTS_NAMES[month], longNames[month]);
        EXPECT_EQ(Formatted(Date(2005, month + 1), L"%b"), shortNames[month]);
        EXPECT_EQ(Formatted(Date(2005, month + 1), L"%B"), longNames[month]);
    }
}

TEST(PocketTimeTest, OtherCharactersBehindAPercentSignAreCopied)
{
    EXPECT_EQ(Formatted(kMarch, L"%%"), L"%");
    EXPECT_EQ(Formatted(kMarch, L"%x%q"), L"xq");
    EXPECT_EQ(Formatted(kMarch, L"%%Y"), L"%Y");
    EXPECT_EQ(Formatted(kMarch, L"%D%h"), L"Dh");
    EXPECT_EQ(Formatted(kMarch, L"plain \u20AC"), L"plain \u20AC");
}

TEST(PocketTimeTest, APercentSignAtTheEndIsDropped)
{
    EXPECT_EQ(Formatted(kMarch, L"%"), L"");
    EXPECT_EQ(Formatted(kMarch, L"%Y%"), L"2004");
}

TEST(PocketTimeTest, AnEmptyFormatIsAnEmptyText)
{
    EXPECT_EQ(Formatted(kMarch, L""), L"");
    EXPECT_EQ(Formatted(kMarch, nullptr), L"");
}

TEST(PocketTimeTest, TheTextEndsAfter127Characters)
{
    for (size_t length : {126, 127, 128, 129, 100000}) {
        EXPECT_EQ(Formatted(kMarch, std::wstring(length, L'x').c_str()),
                  std::wstring(std::min<size_t>(length, 127), L'x'));
    }
    EXPECT_EQ(Formatted(kMarch, (std::wstring(125, L'x') + L"%B").c_str()), std::wstring(125, L'x') + L"ma");
    EXPECT_EQ(Formatted(kMarch, (std::wstring(126, L'x') + L"%%%").c_str()), std::wstring(126, L'x') + L"%");
}

TEST(PocketTimeTest, ATimeThatCannotBeBrokenDownIsAnEmptyText)
{
    for (unsigned long value : {0xFFFFFFFFul, 0x80000000ul}) {
        const CPocketPCTime time(value);
        for (const wchar_t* format : {L"%y", L"%Y", L"%m", L"%b", L"%B", L"%d", L"%H", L"%M", L"%S", L"on %d %B"}) {
            EXPECT_EQ(Formatted(time, format), L"");
        }
    }
}

TEST(PocketTimeTest, TheEndsOfTheRangeAreFormatted)
{
    EXPECT_EQ(Formatted(CPocketPCTime(0x7FFFFFFFul), L"%Y %b").substr(0, 8), L"2038 jan");
    const std::wstring first = Formatted(CPocketPCTime(86400ul), L"%Y");
    EXPECT_EQ(first, L"1970");
}

TEST(PocketTimeTest, TheStaticFormTakesAnyTimeOfTheFramework)
{
    EXPECT_TRUE(CPocketPCTime::Format(CTime(2004, 9, 1, 0, 0, 0), L"%B %d") == L"septeber 1");
    EXPECT_TRUE(CPocketPCTime::Format(CTime(-1), L"%B") == L"");
}

// The sample in base/pockettime.h.
TEST(PocketTimeTest, TheSampleOfTheHeaderWritesADeparture)
{
    CPocketPCTime departure(2004, 3, 5, 14, 7, 9, -1);
    CString text = departure.Format(L"%d %b %Y %H:%M:%S"); // "5 mar 2004 14:07:09"
    EXPECT_TRUE(text == L"5 mar 2004 14:07:09");
}
