// CStringExt: its constructors, GetUnsigned and GetFloat.
#include "korvanelib.h"

#include <gtest/gtest.h>

#include <type_traits>

namespace {

constexpr float kUntouched = 4711.0f;

// GetFloat's result, which stays as it was when the answer is false.
struct CRead
{
    explicit CRead(const CStringExt& text) : ok(CStringExt(text).GetFloat(value)) {}
    float value = kUntouched;
    bool ok;
};

void ExpectFloat(const wchar_t* text, float value)
{
    SCOPED_TRACE(testing::Message() << "'" << text << "'");
    const CRead read{CStringExt(text)};
    EXPECT_TRUE(read.ok);
    EXPECT_EQ(read.value, value);
}

void ExpectNoFloat(const CStringExt& text)
{
    SCOPED_TRACE(testing::Message() << "'" << static_cast<LPCTSTR>(text) << "'");
    const CRead read(text);
    EXPECT_FALSE(read.ok);
    EXPECT_EQ(read.value, kUntouched);
}

} // namespace

TEST(StringExtTest, ItAddsNoDataToACString)
{
    EXPECT_EQ(sizeof(CStringExt), sizeof(CString));
    EXPECT_TRUE((std::is_base_of_v<CString, CStringExt>));
}

TEST(StringExtTest, EachConstructorForwardsToThatOfCString)
{
    const CString base(L"base");
    const CStringExt copied(base);
    EXPECT_TRUE(CStringExt() == L"");
    EXPECT_TRUE(copied == L"base");
    EXPECT_TRUE(CStringExt(copied) == L"base");
    EXPECT_TRUE(CStringExt(L'x', 3) == L"xxx");
    EXPECT_TRUE(CStringExt(L'x', 0) == L"");
    EXPECT_TRUE(CStringExt(L'x', -1) == L"");
    EXPECT_TRUE(CStringExt("narrow") == L"narrow");
    EXPECT_TRUE(CStringExt(reinterpret_cast<const unsigned char*>("bytes")) == L"bytes");
    EXPECT_TRUE(CStringExt(L"wide") == L"wide");
    EXPECT_TRUE(CStringExt(L"cut off", 3) == L"cut");
    EXPECT_EQ(CStringExt(L"a\0b", 3).GetLength(), 3);
}

TEST(StringExtTest, ACopyAndAnAssignmentTakeTheText)
{
    CStringExt first(L"first"), second;
    second = first;
    first = CStringExt(L"other");
    EXPECT_TRUE(second == L"first");
    EXPECT_TRUE(first == L"other");
    first = *&first;
    EXPECT_TRUE(first == L"other");
}

TEST(StringExtTest, GetUnsignedIsWhatTheCLibraryReadsAsALong)
{
    EXPECT_EQ(CStringExt(L"48").GetUnsigned(), 48u);
    EXPECT_EQ(CStringExt(L"-1").GetUnsigned(), 4294967295u);
    EXPECT_EQ(CStringExt(L" \t48 pages").GetUnsigned(), 48u);
    EXPECT_EQ(CStringExt(L"+7").GetUnsigned(), 7u);
    EXPECT_EQ(CStringExt(L"").GetUnsigned(), 0u);
    EXPECT_EQ(CStringExt(L"pages").GetUnsigned(), 0u);
    EXPECT_EQ(CStringExt(L"0x10").GetUnsigned(), 0u);
    EXPECT_EQ(CStringExt(L"2147483647").GetUnsigned(), 2147483647u);
    EXPECT_EQ(CStringExt(L"-2147483648").GetUnsigned(), 2147483648u);
}

TEST(StringExtTest, GetFloatReadsDigitsAroundOnePoint)
{
    ExpectFloat(L"12.25", 12.25f);
    ExpectFloat(L"7", 7.0f);
    ExpectFloat(L"7.", 7.0f);
    ExpectFloat(L".5", 0.5f);
    ExpectFloat(L"007", 7.0f);
}

TEST(StringExtTest, GetFloatOfNoDigitsIsZero)
{
    ExpectFloat(L"", 0.0f);
    ExpectFloat(L".", 0.0f);
    ExpectFloat(L"+", 0.0f);
    ExpectFloat(L"-", 0.0f);
}

TEST(StringExtTest, GetFloatAppliesTheSignTwiceToTheIntegerPart)
{
    ExpectFloat(L"-3", 3.0f);
    ExpectFloat(L"-2.5", 1.5f);
    ExpectFloat(L"-1.5", 0.5f);
    ExpectFloat(L"+2.5", 2.5f);
    ExpectFloat(L"-.5", -0.5f);
}

TEST(StringExtTest, GetFloatTakesASignAnywhereInTheIntegerPart)
{
    ExpectFloat(L"2-", -2.0f);
    ExpectFloat(L"2+", 2.0f);
    ExpectFloat(L"1-2", -1.0f); // the first reading ends at the sign
    ExpectFloat(L"2-.5", -2.5f);
}

TEST(StringExtTest, GetFloatLeavesTheResultAloneWhenItRefuses)
{
    for (const wchar_t* text : {L"1.2.3", L"..", L" 1", L"1 ", L"\t1", L"1a", L"1.a", L"1.-2", L"1.+2", L"1. ", L"--1",
                                L"+-1", L"-1-", L"1e5", L"1,5", L"\u0661", L"1.\uFF11"}) {
        ExpectNoFloat(text);
    }
    ExpectNoFloat(CStringExt(L"1\0", 2));
    ExpectNoFloat(CStringExt(L"1.5\0", 4));
}

TEST(StringExtTest, GetFloatStaysAtTheLimitOfALong)
{
    ExpectFloat(L"99999999999", 2147483648.0f);
    ExpectFloat(L"-99999999999", 2147483648.0f);
}

TEST(StringExtTest, GetFloatTakesAnyNumberOfDigits)
{
    for (int digits : {1, 38, 39, 308, 309, 1000}) {
        SCOPED_TRACE(digits);
        const CStringExt whole(CString(L'1', digits)), fraction(CString(L"0.") + CString(L'0', digits));
        EXPECT_TRUE(CRead(whole).ok);
        EXPECT_EQ(CRead(whole).value, digits == 1 ? 1.0f : 2147483648.0f);
        EXPECT_TRUE(CRead(fraction).ok);
        EXPECT_EQ(CRead(fraction).value, 0.0f);
        const CRead ones(CStringExt(CString(L"0.") + CString(L'1', digits)));
        EXPECT_NEAR(ones.value, 1.0f / 9, digits == 1 ? 0.02f : 1e-6f);
    }
}

// Worked out in rational arithmetic, rounded to single precision after each step.
TEST(StringExtTest, EveryBitOfGetFloatIsThatOfTheAlgorithmInExactArithmetic)
{
    ExpectFloat(L"12.34", 0x1.8ae148p+3f);
    ExpectFloat(L"0.3", 0x1.333334p-2f);
    ExpectFloat(L"123.456", 0x1.edd2f2p+6f);
    ExpectFloat(L"7.0009", 0x1.c00ebep+2f);
    ExpectFloat(L"16777217.1", 0x1.0p+24f);
    ExpectFloat(L"0.1234567890123", 0x1.f9add4p-4f);
}

// The samples in base/stringext.h.
TEST(StringExtTest, TheSamplesOfTheHeaderReadTheirNumbers)
{
    float height = 0;
    CStringExt text(L"12.25");
    if (!text.GetFloat(height)) height = 0;
    unsigned int pages = CStringExt(L" 48 pages").GetUnsigned();
    EXPECT_EQ(height, 12.25f);
    EXPECT_EQ(pages, 48u);
}
