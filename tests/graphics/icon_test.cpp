// Reading icon files.
#include "icon_fixture.h"

TEST_F(IconTest, ANewLoaderHasNothing)
{
    EXPECT_FALSE(m_loader.IsValid());
    EXPECT_EQ(0u, m_loader.GetIconsCount());
    EXPECT_EQ(nullptr, m_loader.MakeBitmapFromResource(0));
    EXPECT_EQ(nullptr, m_loader.MakeMaskBitmapFromResource(0));
    EXPECT_EQ(nullptr, m_loader.MakeIconFromResource(0));
    SIZE size = {7, 7};
    m_loader.GetSize(0, size);
    EXPECT_EQ(0, size.cx);
    EXPECT_EQ(0, size.cy);
}

TEST_F(IconTest, ReadsEveryImageInFileOrder)
{
    std::vector<Bytes> images;
    for (const DepthAndSize& c : kImages) images.push_back(MakeImage(c.width, c.height, c.depth));
    ASSERT_TRUE(Read(MakeIconFile(images)));
    EXPECT_TRUE(m_loader.IsValid());
    ASSERT_EQ(std::size(kImages), m_loader.GetIconsCount());
    for (size_t i = 0; i < std::size(kImages); ++i) {
        SIZE size = {};
        m_loader.GetSize(i, size);
        EXPECT_EQ(kImages[i].width, size.cx) << i;
        EXPECT_EQ(kImages[i].height, size.cy) << i;
    }
}

TEST_F(IconTest, AnIndexOutOfRangeGivesNullAndNoSize)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    for (const unsigned int index : {1u, 2u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        EXPECT_EQ(nullptr, m_loader.MakeBitmapFromResource(index));
        EXPECT_EQ(nullptr, m_loader.MakeMaskBitmapFromResource(index));
        EXPECT_EQ(nullptr, m_loader.MakeIconFromResource(index));
        SIZE size = {7, 7};
        m_loader.GetSize(index, size);
        EXPECT_EQ(0, size.cx);
        EXPECT_EQ(0, size.cy);
    }
}

TEST_F(IconTest, AFileThatIsNotThereIsRefused)
{
    EXPECT_FALSE(m_loader.ReadIconFromICOFile(m_folder.File(L"absent.ico").c_str()));
    EXPECT_FALSE(m_loader.ReadIconFromICOFile(m_folder.Path().c_str())); // a folder
    EXPECT_FALSE(m_loader.ReadIconFromICOFile(L""));
    EXPECT_FALSE(m_loader.ReadIconFromICOFile(nullptr));
    EXPECT_FALSE(m_loader.IsValid());
}

TEST_F(IconTest, OpensTheFileWithoutSharing)
{
    WriteFileTo(m_path, MakeIconFile({MakeImage(16, 16, 4)}));
    const HANDLE hFile = ::CreateFileW(m_path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                       OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(INVALID_HANDLE_VALUE, hFile);
    EXPECT_FALSE(m_loader.ReadIconFromICOFile(m_path.c_str()));
    ::CloseHandle(hFile);
    EXPECT_TRUE(m_loader.ReadIconFromICOFile(m_path.c_str()));
    EXPECT_TRUE(::DeleteFileW(m_path.c_str())); // and does not keep it open
}

TEST_F(IconTest, TheReservedWordMustBeZeroAndTheTypeOne)
{
    const Bytes good = MakeIconFile({MakeImage(16, 16, 4)});
    for (const WORD value : {1, 2, 256, 0xFFFF}) {
        Bytes file = good;
        Put16(file, 0, value);
        EXPECT_FALSE(Read(file)) << value;
    }
    for (const WORD value : {0, 2 /* a cursor */, 257, 0xFFFF}) {
        Bytes file = good;
        Put16(file, 2, value);
        EXPECT_FALSE(Read(file)) << value;
    }
    EXPECT_TRUE(Read(good));
}

TEST_F(IconTest, NoImagesAreAValidFile)
{
    EXPECT_TRUE(Read(MakeIconFile({})));
    EXPECT_TRUE(m_loader.IsValid());
    EXPECT_EQ(0u, m_loader.GetIconsCount());
    EXPECT_EQ(nullptr, m_loader.MakeIconFromResource(0));
}

TEST_F(IconTest, EveryTruncationIsRefusedAndLeavesNothingLoaded)
{
    const Bytes good = MakeIconFile({MakeImage(16, 16, 1), MakeImage(8, 8, 4)});
    for (size_t cb = 0; cb < good.size(); ++cb) {
        ASSERT_FALSE(Read(Bytes(good.begin(), good.begin() + cb))) << cb;
        ASSERT_FALSE(m_loader.IsValid());
        ASSERT_EQ(0u, m_loader.GetIconsCount());
    }
    EXPECT_TRUE(Read(good));
}

TEST_F(IconTest, CountsAndSizesBeyondTheFileAreRefused)
{
    const Bytes good = MakeIconFile({MakeImage(16, 16, 4)});
    for (const WORD count : {2, 256, 65535}) {
        Bytes file = good;
        Put16(file, 4, count);
        EXPECT_FALSE(Read(file)) << count;
    }
    for (const DWORD value : {0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu, 0xFFFFFFF0u}) {
        Bytes file = good;
        Put32(file, 6 + 8, value);
        EXPECT_FALSE(Read(file)) << value;
        file = good;
        Put32(file, 6 + 12, value);
        EXPECT_FALSE(Read(file)) << value;
    }
}

TEST_F(IconTest, ManyEntriesMayShareTheirBytesUpToTheLimit)
{
    const Bytes image = MakeImage(256, 256, 32);
    Bytes file(6 + 16 * 2000);
    Put16(file, 2, 1);
    for (int i = 0; i < 2000; ++i) {
        Put32(file, 6 + 16 * i + 8, image.size());
        Put32(file, 6 + 16 * i + 12, file.size());
    }
    file.insert(file.end(), image.begin(), image.end());
    Put16(file, 4, 100);
    EXPECT_TRUE(Read(file));
    EXPECT_EQ(100u, m_loader.GetIconsCount());
    Put16(file, 4, 2000); // 540 MB
    EXPECT_FALSE(Read(file));
}

TEST_F(IconTest, ASecondReadForgetsTheFirstEvenWhenItFails)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    EXPECT_FALSE(m_loader.ReadIconFromICOFile(m_folder.File(L"absent.ico").c_str()));
    EXPECT_FALSE(m_loader.IsValid());
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    ASSERT_TRUE(Read(MakeIconFile({MakeImage(32, 32, 1), MakeImage(8, 8, 1)})));
    EXPECT_EQ(2u, m_loader.GetIconsCount());
}

