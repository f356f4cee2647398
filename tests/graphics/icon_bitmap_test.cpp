// What is made of the images: colour bitmaps, masks, icons.
#include "icon_fixture.h"

#include "support/gdi_objects.h"
#include "support/handle_count.h"

#include <algorithm>
#include <cstring>
#include <functional>

namespace {

std::wstring SystemText(DWORD dwError)
{
    wchar_t text[512] = L"";
    ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr, dwError,
                     MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), text, 512, nullptr);
    return text;
}

HBITMAP WINAPI RefuseSection(HDC, const BITMAPINFO*, UINT, void**, HANDLE, DWORD)
{
    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
    return nullptr;
}

HICON WINAPI RefuseIcon(ICONINFO*)
{
    return nullptr;
}

HBITMAP WINAPI RefuseSectionWithoutAnError(HDC, const BITMAPINFO*, UINT, void**, HANDLE, DWORD)
{
    ::SetLastError(0);
    return nullptr;
}

} // namespace

TEST_F(IconTest, TheColourBitmapHasTheImagesBitsWithoutPaddingTakenIntoAccount)
{
    for (const DepthAndSize& c : kImages) {
        SCOPED_TRACE(testing::Message() << c.depth << " bits, " << c.width << " x " << c.height);
        const Bytes image = MakeImage(c.width, c.height, c.depth);
        ASSERT_TRUE(ReadOne(image));
        const CBitmapOwner bitmap(m_loader.MakeBitmapFromResource(0));
        ASSERT_FALSE(bitmap.IsNull());
        EXPECT_EQ(c.width, bitmap.Info().bmWidth);
        EXPECT_EQ(c.height, bitmap.Info().bmHeight);
        EXPECT_EQ(c.depth, bitmap.Info().bmBitsPixel);
        const size_t cbCopied = c.depth * c.width * c.height / 8;
        Bytes wanted(image.begin() + ColourBitsAt(c.depth), image.begin() + ColourBitsAt(c.depth) + cbCopied);
        wanted.resize(ColourBitsSize(c.width, c.height, c.depth));
        EXPECT_EQ(wanted, bitmap.Bits());
    }
}

TEST_F(IconTest, TheColourBitmapCanBeMadeAgainAndAgain)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 8)));
    const CBitmapOwner first(m_loader.MakeBitmapFromResource(0)), second(m_loader.MakeBitmapFromResource(0));
    ASSERT_FALSE(second.IsNull());
    EXPECT_EQ(first.Bits(), second.Bits());
    SIZE size = {};
    m_loader.GetSize(0, size);
    EXPECT_EQ(16, size.cy);
}

TEST_F(IconTest, AnOddHeightIsHalvedDownAndDoubledAgain)
{
    Bytes image = MakeImage(32, 16, 8);
    Put32(image, 8, 33);
    ASSERT_TRUE(ReadOne(image));
    const CBitmapOwner first(m_loader.MakeBitmapFromResource(0)), second(m_loader.MakeBitmapFromResource(0));
    ASSERT_FALSE(second.IsNull());
    EXPECT_EQ(16, first.Info().bmHeight);
    EXPECT_EQ(16, second.Info().bmHeight);
}

TEST_F(IconTest, ColourBitsThatTheFileDoesNotHaveStayZero)
{
    Bytes image = MakeImage(16, 16, 8);
    image.resize(ColourBitsAt(8) + 100);
    ASSERT_TRUE(ReadOne(image));
    const CBitmapOwner bitmap(m_loader.MakeBitmapFromResource(0));
    ASSERT_FALSE(bitmap.IsNull());
    Bytes wanted(image.begin() + ColourBitsAt(8), image.end());
    wanted.resize(256);
    EXPECT_EQ(wanted, bitmap.Bits());
}

