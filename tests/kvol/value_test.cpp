#include "value.h"

#include <gtest/gtest.h>

#include <cmath>

using namespace kvol;

namespace {

// What a text of the type is written as; "!" and the reason when it is none.
std::string Rewritten(WORD wType, const char* pszText, bool bDays = false)
{
    _variant_t value;
    std::string why;
    if (!ParseValue(wType, pszText, value, why)) return "!" + why;
    return FormatValue(value, bDays);
}

bool Fails(WORD wType, const char* pszText)
{
    return Rewritten(wType, pszText)[0] == '!';
}

} // namespace

TEST(KvolValueTest, NamesOfTypesAreFoundInAnyCase)
{
    static constexpr const char* kNames[] = {"I2", "UI2", "I4", "UI4", "R8", "BOOL", "FILETIME", "LPWSTR"};
    for (const char* pszName : kNames) EXPECT_EQ(pszName, TypeName(TypeFromName(pszName)));
    EXPECT_EQ(CEVT_UI4, TypeFromName("ui4"));
    EXPECT_EQ(0, TypeFromName("BLOB"));
    EXPECT_EQ(0, TypeFromName(""));
    EXPECT_EQ("BLOB", TypeName(CEVT_BLOB));
    EXPECT_EQ("type 99", TypeName(99));
}