TEST_F(IconTest, CopiesShareOneRecordAndTheFirstCleanUpFreesIt)
{
    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    CLoader other, third;
    other = m_loader;
    third = other;
    EXPECT_TRUE(other.IsValid());
    EXPECT_EQ(1u, other.GetIconsCount());
    {
        const CIconLoader copy(m_loader);
        EXPECT_TRUE(copy.IsValid());
    } // destroyed: the record is gone
    EXPECT_FALSE(m_loader.IsValid());
    EXPECT_FALSE(other.IsValid());
    EXPECT_EQ(0u, other.GetIconsCount());
    EXPECT_EQ(nullptr, third.MakeIconFromResource(0));

    ASSERT_TRUE(ReadOne(MakeImage(16, 16, 4)));
    EXPECT_FALSE(other.IsValid()); // a new record is not shared
    other = m_loader;
    CLoader& rSelf = other;
    other = rSelf;
    EXPECT_TRUE(other.IsValid());
    other.cleanup();
    EXPECT_FALSE(m_loader.IsValid());
    m_loader.cleanup();
}

TEST_F(IconTest, TheHeaderIsReadInThreeWords)
{
    const auto read = [&](const Bytes& start) {
        WriteFileTo(m_path, start);
        const HANDLE hFile =
            ::CreateFileW(m_path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        const unsigned int result = m_loader.ReadICOHeader(hFile);
        ::CloseHandle(hFile);
        return result;
    };
    EXPECT_EQ(0x1234u, read({0, 0, 1, 0, 0x34, 0x12}));
    EXPECT_EQ(65535u, read({0, 0, 1, 0, 0xFF, 0xFF}));
    EXPECT_EQ(0xFFFFFFFFu, read({0, 0, 1, 0, 0x34}));
    EXPECT_EQ(0xFFFFFFFFu, read({0, 0, 1}));
    EXPECT_EQ(0xFFFFFFFFu, read({}));
    EXPECT_EQ(0xFFFFFFFFu, read({1, 0, 1, 0, 1, 0}));
    EXPECT_EQ(0xFFFFFFFFu, read({0, 0, 2, 0, 1, 0}));
}

TEST_F(IconTest, TheColourCountComesFromTheHeader)
{
    static constexpr struct
    {
        DWORD used;
        WORD bits, colours;
    } kCases[] = {{0, 1, 2},  {0, 4, 16}, {0, 8, 256}, {0, 2, 0},           {0, 16, 0},      {0, 24, 0},
                  {0, 32, 0}, {7, 4, 7},  {7, 24, 7},  {0xFFFF, 8, 0xFFFF}, {0x10000, 8, 0}, {0x10003, 1, 3}};
    for (const auto& c : kCases) {
        BITMAPINFOHEADER header = {};
        header.biClrUsed = c.used;
        header.biBitCount = c.bits;
        EXPECT_EQ(c.colours, CLoader::DIBNumColors(&header)) << c.used << " " << c.bits;
        EXPECT_EQ(c.colours * 4u, CLoader::PaletteSize(&header));
    }
}

TEST_F(IconTest, RowsArePaddedToFourBytes)
{
    static constexpr struct
    {
        WORD bits, planes;
        LONG width;
        DWORD bytes;
    } kCases[] = {{1, 1, 1, 4},  {1, 1, 32, 4}, {1, 1, 33, 8},  {4, 1, 16, 8},   {4, 1, 17, 12},
                  {8, 1, 3, 4},  {8, 1, 5, 8},  {24, 1, 1, 4},  {24, 1, 16, 48}, {32, 1, 7, 28},
                  {1, 4, 16, 8}, {0, 1, 99, 0}, {24, 1, -5, 0}, {8, 0, 100, 0}};
    for (const auto& c : kCases) {
        BITMAPINFOHEADER header = {};
        header.biBitCount = c.bits;
        header.biPlanes = c.planes;
        header.biWidth = c.width;
        EXPECT_EQ(c.bytes, CLoader::BytesPerLine(&header)) << c.bits << " " << c.width;
    }
}

TEST_F(IconTest, ColourBitsAndMaskOfASixteenColourIconLieBehindItsTable)
{
    Bytes bytes = MakeImage(16, 16, 4);
    ICONIMAGE image = {};
    image.lpBits = bytes.data();
    image.dwNumBytes = bytes.size();
    EXPECT_TRUE(m_loader.AdjustIconImagePointers(&image));
    EXPECT_EQ(bytes.data(), reinterpret_cast<BYTE*>(image.lpbi));
    EXPECT_EQ(bytes.data() + 40 + 64, image.lpXOR);
    EXPECT_EQ(image.lpXOR, CLoader::FindDIBBits(bytes.data()));
    EXPECT_EQ(image.lpXOR + 128, image.lpAND);
    EXPECT_EQ(16u, image.Width);
    EXPECT_EQ(16u, image.Height);
    EXPECT_EQ(4u, image.Colors);
}

TEST_F(IconTest, PointersNeverLeaveTheImage)
{
    static constexpr struct
    {
        const char* pszWhy;
        size_t at;
        DWORD value;
        int xorAt, andAt; // -1: at the end
    } kCases[] = {
        {"header size beyond the image", 0, 0xFFFFFFF0, -1, -1},
        {"header size that overflows with the table", 0, 0xFFFFFFFF, -1, -1},
        {"a longer header", 0, 50, 114, 242},
        {"a table beyond the image", 32, 0xFFFF, -1, -1},
        {"more rows than there are", 8, 0x7FFFFFFF, 104, -1},
        {"negative height", 8, 0x80000000, 104, -1},
        {"a width beyond the image", 4, 0x7FFFFFFF, 104, -1},
        {"negative width", 4, 0xFFFFFFFF, 104, 104},
        {"no height", 8, 0, 104, 104},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        Bytes bytes = MakeImage(16, 16, 4);
        Put32(bytes, c.at, c.value);
        ICONIMAGE image = {};
        image.lpBits = bytes.data();
        image.dwNumBytes = bytes.size();
        EXPECT_TRUE(m_loader.AdjustIconImagePointers(&image));
        EXPECT_EQ(c.xorAt < 0 ? bytes.size() : c.xorAt, static_cast<size_t>(image.lpXOR - bytes.data()));
        EXPECT_EQ(c.andAt < 0 ? bytes.size() : c.andAt, static_cast<size_t>(image.lpAND - bytes.data()));
    }
}

TEST_F(IconTest, AnImageShorterThanAHeaderIsAcceptedAndEmpty)
{
    for (const size_t cb : {0, 1, 4, 39}) {
        SCOPED_TRACE(cb);
        g_boxes.clear();
        const CImportPatch boxes(kLibrary, "MessageBoxW", AnswerBox);
        Bytes image = MakeImage(16, 16, 4);
        image.resize(cb);
        ASSERT_TRUE(ReadOne(image));
        EXPECT_EQ(1u, m_loader.GetIconsCount());
        SIZE size = {7, 7};
        m_loader.GetSize(0, size);
        EXPECT_EQ(0, size.cx);
        EXPECT_EQ(0, size.cy);
        EXPECT_EQ(nullptr, m_loader.MakeBitmapFromResource(0));
        EXPECT_EQ(nullptr, m_loader.MakeMaskBitmapFromResource(0));
        EXPECT_EQ(nullptr, m_loader.MakeIconFromResource(0));
        EXPECT_TRUE(g_boxes.empty());
    }
}

TEST_F(IconTest, ImageOffsetsForWritingFollowDirectoryAndSizes)
{
    std::vector<BYTE> block(sizeof(ICONRESOURCE) + 2 * sizeof(ICONIMAGE));
    ICONRESOURCE* const pRecord = reinterpret_cast<ICONRESOURCE*>(block.data());
    ICONIMAGE* const pImages = pRecord->IconImages;
    pRecord->nNumImages = 3;
    pImages[0].dwNumBytes = 100;
    pImages[1].dwNumBytes = 7;
    EXPECT_EQ(54u, m_loader.CalculateImageOffset(pRecord, 0));
    EXPECT_EQ(154u, m_loader.CalculateImageOffset(pRecord, 1));
    EXPECT_EQ(161u, m_loader.CalculateImageOffset(pRecord, 2));
}