TEST_F(IconTest, ColoursThatTheFileDoesNotHaveAreBlack)
{
    Bytes image = MakeImage(16, 16, 8);
    image.resize(40 + 4 * 10);
    ASSERT_TRUE(ReadOne(image));
    const CBitmapOwner bitmap(m_loader.MakeBitmapFromResource(0));
    ASSERT_FALSE(bitmap.IsNull());
    const HDC hdc = ::CreateCompatibleDC(nullptr);
    const HGDIOBJ hOld = ::SelectObject(hdc, bitmap.Get());
    RGBQUAD colours[256] = {};
    ASSERT_EQ(256u, ::GetDIBColorTable(hdc, 0, 256, colours));
    ::SelectObject(hdc, hOld);
    ::DeleteDC(hdc);
    EXPECT_EQ(0, std::memcmp(colours, image.data() + 40, 40));
    for (int i = 10; i < 256; ++i) EXPECT_EQ(0, colours[i].rgbBlue + colours[i].rgbGreen + colours[i].rgbRed) << i;
}

TEST_F(IconTest, AHeaderThatTheSystemRefusesIsToldInABoxAndStaysHalved)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    {
        g_boxes.clear();
        const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
        const CImportPatch section(kLibrary, "CreateDIBSection", RefuseSection);
        EXPECT_EQ(nullptr, m_loader.MakeBitmapFromResource(0));
        ASSERT_EQ(1u, g_boxes.size());
        EXPECT_EQ(SystemText(ERROR_NOT_ENOUGH_MEMORY), g_boxes[0].text);
        EXPECT_EQ(L"Error", g_boxes[0].title);
        EXPECT_EQ(static_cast<UINT>(MB_OK | MB_ICONINFORMATION), g_boxes[0].type);
    }
    SIZE size = {};
    m_loader.GetSize(0, size);
    EXPECT_EQ(16, size.cy); // the record's own height
    const CBitmapOwner bitmap(m_loader.MakeBitmapFromResource(0));
    ASSERT_FALSE(bitmap.IsNull());
    EXPECT_EQ(8, bitmap.Info().bmHeight); // the header's was 16 by then
    const CBitmapOwner mask(m_loader.MakeMaskBitmapFromResource(0));
    ASSERT_FALSE(mask.IsNull());
    EXPECT_EQ(8, mask.Info().bmHeight);
}

TEST_F(IconTest, TheBoxComesWithoutAnErrorToo)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    g_boxes.clear();
    const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
    const CImportPatch section(kLibrary, "CreateDIBSection", RefuseSectionWithoutAnError);
    EXPECT_EQ(nullptr, m_loader.MakeBitmapFromResource(0));
    ASSERT_EQ(1u, g_boxes.size());
    EXPECT_EQ(SystemText(0), g_boxes[0].text);
}

TEST_F(IconTest, ImpossibleHeadersGiveNullAndABox)
{
    static constexpr struct
    {
        const char* pszWhy;
        size_t at;
        DWORD value;
    } kCases[] = {
        {"a header size of nothing", 0, 0},    {"an old header", 0, 12}, {"a header size beyond the image", 0, 9999},
        {"a huge header size", 0, 0xFFFFFFFF}, {"no width", 4, 0},       {"negative width", 4, 0xFFFFFFF0},
        {"a huge width", 4, 0x7FFFFFFF},       {"no height", 8, 0},      {"height 1, halved 0", 8, 1},
        {"a huge height", 8, 0x7FFFFFFF},      {"no depth", 12, 1},      {"a depth of 3", 12, 0x00030001},
        {"run lengths", 16, BI_RLE4},
    };
    const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        Bytes image = MakeImage(16, 16, 4);
        Put32(image, c.at, c.value);
        if (c.at == 8 && c.value > 1) Put32(image, 4, 0x00100000);
        ASSERT_TRUE(ReadOne(image));
        g_boxes.clear();
        EXPECT_EQ(nullptr, m_loader.MakeBitmapFromResource(0));
        EXPECT_EQ(1u, g_boxes.size());
        EXPECT_EQ(nullptr, m_loader.MakeIconFromResource(0));
    }
}

