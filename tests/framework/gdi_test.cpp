// CGdiObject and its kinds, and which object stands for which handle.
#include "afx_print.h"
#include "gdi_support.h"
#include "resource.h"
#include "support/gdi_objects.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

namespace {

class COwnFont : public CFont
{
};

bool Exists(HGDIOBJ hObject)
{
    return ::GetObjectType(hObject) != 0;
}

// The object with no object: opaque to the compiler, as it is when a host has one in a variable.
template <class T> T* Nothing()
{
    T* volatile pNothing = NULL;
    return pNothing;
}

} // namespace

TEST(GdiObjectTest, TheDestructorDeletesTheHandle)
{
    HGDIOBJ hPen;
    {
        CPen pen(PS_SOLID, 1, kRed);
        hPen = pen.m_hObject;
        EXPECT_TRUE(Exists(hPen));
    }
    EXPECT_FALSE(Exists(hPen));
}

TEST(GdiObjectTest, AttachTakesTheHandleAndDetachGivesItBack)
{
    const HBRUSH hBrush = ::CreateSolidBrush(kRed);
    {
        CBrush brush;
        EXPECT_FALSE(brush.Attach(NULL));
        EXPECT_EQ(NULL, brush.Detach());
        EXPECT_TRUE(brush.Attach(hBrush));
        EXPECT_EQ(hBrush, static_cast<HBRUSH>(brush));
        EXPECT_EQ(&brush, CBrush::FromHandle(hBrush));
        EXPECT_EQ(hBrush, brush.Detach());
        EXPECT_EQ(NULL, brush.m_hObject);
        EXPECT_NE(&brush, CBrush::FromHandle(hBrush));
    }
    EXPECT_TRUE(Exists(hBrush));
    CGdiObject::DeleteTempMap();
    EXPECT_TRUE(::DeleteObject(hBrush));
}

TEST(GdiObjectTest, DeleteObjectLeavesTheObjectEmptyAndReady)
{
    CPen pen;
    EXPECT_FALSE(pen.DeleteObject());
    ASSERT_TRUE(pen.CreatePen(PS_SOLID, 1, kRed));
    const HGDIOBJ hFirst = pen.m_hObject;
    EXPECT_TRUE(pen.DeleteObject());
    EXPECT_EQ(NULL, pen.m_hObject);
    EXPECT_FALSE(Exists(hFirst));
    EXPECT_TRUE(pen.CreatePen(PS_SOLID, 1, kBlue));
}

TEST(GdiObjectTest, CreatingTwiceIsAFaultOfTheHost)
{
    CPen pen(PS_SOLID, 1, kRed);
    const HGDIOBJ hFirst = pen.m_hObject;
    EXPECT_ASSERTION_OR(EXPECT_TRUE(pen.CreatePen(PS_SOLID, 1, kBlue)), pen.CreatePen(PS_SOLID, 1, kBlue));
    if (pen.m_hObject != hFirst) {
        EXPECT_NE(&pen, CPen::FromHandle(static_cast<HPEN>(hFirst)));
        EXPECT_TRUE(::DeleteObject(hFirst)); // let go of, not deleted
    }
}

TEST(GdiObjectTest, TheSafeHandleOfNoObjectIsNoHandle)
{
    EXPECT_EQ(NULL, Nothing<CPen>()->GetSafeHandle());
    EXPECT_EQ(NULL, Nothing<CDC>()->GetSafeHdc());
    EXPECT_EQ(NULL, Nothing<CWnd>()->GetSafeHwnd());
    const CPen pen(PS_SOLID, 1, kRed);
    EXPECT_EQ(pen.m_hObject, pen.GetSafeHandle());

    // A call does not prove to the compiler that there is an object.
    CPen* const pNothing = Nothing<CPen>();
    if (pNothing->GetSafeHandle()) ADD_FAILURE();
    EXPECT_TRUE(pNothing == NULL);
}

