// CString: construction, assignment, joining, comparing, parts, searches, edits.
#include "afx_print.h"

#include <gtest/gtest.h>

#include <climits>
#include <map>

namespace {

CString Ansi(LPCSTR psz)
{
    WCHAR sz[64];
    ::MultiByteToWideChar(CP_ACP, 0, psz, -1, sz, ARRAYSIZE(sz));
    return sz;
}

template <class Change> CString Changed(LPCTSTR psz, Change change)
{
    CString str(psz);
    const CString strSharer(str);
    change(str);
    EXPECT_STREQ(psz, strSharer) << "a sharer must not see the change";
    return str;
}

} // namespace

TEST(StringConstructionTest, ADefaultStringIsEmptyAndNeverNull)
{
    const CString str;
    EXPECT_EQ(0, str.GetLength());
    EXPECT_TRUE(str.IsEmpty());
    ASSERT_NE(nullptr, static_cast<LPCTSTR>(str));
    EXPECT_EQ(L'\0', *static_cast<LPCTSTR>(str));
}

TEST(StringConstructionTest, ACharacterIsRepeated)
{
    EXPECT_EQ(L"x", CString(L'x'));
    EXPECT_EQ(L"xxxxx", CString(L'x', 5));
    EXPECT_TRUE(CString(L'x', 0).IsEmpty());
    EXPECT_TRUE(CString(L'x', -1).IsEmpty());
    EXPECT_TRUE(CString(L'x', INT_MIN).IsEmpty());
}

TEST(StringConstructionTest, ARepeatCountBeyondMemoryThrows)
{
    EXPECT_TRUE(Throws<CMemoryException>([] { CString(L'x', INT_MAX); }));
    EXPECT_TRUE(Throws<CMemoryException>([] { CString(L'x', INT_MAX / 2); }));
}

TEST(StringConstructionTest, NullPointersGiveAnEmptyString)
{
    EXPECT_TRUE(CString(static_cast<LPCTSTR>(NULL)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<LPCSTR>(NULL)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<const unsigned char*>(NULL)).IsEmpty());
    EXPECT_TRUE(CString(static_cast<LPCTSTR>(NULL), 3).IsEmpty());
    EXPECT_TRUE(CString(static_cast<LPCSTR>(NULL), 3).IsEmpty());
}

TEST(StringConstructionTest, NarrowTextIsConvertedFromTheAnsiCodePage)
{
    EXPECT_EQ(L"narrow", CString("narrow"));
    EXPECT_EQ(L"bytes", CString(reinterpret_cast<const unsigned char*>("bytes")));
    EXPECT_EQ(Ansi("caf\xE9"), CString("caf\xE9"));
    EXPECT_EQ(Ansi("\x80"), CString("\x80"));
}

TEST(StringConstructionTest, ALengthTakesExactlySoManyCharacters)
{
    EXPECT_EQ(L"abc", CString(L"abcdef", 3));
    EXPECT_EQ(L"abc", CString("abcdef", 3));
    EXPECT_TRUE(Same(CString(L"a\0b", 3), L"a\0b", 3));
    EXPECT_TRUE(Same(CString("a\0b", 3), L"a\0b", 3));
    EXPECT_TRUE(CString(L"abc", 0).IsEmpty());
    EXPECT_TRUE(CString("abc", 0).IsEmpty());
    EXPECT_TRUE(CString(L"abc", -1).IsEmpty());
    EXPECT_TRUE(CString("abc", INT_MIN).IsEmpty());
}

TEST(StringAccessTest, CharactersAreReadByValueWithinTheLength)
{
    CString str(L"abc");
    EXPECT_EQ(L'a', str.GetAt(0));
    EXPECT_EQ(L'c', str[2]);
    static_assert(std::is_same_v<decltype(str[0]), TCHAR>);
    str.SetAt(1, L'x');
    EXPECT_EQ(L"axc", str);
}

TEST(StringAccessTest, APositionOutsideTheTextIsAnAssertionAndHarmless)
{
    CString str(L"abc");
    for (const int nIndex : {-1, 3, 4, INT_MAX, INT_MIN}) {
        EXPECT_ASSERTION_OR(EXPECT_EQ(L'\0', str.GetAt(nIndex)), str.GetAt(nIndex));
        EXPECT_ASSERTION_OR(EXPECT_EQ(L'\0', str[nIndex]), str[nIndex]);
        EXPECT_ASSERTION_OR(str.SetAt(nIndex, L'x'), str.SetAt(nIndex, L'x'));
    }
    EXPECT_TRUE(Same(str, L"abc", 3));
    CString strEmpty;
    EXPECT_ASSERTION_OR(EXPECT_EQ(L'\0', strEmpty[0]), strEmpty[0]);
}