TEST_F(IconTest, APngCompressedImageIsAcceptedAndGivesNull)
{
    Bytes image = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n', 0, 0, 0, 13,
                   'I',  'H', 'D', 'R', 0,    0,    1,    0,    0, 0, 1, 0};
    image.resize(200);
    g_boxes.clear();
    const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
    ASSERT_TRUE(ReadOne(image));
    EXPECT_EQ(1u, m_loader.GetIconsCount());
    EXPECT_EQ(nullptr, m_loader.MakeIconFromResource(0));
    EXPECT_EQ(1u, g_boxes.size());
}

TEST_F(IconTest, TheMaskIsCopiedByTheTwoFormulas)
{
    for (const DepthAndSize& c : kImages) {
        SCOPED_TRACE(testing::Message() << c.depth << " bits, " << c.width << " x " << c.height);
        const Bytes image = MakeImage(c.width, c.height, c.depth);
        ASSERT_TRUE(ReadOne(image));
        const CBitmapOwner mask(m_loader.MakeMaskBitmapFromResource(0));
        const size_t cbFormula = c.width == 32 ? c.height * 32 / 8 : c.height * c.width * 2 / 8;
        const size_t cbSection = RowBytes(c.width) * c.height;
        ASSERT_FALSE(mask.IsNull());
        EXPECT_EQ(c.width, mask.Info().bmWidth);
        EXPECT_EQ(c.height, mask.Info().bmHeight);
        EXPECT_EQ(1, mask.Info().bmBitsPixel);
        const size_t maskAt = ColourBitsAt(c.depth) + ColourBitsSize(c.width, c.height, c.depth);
        const size_t cbCopied = std::min(cbFormula, cbSection);
        Bytes wanted(image.begin() + maskAt, image.begin() + maskAt + cbCopied);
        wanted.resize(cbSection);
        EXPECT_EQ(wanted, mask.Bits());
    }
}

TEST_F(IconTest, TheMaskIsBlackAndWhite)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    const CBitmapOwner mask(m_loader.MakeMaskBitmapFromResource(0));
    const HDC hdc = ::CreateCompatibleDC(nullptr);
    const HGDIOBJ hOld = ::SelectObject(hdc, mask.Get());
    RGBQUAD colours[2] = {};
    EXPECT_EQ(2u, ::GetDIBColorTable(hdc, 0, 2, colours));
    ::SelectObject(hdc, hOld);
    ::DeleteDC(hdc);
    EXPECT_EQ(0, colours[0].rgbBlue + colours[0].rgbGreen + colours[0].rgbRed);
    EXPECT_EQ(3 * 255, colours[1].rgbBlue + colours[1].rgbGreen + colours[1].rgbRed);
}

TEST_F(IconTest, AShortMaskIsCopiedDownToHalfAndNoFurther)
{
    // 16 x 16: 64 bytes by the formula.
    for (const size_t cb : {64, 63, 40, 33, 32, 31, 1, 0}) {
        SCOPED_TRACE(cb);
        Bytes image = MakeImage(16, 16, 4);
        const size_t maskAt = ColourBitsAt(4) + ColourBitsSize(16, 16, 4);
        image.resize(maskAt + cb);
        ASSERT_TRUE(ReadOne(image));
        const CBitmapOwner mask(m_loader.MakeMaskBitmapFromResource(0));
        ASSERT_EQ(cb < 32, mask.IsNull());
        if (cb < 32) continue;
        Bytes wanted(image.begin() + maskAt, image.end());
        wanted.resize(64);
        EXPECT_EQ(wanted, mask.Bits());
    }
}

