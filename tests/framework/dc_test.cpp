// CDC: contexts, what is selected into them, and what is drawn on them.
#include "afx_print.h"
#include "gdi_support.h"

#include <gtest/gtest.h>

#include <memory>

TEST(DcTest, AMemoryContextIsOwned)
{
    HDC hDC;
    {
        CDC dc;
        EXPECT_FALSE(dc.DeleteDC());
        ASSERT_TRUE(dc.CreateCompatibleDC(NULL));
        hDC = dc;
        EXPECT_EQ(hDC, dc.m_hAttribDC);
        EXPECT_EQ(hDC, dc.GetSafeHdc());
        EXPECT_EQ(&dc, CDC::FromHandle(hDC));
        CDC same;
        EXPECT_TRUE(same.CreateCompatibleDC(&dc));
    }
    EXPECT_EQ(0u, ::GetObjectType(hDC));
}

TEST(DcTest, ADisplayContextCanBeCreated)
{
    CDC dc, bad;
    EXPECT_TRUE(dc.CreateDC(L"DISPLAY", NULL, NULL, NULL));
    EXPECT_GT(dc.GetDeviceCaps(HORZRES), 0);
    EXPECT_FALSE(bad.CreateDC(L"no such driver", NULL, NULL, NULL));
    EXPECT_EQ(NULL, bad.m_hDC);
}

TEST(DcTest, AttachTakesTheHandleAndDetachGivesItBack)
{
    const HDC hDC = ::CreateCompatibleDC(NULL);
    CDC* const pTemporary = CDC::FromHandle(hDC);
    EXPECT_EQ(pTemporary, CDC::FromHandle(hDC));
    EXPECT_EQ(hDC, pTemporary->m_hDC);
    EXPECT_EQ(hDC, pTemporary->m_hAttribDC);
    {
        CDC dc;
        EXPECT_FALSE(dc.Attach(NULL));
        EXPECT_EQ(NULL, dc.Detach());
        EXPECT_TRUE(dc.Attach(hDC));
        EXPECT_EQ(&dc, CDC::FromHandle(hDC));
        EXPECT_EQ(hDC, dc.Detach());
        EXPECT_EQ(NULL, dc.m_hDC);
        EXPECT_EQ(NULL, dc.m_hAttribDC);
    }
    CDC::DeleteTempMap();
    EXPECT_EQ(static_cast<DWORD>(OBJ_MEMDC), ::GetObjectType(hDC));
    EXPECT_TRUE(::DeleteDC(hDC));
}

TEST(DcTest, ATemporaryObjectThatWasDetachedIsFoundWithItsHandleAgain)
{
    const HDC hDC = ::CreateCompatibleDC(NULL);
    EXPECT_EQ(hDC, CDC::FromHandle(hDC)->Detach());
    EXPECT_EQ(hDC, CDC::FromHandle(hDC)->m_hDC);
    EXPECT_EQ(hDC, CDC::FromHandle(hDC)->m_hAttribDC);
    EXPECT_TRUE(CDC::FromHandle(hDC)->DeleteDC());
    CDC::DeleteTempMap();
}

TEST(DcTest, SelectingGivesWhatWasSelectedBefore)
{
    CCanvas canvas(2, 2);
    CPen pen(PS_SOLID, 1, kRed);
    CPen* const pOldPen = canvas.SelectObject(&pen);
    EXPECT_EQ(::GetStockObject(BLACK_PEN), pOldPen->m_hObject);
    EXPECT_EQ(&pen, canvas.GetCurrentPen());
    EXPECT_EQ(&pen, canvas.SelectObject(pOldPen));

    CBrush brush(kRed);
    CBrush* const pOldBrush = canvas.SelectObject(&brush);
    EXPECT_EQ(::GetStockObject(WHITE_BRUSH), pOldBrush->m_hObject);
    EXPECT_EQ(&brush, canvas.GetCurrentBrush());
    EXPECT_EQ(&brush, canvas.SelectStockObject(BLACK_BRUSH));
    EXPECT_EQ(::GetStockObject(BLACK_BRUSH), canvas.SelectObject(pOldBrush)->m_hObject);

    CFont font;
    ASSERT_TRUE(font.CreatePointFont(90, L"Arial"));
    CFont* const pOldFont = canvas.SelectObject(&font);
    EXPECT_TRUE(pOldFont->IsKindOf(RUNTIME_CLASS(CFont)));
    EXPECT_EQ(&font, canvas.GetCurrentFont());
    EXPECT_EQ(&font, canvas.SelectObject(pOldFont));

    EXPECT_EQ(&canvas.m_bitmap, canvas.GetCurrentBitmap());
    CGdiObject* const pAny = &pen;
    EXPECT_EQ(pOldPen->m_hObject, canvas.SelectObject(pAny)->m_hObject);
    EXPECT_EQ(&pen, canvas.SelectStockObject(BLACK_PEN));
}

