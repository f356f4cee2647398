// _ttod and _ttof: codes, quirks, limits, and every bit of the results.
#include "korvanelib.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cstring>
#include <random>
#include <string>

// A host that includes the C library's names as well still gets the library's.
#include <tchar.h>

#include "library_names.h"

namespace {

struct CParsed
{
    int code;
    double value;
};

CParsed AsDouble(const std::wstring& text)
{
    double value = -1;
    const int code = _ttod(text.c_str(), value);
    return {code, value};
}

CParsed AsFloat(const std::wstring& text)
{
    float value = -1;
    const int code = _ttof(text.c_str(), value);
    return {code, value};
}

void ExpectBoth(const std::wstring& text, int code, double value)
{
    SCOPED_TRACE(testing::Message() << "'" << text << "'");
    EXPECT_EQ(AsFloat(text).code, code);
    EXPECT_EQ(AsFloat(text).value, static_cast<float>(value));
    EXPECT_EQ(AsDouble(text).code, code == CONV_OK ? CONV_EMPTY : code);
    EXPECT_EQ(AsDouble(text).value, value);
}

// The required algorithm, digit by digit, each step rounded by being stored.
template <class T> int Reference(const wchar_t* text, T& result, double maxTenth, T minWeight, int complete)
{
    volatile T value = 0, weight = T(0.1), product;
    result = 0;
    while (*text == L' ' || (*text >= 9 && *text <= 13)) ++text;
    if (*text == L'-' || *text == L'+') ++text;
    if (*text == 0) return 4;
    bool fraction = false;
    for (; *text != 0; ++text) {
        if (*text >= L'0' && *text <= L'9' && !fraction) {
            if (value > maxTenth) return 2;
            product = value * 10;
            value = product + T(*text - L'0');
        } else if (*text >= L'0' && *text <= L'9') {
            product = T(*text - L'0') * weight;
            value = value + product;
            weight = weight * T(0.1);
            if (weight < minWeight) return 3;
        } else if (*text == L'.' && !fraction) {
            fraction = true;
        } else {
            return 1;
        }
    }
    result = value;
    return complete;
}

std::wstring Digits(int count, wchar_t digit = L'7')
{
    return std::wstring(count, digit);
}

} // namespace

// path_test.cpp has the two headers in the other order.
TEST(NumparseTest, TheLibrarysNamesWinWhenTheCLibrarysComeLast)
{
    ExpectTheLibrarysNames();
}

TEST(NumparseTest, ANumberIsReadAndTtodAnswersEmptyForIt)
{
    ExpectBoth(L"12.5", CONV_OK, 12.5);
    ExpectBoth(L"0", CONV_OK, 0);
    ExpectBoth(L"1234567", CONV_OK, 1234567);
    ExpectBoth(L"0.5", CONV_OK, 0.5);
}

TEST(NumparseTest, NothingBehindBlanksAndSignIsEmpty)
{
    for (const wchar_t* text : {L"", L" ", L"   ", L"\t\n\v\f\r ", L"-", L"+", L"  -"}) ExpectBoth(text, CONV_EMPTY, 0);
}

TEST(NumparseTest, ANullTextIsEmpty)
{
    double d = 5;
    float f = 5;
    EXPECT_EQ(_ttod(nullptr, d), CONV_EMPTY);
    EXPECT_EQ(_ttof(nullptr, f), CONV_EMPTY);
    EXPECT_EQ(d, 0);
    EXPECT_EQ(f, 0);
}

TEST(NumparseTest, TheSignIsDropped)
{
    ExpectBoth(L"-7", CONV_OK, 7);
    ExpectBoth(L"+7", CONV_OK, 7);
    ExpectBoth(L" \t-0.5", CONV_OK, 0.5);
}

TEST(NumparseTest, AnyOtherCharacterIsBad)
{
    for (const wchar_t* text : {L"1.2.3", L"1a", L"7 ", L"--7", L"+-7", L"- 7", L"1-", L"1e5", L"1,5", L"..", L".5.",
                                L"a", L"0x10", L"\u0661", L"\uFF11", L"1\u00A0", L"\u20001"}) {
        ExpectBoth(text, CONV_BAD_CHAR, 0);
    }
}