TEST_F(IconTest, AMaskOfNoBytesIsCopiedFromNothing)
{
    // 1 x 1: 1 * 1 * 2 / 8 is 0.
    Bytes image = MakeImage(1, 1, 24);
    image.resize(ColourBitsAt(24) + 4);
    ASSERT_TRUE(ReadOne(image));
    const CBitmapOwner mask(m_loader.MakeMaskBitmapFromResource(0));
    ASSERT_FALSE(mask.IsNull());
    EXPECT_EQ((Bytes{0, 0, 0, 0}), mask.Bits());
}

TEST_F(IconTest, AMaskThatTheSystemRefusesGivesNullWithoutABox)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    g_boxes.clear();
    const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
    const CImportPatch section(kLibrary, "CreateDIBSection", RefuseSection);
    EXPECT_EQ(nullptr, m_loader.MakeMaskBitmapFromResource(0));
    EXPECT_TRUE(g_boxes.empty());
}

TEST_F(IconTest, MemoryThatRunsOutForTheMaskIsToldInABox)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    g_boxes.clear();
    const CImportPatch boxes(L"korvaneafx.dll", "MessageBoxW", AnswerBox);
    {
        const CImportPatch memory(kLibrary, "calloc", RefuseZeros);
        EXPECT_EQ(nullptr, m_loader.MakeMaskBitmapFromResource(0));
    }
    ASSERT_EQ(1u, g_boxes.size());
    EXPECT_EQ(L"Fail to allocate memory for BITMAPINFO!", g_boxes[0].text);
    EXPECT_EQ(L"test_graphics", g_boxes[0].title);
    EXPECT_EQ(static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION), g_boxes[0].type);
}

TEST_F(IconTest, MemoryThatRunsOutForReadingIsAFailure)
{
    WriteFileTo(m_path, MakeIconFile({MakeImage(16, 16, 4)}));
    {
        const CImportPatch memory(kLibrary, "malloc", RefuseMemory);
        EXPECT_FALSE(m_loader.ReadIconFromICOFile(m_path.c_str()));
        EXPECT_FALSE(m_loader.IsValid());
    }
    const CImportPatch zeros(kLibrary, "calloc", RefuseZeros);
    EXPECT_FALSE(m_loader.ReadIconFromICOFile(m_path.c_str()));
    EXPECT_FALSE(m_loader.IsValid());
}

TEST_F(IconTest, TheIconHasTheHotSpotAndBothBitmaps)
{
    for (const DepthAndSize& c : kImages) {
        SCOPED_TRACE(testing::Message() << c.depth << " bits, " << c.width << " x " << c.height);
        ASSERT_TRUE(ReadOne(MakeImage(c.width, c.height, c.depth)));
        const HICON hIcon = m_loader.MakeIconFromResource(0);
        ASSERT_NE(nullptr, hIcon);
        ICONINFO info = {};
        ASSERT_TRUE(::GetIconInfo(hIcon, &info));
        EXPECT_TRUE(info.fIcon);
        BITMAP bitmap = {};
        ::GetObjectW(info.hbmMask, sizeof(bitmap), &bitmap);
        EXPECT_EQ(c.width, bitmap.bmWidth);
        ::DeleteObject(info.hbmMask);
        if (info.hbmColor) ::DeleteObject(info.hbmColor);
        EXPECT_TRUE(::DestroyIcon(hIcon));
    }
}

namespace {

ICONINFO g_iconInfo;
HICON WINAPI KeepInfo(ICONINFO* pInfo)
{
    g_iconInfo = *pInfo;
    return reinterpret_cast<HICON>(0x77);
}

} // namespace

TEST_F(IconTest, TheIconIsMadeWithTheHotSpotAtSixteenAndTheBitmapsAreDeleted)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    const CImportPatch create(kLibrary, "CreateIconIndirect", KeepInfo);
    EXPECT_EQ(reinterpret_cast<HICON>(0x77), m_loader.MakeIconFromResource(0));
    EXPECT_EQ(TRUE, g_iconInfo.fIcon);
    EXPECT_EQ(16u, g_iconInfo.xHotspot);
    EXPECT_EQ(16u, g_iconInfo.yHotspot);
    EXPECT_EQ(0u, ::GetObjectType(g_iconInfo.hbmColor));
    EXPECT_EQ(0u, ::GetObjectType(g_iconInfo.hbmMask));
}