TEST(DcTest, NothingCannotBeSelected)
{
    CCanvas canvas(2, 2);
    CDC none;
    CPen pen(PS_SOLID, 1, kRed), empty;
    EXPECT_EQ(NULL, none.SelectObject(&pen));
    EXPECT_EQ(NULL, canvas.SelectObject(&empty));
    EXPECT_EQ(NULL, canvas.SelectObject(static_cast<CPen*>(NULL)));
    EXPECT_EQ(NULL, none.GetCurrentPen());
    EXPECT_EQ(ERROR, none.SelectObject(static_cast<CRgn*>(NULL)));
    CRgn region;
    ASSERT_TRUE(region.CreateRectRgn(0, 0, 1, 1));
    EXPECT_EQ(ERROR, none.SelectObject(&region));
}

TEST(DcTest, ABitmapIsSelectedIntoOneContextOnly)
{
    CCanvas canvas(2, 2);
    CDC other;
    ASSERT_TRUE(other.CreateCompatibleDC(NULL));
    EXPECT_EQ(NULL, other.SelectObject(&canvas.m_bitmap));
}

TEST(DcTest, SavedSettingsComeBack)
{
    CCanvas canvas(2, 2);
    canvas.SetTextColor(kRed);
    const int nSaved = canvas.SaveDC();
    EXPECT_GT(nSaved, 0);
    canvas.SetTextColor(kBlue);
    EXPECT_TRUE(canvas.RestoreDC(nSaved));
    EXPECT_EQ(kRed, canvas.GetTextColor());
    EXPECT_FALSE(canvas.RestoreDC(-1));
}

TEST(DcTest, SettersGiveWhatWasSetBefore)
{
    CCanvas canvas(2, 2);
    EXPECT_EQ(kBlack, canvas.SetTextColor(kRed));
    EXPECT_EQ(kRed, canvas.GetTextColor());
    EXPECT_EQ(kWhite, canvas.SetBkColor(kBlue));
    EXPECT_EQ(kBlue, canvas.GetBkColor());
    EXPECT_EQ(OPAQUE, canvas.SetBkMode(TRANSPARENT));
    EXPECT_EQ(TRANSPARENT, canvas.GetBkMode());
    EXPECT_EQ(static_cast<UINT>(TA_LEFT | TA_TOP), canvas.SetTextAlign(TA_RIGHT));
    EXPECT_EQ(static_cast<UINT>(TA_RIGHT), canvas.GetTextAlign());
    EXPECT_EQ(R2_COPYPEN, canvas.SetROP2(R2_NOT));
    EXPECT_EQ(R2_NOT, canvas.SetROP2(R2_COPYPEN));
    EXPECT_TRUE(canvas.SetBrushOrg(1, 2) == CPoint(0, 0));
    EXPECT_TRUE(canvas.SetBrushOrg(CPoint(0, 0)) == CPoint(1, 2));
    EXPECT_TRUE(canvas.SetViewportOrg(1, 1) == CPoint(0, 0));
    canvas.SetPixel(0, 0, kRed);
    EXPECT_TRUE(canvas.SetViewportOrg(CPoint(0, 0)) == CPoint(1, 1));
    EXPECT_EQ("..\n.r\n", canvas.Look());
    EXPECT_TRUE(canvas.MoveTo(3, 4) == CPoint(0, 0));
    EXPECT_TRUE(canvas.MoveTo(CPoint(0, 0)) == CPoint(3, 4));
    EXPECT_EQ(kRed, canvas.GetNearestColor(kRed));
}