TEST(StringAssignmentTest, EveryKindOfTextIsTaken)
{
    CString str(L"before");
    EXPECT_EQ(L"wide", str = L"wide");
    EXPECT_EQ(L"narrow", str = "narrow");
    EXPECT_EQ(L"bytes", str = reinterpret_cast<const unsigned char*>("bytes"));
    EXPECT_EQ(L"w", str = L'w');
    EXPECT_EQ(L"n", str = 'n');
    EXPECT_EQ(Ansi("\xE9"), str = '\xE9');
    EXPECT_EQ(L"other", str = CString(L"other"));
    EXPECT_TRUE((str = static_cast<LPCTSTR>(NULL)).IsEmpty());
    str = L"again";
    EXPECT_TRUE((str = static_cast<LPCSTR>(NULL)).IsEmpty());
}

TEST(StringAssignmentTest, APartOfTheStringItselfMayBeAssigned)
{
    CString str(L"abcdef");
    str = static_cast<LPCTSTR>(str) + 2;
    EXPECT_EQ(L"cdef", str);
    const CString strSharer(str);
    str = static_cast<LPCTSTR>(str) + 1;
    EXPECT_EQ(L"def", str);
    EXPECT_EQ(L"cdef", strSharer);
    str = static_cast<const CString&>(str);
    EXPECT_EQ(L"def", str);
}

TEST(StringAssignmentTest, AMovedStringIsEmpty)
{
    CString str(L"text");
    CString strMoved(std::move(str));
    EXPECT_EQ(L"text", strMoved);
    EXPECT_TRUE(str.IsEmpty());
    str = std::move(strMoved);
    EXPECT_EQ(L"text", str);
}

TEST(StringJoinTest, EveryPairOfOperandsJoins)
{
    const CString str(L"b");
    EXPECT_EQ(L"bb", str + str);
    EXPECT_EQ(L"bX", str + L'X');
    EXPECT_EQ(L"Xb", L'X' + str);
    EXPECT_EQ(L"bX", str + 'X');
    EXPECT_EQ(L"Xb", 'X' + str);
    EXPECT_EQ(Ansi("b\xE9"), str + '\xE9');
    EXPECT_EQ(Ansi("\xE9"
                   "b"),
              '\xE9' + str);
    EXPECT_EQ(L"bcd", str + L"cd");
    EXPECT_EQ(L"cdb", L"cd" + str);
    EXPECT_EQ(L"b", str + static_cast<LPCTSTR>(NULL));
    EXPECT_EQ(L"b", static_cast<LPCTSTR>(NULL) + str);
    EXPECT_TRUE((CString() + CString()).IsEmpty());
    EXPECT_TRUE(Same(CString(L"a\0", 2) + CString(L"\0b", 2), L"a\0\0b", 4));
}

TEST(StringJoinTest, EveryKindOfTextIsAppended)
{
    CString str;
    EXPECT_EQ(L"a", str += L'a');
    EXPECT_EQ(L"ab", str += 'b');
    EXPECT_EQ(L"abcd", str += L"cd");
    EXPECT_EQ(L"abcdef", str += CString(L"ef"));
    EXPECT_EQ(L"abcdef", str += static_cast<LPCTSTR>(NULL));
    EXPECT_EQ(L"abcdefg", str += "g");
}

TEST(StringJoinTest, AppendingACharacterZeroAppendsIt)
{
    CString str(L"ab");
    str += TCHAR(0);
    EXPECT_TRUE(Same(str, L"ab\0", 3));
    str += L'c';
    EXPECT_TRUE(Same(str, L"ab\0c", 4));
}

TEST(StringJoinTest, APartOfTheStringItselfMayBeAppended)
{
    CString str(L"abc");
    str += str;
    EXPECT_EQ(L"abcabc", str);
    str.FreeExtra();
    str += static_cast<LPCTSTR>(str) + 4;
    EXPECT_EQ(L"abcabcbc", str);
    const CString strSharer(str);
    str += strSharer;
    EXPECT_EQ(L"abcabcbcabcabcbc", str);
}