TEST_F(IconTest, IconsOfAnotherProgramShowTheirPixels)
{
    for (const ReferenceIcon& icon : ReferenceIcons()) {
        SCOPED_TRACE(icon.name);
        ASSERT_TRUE(m_loader.ReadIconFromICOFile(icon.path.c_str()));
        ASSERT_EQ(1u, m_loader.GetIconsCount());
        SIZE size = {};
        m_loader.GetSize(0, size);
        EXPECT_EQ(icon.size, size.cx);
        EXPECT_EQ(icon.size, size.cy);
        const CBitmapOwner bitmap(m_loader.MakeBitmapFromResource(0));
        ASSERT_FALSE(bitmap.IsNull());
        EXPECT_EQ(icon.depth, bitmap.Info().bmBitsPixel);
        // Of padded rows only the lower ones are copied.
        const int nRows = icon.depth * icon.size * icon.size / 8 / bitmap.Info().bmWidthBytes;
        const Bytes pixels = bitmap.Pixels();
        const auto from = 3 * icon.size * (icon.size - nRows);
        EXPECT_EQ(Bytes(icon.pixels.begin() + from, icon.pixels.end()), Bytes(pixels.begin() + from, pixels.end()));
        const HICON hIcon = m_loader.MakeIconFromResource(0);
        EXPECT_NE(nullptr, hIcon);
        ::DestroyIcon(hIcon);
    }
}

TEST_F(IconTest, AHugeImageInASmallFileIsAcceptedAndGivesNull)
{
    const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
    for (const WORD bits : {1, 4, 8, 16, 24, 32}) {
        SCOPED_TRACE(bits);
        Bytes image(100 - 6 - 16);
        Put32(image, 0, 40);
        Put32(image, 4, 65535);
        Put32(image, 8, 2 * 65535);
        Put16(image, 12, 1);
        Put16(image, 14, bits);
        ASSERT_TRUE(ReadOne(image));
        g_boxes.clear();
        EXPECT_TRUE(CBitmapOwner(m_loader.MakeBitmapFromResource(0)).IsNull());
        EXPECT_EQ(1u, g_boxes.size());
        EXPECT_TRUE(CBitmapOwner(m_loader.MakeMaskBitmapFromResource(0)).IsNull());
        EXPECT_EQ(nullptr, m_loader.MakeIconFromResource(0));
    }
}

TEST_F(IconTest, TheLargestImageIsOfSixtyFourMegapixels)
{
    const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
    for (const DWORD height : {8192, 8193}) {
        SCOPED_TRACE(height);
        Bytes image = MakeImage(16, 16, 1);
        Put32(image, 4, 8192);
        Put32(image, 8, 2 * height);
        ASSERT_TRUE(ReadOne(image));
        EXPECT_EQ(height > 8192, CBitmapOwner(m_loader.MakeBitmapFromResource(0)).IsNull());
    }
}