TEST(GdiObjectTest, GetObjectFillsTheRecordOrFails)
{
    const CPen pen(PS_SOLID, 3, kRed);
    LOGPEN record = {};
    EXPECT_EQ(static_cast<int>(sizeof record), pen.GetObject(0, NULL));
    EXPECT_EQ(static_cast<int>(sizeof record), pen.GetObject(sizeof record, &record));
    EXPECT_EQ(3, record.lopnWidth.x);
    EXPECT_EQ(static_cast<UINT>(OBJ_PEN), pen.GetObjectType());
    const CGdiObject none;
    EXPECT_EQ(0, none.GetObject(sizeof record, &record));
    EXPECT_EQ(0u, none.GetObjectType());
}

TEST(GdiObjectTest, ObjectsAreEqualWhenTheirHandlesAre)
{
    CBrush one, other, same;
    ASSERT_TRUE(one.CreateStockObject(WHITE_BRUSH));
    ASSERT_TRUE(same.CreateStockObject(WHITE_BRUSH));
    ASSERT_TRUE(other.CreateStockObject(BLACK_BRUSH));
    EXPECT_TRUE(one == same);
    EXPECT_TRUE(one != other);
    EXPECT_FALSE(one == other);
    EXPECT_FALSE(one != same);
}

TEST(GdiObjectTest, StockObjectsOutliveTheirOwners)
{
    const HGDIOBJ hStock = ::GetStockObject(WHITE_BRUSH);
    {
        CBrush brush;
        EXPECT_TRUE(brush.CreateStockObject(WHITE_BRUSH));
        CBrush bad;
        EXPECT_FALSE(bad.CreateStockObject(9999));
    }
    EXPECT_TRUE(Exists(hStock));
}

TEST(HandleMapTest, NoHandleHasNoObject)
{
    EXPECT_EQ(NULL, CGdiObject::FromHandle(NULL));
    EXPECT_EQ(NULL, CFont::FromHandle(NULL));
    EXPECT_EQ(NULL, CDC::FromHandle(NULL));
}

TEST(HandleMapTest, TheOwnerIsFoundByItsHandle)
{
    COwnFont font;
    ASSERT_TRUE(font.CreatePointFont(100, L"Arial"));
    EXPECT_EQ(&font, CFont::FromHandle(font));
    EXPECT_EQ(&font, CGdiObject::FromHandle(font.m_hObject));
}

TEST(HandleMapTest, AForeignHandleGetsOneTemporaryObjectOfItsKind)
{
    const HPEN hPen = ::CreatePen(PS_SOLID, 1, kRed);
    CPen* const pPen = CPen::FromHandle(hPen);
    ASSERT_NE(nullptr, pPen);
    EXPECT_EQ(hPen, static_cast<HPEN>(*pPen));
    EXPECT_EQ(pPen, CPen::FromHandle(hPen));
    EXPECT_EQ(pPen, CGdiObject::FromHandle(hPen));

    const struct
    {
        HGDIOBJ hObject;
        CRuntimeClass* pClass;
    } kinds[] = {
        {hPen, RUNTIME_CLASS(CPen)},
        {::GetStockObject(WHITE_BRUSH), RUNTIME_CLASS(CBrush)},
        {::GetStockObject(SYSTEM_FONT), RUNTIME_CLASS(CFont)},
        {::CreateBitmap(1, 1, 1, 1, NULL), RUNTIME_CLASS(CBitmap)},
        {::CreateRectRgn(0, 0, 1, 1), RUNTIME_CLASS(CRgn)},
        {::GetStockObject(DEFAULT_PALETTE), RUNTIME_CLASS(CGdiObject)},
    };
    for (const auto& kind : kinds) {
        SCOPED_TRACE(kind.pClass->m_lpszClassName);
        EXPECT_EQ(kind.pClass, CGdiObject::FromHandle(kind.hObject)->GetRuntimeClass());
    }
    CGdiObject::DeleteTempMap();
    for (const auto& kind : kinds) {
        EXPECT_TRUE(Exists(kind.hObject)); // temporary objects only forget
        ::DeleteObject(kind.hObject);
    }
}

TEST(HandleMapTest, ATemporaryObjectThatWasDetachedIsFoundWithItsHandleAgain)
{
    const HPEN hPen = ::CreatePen(PS_SOLID, 1, kRed);
    EXPECT_EQ(hPen, CPen::FromHandle(hPen)->Detach());
    EXPECT_EQ(hPen, static_cast<HPEN>(*CPen::FromHandle(hPen)));
    EXPECT_EQ(hPen, CGdiObject::FromHandle(hPen)->m_hObject);
    EXPECT_TRUE(CPen::FromHandle(hPen)->DeleteObject());
    EXPECT_FALSE(Exists(hPen));
    CGdiObject::DeleteTempMap();
}