TEST(StringJoinTest, ManyShortAppendsReallocateSeldom)
{
    CString str;
    int nReallocations = 0;
    for (int i = 0; i < 1000000; ++i) {
        const int nBefore = str.GetAllocLength();
        str += static_cast<TCHAR>(L'a' + i % 26);
        if (str.GetAllocLength() != nBefore) ++nReallocations;
    }
    EXPECT_EQ(1000000, str.GetLength());
    EXPECT_EQ(L'a' + 999999 % 26, str[999999]);
    EXPECT_LT(nReallocations, 50);
}

TEST(StringComparisonTest, CompareGoesByCodeUnitsUpToTheFirstZero)
{
    EXPECT_EQ(0, CString(L"abc").Compare(L"abc"));
    EXPECT_LT(CString(L"abc").Compare(L"abd"), 0);
    EXPECT_GT(CString(L"abc").Compare(L"ab"), 0);
    EXPECT_GT(CString(L"a").Compare(L"A"), 0);
    EXPECT_GT(CString(L"\xFFFF").Compare(L"\x7FFF"), 0);
    EXPECT_EQ(0, CString(L"abc\0x", 5).Compare(L"abc"));
    EXPECT_EQ(0, CString().Compare(NULL));
    EXPECT_GT(CString(L"a").Compare(NULL), 0);
}

TEST(StringComparisonTest, CompareNoCaseFoldsEveryLetter)
{
    EXPECT_EQ(0, CString(L"aBc").CompareNoCase(L"AbC"));
    EXPECT_EQ(0, CString(L"\x00C9\x0416").CompareNoCase(L"\x00E9\x0436"));
    EXPECT_LT(CString(L"abc").CompareNoCase(L"ABD"), 0);
    EXPECT_GT(CString(L"abcd").CompareNoCase(L"ABC"), 0);
    EXPECT_LT(CString(L"_").CompareNoCase(L"A"), 0) << "letters are compared as lower case";
    EXPECT_EQ(0, CString().CompareNoCase(NULL));
}

TEST(StringComparisonTest, CollateGoesByLanguage)
{
    EXPECT_EQ(0, CString(L"abc").Collate(L"abc"));
    EXPECT_LT(CString(L"a").Collate(L"B"), 0) << "by code unit it is the other way round";
    EXPECT_GT(CString(L"B").Collate(L"a"), 0);
    EXPECT_NE(0, CString(L"a").Collate(L"A"));
    EXPECT_EQ(0, CString(L"a").CollateNoCase(L"A"));
    EXPECT_GT(CString(L"a").Collate(NULL), 0);
}

TEST(StringComparisonTest, OperatorsCompareInBothOrders)
{
    const CString a(L"a"), b(L"b");
    EXPECT_TRUE(a == a && a == L"a" && L"a" == a);
    EXPECT_FALSE(a == b || a == L"b" || L"b" == a);
    EXPECT_TRUE(a != b && a != L"b" && L"b" != a);
    EXPECT_FALSE(a != a || a != L"a" || L"a" != a);
    EXPECT_TRUE(a < b && a < L"b" && L"a" < b);
    EXPECT_FALSE(b < a || b < L"a" || L"b" < a || a < a);
    EXPECT_TRUE(b > a && b > L"a" && L"b" > a);
    EXPECT_FALSE(a > b || a > L"b" || L"a" > b || a > a);
    EXPECT_TRUE(a <= b && a <= L"a" && L"a" <= b);
    EXPECT_FALSE(b <= a || b <= L"a" || L"b" <= a);
    EXPECT_TRUE(b >= a && a >= L"a" && L"b" >= a);
    EXPECT_FALSE(a >= b || a >= L"b" || L"a" >= b);
    EXPECT_TRUE(a == "a") << "narrow text is converted first";
}

TEST(StringComparisonTest, StringsAreKeysOfAMap)
{
    std::map<CString, int> map;
    map[L"b"] = 2;
    map[L"a"] = 1;
    map[L"B"] = 3;
    EXPECT_EQ(L"B", map.begin()->first);
    EXPECT_EQ(1, map[CString(L"a")]);
    EXPECT_EQ(3u, map.size());
}