TEST(NumparseTest, APointNeedsNoDigitsOnEitherSide)
{
    ExpectBoth(L".", CONV_OK, 0);
    ExpectBoth(L"5.", CONV_OK, 5);
    ExpectBoth(L".5", CONV_OK, 0.5);
    ExpectBoth(L"-.", CONV_OK, 0);
}

TEST(NumparseTest, LeadingBlanksAreTheOnesOfTheCLibrary)
{
    for (int ch = 1; ch < 0x3000; ++ch) {
        if ((ch >= L'0' && ch <= L'9') || ch == L'-' || ch == L'+' || ch == L'.') continue;
        const bool isSpace = ch <= 255 && ::_isctype(ch, _SPACE);
        EXPECT_EQ(AsFloat(std::wstring(1, static_cast<wchar_t>(ch)) + L"5").code, isSpace ? CONV_OK : CONV_BAD_CHAR)
            << ch;
    }
}

TEST(NumparseTest, ManyDigitsBeforeThePointOverflowAtTheLimitOfTheType)
{
    struct
    {
        int digits, floatCode, doubleCode;
    } const cases[] = {{1, 0, 4}, {38, 0, 4}, {39, 2, 4}, {40, 2, 4}, {308, 2, 4}, {309, 2, 2}, {1000, 2, 2}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.digits);
        EXPECT_EQ(AsFloat(Digits(c.digits)).code, c.floatCode);
        EXPECT_EQ(AsDouble(Digits(c.digits)).code, c.doubleCode);
        if (c.floatCode != 0) {
            EXPECT_EQ(AsFloat(Digits(c.digits)).value, 0);
        }
    }
    EXPECT_EQ(AsFloat(L"3" + Digits(38, L'0')).code, CONV_OK);
    EXPECT_EQ(AsFloat(L"4" + Digits(38, L'0')).code, CONV_OVERFLOW);
    EXPECT_EQ(AsDouble(L"1" + Digits(308, L'0')).code, CONV_EMPTY);
    EXPECT_EQ(AsDouble(L"2" + Digits(308, L'0')).code, CONV_OVERFLOW);
    EXPECT_EQ(AsFloat(Digits(1000, L'0') + L"5").value, 5);
}

TEST(NumparseTest, ManyDigitsBehindThePointUnderflowAtTheLimitOfTheType)
{
    struct
    {
        int digits, floatCode, doubleCode;
    } const cases[] = {{1, 0, 4},   {35, 0, 4},  {36, 3, 4},  {38, 3, 4},  {39, 3, 4},  {40, 3, 4},
                       {305, 3, 4}, {306, 3, 3}, {308, 3, 3}, {309, 3, 3}, {1000, 3, 3}};
    for (const auto& c : cases) {
        SCOPED_TRACE(c.digits);
        EXPECT_EQ(AsFloat(L"0." + Digits(c.digits)).code, c.floatCode);
        EXPECT_EQ(AsDouble(L"0." + Digits(c.digits)).code, c.doubleCode);
        if (c.doubleCode == 3) {
            EXPECT_EQ(AsDouble(L"0." + Digits(c.digits)).value, 0);
        }
    }
    EXPECT_EQ(AsFloat(L"0." + Digits(36, L'0')).code, CONV_UNDERFLOW);
}

TEST(NumparseTest, WhatComesFirstInTheTextIsTheCode)
{
    EXPECT_EQ(AsFloat(Digits(40) + L"x").code, CONV_OVERFLOW);
    EXPECT_EQ(AsFloat(Digits(36) + L"x" + Digits(40)).code, CONV_BAD_CHAR);
    EXPECT_EQ(AsFloat(L"1." + Digits(36) + L"x").code, CONV_UNDERFLOW);
    EXPECT_EQ(AsFloat(L"1." + Digits(35) + L"x").code, CONV_BAD_CHAR);
    EXPECT_EQ(AsDouble(Digits(309) + L".").code, CONV_OVERFLOW);
}