TEST(HandleMapTest, AnOwnerReplacesTheTemporaryObject)
{
    const HPEN hPen = ::CreatePen(PS_SOLID, 1, kRed);
    CPen* const pTemporary = CPen::FromHandle(hPen);
    CPen owner;
    ASSERT_TRUE(owner.Attach(hPen));
    EXPECT_EQ(&owner, CPen::FromHandle(hPen));
    EXPECT_EQ(hPen, static_cast<HPEN>(*pTemporary)); // still there for who has it
    CGdiObject::DeleteTempMap();
    EXPECT_EQ(&owner, CPen::FromHandle(hPen));
}

TEST(HandleMapTest, AnOwnerOfAnotherKindIsNotTakenForOneOfThisKind)
{
    CGdiObject plain;
    ASSERT_TRUE(plain.Attach(::CreatePen(PS_SOLID, 1, kRed)));
    CPen* const pPen = CPen::FromHandle(static_cast<HPEN>(plain.m_hObject));
    EXPECT_NE(static_cast<CGdiObject*>(pPen), &plain);
    EXPECT_TRUE(pPen->IsKindOf(RUNTIME_CLASS(CPen)));
    EXPECT_EQ(&plain, CGdiObject::FromHandle(plain.m_hObject));
    CGdiObject::DeleteTempMap();
}

TEST(HandleMapTest, OfTwoOwnersOfOneHandleTheLastCounts)
{
    CBrush first;
    ASSERT_TRUE(first.CreateSysColorBrush(COLOR_WINDOW));
    const auto pSecond = std::make_unique<CBrush>();
    ASSERT_TRUE(pSecond->CreateSysColorBrush(COLOR_WINDOW));
    ASSERT_TRUE(first == *pSecond);
    const HBRUSH hBrush = first;
    EXPECT_EQ(pSecond.get(), CBrush::FromHandle(hBrush));
    first.Detach();
    EXPECT_EQ(pSecond.get(), CBrush::FromHandle(hBrush));
}

TEST(HandleMapTest, EachThreadHasItsOwnObjects)
{
    CPen pen(PS_SOLID, 1, kRed);
    CPen* pOfThread = NULL;
    std::thread([&] {
        pOfThread = CPen::FromHandle(pen);
        EXPECT_EQ(pOfThread, CPen::FromHandle(pen));
    }).join();
    EXPECT_NE(&pen, pOfThread);
    EXPECT_EQ(&pen, CPen::FromHandle(pen)); // and the end of that thread took nothing away here
    EXPECT_TRUE(Exists(pen));
}

TEST(HandleMapTest, LookingUpKeepsTheLastError)
{
    CPen pen(PS_SOLID, 1, kRed);
    ::SetLastError(4711);
    CPen::FromHandle(pen);
    EXPECT_EQ(4711u, ::GetLastError());
    CGdiObject::DeleteTempMap();
    pen.Detach();
    EXPECT_EQ(4711u, ::GetLastError());
}

TEST(PenTest, IsCreatedAsAsked)
{
    CPen pen;
    EXPECT_TRUE(pen.CreatePen(PS_DASH, 1, kBlue));
    LOGPEN record = {};
    EXPECT_NE(0, pen.GetLogPen(&record));
    EXPECT_EQ(static_cast<UINT>(PS_DASH), record.lopnStyle);
    EXPECT_EQ(kBlue, record.lopnColor);
    record.lopnColor = kRed;
    CPen copy;
    EXPECT_TRUE(copy.CreatePenIndirect(&record));
    EXPECT_NE(0, copy.GetLogPen(&record));
    EXPECT_EQ(kRed, record.lopnColor);
}

TEST(BrushTest, IsCreatedAsAsked)
{
    const CBrush solid(kRed);
    LOGBRUSH record = {};
    EXPECT_NE(0, solid.GetLogBrush(&record));
    EXPECT_EQ(static_cast<UINT>(BS_SOLID), record.lbStyle);
    EXPECT_EQ(kRed, record.lbColor);
    CBrush system;
    EXPECT_TRUE(system.CreateSysColorBrush(COLOR_HIGHLIGHT));
    EXPECT_NE(0, system.GetLogBrush(&record));
    EXPECT_EQ(::GetSysColor(COLOR_HIGHLIGHT), record.lbColor);
}