TEST(StringPartTest, MidIsCutToTheText)
{
    static constexpr struct
    {
        int nFirst, nCount;
        LPCTSTR pszPart;
    } kCases[] = {
        {-5, 3, L"abc"},       {3, 20, L"def"}, {3, -1, L""}, {1, 2, L"bc"},           {0, 6, L"abcdef"},
        {6, 1, L""},           {20, 1, L""},    {0, 0, L""},  {INT_MIN, INT_MIN, L""}, {INT_MAX, INT_MAX, L""},
        {2, INT_MAX, L"cdef"},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(c.pszPart, CString(L"abcdef").Mid(c.nFirst, c.nCount)) << c.nFirst << ", " << c.nCount;
    }
    EXPECT_EQ(L"abcdef", CString(L"abcdef").Mid(-3));
    EXPECT_EQ(L"def", CString(L"abcdef").Mid(3));
    EXPECT_EQ(L"", CString(L"abcdef").Mid(20));
    EXPECT_TRUE(CString().Mid(0, 1).IsEmpty());
}

TEST(StringPartTest, LeftAndRightAreCutToTheText)
{
    const CString str(L"abcdef");
    EXPECT_EQ(L"abc", str.Left(3));
    EXPECT_EQ(L"abcdef", str.Left(40));
    EXPECT_EQ(L"", str.Left(-10));
    EXPECT_EQ(L"", str.Left(0));
    EXPECT_EQ(L"def", str.Right(3));
    EXPECT_EQ(L"abcdef", str.Right(40));
    EXPECT_EQ(L"", str.Right(-40));
    EXPECT_EQ(L"", str.Right(INT_MIN));
}

TEST(StringPartTest, APartThatIsTheWholeSharesTheRecord)
{
    const CString str(L"abcdef");
    const LPCTSTR pch = str;
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str.Mid(0)));
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str.Mid(-1, 7)));
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str.Left(6)));
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str.Right(99)));
    EXPECT_EQ(pch, static_cast<LPCTSTR>(str.SpanExcluding(L"x")));
    EXPECT_NE(pch, static_cast<LPCTSTR>(str.Left(5)));
}

TEST(StringPartTest, SpansAreLeadingRuns)
{
    const CString str(L"cabinet");
    EXPECT_EQ(L"cab", str.SpanIncluding(L"abc"));
    EXPECT_EQ(L"", str.SpanIncluding(L"xyz"));
    EXPECT_EQ(L"", str.SpanIncluding(L""));
    EXPECT_EQ(L"", str.SpanIncluding(NULL));
    EXPECT_EQ(L"cabinet", str.SpanIncluding(L"cabinet"));
    EXPECT_EQ(L"cab", str.SpanExcluding(L"it"));
    EXPECT_EQ(L"", str.SpanExcluding(L"c"));
    EXPECT_EQ(L"cabinet", str.SpanExcluding(L"xyz"));
    EXPECT_EQ(L"cabinet", str.SpanExcluding(L""));
}

TEST(StringSearchTest, FindLooksFromThePositionOn)
{
    const CString str(L"The waves are still");
    EXPECT_EQ(7, str.Find(L'e', 7));
    EXPECT_EQ(2, str.Find(L'e'));
    EXPECT_EQ(12, str.Find(L'e', 8));
    EXPECT_EQ(-1, str.Find(L'E'));
    EXPECT_EQ(-1, str.Find(L't', 16));
    EXPECT_EQ(4, str.Find(L"wave"));
    EXPECT_EQ(4, str.Find(L"wave", 4));
    EXPECT_EQ(-1, str.Find(L"wave", 5));
    EXPECT_EQ(-1, str.Find(L"Wave"));
    EXPECT_EQ(14, str.Find(L"still"));
    EXPECT_EQ(-1, str.Find(L"stilly"));
}

TEST(StringSearchTest, FindAtTheLimits)
{
    const CString str(L"abc");
    EXPECT_EQ(-1, str.Find(L'a', 3));
    EXPECT_EQ(-1, str.Find(L'c', 100));
    EXPECT_EQ(-1, str.Find(L'c', INT_MAX));
    EXPECT_EQ(-1, str.Find(L"", 4));
    EXPECT_EQ(3, str.Find(L"", 3));
    EXPECT_EQ(1, str.Find(L"", 1));
    EXPECT_EQ(0, str.Find(static_cast<LPCTSTR>(NULL)));
    EXPECT_EQ(0, str.Find(L'a', -5));
    EXPECT_EQ(0, str.Find(L"ab", INT_MIN));
    EXPECT_EQ(-1, str.Find(L"abcd"));
    EXPECT_EQ(2, CString(L"aaab").Find(L"ab"));
    EXPECT_EQ(-1, CString().Find(L'a'));
    EXPECT_EQ(0, CString().Find(L""));
}

