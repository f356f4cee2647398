#include "text.h"

#include "failure.h"

#include <gtest/gtest.h>

using namespace kvol;

TEST(KvolTextTest, Utf8AndUtf16GiveEachOtherBack)
{
    static constexpr struct
    {
        const char* pszWhy;
        const char* pszUtf8;
        const wchar_t* pszWide;
    } kCases[] = {
        {"nothing", "", L""},
        {"one byte", "az", L"az"},
        {"two bytes, the ends", "\xC2\x80\xDF\xBF", L"\x0080\x07FF"},
        {"three bytes, the ends", "\xE0\xA0\x80\xEF\xBF\xBF", L"\x0800\xFFFF"},
        {"around the surrogates", "\xED\x9F\xBF\xEE\x80\x80", L"\xD7FF\xE000"},
        {"four bytes, the ends", "\xF0\x90\x80\x80\xF4\x8F\xBF\xBF", L"\xD800\xDC00\xDBFF\xDFFF"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        std::wstring wide;
        EXPECT_TRUE(ToWide(c.pszUtf8, wide));
        EXPECT_EQ(c.pszWide, wide);
        EXPECT_EQ(c.pszUtf8, ToUtf8(wide));
    }
}

TEST(KvolTextTest, MalformedUtf8IsRefusedAndLeavesTheTarget)
{
    static constexpr struct
    {
        const char* pszWhy;
        const char* pszUtf8;
    } kCases[] = {
        {"continuation alone", "\x80"},        {"overlong two", "\xC0\xAF"},
        {"overlong two, C1", "\xC1\xBF"},      {"overlong three", "\xE0\x9F\xBF"},
        {"overlong four", "\xF0\x8F\xBF\xBF"}, {"high surrogate", "\xED\xA0\x80"},
        {"low surrogate", "\xED\xBF\xBF"},     {"above U+10FFFF", "\xF4\x90\x80\x80"},
        {"lead F5", "\xF5\x80\x80\x80"},       {"cut after the lead", "a\xC3"},
        {"cut inside three", "\xE2\x82"},      {"cut inside four", "\xF0\x9F\x87"},
        {"lead for continuation", "\xC3\xC3"}, {"Latin 1", "caf\xE9 "},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        std::wstring wide = L"kept";
        EXPECT_FALSE(ToWide(c.pszUtf8, wide));
        EXPECT_EQ(L"kept", wide);
        EXPECT_THROW(Wide(c.pszUtf8), CFailure);
    }
}

TEST(KvolTextTest, LoneSurrogatesBecomeTheReplacementCharacter)
{
    const wchar_t highEnd[] = {L'a', 0xD83C, 0};
    const wchar_t lowFirst[] = {0xDDE6, 0xD83C, L'b', 0};
    EXPECT_EQ("a\xEF\xBF\xBD", ToUtf8(highEnd));
    EXPECT_EQ("\xEF\xBF\xBD\xEF\xBF\xBD"
              "b",
              ToUtf8(lowFirst));
}

TEST(KvolTextTest, MessagesStayOnOneLineAndAreCut)
{
    EXPECT_EQ("a\\tb\\nc\\r\\\\\\x01\\x7F", OneLine("a\tb\nc\r\\\x01\x7F"));
    EXPECT_EQ("\"a\\nb\"", Quoted(std::string_view("a\nb")));
    const std::string sixty(60, 'x');
    EXPECT_EQ("\"" + sixty + "\"", Quoted(sixty));
    EXPECT_EQ("\"" + sixty + "...\"", Quoted(sixty + "y"));
    std::string umlauts;
    for (int i = 0; i < 61; ++i) umlauts += "\xC3\xA4";
    EXPECT_EQ("\"" + umlauts.substr(0, 120) + "...\"", Quoted(umlauts));
}

TEST(KvolTextTest, CountsHaveSeparatorsAndPlurals)
{
    EXPECT_EQ("0", Counted(0));
    EXPECT_EQ("999", Counted(999));
    EXPECT_EQ("1,000", Counted(1000));
    EXPECT_EQ("12,345,678", Counted(12345678));
    EXPECT_EQ("1 record", Counted(1, "record"));
    EXPECT_EQ("0 records", Counted(0, "record"));
    EXPECT_EQ("2 indexes", Counted(2, "index"));
    EXPECT_EQ(4u, CharacterCount("a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x87\xA6"));
}

TEST(KvolTextTest, SystemErrorsHaveWordsAndNumber)
{
    EXPECT_NE(std::string::npos, SystemText(ERROR_FILE_NOT_FOUND).find("(error 2)"));
    EXPECT_EQ("error 99999999", SystemText(99999999));
}