TEST(DcTest, SettingsAreMadeOnTheContextThatIsAskedToo)
{
    CCanvas canvas(2, 2), asked(2, 2);
    canvas.SetAttribDC(asked);
    canvas.SetTextColor(kRed);
    EXPECT_EQ(kRed, ::GetTextColor(canvas));
    EXPECT_EQ(kRed, ::GetTextColor(asked));
    ::SetTextColor(asked, kBlue);
    EXPECT_EQ(kBlue, canvas.GetTextColor());
    CPen pen(PS_SOLID, 1, kRed);
    canvas.SelectObject(&pen);
    EXPECT_EQ(pen.m_hObject, ::GetCurrentObject(asked, OBJ_PEN));
    canvas.MoveTo(0, 0);
    canvas.LineTo(1, 1);
    EXPECT_TRUE(asked.MoveTo(0, 0) == CPoint(1, 1));
    canvas.SelectStockObject(BLACK_PEN);
    canvas.ReleaseAttribDC();
    EXPECT_EQ(NULL, canvas.m_hAttribDC);
    canvas.SetTextColor(kBlack); // no context to ask: the other one still gets it
    EXPECT_EQ(kBlack, ::GetTextColor(canvas));
    canvas.SetAttribDC(canvas);
}

TEST(DcTest, ClippingLimitsWhatIsDrawn)
{
    CCanvas canvas(4, 2);
    CRgn region;
    ASSERT_TRUE(region.CreateRectRgn(0, 0, 3, 2));
    EXPECT_EQ(SIMPLEREGION, canvas.SelectObject(&region));
    EXPECT_EQ(SIMPLEREGION, canvas.IntersectClipRect(1, 0, 4, 2));
    CRect box;
    EXPECT_EQ(SIMPLEREGION, canvas.GetClipBox(box));
    EXPECT_EQ(CRect(1, 0, 3, 2), box);
    EXPECT_EQ(COMPLEXREGION, canvas.ExcludeClipRect(1, 1, 2, 2));
    EXPECT_TRUE(canvas.RectVisible(CRect(1, 0, 2, 1)));
    EXPECT_FALSE(canvas.RectVisible(CRect(0, 0, 1, 1)));
    canvas.PatBlt(0, 0, 4, 2, BLACKNESS);
    EXPECT_EQ(".##.\n..#.\n", canvas.Look());
    EXPECT_EQ(SIMPLEREGION, canvas.SelectClipRgn(NULL));
    EXPECT_EQ(SIMPLEREGION, canvas.SelectClipRgn(&region));
    EXPECT_EQ(SIMPLEREGION, canvas.IntersectClipRect(CRect(0, 0, 1, 1)));
    EXPECT_EQ(NULLREGION, canvas.ExcludeClipRect(CRect(0, 0, 9, 9)));
}

TEST(DcTest, LinesLeaveOutTheirLastPoint)
{
    CCanvas canvas(4, 3);
    CPen pen(PS_SOLID, 1, kRed);
    canvas.SelectObject(&pen);
    canvas.MoveTo(0, 0);
    EXPECT_TRUE(canvas.LineTo(3, 0));
    EXPECT_TRUE(canvas.LineTo(CPoint(3, 2)));
    const POINT points[] = {{0, 1}, {0, 2}, {2, 2}};
    EXPECT_TRUE(canvas.Polyline(points, 3));
    EXPECT_EQ("rrrr\nr..r\nrr..\n", canvas.Look());
    canvas.SelectStockObject(BLACK_PEN);
}

