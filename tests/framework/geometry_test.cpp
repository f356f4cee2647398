// CPoint, CSize, CRect.
#include "afx_print.h"

#include <gtest/gtest.h>

#include <climits>

TEST(SizeTest, IsMadeFromPairsAndPackedHalves)
{
    EXPECT_TRUE(CSize(1, 2) == CSize(SIZE{1, 2}));
    EXPECT_TRUE(CSize(1, 2) == CSize(POINT{1, 2}));
    EXPECT_TRUE(CSize(-1, 2) == CSize(static_cast<DWORD>(MAKELONG(0xFFFF, 2))));
    EXPECT_TRUE(CSize(1, 2) != CSize(2, 1));
}

TEST(SizeTest, Arithmetic)
{
    CSize size(3, 4);
    size += CSize(1, 1);
    EXPECT_TRUE(size == CSize(4, 5));
    size -= CSize(2, 2);
    EXPECT_TRUE(size == CSize(2, 3));
    EXPECT_TRUE(size + CSize(1, 2) == CSize(3, 5));
    EXPECT_TRUE(size - CSize(1, 2) == CSize(1, 1));
    EXPECT_TRUE(-size == CSize(-2, -3));
    EXPECT_TRUE(size + CPoint(1, 1) == CPoint(3, 4));
    EXPECT_TRUE(size - CPoint(1, 1) == CPoint(1, 2));
    const CRect rect(0, 0, 10, 10);
    EXPECT_EQ(CRect(2, 3, 12, 13), size + &rect);
    EXPECT_EQ(CRect(-2, -3, 8, 7), size - &rect);
}

TEST(PointTest, IsMadeFromPairsAndPackedHalves)
{
    EXPECT_TRUE(CPoint(1, 2) == CPoint(POINT{1, 2}));
    EXPECT_TRUE(CPoint(1, 2) == CPoint(SIZE{1, 2}));
    EXPECT_TRUE(CPoint(-3, -4) == CPoint(static_cast<DWORD>(MAKELPARAM(-3, -4))));
    EXPECT_TRUE(CPoint(1, 2) != CPoint(2, 1));
}

TEST(PointTest, Arithmetic)
{
    CPoint point(3, 4);
    point.Offset(1, 1);
    point.Offset(CPoint(1, 1));
    point.Offset(CSize(1, 1));
    EXPECT_TRUE(point == CPoint(6, 7));
    point += CSize(1, 2);
    point -= CSize(2, 2);
    point += CPoint(1, 1);
    point -= CPoint(2, 2);
    EXPECT_TRUE(point == CPoint(4, 6));
    EXPECT_TRUE(point + CSize(1, 1) == CPoint(5, 7));
    EXPECT_TRUE(point - CSize(1, 1) == CPoint(3, 5));
    EXPECT_TRUE(point + CPoint(1, 1) == CPoint(5, 7));
    EXPECT_TRUE(point - CPoint(1, 1) == CSize(3, 5));
    EXPECT_TRUE(-point == CPoint(-4, -6));
    const CRect rect(0, 0, 10, 10);
    EXPECT_EQ(CRect(4, 6, 14, 16), point + &rect);
    EXPECT_EQ(CRect(-4, -6, 6, 4), point - &rect);
}

TEST(RectTest, IsMadeFromSidesPointsAndSizes)
{
    const RECT plain = {1, 2, 3, 4};
    EXPECT_EQ(CRect(1, 2, 3, 4), CRect(plain));
    EXPECT_EQ(CRect(1, 2, 3, 4), CRect(&plain));
    EXPECT_EQ(CRect(1, 2, 3, 4), CRect(CPoint(1, 2), CSize(2, 2)));
    EXPECT_EQ(CRect(1, 2, 3, 4), CRect(CPoint(1, 2), CPoint(3, 4)));
    CRect rect(0, 0, 0, 0);
    rect.SetRect(1, 2, 3, 4);
    EXPECT_EQ(CRect(plain), rect);
    rect.SetRectEmpty();
    EXPECT_TRUE(rect.IsRectNull());
    rect.SetRect(CPoint(1, 2), CPoint(3, 4));
    EXPECT_TRUE(rect.EqualRect(&plain));
    rect.CopyRect(CRect(5, 6, 7, 8));
    EXPECT_EQ(CRect(5, 6, 7, 8), rect);
    rect = plain;
    EXPECT_TRUE(rect == plain);
    EXPECT_TRUE(rect != CRect(0, 2, 3, 4));
}

TEST(RectTest, PassesAsAPlainRectangle)
{
    CRect rect(1, 2, 3, 4);
    ::OffsetRect(rect, 1, 1);
    EXPECT_EQ(CRect(2, 3, 4, 5), rect);
    const CRect& constant = rect;
    RECT copy;
    ::CopyRect(&copy, constant);
    EXPECT_EQ(rect, copy);
}

TEST(RectTest, MeasuresAreDifferences)
{
    const CRect rect(10, 20, 5, 50);
    EXPECT_EQ(-5, rect.Width());
    EXPECT_EQ(30, rect.Height());
    EXPECT_TRUE(rect.Size() == CSize(-5, 30));
    EXPECT_TRUE(CRect(0, 0, 10, 20).CenterPoint() == CPoint(5, 10));
}

TEST(RectTest, CornersAreReferences)
{
    CRect rect(1, 2, 3, 4);
    rect.TopLeft() = CPoint(-1, -2);
    rect.BottomRight().x = 9;
    EXPECT_EQ(CRect(-1, -2, 9, 4), rect);
    const CRect& constant = rect;
    EXPECT_TRUE(constant.TopLeft() == CPoint(-1, -2));
    EXPECT_TRUE(constant.BottomRight() == CPoint(9, 4));
}