TEST(KvolValueTest, WholeNumbersReachTheEndsOfTheirTypeAndNotOneFurther)
{
    static constexpr struct
    {
        WORD wType;
        const char* pszMin;
        const char* pszMax;
        const char* pszBelow;
        const char* pszAbove;
    } kCases[] = {
        {CEVT_I2, "-32768", "32767", "-32769", "32768"},
        {CEVT_UI2, "0", "65535", "-1", "65536"},
        {CEVT_I4, "-2147483648", "2147483647", "-2147483649", "2147483648"},
        {CEVT_UI4, "0", "4294967295", "-1", "4294967296"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(TypeName(c.wType));
        EXPECT_EQ(c.pszMin, Rewritten(c.wType, c.pszMin));
        EXPECT_EQ(c.pszMax, Rewritten(c.wType, c.pszMax));
        EXPECT_EQ("!does not fit " + TypeName(c.wType),
                  Rewritten(c.wType, c.pszBelow).substr(0, 14 + TypeName(c.wType).size()));
        EXPECT_TRUE(Fails(c.wType, c.pszAbove));
        EXPECT_TRUE(Fails(c.wType, "99999999999999999999999"));
        for (const char* pszNone : {"", " 1", "1 ", "1.0", "1e3", "x", "+", "-", "+-1", "0x10"})
            EXPECT_TRUE(Fails(c.wType, pszNone)) << pszNone;
    }
    EXPECT_EQ("7", Rewritten(CEVT_I4, "007"));
    EXPECT_EQ("5", Rewritten(CEVT_I4, "+5"));
}

TEST(KvolValueTest, VariantsHaveTheTypeThatTheLibraryTakes)
{
    static constexpr struct
    {
        WORD wType;
        const char* pszText;
        VARTYPE vt;
    } kCases[] = {
        {CEVT_I2, "1", VT_I2},
        {CEVT_UI2, "1", VT_UI2},
        {CEVT_I4, "1", VT_I4},
        {CEVT_UI4, "1", VT_UI4},
        {CEVT_R8, "1", VT_R8},
        {CEVT_BOOL, "1", VT_BOOL},
        {CEVT_FILETIME, "2004-03-05", VT_DATE},
        {CEVT_LPWSTR, "1", VT_BSTR},
    };
    for (const auto& c : kCases) {
        _variant_t value;
        std::string why;
        ASSERT_TRUE(ParseValue(c.wType, c.pszText, value, why));
        EXPECT_EQ(c.vt, V_VT(&value)) << TypeName(c.wType);
    }
    _variant_t value;
    std::string why;
    EXPECT_FALSE(ParseValue(CEVT_BLOB, "1", value, why));
}

TEST(KvolValueTest, RealNumbersAreWrittenWithTheFewestDigits)
{
    static constexpr struct
    {
        double value;
        const char* pszText;
    } kCases[] = {
        {0, "0"},
        {-0.0, "-0"},
        {1, "1"},
        {-1.5, "-1.5"},
        {0.1, "0.1"},
        {100000, "100000"},
        {1234567890123, "1234567890123"},
        {1e20, "100000000000000000000"},
        {1e21, "1e+21"},
        {1.5e300, "1.5e+300"},
        {0.000001, "0.000001"},
        {1.25e-6, "0.00000125"},
        {1e-7, "1e-07"},
        {5e-324, "5e-324"},
        {1.7976931348623157e308, "1.7976931348623157e+308"},
        {123.456, "123.456"},
        {9007199254740993.0, "9007199254740992"},
        {0.30000000000000004, "0.30000000000000004"},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(c.pszText, FormatReal(c.value));
        EXPECT_EQ(c.pszText, Rewritten(CEVT_R8, c.pszText));
    }
    EXPECT_EQ("1.5", Rewritten(CEVT_R8, "+1.50"));
    EXPECT_EQ("1000", Rewritten(CEVT_R8, "1e3"));
    for (const char* pszNone : {"", "inf", "nan", "-inf", "1,5", "0x1p3", "1e", " 1", "1e999", "-1e999", "."})
        EXPECT_TRUE(Fails(CEVT_R8, pszNone)) << pszNone;
    EXPECT_EQ("inf", FormatReal(HUGE_VAL));
    EXPECT_EQ("-inf", FormatReal(-HUGE_VAL));
    EXPECT_EQ("nan", FormatReal(std::nan("")));
}

TEST(KvolValueTest, TruthValuesHaveTwoSpellings)
{
    for (const char* pszTrue : {"true", "TRUE", "True", "1"}) EXPECT_EQ("true", Rewritten(CEVT_BOOL, pszTrue));
    for (const char* pszFalse : {"false", "FALSE", "0"}) EXPECT_EQ("false", Rewritten(CEVT_BOOL, pszFalse));
    for (const char* pszNone : {"", "yes", "2", "tru", "-1"}) EXPECT_TRUE(Fails(CEVT_BOOL, pszNone)) << pszNone;
    _variant_t value;
    std::string why;
    for (const std::string_view none : {std::string_view("true\0x", 6), std::string_view("false\0", 6)})
        EXPECT_FALSE(ParseValue(CEVT_BOOL, none, value, why)) << none.size();
}

TEST(KvolValueTest, TimesAreIso8601InUtcWithWholeSeconds)
{
    static constexpr struct
    {
        const char* pszText;
        const char* pszWritten;
    } kCases[] = {
        {"2004-03-05T14:07:09Z", "2004-03-05T14:07:09Z"}, {"2004-03-05T14:07:09", "2004-03-05T14:07:09Z"},
        {"2004-03-05 14:07", "2004-03-05T14:07:00Z"},     {"2004-03-05T14:07:09.000Z", "2004-03-05T14:07:09Z"},
        {"2004-03-05", "2004-03-05T00:00:00Z"},           {"1601-01-01", "1601-01-01T00:00:00Z"},
        {"9999-12-31T23:59:59Z", "9999-12-31T23:59:59Z"}, {"2004-02-29T00:00:01Z", "2004-02-29T00:00:01Z"},
        {"1899-12-29T06:00:00Z", "1899-12-29T06:00:00Z"}, {"1899-12-30T23:59:59Z", "1899-12-30T23:59:59Z"},
    };
    for (const auto& c : kCases) EXPECT_EQ(c.pszWritten, Rewritten(CEVT_FILETIME, c.pszText));
    for (const char* pszNone :
         {"", "2004", "2004-3-5", "2004-02-30", "2003-02-29", "1600-12-31", "2004-13-01", "2004-00-01", "2004-03-05T",
          "2004-03-05T24:00:00Z", "2004-03-05T14", "2004-03-05T14:60:00Z", "2004-03-05T14:07:09.5Z",
          "2004-03-05T14:07:09+02:00", "2004-03-05x14:07", "2004-03-05Z", "2004-03-05T14:07:09ZZ", "05.03.2004",
          "2004-03-05T14:07:09."}) {
        EXPECT_TRUE(Fails(CEVT_FILETIME, pszNone)) << pszNone;
    }
}

TEST(KvolValueTest, EverySecondOfADayComesBack)
{
    for (int second = 0; second < 86400; second += 7) {
        char text[40];
        std::snprintf(text, sizeof text, "2024-02-29T%02d:%02d:%02dZ", second / 3600, second / 60 % 60, second % 60);
        ASSERT_EQ(text, Rewritten(CEVT_FILETIME, text));
    }
}

TEST(KvolValueTest, AFieldOfDaysWritesMidnightWithoutTheTime)
{
    EXPECT_EQ("2004-03-05", Rewritten(CEVT_FILETIME, "2004-03-05", true));
    EXPECT_EQ("2004-03-05T00:00:01Z", Rewritten(CEVT_FILETIME, "2004-03-05T00:00:01Z", true));
}

TEST(KvolValueTest, TextsEndAtTheLargestPropertyAndHaveNoZero)
{
    const std::string most(CEDB_MAXPROPDATASIZE / 2, 'x');
    EXPECT_EQ(most, Rewritten(CEVT_LPWSTR, most.c_str()));
    EXPECT_TRUE(Fails(CEVT_LPWSTR, (most + "x").c_str()));
    EXPECT_EQ("", Rewritten(CEVT_LPWSTR, ""));
    _variant_t value;
    std::string why;
    EXPECT_FALSE(ParseValue(CEVT_LPWSTR, std::string_view("a\0b", 3), value, why));
    EXPECT_NE(std::string::npos, why.find("U+0000"));
    EXPECT_FALSE(ParseValue(CEVT_LPWSTR, "\xFF", value, why));
}

TEST(KvolValueTest, AnAbsentValueIsWrittenAsNothing)
{
    _variant_t value;
    V_VT(&value) = VT_NULL;
    EXPECT_EQ("", FormatValue(value, false));
}