TEST(DcTest, ShapesAreOutlinedByThePenAndFilledByTheBrush)
{
    CPen pen(PS_SOLID, 1, kRed);
    CBrush brush(kGreen);
    const auto drawn = [&](auto draw) {
        CCanvas canvas(5, 4);
        canvas.SelectObject(&pen);
        canvas.SelectObject(&brush);
        EXPECT_TRUE(draw(canvas));
        canvas.SelectStockObject(BLACK_PEN);
        canvas.SelectStockObject(WHITE_BRUSH);
        return canvas.Look();
    };
    const POINT points[] = {{0, 0}, {4, 0}, {4, 3}, {0, 3}};
    const std::string box = "rrrrr\nrgggr\nrgggr\nrrrrr\n";
    EXPECT_EQ(box, drawn([](CDC& dc) { return dc.Rectangle(0, 0, 5, 4); }));
    EXPECT_EQ(box, drawn([](CDC& dc) { return dc.Rectangle(CRect(0, 0, 5, 4)); }));
    EXPECT_EQ(box, drawn([&](CDC& dc) { return dc.Polygon(points, 4); }));
    for (const std::string& look : {drawn([](CDC& dc) { return dc.Ellipse(0, 0, 5, 4); }),
                                    drawn([](CDC& dc) { return dc.Ellipse(CRect(0, 0, 5, 4)); }),
                                    drawn([](CDC& dc) { return dc.RoundRect(0, 0, 5, 4, 4, 4); }),
                                    drawn([](CDC& dc) { return dc.RoundRect(CRect(0, 0, 5, 4), CPoint(4, 4)); })}) {
        EXPECT_EQ('.', look[0]) << look;                      // rounded corner
        EXPECT_EQ('r', look[2]) << look;                      // top
        EXPECT_EQ('g', look[2 * 6 + 2]) << look;              // inside
        EXPECT_EQ(std::string::npos, look.find('?')) << look; // no other colours
    }
}

TEST(DcTest, AreasAreFilledWithoutThePen)
{
    CCanvas canvas(5, 4);
    CBrush red(kRed), green(kGreen);
    canvas.FillRect(CRect(0, 0, 5, 4), &red);
    canvas.FrameRect(CRect(0, 0, 5, 4), &green);
    EXPECT_EQ("ggggg\ngrrrg\ngrrrg\nggggg\n", canvas.Look());
    canvas.FrameRect(CRect(2, 1, 2, 3), &red); // nothing in it
    canvas.FrameRect(CRect(0, 0, 1, 1), &red);
    EXPECT_EQ("rgggg\ngrrrg\ngrrrg\nggggg\n", canvas.Look());
    canvas.FillSolidRect(CRect(0, 0, 5, 4), kWhite);
    EXPECT_EQ(kWhite, canvas.GetBkColor());
    canvas.FillSolidRect(1, 1, 3, 2, kBlue);
    EXPECT_EQ(kBlue, canvas.GetBkColor());
    EXPECT_EQ(".....\n.bbb.\n.bbb.\n.....\n", canvas.Look());
    canvas.InvertRect(CRect(0, 0, 1, 1));
    CRgn region;
    ASSERT_TRUE(region.CreateRectRgn(4, 0, 5, 2));
    EXPECT_TRUE(canvas.FillRgn(&region, &red));
    EXPECT_EQ("#...r\n.bbbr\n.bbb.\n.....\n", canvas.Look());
    EXPECT_FALSE(canvas.FillRgn(NULL, &red));
    canvas.FillRect(CRect(0, 0, 1, 1), NULL);
}

TEST(DcTest, A3dRectangleHasTwoColours)
{
    CCanvas canvas(5, 4);
    canvas.Draw3dRect(CRect(0, 0, 5, 4), kRed, kBlue);
    EXPECT_EQ("rrrrb\nr...b\nr...b\nbbbbb\n", canvas.Look());
    canvas.Draw3dRect(1, 1, 3, 2, kBlue, kRed);
    EXPECT_EQ("rrrrb\nrbbrb\nrrrrb\nbbbbb\n", canvas.Look());
}

TEST(DcTest, EdgesAndControlsAreTheSystems)
{
    CCanvas canvas(20, 20), plain(20, 20);
    CRect rect(0, 0, 20, 20);
    EXPECT_TRUE(canvas.DrawEdge(rect, EDGE_RAISED, BF_RECT | BF_ADJUST));
    EXPECT_EQ(CRect(2, 2, 18, 18), rect);
    EXPECT_EQ(::GetSysColor(COLOR_3DDKSHADOW), canvas.GetPixel(19, 19));
    EXPECT_TRUE(canvas.DrawFrameControl(rect, DFC_BUTTON, DFCS_BUTTONPUSH));
    EXPECT_NE(plain.Look(), canvas.Look());
    plain.DrawFocusRect(CRect(0, 0, 20, 20));
    const std::string once = plain.Look();
    plain.DrawFocusRect(CRect(0, 0, 20, 20));
    EXPECT_NE(once, plain.Look());
    EXPECT_EQ(CCanvas(20, 20).Look(), plain.Look());
}