TEST(BrushTest, APatternBrushFillsWithItsPicture)
{
    CCanvas canvas(8, 2);
    CCanvas pattern(8, 8);
    pattern.FillSolidRect(0, 0, 4, 8, kRed);
    CBitmap bitmap;
    ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&pattern, 8, 8));
    CDC dc;
    ASSERT_TRUE(dc.CreateCompatibleDC(NULL));
    CBitmap* const pOld = dc.SelectObject(&bitmap);
    ASSERT_TRUE(dc.BitBlt(0, 0, 8, 8, &pattern, 0, 0, SRCCOPY));
    dc.SelectObject(pOld);
    CBrush brush(&bitmap);
    bitmap.DeleteObject();
    canvas.FillRect(CRect(0, 0, 8, 2), &brush);
    EXPECT_EQ("rrrr....\nrrrr....\n", canvas.Look());
}

TEST(BrushTest, ADibPatternBrushFillsWithItsPicture)
{
    struct
    {
        BITMAPINFOHEADER header;
        RGBQUAD colours[2];
        BYTE rows[8][4];
    } dib = {{sizeof(BITMAPINFOHEADER), 8, 8, 1, 1, BI_RGB, 0, 0, 0, 2, 0}, {{255, 0, 0, 0}, {0, 255, 0, 0}}, {}};
    for (auto& row : dib.rows) row[0] = 0x0F;
    CBrush brush;
    ASSERT_TRUE(brush.CreateDIBPatternBrush(&dib, DIB_RGB_COLORS));
    CCanvas canvas(8, 1);
    canvas.FillRect(CRect(0, 0, 8, 1), &brush);
    EXPECT_EQ("bbbbgggg\n", canvas.Look());
}

TEST(BrushTest, WhatCannotBeCreatedThrows)
{
    EXPECT_TRUE(Throws<CResourceException>([] { CBrush brush(Nothing<CBitmap>()); }));
    CBrush brush;
    EXPECT_FALSE(brush.CreatePatternBrush(Nothing<CBitmap>()));
    EXPECT_EQ(NULL, brush.m_hObject);
}

TEST(FontTest, IsCreatedAsAsked)
{
    CFont font;
    ASSERT_TRUE(font.CreateFont(-14, 7, 0, 0, FW_BOLD, TRUE, FALSE, TRUE, DEFAULT_CHARSET, OUT_DEFAULT_PRECIS,
                                CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, VARIABLE_PITCH | FF_SWISS, L"Arial"));
    LOGFONT record = {};
    ASSERT_NE(0, font.GetLogFont(&record));
    EXPECT_EQ(-14, record.lfHeight);
    EXPECT_EQ(7, record.lfWidth);
    EXPECT_EQ(FW_BOLD, record.lfWeight);
    EXPECT_TRUE(record.lfItalic);
    EXPECT_FALSE(record.lfUnderline);
    EXPECT_TRUE(record.lfStrikeOut);
    EXPECT_EQ(VARIABLE_PITCH | FF_SWISS, record.lfPitchAndFamily);
    EXPECT_STREQ(L"Arial", record.lfFaceName);
    CFont copy;
    EXPECT_TRUE(copy.CreateFontIndirect(&record));
    EXPECT_EQ(&copy, CFont::FromHandle(copy));
}

TEST(FontTest, AFaceNameIsCutToItsField)
{
    const CString strLong(L'x', 100);
    CFont font, point, none;
    ASSERT_TRUE(font.CreateFont(10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, strLong));
    ASSERT_TRUE(point.CreatePointFont(90, strLong));
    ASSERT_TRUE(none.CreateFont(10, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, NULL));
    LOGFONT record = {};
    for (const CFont* pFont : {&font, &point}) {
        ASSERT_NE(0, pFont->GetLogFont(&record));
        EXPECT_EQ(CString(L'x', LF_FACESIZE - 1), record.lfFaceName);
    }
    ASSERT_NE(0, none.GetLogFont(&record));
    EXPECT_STREQ(L"", record.lfFaceName);
}