TEST(StringSearchTest, TheOtherSearches)
{
    const CString str(L"abcabc");
    EXPECT_EQ(5, str.ReverseFind(L'c'));
    EXPECT_EQ(3, str.ReverseFind(L'a'));
    EXPECT_EQ(-1, str.ReverseFind(L'x'));
    EXPECT_EQ(-1, CString().ReverseFind(L'x'));
    EXPECT_EQ(1, str.FindOneOf(L"xcb"));
    EXPECT_EQ(-1, str.FindOneOf(L"xyz"));
    EXPECT_EQ(-1, str.FindOneOf(L""));
    EXPECT_EQ(-1, str.FindOneOf(NULL));
}

TEST(StringSearchTest, WhatStandsBehindAZeroIsFound)
{
    const CString str(L"ab\0cd", 5);
    EXPECT_EQ(3, str.Find(L'c'));
    EXPECT_EQ(3, str.Find(L"cd"));
    EXPECT_EQ(2, str.Find(L'\0'));
    EXPECT_EQ(4, str.FindOneOf(L"d"));
    EXPECT_EQ(-1, CString(L"ab").Find(L'\0')) << "the terminator is no part of the text";
}

TEST(StringEditTest, CaseAndOrder)
{
    EXPECT_EQ(L"ABC1\x00C9", Changed(L"aBc1\x00E9", [](CString& s) { s.MakeUpper(); }));
    EXPECT_EQ(L"abc1\x00E9", Changed(L"aBc1\x00C9", [](CString& s) { s.MakeLower(); }));
    EXPECT_EQ(L"cba", Changed(L"abc", [](CString& s) { s.MakeReverse(); }));
    EXPECT_EQ(L"", Changed(L"", [](CString& s) { s.MakeUpper(), s.MakeLower(), s.MakeReverse(); }));
    static_assert(std::is_void_v<decltype(CString().MakeUpper())> && std::is_void_v<decltype(CString().MakeReverse())>);
}

TEST(StringEditTest, TrimTakesWhiteSpaceACharacterOrASet)
{
    EXPECT_EQ(L"***", Changed(L" \t\r\n***", [](CString& s) { s.TrimLeft(); }));
    EXPECT_EQ(L"*** ", Changed(L" *** ", [](CString& s) { s.TrimLeft(); }));
    EXPECT_EQ(L" ***", Changed(L" *** \t\r\n", [](CString& s) { s.TrimRight(); }));
    EXPECT_EQ(L"", Changed(L" \n ", [](CString& s) { s.TrimLeft(); }));
    EXPECT_EQ(L"", Changed(L" \n ", [](CString& s) { s.TrimRight(); }));
    EXPECT_EQ(L" xa", Changed(L"xx xa", [](CString& s) { s.TrimLeft(L'x'); }));
    EXPECT_EQ(L"ax ", Changed(L"ax xx", [](CString& s) { s.TrimRight(L'x'); }));
    EXPECT_EQ(L"cab", Changed(L"baacab", [](CString& s) { s.TrimLeft(L"ab"); }));
    EXPECT_EQ(L"bac", Changed(L"bacab", [](CString& s) { s.TrimRight(L"ab"); }));
    EXPECT_EQ(L" a ", Changed(L" a ", [](CString& s) { s.TrimLeft(L""), s.TrimRight(L""); }));
    EXPECT_EQ(L"a", Changed(L"a", [](CString& s) { s.TrimLeft(), s.TrimRight(); }));
    static_assert(std::is_void_v<decltype(CString().TrimLeft())> && std::is_void_v<decltype(CString().TrimRight(L""))>);
}