TEST(DcTest, IconsAreDrawnInTheSystemsSize)
{
    CCanvas canvas(40, 40), by(40, 40);
    const HICON hIcon = ::LoadIconW(NULL, IDI_ERROR);
    EXPECT_TRUE(canvas.DrawIcon(4, 4, hIcon));
    EXPECT_TRUE(by.DrawIcon(CPoint(4, 4), hIcon));
    EXPECT_NE(CCanvas(40, 40).Look(), canvas.Look());
    EXPECT_EQ(canvas.Look(), by.Look());
    CCanvas direct(40, 40);
    ASSERT_TRUE(::DrawIcon(direct, 4, 4, hIcon));
    EXPECT_EQ(direct.Look(), canvas.Look());
    EXPECT_FALSE(canvas.DrawIcon(0, 0, NULL));
}

TEST(DcTest, PixelsAndBitmapsAreCopied)
{
    CCanvas source(3, 2), canvas(6, 4);
    EXPECT_EQ(kRed, source.SetPixel(0, 0, kRed));
    EXPECT_EQ(kBlue, source.SetPixel(CPoint(2, 1), kBlue));
    EXPECT_EQ(kBlue, source.GetPixel(CPoint(2, 1)));
    EXPECT_EQ(CLR_INVALID, source.GetPixel(3, 0));
    EXPECT_TRUE(canvas.BitBlt(1, 1, 3, 2, &source, 0, 0, SRCCOPY));
    EXPECT_EQ("......\n.r....\n...b..\n......\n", canvas.Look());
    EXPECT_TRUE(canvas.StretchBlt(0, 0, 6, 4, &source, 0, 0, 3, 2, SRCCOPY));
    EXPECT_EQ("rr....\nrr....\n....bb\n....bb\n", canvas.Look());
    EXPECT_TRUE(canvas.PatBlt(0, 0, 6, 4, BLACKNESS));
    CBitmap mask;
    const WORD bits[] = {0x00A0, 0x0060}; // columns 0 and 2; columns 1 and 2
    ASSERT_TRUE(mask.CreateBitmap(3, 2, 1, 1, bits));
    EXPECT_TRUE(canvas.MaskBlt(0, 0, 3, 2, &source, 0, 0, mask, 0, 0, MAKEROP4(SRCCOPY, 0x00AA0029)));
    EXPECT_EQ("r#.###\n#.b###\n######\n######\n", canvas.Look());
    EXPECT_FALSE(canvas.BitBlt(0, 0, 1, 1, NULL, 0, 0, SRCCOPY));
}

TEST(DcTest, ScrollingTellsWhatComesIntoView)
{
    CCanvas canvas(4, 1);
    canvas.SetPixel(0, 0, kRed);
    CRgn update;
    ASSERT_TRUE(update.CreateRectRgn(0, 0, 0, 0));
    CRect rect(0, 0, 0, 0);
    EXPECT_TRUE(canvas.ScrollDC(2, 0, CRect(0, 0, 4, 1), CRect(0, 0, 4, 1), &update, rect));
    EXPECT_EQ(kRed, canvas.GetPixel(2, 0));
    EXPECT_EQ(CRect(0, 0, 2, 1), rect);
    CRect box;
    update.GetRgnBox(box);
    EXPECT_EQ(CRect(0, 0, 2, 1), box);
    EXPECT_TRUE(canvas.ScrollDC(1, 0, CRect(0, 0, 4, 1), NULL, NULL, NULL));
}