TEST(RectTest, EmptyIsNoAreaAndNullIsAllZero)
{
    EXPECT_TRUE(CRect(1, 1, 1, 5).IsRectEmpty());
    EXPECT_TRUE(CRect(1, 5, 5, 1).IsRectEmpty());
    EXPECT_FALSE(CRect(0, 0, 1, 1).IsRectEmpty());
    EXPECT_TRUE(CRect(0, 0, 0, 0).IsRectNull());
    EXPECT_FALSE(CRect(1, 1, 1, 1).IsRectNull());
}

TEST(RectTest, LeftAndTopAreInsideRightAndBottomAreNot)
{
    const CRect rect(1, 2, 5, 6);
    EXPECT_TRUE(rect.PtInRect(CPoint(1, 2)));
    EXPECT_TRUE(rect.PtInRect(CPoint(4, 5)));
    EXPECT_FALSE(rect.PtInRect(CPoint(5, 3)));
    EXPECT_FALSE(rect.PtInRect(CPoint(3, 6)));
    EXPECT_FALSE(rect.PtInRect(CPoint(0, 3)));
}

TEST(RectTest, NormalizeSwapsWhatIsTheWrongWayRound)
{
    CRect rect(10, 20, 5, 6);
    rect.NormalizeRect();
    EXPECT_EQ(CRect(5, 6, 10, 20), rect);
    rect.NormalizeRect();
    EXPECT_EQ(CRect(5, 6, 10, 20), rect);
    rect.SwapLeftRight();
    EXPECT_EQ(CRect(10, 6, 5, 20), rect);
}

TEST(RectTest, InflateGoesOutwardsAndDeflateInwards)
{
    const RECT sides = {1, 2, 3, 4};
    CRect rect(10, 10, 20, 20);
    rect.InflateRect(1, 2);
    EXPECT_EQ(CRect(9, 8, 21, 22), rect);
    rect.DeflateRect(CSize(1, 2));
    rect.InflateRect(&sides);
    EXPECT_EQ(CRect(9, 8, 23, 24), rect);
    rect.DeflateRect(1, 2, 3, 4);
    EXPECT_EQ(CRect(10, 10, 20, 20), rect);
    rect.InflateRect(1, 2, 3, 4);
    rect.DeflateRect(&sides);
    rect.InflateRect(CSize(2, 2));
    rect.DeflateRect(2, 2);
    EXPECT_EQ(CRect(10, 10, 20, 20), rect);
    EXPECT_EQ(CRect(9, 8, 23, 24), rect + &sides);
    EXPECT_EQ(CRect(11, 12, 17, 16), rect - &sides);
    rect += &sides;
    rect -= &sides;
    EXPECT_EQ(CRect(10, 10, 20, 20), rect);
}

TEST(RectTest, OffsetMovesAllSides)
{
    CRect rect(0, 0, 2, 2);
    rect.OffsetRect(1, 2);
    rect.OffsetRect(CPoint(1, 2));
    rect.OffsetRect(CSize(1, 2));
    EXPECT_EQ(CRect(3, 6, 5, 8), rect);
    rect += CPoint(1, 1);
    rect += CSize(1, 1);
    rect -= CPoint(2, 2);
    rect -= CSize(3, 6);
    EXPECT_EQ(CRect(0, 0, 2, 2), rect);
    EXPECT_EQ(CRect(1, 2, 3, 4), rect + CPoint(1, 2));
    EXPECT_EQ(CRect(1, 2, 3, 4), rect + CSize(1, 2));
    EXPECT_EQ(CRect(-1, -2, 1, 0), rect - CPoint(1, 2));
    EXPECT_EQ(CRect(-1, -2, 1, 0), rect - CSize(1, 2));
}

TEST(RectTest, IntersectionUnionAndDifferenceAreTheSystems)
{
    const CRect a(0, 0, 10, 10), b(5, 5, 15, 15), away(50, 50, 60, 60);
    CRect rect;
    EXPECT_TRUE(rect.IntersectRect(a, b));
    EXPECT_EQ(CRect(5, 5, 10, 10), rect);
    EXPECT_FALSE(rect.IntersectRect(a, away));
    EXPECT_TRUE(rect.IsRectNull());
    EXPECT_TRUE(rect.UnionRect(a, b));
    EXPECT_EQ(CRect(0, 0, 15, 15), rect);
    EXPECT_TRUE(rect.SubtractRect(a, CRect(0, 0, 10, 4)));
    EXPECT_EQ(CRect(0, 4, 10, 10), rect);
    EXPECT_TRUE(rect.SubtractRect(a, b));
    EXPECT_EQ(a, rect);
    EXPECT_EQ(CRect(5, 5, 10, 10), a & b);
    EXPECT_EQ(CRect(0, 0, 15, 15), a | b);
    rect = a;
    rect &= b;
    EXPECT_EQ(CRect(5, 5, 10, 10), rect);
    rect |= away;
    EXPECT_EQ(CRect(5, 5, 60, 60), rect);
}

TEST(RectTest, MulDivScalesEverySide)
{
    EXPECT_EQ(CRect(1, 2, 3, 5), CRect(2, 4, 6, 10).MulDiv(1, 2));
    EXPECT_EQ(CRect(-3, 0, 3, 6), CRect(-2, 0, 2, 4).MulDiv(3, 2));
}