// The values were worked out in rational arithmetic, rounding once where the algorithm rounds.
TEST(NumparseTest, EveryBitIsThatOfTheAlgorithmInExactArithmetic)
{
    struct
    {
        const wchar_t* text;
        float single;
        double precise;
    } const cases[] = {
        {L"0.1", 0x1.99999a0000000p-4f, 0x1.999999999999ap-4},
        {L"0.3", 0x1.3333340000000p-2f, 0x1.3333333333334p-2},
        {L"12.34", 0x1.8ae1480000000p+3f, 0x1.8ae147ae147aep+3},
        {L"3.14159265358979", 0x1.921fb20000000p+1f, 0x1.921fb54442d11p+1},
        {L"0.000123", 0x1.01f3200000000p-13f, 0x1.01f31f46ed247p-13},
        {L"1234567.891", 0x1.2d687e0000000p+20f, 0x1.2d687e4189375p+20},
        {L"16777217", 0x1.0000000000000p+24f, 0x1.0000010000000p+24},
        {L"123456789.987654321", 0x1.d6f3460000000p+26f, 0x1.d6f3457f35ba6p+26},
        {L"0.7999999999999999", 0x1.9999980000000p-1f, 0x1.9999999999999p-1},
        {L"99999999999999999999", 0x1.5af1d80000000p+66f, 0x1.5af1d78b58c41p+66},
        {L"9007199254740993", 0x1.fffffe0000000p+52f, 0x1.0000000000000p+53},
        {L"999999.999999", 0x1.e847fe0000000p+19f, 0x1.e847fffffde71p+19},
        {L"4.35", 0x1.1666680000000p+2f, 0x1.1666666666666p+2},
        {L"2.675", 0x1.5666660000000p+1f, 0x1.5666666666666p+1},
        {L"-1.005", 0x1.0147ae0000000p+0f, 0x1.0147ae147ae14p+0},
        {L"0.123456789012345678901234567890", 0x1.f9add40000000p-4f, 0x1.f9add3746f65fp-4},
        {L"100000000000000000000000000000000000.5", 0x1.3426180000000p+116f, 0x1.3426172c74d82p+116},
        {L"33333333.333333333", 0x1.fca0540000000p+24f, 0x1.fca0555555556p+24},
        {L"0.00000000000000000000000000000000001", 0x1.a95a740000000p-117f, 0x1.a95a5b7f87a1dp-117},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(testing::Message() << "'" << std::wstring(c.text) << "'");
        float single;
        double precise;
        EXPECT_EQ(_ttof(c.text, single), CONV_OK);
        EXPECT_EQ(_ttod(c.text, precise), CONV_EMPTY);
        EXPECT_EQ(single, c.single);
        EXPECT_EQ(precise, c.precise);
    }
}

TEST(NumparseTest, RandomTextsGiveWhatTheAlgorithmGivesDigitByDigit)
{
    std::mt19937 random(12345);
    for (int round = 0; round < 300000; ++round) {
        std::wstring text;
        if (random() % 4 == 0) text += L" \t\n"[random() % 3];
        if (random() % 3 == 0) text += L"+-"[random() % 2];
        for (int part = 0; part < 2; ++part) {
            const int most = random() % 50 == 0 ? 320 : 14;
            for (int i = random() % most; i > 0; --i) text += static_cast<wchar_t>(L'0' + random() % 10);
            if (part == 0 && random() % 4 != 0) text += L'.';
        }
        if (random() % 40 == 0) text += L"x. -"[random() % 4];
        float single, singleReference;
        double precise, preciseReference;
        const int singleCode =
            Reference<float>(text.c_str(), singleReference, 3.4028234663852886e37, 1.1754944e-37f, 0);
        const int preciseCode =
            Reference<double>(text.c_str(), preciseReference, 1.7976931348623158e307, 2.2250738585072014e-307, 4);
        ASSERT_EQ(_ttof(text.c_str(), single), singleCode) << text;
        ASSERT_EQ(_ttod(text.c_str(), precise), preciseCode) << text;
        ASSERT_EQ(std::memcmp(&single, &singleReference, sizeof single), 0) << text;
        ASSERT_EQ(std::memcmp(&precise, &preciseReference, sizeof precise), 0) << text;
    }
}

// The samples in base/numparse.h.
TEST(NumparseTest, TheSamplesOfTheHeaderReadTheirNumbers)
{
    float price = 0;
    if (_ttof(L" 12.50", price) != CONV_OK) price = -1;
    EXPECT_EQ(price, 12.5f);

    double exact = 0;
    const bool isNumber = _ttod(L"0.000123", exact) == CONV_EMPTY && exact != 0;
    EXPECT_TRUE(isNumber);
    EXPECT_NEAR(exact, 0.000123, 1e-18);
}