TEST(DcTest, TextIsDrawnInItsColours)
{
    CFont font;
    ASSERT_TRUE(font.CreatePointFont(120, L"Arial"));
    const auto drawn = [&](auto draw) {
        CCanvas canvas(40, 20);
        canvas.SelectObject(&font);
        canvas.SetTextColor(kRed);
        canvas.SetBkColor(kBlue);
        EXPECT_TRUE(draw(canvas));
        canvas.SelectStockObject(SYSTEM_FONT);
        return canvas.Look();
    };
    const CRect all(0, 0, 40, 20);
    const std::string byText = drawn([](CDC& dc) { return dc.TextOut(0, 0, L"llama", 2); });
    EXPECT_NE(std::string::npos, byText.find('b')) << byText; // the background of the text
    EXPECT_NE(std::string::npos, byText.find('.')) << byText;
    EXPECT_EQ(byText, drawn([](CDC& dc) { return dc.TextOut(0, 0, CString(L"ll")); }));
    EXPECT_EQ(byText, drawn([&](CDC& dc) { return dc.ExtTextOut(0, 0, 0, NULL, CString(L"ll"), NULL); }));
    EXPECT_EQ(byText, drawn([&](CDC& dc) { return dc.ExtTextOut(0, 0, 0, NULL, L"ll", 2, NULL); }));
    EXPECT_EQ(byText, drawn([&](CDC& dc) { return dc.DrawText(L"ll", -1, CRect(all), DT_SINGLELINE); }));
    EXPECT_EQ(byText, drawn([&](CDC& dc) { return dc.DrawText(CString(L"ll"), CRect(all), DT_SINGLELINE); }));
    const std::string filled = drawn([&](CDC& dc) { return dc.ExtTextOut(0, 0, ETO_OPAQUE, all, L"", 0, NULL); });
    EXPECT_EQ(std::string::npos, filled.find_first_not_of("b\n"));
    CDC none;
    EXPECT_FALSE(none.TextOut(0, 0, L"x", 1));
    EXPECT_FALSE(none.TextOut(0, 0, L"x", -1));
}

TEST(DcTest, TextIsMeasured)
{
    CCanvas canvas(10, 10);
    CFont font;
    ASSERT_TRUE(font.CreatePointFont(120, L"Arial", &canvas));
    canvas.SelectObject(&font);
    SIZE expected = {};
    ASSERT_TRUE(::GetTextExtentPoint32W(canvas, L"measure", 7, &expected));
    EXPECT_TRUE(canvas.GetTextExtent(CString(L"measure")) == expected);
    EXPECT_TRUE(canvas.GetTextExtent(L"measured twice", 7) == expected);
    EXPECT_TRUE(canvas.GetTextExtent(L"", 0) != expected);
    EXPECT_TRUE(CDC().GetTextExtent(L"x", 1) == CSize(0, 0));
    TEXTMETRIC metrics = {};
    EXPECT_TRUE(canvas.GetTextMetrics(&metrics));
    EXPECT_EQ(expected.cy, metrics.tmHeight);
    int widths[3] = {};
    EXPECT_TRUE(canvas.GetCharWidth(L'a', L'c', widths));
    EXPECT_EQ(canvas.GetTextExtent(L"b", 1).cx, widths[1]);
    CRect rect(5, 5, 6, 6);
    EXPECT_EQ(expected.cy, canvas.DrawText(CString(L"measure"), rect, DT_CALCRECT | DT_SINGLELINE));
    EXPECT_EQ(CRect(CPoint(5, 5), CSize(expected)), rect);
    EXPECT_EQ(CCanvas(10, 10).Look(), canvas.Look());
    canvas.SelectStockObject(SYSTEM_FONT);
}

TEST(DcTest, TheFaceIsTheSelectedFonts)
{
    CCanvas canvas(1, 1);
    CString strFace;
    TCHAR szFace[LF_FACESIZE] = L"";
    EXPECT_GT(canvas.GetTextFace(strFace), 0);
    EXPECT_GT(canvas.GetTextFace(ARRAYSIZE(szFace), szFace), 0);
    EXPECT_EQ(strFace, szFace);
    CDC none;
    EXPECT_EQ(0, none.GetTextFace(strFace));
    EXPECT_TRUE(strFace.IsEmpty());
}

TEST(DcTest, ATextIsNeverWrittenTo)
{
    CCanvas canvas(10, 10);
    TCHAR szText[64] = L"a text that is too long";
    EXPECT_ASSERTION_OR(
        EXPECT_NE(0, canvas.DrawText(szText, -1, CRect(0, 0, 5, 10), DT_END_ELLIPSIS | DT_MODIFYSTRING)),
        canvas.DrawText(szText, -1, CRect(0, 0, 5, 10), DT_END_ELLIPSIS | DT_MODIFYSTRING));
    EXPECT_STREQ(L"a text that is too long", szText);
}