TEST_F(IconTest, AThousandOfEachOutcomeLeaveNothingBehind)
{
    Bytes refused = MakeImage(16, 16, 4), shortMask = MakeImage(16, 16, 4), headless(39);
    Put32(refused, 16, BI_RLE4);
    shortMask.resize(shortMask.size() - 40);
    const Bytes good = MakeIconFile({MakeImage(16, 16, 4), MakeImage(32, 32, 8), MakeImage(16, 16, 32)});
    Bytes cursor = good, huge = good;
    Put16(cursor, 2, 2);
    Put32(huge, 6 + 16 + 8, 0xFFFFFFFF);
    const auto file = [&](const wchar_t* name, const Bytes& bytes) {
        const std::wstring path = m_folder.File(name);
        WriteFileTo(path, bytes);
        return path;
    };
    const std::wstring whole = file(L"whole.ico", good);
    const std::wstring cut = file(L"cut.ico", Bytes(good.begin(), good.end() - 1));
    const std::wstring cutDirectory = file(L"directory.ico", Bytes(good.begin(), good.begin() + 30));
    const std::wstring cutHeader = file(L"header.ico", Bytes(good.begin(), good.begin() + 5));
    const std::wstring wrongType = file(L"cursor.ico", cursor), tooLarge = file(L"huge.ico", huge);
    const std::wstring absent = m_folder.File(L"absent.ico");
    WriteFileTo(m_path, MakeIconFile({MakeImage(16, 16, 4), refused, shortMask, headless}));

    const auto read = [&](const std::wstring& path) { return m_loader.ReadIconFromICOFile(path.c_str()); };
    const auto made = [](HGDIOBJ hBitmap) { return hBitmap && ::DeleteObject(hBitmap); };
    const auto icon = [&](unsigned int index) {
        const HICON hIcon = m_loader.MakeIconFromResource(index);
        return hIcon && ::DestroyIcon(hIcon);
    };
    // Images of m_path.
    enum
    {
        sound,
        colourRefused,
        maskTooShort,
        withoutHeader,
        beyond
    };
    const struct
    {
        const char* what;
        bool result;
        std::function<bool()> once;
    } kinds[] = {
        {"a file", true, [&] { return read(whole); }},
        {"a file that is not there", false, [&] { return read(absent); }},
        {"a file cut in an image", false, [&] { return read(cut); }},
        {"a file cut in its directory", false, [&] { return read(cutDirectory); }},
        {"a file cut in its header", false, [&] { return read(cutHeader); }},
        {"a cursor", false, [&] { return read(wrongType); }},
        {"an image larger than its file", false, [&] { return read(tooLarge); }},
        {"a file, used below", true, [&] { return read(m_path); }},
        {"a colour bitmap", true, [&] { return made(m_loader.MakeBitmapFromResource(sound)); }},
        {"a mask", true, [&] { return made(m_loader.MakeMaskBitmapFromResource(sound)); }},
        {"an icon", true, [&] { return icon(sound); }},
        {"a header that is refused", false, [&] { return made(m_loader.MakeBitmapFromResource(colourRefused)); }},
        {"an icon without colours", false, [&] { return icon(colourRefused); }},
        {"too short a mask", false, [&] { return made(m_loader.MakeMaskBitmapFromResource(maskTooShort)); }},
        {"an icon without a mask", false, [&] { return icon(maskTooShort); }},
        {"an image without a header", false, [&] { return icon(withoutHeader); }},
        {"no such image", false, [&] { return icon(beyond); }},
        {"a mask that the system refuses", false,
         [&] {
             const CImportPatch section(kLibrary, "CreateDIBSection", RefuseSection);
             return made(m_loader.MakeMaskBitmapFromResource(sound));
         }},
        {"an icon that the system refuses", false,
         [&] {
             const CImportPatch create(kLibrary, "CreateIconIndirect", RefuseIcon);
             return icon(sound);
         }},
    };
    const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
    ASSERT_GT(CountHandles(), 0);
    for (const auto& kind : kinds) {
        SCOPED_TRACE(kind.what);
        for (int i = 0; i < 2; ++i) EXPECT_EQ(kind.result, kind.once()); // what the system keeps from the first use on
        const int nObjects = CountGdiObjects(), nHandles = CountHandles();
        int nAsExpected = 0;
        for (int i = 0; i < 1000; ++i) nAsExpected += kind.once() == kind.result;
        EXPECT_EQ(1000, nAsExpected);
        EXPECT_EQ(nObjects, CountGdiObjects());
        EXPECT_EQ(nHandles, CountHandles());
    }
}
