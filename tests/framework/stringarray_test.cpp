// CStringArray.
#include "afx_print.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

namespace {

void Fill(CStringArray& array, LPCTSTR pszLetters)
{
    for (; *pszLetters; ++pszLetters) array.Add(CString(*pszLetters));
}

// The elements with a comma behind each.
CString Joined(const CStringArray& array)
{
    CString str;
    for (int i = 0; i < array.GetSize(); ++i) str += array[i] + L',';
    return str;
}

} // namespace

TEST(StringArrayTest, StartsEmpty)
{
    const CStringArray array;
    EXPECT_EQ(0, array.GetSize());
    EXPECT_EQ(-1, array.GetUpperBound());
    EXPECT_EQ(nullptr, array.GetData());
}

TEST(StringArrayTest, AddReturnsTheIndex)
{
    CStringArray array;
    EXPECT_EQ(0, array.Add(L"a"));
    EXPECT_EQ(1, array.Add(CString(L"b")));
    EXPECT_EQ(2, array.Add(static_cast<LPCTSTR>(NULL)));
    EXPECT_EQ(2, array.GetUpperBound());
    EXPECT_EQ(L"a,b,,", Joined(array));
}

TEST(StringArrayTest, SetSizeAddsEmptiesAndDestroysTheRest)
{
    CStringArray array;
    array.SetSize(3);
    EXPECT_EQ(L",,,", Joined(array));
    const CString str(L"counted");
    array.SetAt(2, str);
    EXPECT_EQ(2, RecordOf(str).nRefs);
    array.SetSize(2);
    EXPECT_EQ(1, RecordOf(str).nRefs);
    array.SetSize(4, 10);
    EXPECT_EQ(L",,,,", Joined(array));
    array.SetSize(0);
    EXPECT_EQ(nullptr, array.GetData());
}

TEST(StringArrayTest, ElementsAreReadByValueAndWrittenByReference)
{
    CStringArray array;
    Fill(array, L"abc");
    const CStringArray& constant = array;
    static_assert(std::is_same_v<decltype(constant[0]), CString> && std::is_same_v<decltype(array[0]), CString&>);
    array[0] = L"x";
    array.ElementAt(1) += L"y";
    array.SetAt(2, L"z");
    EXPECT_EQ(L"x", constant.GetAt(0));
    EXPECT_EQ(L"by", constant[1]);
    EXPECT_EQ(L"z", array.GetData()[2]);
    EXPECT_EQ(&array[0], array.GetData());
}

TEST(StringArrayTest, AnIndexOutsideIsRefused)
{
    CStringArray array;
    Fill(array, L"abc");
    [[maybe_unused]] const auto refuses = [&](auto action) {
        return Throws<CInvalidArgException>([&] { action(array); });
    };
    for (const int nIndex : {-1, 3, INT_MAX, INT_MIN}) {
        EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([=](CStringArray& a) { a.GetAt(nIndex); })), array.GetAt(nIndex));
        EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([=](CStringArray& a) { a[nIndex] = L"x"; })), array[nIndex]);
        EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([=](CStringArray& a) { a.SetAt(nIndex, L"x"); })),
                            array.SetAt(nIndex, L"x"));
    }
    EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([](CStringArray& a) { a.SetSize(-1); })), array.SetSize(-1));
    EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([](CStringArray& a) { a.SetAtGrow(-1, L"x"); })),
                        array.SetAtGrow(-1, L"x"));
    EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([](CStringArray& a) { a.InsertAt(-1, L"x"); })), array.InsertAt(-1, L"x"));
    EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([](CStringArray& a) { a.InsertAt(0, L"x", 0); })),
                        array.InsertAt(0, L"x", 0));
    EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([](CStringArray& a) { a.RemoveAt(0, 4); })), array.RemoveAt(0, 4));
    EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([](CStringArray& a) { a.RemoveAt(2, INT_MAX); })),
                        array.RemoveAt(2, INT_MAX));
    EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([](CStringArray& a) { a.RemoveAt(-1, 1); })), array.RemoveAt(-1, 1));
    EXPECT_ASSERTION_OR(EXPECT_TRUE(refuses([](CStringArray& a) { a.RemoveAt(0, -1); })), array.RemoveAt(0, -1));
    EXPECT_EQ(L"a,b,c,", Joined(array));
}

TEST(StringArrayTest, ASizeBeyondMemoryThrowsAndLeavesTheArray)
{
    CStringArray array;
    Fill(array, L"ab");
    EXPECT_TRUE(Throws<CMemoryException>([&] { array.SetSize(INT_MAX); }));
    EXPECT_TRUE(Throws<CMemoryException>([&] { array.SetAtGrow(INT_MAX, L"x"); }));
    EXPECT_TRUE(Throws<CMemoryException>([&] { array.InsertAt(1, L"x", INT_MAX); }));
    EXPECT_TRUE(Throws<CMemoryException>([&] { array.InsertAt(INT_MAX, L"x", INT_MAX); }));
    EXPECT_EQ(L"a,b,", Joined(array));
}

