// Split: pieces, positions, counts and separators of any length.
#include "korvanelib.h"

#include <gtest/gtest.h>

#include <string>

namespace {

// The pieces between bars: "|a||b|".
std::wstring Pieces(const wchar_t* source, const wchar_t* separator, int start = 0, int count = -1)
{
    std::wstring text = L"|";
    for (const CString& piece : Split(source, separator, start, count))
        text += static_cast<LPCTSTR>(piece) + std::wstring(L"|");
    return text;
}

} // namespace

TEST(SplitTest, EmptyPiecesAreKept)
{
    EXPECT_EQ(Pieces(L"a,,b,", L","), L"|a||b||");
    EXPECT_EQ(Pieces(L",", L","), L"|||");
    EXPECT_EQ(Pieces(L"", L","), L"||");
    EXPECT_EQ(Pieces(L"abc", L","), L"|abc|");
}

TEST(SplitTest, ACountOnlySaysWhetherThereIsAnything)
{
    EXPECT_EQ(Pieces(L"a,,b,", L",", 0, 5), L"|a||b||");
    EXPECT_EQ(Pieces(L"a,,b,", L",", 0, 1), L"|a||b||");
    EXPECT_EQ(Pieces(L"a,,b,", L",", 0, INT_MAX), L"|a||b||");
    EXPECT_EQ(Pieces(L"a,,b,", L",", 0, 0), L"|");
    EXPECT_EQ(Pieces(L"a,,b,", L",", 0, -2), L"|");
    EXPECT_EQ(Pieces(L"a,,b,", L",", 0, INT_MIN), L"|");
}

TEST(SplitTest, WhatLiesBeforeTheStartIsNeverReturned)
{
    EXPECT_EQ(Pieces(L"a,b,c", L",", 2), L"|b|c|");
    EXPECT_EQ(Pieces(L"a,b,c", L",", 1), L"||b|c|");
    EXPECT_EQ(Pieces(L"a,b,c", L",", 4), L"|c|");
    EXPECT_EQ(Pieces(L"a,b,c", L",", 5), L"||");
}

TEST(SplitTest, AStartOutsideTheTextIsSafe)
{
    EXPECT_EQ(Pieces(L"a,b,c", L",", 6), L"||");
    EXPECT_EQ(Pieces(L"a,b,c", L",", INT_MAX), L"||");
    EXPECT_EQ(Pieces(L"a,b,c", L",", -1), L"|a|b|c|");
    EXPECT_EQ(Pieces(L"a,b,c", L",", INT_MIN), L"|a|b|c|");
}

TEST(SplitTest, BehindALongSeparatorThePieceBeginsWithTheRestOfIt)
{
    EXPECT_EQ(Pieces(L"a::b", L"::"), L"|a|:b|");
    EXPECT_EQ(Pieces(L"a<=>b<=>c", L"<=>"), L"|a|=>b|=>c|");
    EXPECT_EQ(Pieces(L"aaa", L"aa"), L"|||a|");
    EXPECT_EQ(Pieces(L"a:b", L"::"), L"|a:b|");
}

TEST(SplitTest, AnEmptySeparatorIsFoundAtEveryPositionAndEnds)
{
    EXPECT_EQ(Split(L"abc", L"", 0, -1).size(), 5u);
    EXPECT_EQ(Pieces(L"abc", L""), L"||||||");
    EXPECT_EQ(Split(L"", L"", 0, -1).size(), 2u);
    EXPECT_EQ(Split(CString(L'x', 5000), L"", 0, -1).size(), 5002u);
}

TEST(SplitTest, ALongTextIsSplitWhole)
{
    CString text;
    for (int i = 0; i < 10000; ++i) text += L"field,";
    const std::vector<CString> pieces = Split(text, L",", 0, -1);
    ASSERT_EQ(pieces.size(), 10001u);
    EXPECT_TRUE(pieces[9999] == L"field");
    EXPECT_TRUE(pieces[10000] == L"");
}

// The sample in base/split.h.
TEST(SplitTest, TheSampleOfTheHeaderGivesFourFields)
{
    std::vector<CString> fields = Split(L"a,,b,", L",", 0, -1); // "a", "", "b", ""
    EXPECT_EQ(fields.size(), 4u);
}