TEST(StringEditTest, InsertCutsThePositionToTheText)
{
    CString str(L"ad");
    EXPECT_EQ(3, str.Insert(1, L'b'));
    EXPECT_EQ(4, str.Insert(2, L"c"));
    EXPECT_EQ(L"abcd", str);
    EXPECT_EQ(5, str.Insert(-3, L'x'));
    EXPECT_EQ(6, str.Insert(100, L'y'));
    EXPECT_EQ(8, str.Insert(INT_MIN, L"<<"));
    EXPECT_EQ(10, str.Insert(INT_MAX, L">>"));
    EXPECT_EQ(L"<<xabcdy>>", str);
    EXPECT_EQ(10, str.Insert(3, L""));
    EXPECT_EQ(10, str.Insert(3, static_cast<LPCTSTR>(NULL)));
    CString strEmpty;
    EXPECT_EQ(3, strEmpty.Insert(5, L"abc"));
    EXPECT_EQ(6, strEmpty.Insert(1, strEmpty));
    EXPECT_EQ(L"aabcbc", strEmpty);
    EXPECT_EQ(L"xabc", Changed(L"abc", [](CString& s) { s.Insert(0, L'x'); }));
}

TEST(StringEditTest, DeleteIsCutToTheText)
{
    CString str(L"abc");
    EXPECT_EQ(3, str.Delete(10, 1));
    EXPECT_EQ(3, str.Delete(3, 1));
    EXPECT_EQ(3, str.Delete(1, 0));
    EXPECT_EQ(3, str.Delete(1, -1));
    EXPECT_EQ(L"abc", str);
    EXPECT_EQ(2, str.Delete(1));
    EXPECT_EQ(L"ac", str);
    EXPECT_EQ(1, str.Delete(1, INT_MAX));
    EXPECT_EQ(0, str.Delete(-7, 1));
    EXPECT_EQ(0, str.Delete(0, 1));
    EXPECT_EQ(L"aef", Changed(L"abcdef", [](CString& s) { EXPECT_EQ(3, s.Delete(1, 3)); }));
}

TEST(StringEditTest, RemoveCountsWhatItRemoves)
{
    EXPECT_EQ(L"bnn", Changed(L"banana", [](CString& s) { EXPECT_EQ(3, s.Remove(L'a')); }));
    EXPECT_EQ(L"banana", Changed(L"banana", [](CString& s) { EXPECT_EQ(0, s.Remove(L'A')); }));
    EXPECT_EQ(L"", Changed(L"aaa", [](CString& s) { EXPECT_EQ(3, s.Remove(L'a')); }));
    EXPECT_EQ(L"", Changed(L"", [](CString& s) { EXPECT_EQ(0, s.Remove(L'a')); }));
}

TEST(StringEditTest, ReplaceDoesNotLookAtWhatItPutIn)
{
    EXPECT_EQ(L"abxcde", Changed(L"abcde", [](CString& s) { EXPECT_EQ(1, s.Replace(L"b", L"bx")); }));
    EXPECT_EQ(L"bonono", Changed(L"banana", [](CString& s) { EXPECT_EQ(3, s.Replace(L'a', L'o')); }));
    EXPECT_EQ(L"banana", Changed(L"banana", [](CString& s) { EXPECT_EQ(0, s.Replace(L'a', L'a')); }));
    EXPECT_EQ(L"banana", Changed(L"banana", [](CString& s) { EXPECT_EQ(0, s.Replace(L'x', L'y')); }));
    EXPECT_EQ(L"bnn", Changed(L"banana", [](CString& s) { EXPECT_EQ(3, s.Replace(L"a", NULL)); }));
    EXPECT_EQ(L"", Changed(L"aaaa", [](CString& s) { EXPECT_EQ(2, s.Replace(L"aa", L"")); }));
    EXPECT_EQ(L"banana", Changed(L"banana", [](CString& s) { EXPECT_EQ(0, s.Replace(L"", L"x")); }));
    EXPECT_EQ(L"banana", Changed(L"banana", [](CString& s) { EXPECT_EQ(0, s.Replace(NULL, L"x")); }));
    EXPECT_EQ(L"banana", Changed(L"banana", [](CString& s) { EXPECT_EQ(0, s.Replace(L"bananas", L"x")); }));
    EXPECT_EQ(L"xya", Changed(L"aaa", [](CString& s) { EXPECT_EQ(1, s.Replace(L"aa", L"xy")); }));
    EXPECT_EQ(L"<banana>", Changed(L"banana", [](CString& s) { EXPECT_EQ(1, s.Replace(s, L"<banana>")); }));
}

TEST(StringEditTest, AReplacementBeyondMemoryThrowsAndLeavesTheText)
{
    CString str(L'x', 100000);
    const CString strLong(L'y', 100000);
    EXPECT_TRUE(Throws<CMemoryException>([&] { str.Replace(L"x", strLong); }));
    EXPECT_EQ(CString(L'x', 100000), str);
}