TEST(StringArrayTest, SetAtGrowExtendsWithEmpties)
{
    CStringArray array;
    array.SetAtGrow(2, L"c");
    EXPECT_EQ(L",,c,", Joined(array));
    array.SetAtGrow(0, CString(L"a"));
    EXPECT_EQ(L"a,,c,", Joined(array));
    array.SetAtGrow(3, array[2]);
    EXPECT_EQ(L"a,,c,c,", Joined(array));
}

TEST(StringArrayTest, AppendReturnsTheOldSizeAndCopyReplaces)
{
    CStringArray array, other;
    Fill(array, L"ab");
    Fill(other, L"cd");
    EXPECT_EQ(2, array.Append(other));
    EXPECT_EQ(L"a,b,c,d,", Joined(array));
    EXPECT_EQ(4, array.Append(array));
    EXPECT_EQ(L"a,b,c,d,a,b,c,d,", Joined(array));
    EXPECT_EQ(8, array.Append(CStringArray()));
    array.Copy(other);
    EXPECT_EQ(L"c,d,", Joined(array));
    array.Copy(array);
    EXPECT_EQ(L"c,d,", Joined(array));
    array.Copy(CStringArray());
    EXPECT_EQ(0, array.GetSize());
}

TEST(StringArrayTest, InsertAtMovesTheRestUp)
{
    CStringArray array;
    Fill(array, L"ad");
    array.InsertAt(1, L"x", 2);
    EXPECT_EQ(L"a,x,x,d,", Joined(array));
    array.InsertAt(0, array[3]);
    EXPECT_EQ(L"d,a,x,x,d,", Joined(array));
    array.InsertAt(7, CString(L"end"));
    EXPECT_EQ(L"d,a,x,x,d,,,end,", Joined(array));
}

TEST(StringArrayTest, InsertAtTakesAnArray)
{
    CStringArray array, other;
    Fill(array, L"ad");
    Fill(other, L"bc");
    array.InsertAt(1, &other);
    EXPECT_EQ(L"a,b,c,d,", Joined(array));
    array.InsertAt(2, &array);
    EXPECT_EQ(L"a,b,a,b,c,d,c,d,", Joined(array));
    array.InsertAt(9, &other);
    EXPECT_EQ(L"a,b,a,b,c,d,c,d,,b,c,", Joined(array));
    CStringArray empty;
    array.InsertAt(0, &empty);
    EXPECT_EQ(11, array.GetSize());
}

TEST(StringArrayTest, RemoveAtMovesTheRestDownAndKeepsTheMemory)
{
    CStringArray array;
    Fill(array, L"abcde");
    const CString* pData = array.GetData();
    array.RemoveAt(1, 2);
    EXPECT_EQ(L"a,d,e,", Joined(array));
    array.RemoveAt(2);
    array.RemoveAt(0, 0);
    EXPECT_EQ(L"a,d,", Joined(array));
    EXPECT_EQ(pData, array.GetData());
    array.RemoveAt(0, 2);
    EXPECT_EQ(0, array.GetSize());
    EXPECT_EQ(pData, array.GetData());
    array.FreeExtra();
    EXPECT_EQ(nullptr, array.GetData());
}

TEST(StringArrayTest, RemovedElementsAreReleasedOnce)
{
    const CString str(L"counted");
    {
        CStringArray array;
        array.InsertAt(0, str, 10);
        EXPECT_EQ(11, RecordOf(str).nRefs);
        array.RemoveAt(3, 4);
        EXPECT_EQ(7, RecordOf(str).nRefs);
        array.FreeExtra();
        array.RemoveAll();
        EXPECT_EQ(1, RecordOf(str).nRefs);
        array.Add(str);
        EXPECT_EQ(2, RecordOf(str).nRefs);
    }
    EXPECT_EQ(1, RecordOf(str).nRefs);
}

TEST(StringArrayTest, ManyElementsMoveSeldom)
{
    CStringArray array;
    int nMoves = 0;
    const CString* pData = NULL;
    for (int i = 0; i < 200000; ++i) {
        array.Add(L"x");
        if (array.GetData() != pData) ++nMoves;
        pData = array.GetData();
    }
    EXPECT_EQ(200000, array.GetSize());
    EXPECT_LT(nMoves, 60);
}

TEST(StringArrayTest, IsAnObjectOfItsClass)
{
    CStringArray array;
    EXPECT_TRUE(array.IsKindOf(RUNTIME_CLASS(CStringArray)));
    EXPECT_TRUE(array.IsKindOf(RUNTIME_CLASS(CObject)));
    EXPECT_STREQ("CStringArray", array.GetRuntimeClass()->m_lpszClassName);
    static_assert(!std::is_copy_constructible_v<CStringArray> && !std::is_copy_assignable_v<CStringArray>);
}