TEST(FontTest, PointSizesAreHeightsOfTheCharactersAtTheResolution)
{
    CCanvas canvas(1, 1);
    const int nPixelsPerInch = canvas.GetDeviceCaps(LOGPIXELSY);
    for (CDC* pDC : {static_cast<CDC*>(&canvas), static_cast<CDC*>(NULL)}) {
        CFont font, negative;
        LOGFONT record = {};
        ASSERT_TRUE(font.CreatePointFont(720, L"Arial", pDC)); // an inch
        ASSERT_NE(0, font.GetLogFont(&record));
        EXPECT_EQ(-nPixelsPerInch, record.lfHeight);
        EXPECT_EQ(DEFAULT_CHARSET, record.lfCharSet);
        record.lfHeight = -360;
        ASSERT_TRUE(negative.CreatePointFontIndirect(&record, pDC));
        ASSERT_NE(0, negative.GetLogFont(&record));
        EXPECT_EQ(-nPixelsPerInch / 2, record.lfHeight);
    }
}

TEST(BitmapTest, IsCreatedFromBits)
{
    const WORD bits[] = {0x00F0, 0x000F}; // the high bits of a byte are on the left
    CBitmap bitmap;
    ASSERT_TRUE(bitmap.CreateBitmap(8, 2, 1, 1, bits));
    BITMAP record = {};
    ASSERT_NE(0, bitmap.GetBitmap(&record));
    EXPECT_EQ(8, record.bmWidth);
    EXPECT_EQ(2, record.bmHeight);
    EXPECT_EQ(1, record.bmBitsPixel);
    const auto look = [&] {
        CCanvas canvas(8, 2);
        CDC source;
        source.CreateCompatibleDC(NULL);
        CBitmap* const pOld = source.SelectObject(&bitmap);
        canvas.BitBlt(0, 0, 8, 2, &source, 0, 0, SRCCOPY);
        source.SelectObject(pOld);
        return canvas.Look();
    };
    EXPECT_EQ("....####\n####....\n", look());
    const WORD others[] = {0x00FF, 0x0000};
    EXPECT_EQ(sizeof others, bitmap.SetBitmapBits(sizeof others, others));
    EXPECT_EQ("........\n########\n", look());
}

TEST(BitmapTest, ACompatibleBitmapHasTheDepthOfTheContext)
{
    CCanvas canvas(1, 1);
    CBitmap bitmap, none;
    ASSERT_TRUE(bitmap.CreateCompatibleBitmap(&canvas, 5, 3));
    BITMAP record = {};
    ASSERT_NE(0, bitmap.GetBitmap(&record));
    EXPECT_EQ(5, record.bmWidth);
    EXPECT_EQ(3, record.bmHeight);
    EXPECT_EQ(24, record.bmBitsPixel);
    EXPECT_FALSE(none.CreateCompatibleBitmap(Nothing<CDC>(), 5, 3));
    EXPECT_EQ(0, none.GetBitmap(&record));
}

TEST(BitmapTest, IsLoadedFromTheResourcesOfTheChain)
{
    CBitmap bitmap, byName, absent;
    ASSERT_TRUE(bitmap.LoadBitmap(IDB_CORNERS));
    BITMAP record = {};
    ASSERT_NE(0, bitmap.GetBitmap(&record));
    EXPECT_EQ(3, record.bmWidth);
    EXPECT_EQ(2, record.bmHeight);
    EXPECT_TRUE(byName.LoadBitmap(MAKEINTRESOURCE(IDB_CORNERS)));
    EXPECT_FALSE(absent.LoadBitmap(IDB_ABSENT));
    CCanvas canvas(3, 2);
    CDC source;
    ASSERT_TRUE(source.CreateCompatibleDC(NULL));
    CBitmap* const pOld = source.SelectObject(&bitmap);
    EXPECT_TRUE(canvas.BitBlt(0, 0, 3, 2, &source, 0, 0, SRCCOPY));
    source.SelectObject(pOld);
    EXPECT_EQ("r.g\nb.#\n", canvas.Look());
}

TEST(RegionTest, IsMadeOfRectangles)
{
    CRgn left, right, both;
    ASSERT_TRUE(left.CreateRectRgn(0, 0, 10, 10));
    ASSERT_TRUE(right.CreateRectRgnIndirect(CRect(20, 0, 30, 10)));
    ASSERT_TRUE(both.CreateRectRgn(0, 0, 0, 0));
    EXPECT_EQ(COMPLEXREGION, both.CombineRgn(&left, &right, RGN_OR));
    CRect box;
    EXPECT_EQ(COMPLEXREGION, both.GetRgnBox(box));
    EXPECT_EQ(CRect(0, 0, 30, 10), box);
    EXPECT_TRUE(both.PtInRegion(0, 0));
    EXPECT_TRUE(both.PtInRegion(CPoint(29, 9)));
    EXPECT_FALSE(both.PtInRegion(10, 0));
    EXPECT_TRUE(both.RectInRegion(CRect(9, 9, 20, 20)));
    EXPECT_FALSE(both.RectInRegion(CRect(10, 0, 20, 10)));
    EXPECT_EQ(NULLREGION, both.CombineRgn(&left, &right, RGN_AND));
    EXPECT_EQ(SIMPLEREGION, both.CopyRgn(&left));
    EXPECT_TRUE(both.EqualRgn(&left));
    EXPECT_FALSE(both.EqualRgn(&right));
    EXPECT_EQ(SIMPLEREGION, both.OffsetRgn(20, 0));
    EXPECT_TRUE(both.EqualRgn(&right));
    EXPECT_EQ(SIMPLEREGION, both.OffsetRgn(CPoint(-20, 0)));
    EXPECT_TRUE(both.EqualRgn(&left));
    both.SetRectRgn(20, 0, 30, 10);
    EXPECT_TRUE(both.EqualRgn(&right));
    both.SetRectRgn(CRect(0, 0, 10, 10));
    EXPECT_TRUE(both.EqualRgn(&left));
    EXPECT_EQ(ERROR, both.CombineRgn(&left, Nothing<CRgn>(), RGN_OR));
}

TEST(RegionTest, ItsDataMakeTheSameRegion)
{
    CRgn region, part, again;
    ASSERT_TRUE(region.CreateRectRgn(0, 0, 10, 10));
    ASSERT_TRUE(part.CreateRectRgn(3, 3, 5, 5));
    ASSERT_EQ(COMPLEXREGION, region.CombineRgn(&region, &part, RGN_DIFF));
    const int nSize = region.GetRegionData(NULL, 0);
    ASSERT_GT(nSize, 0);
    const auto pData = std::make_unique<BYTE[]>(nSize);
    const auto pRecord = reinterpret_cast<RGNDATA*>(pData.get());
    EXPECT_EQ(nSize, region.GetRegionData(pRecord, nSize));
    ASSERT_TRUE(again.CreateFromData(NULL, nSize, pRecord));
    EXPECT_TRUE(again.EqualRgn(&region));
}

TEST(GdiObjectTest, NothingIsLeftOfAThousandRounds)
{
    const auto round = [] {
        CCanvas canvas(4, 4);
        CPen pen(PS_SOLID, 1, kRed);
        CBrush brush(kGreen), system;
        system.CreateSysColorBrush(COLOR_WINDOW);
        CFont font;
        font.CreatePointFont(90, L"Arial");
        CRgn region;
        region.CreateRectRgn(0, 0, 2, 2);
        CBitmap bitmap, bad;
        bitmap.LoadBitmap(IDB_CORNERS);
        bad.LoadBitmap(IDB_ABSENT);
        CPen* const pOldPen = canvas.SelectObject(&pen);
        CFont* const pOldFont = canvas.SelectObject(&font);
        canvas.SelectObject(&region);
        canvas.Rectangle(0, 0, 4, 4);
        canvas.SelectObject(pOldFont);
        canvas.SelectObject(pOldPen);
        CClientDC screen(NULL);
        CGdiObject::DeleteTempMap();
        CDC::DeleteTempMap();
    };
    round(); // what the system makes for its first user
    const int nBefore = CountGdiObjects();
    ASSERT_GT(nBefore, 0);
    for (int i = 0; i < 1000; ++i) round();
    EXPECT_EQ(nBefore, CountGdiObjects());
}
