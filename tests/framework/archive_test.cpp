// CFile, CMemFile, CArchive.
#include "afx_print.h"

#include "support/import_patch.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstring>
#include <initializer_list>
#include <string>

namespace {

// What a function stored, as bytes.
template <class Store> std::string StoredBy(Store store)
{
    CMemFile file;
    {
        CArchive ar(&file, CArchive::store);
        store(ar);
    }
    std::string bytes(file.GetLength(), '\0');
    file.SeekToBegin();
    EXPECT_EQ(bytes.size(), file.Read(bytes.data(), bytes.size()));
    return bytes;
}

std::string Stored(const CString& str)
{
    return StoredBy([&](CArchive& ar) { ar << str; });
}

CString Loaded(const std::string& bytes)
{
    CMemFile file;
    file.Write(bytes.data(), bytes.size());
    file.SeekToBegin();
    CArchive ar(&file, CArchive::load);
    CString str(L"before");
    ar >> str;
    return str;
}

std::string Bytes(std::initializer_list<int> values)
{
    return std::string(values.begin(), values.end());
}

int CauseOf(const std::string& bytes)
{
    try {
        Loaded(bytes);
    } catch (CArchiveException* e) {
        const int cause = e->m_cause;
        e->Delete();
        return cause;
    }
    return CArchiveException::none;
}

// What the device's default code page is in Japan: characters of one byte and of two.
int WINAPI ConvertAsInJapan(UINT, DWORD dwFlags, LPCCH pch, int cb, LPWSTR pchWide, int cchWide)
{
    return ::MultiByteToWideChar(932, dwFlags, pch, cb, pchWide, cchWide);
}

// A file with the values 1 to 100 whose first reading fails.
class CUnluckyFile : public CMemFile
{
public:
    CUnluckyFile()
    {
        for (int n = 1; n <= 100; ++n) Write(&n, sizeof n);
        SeekToBegin();
    }
    UINT Read(void* pBuffer, UINT nCount) override
    {
        if (m_bFails) {
            m_bFails = false;
            AfxThrowFileException(CFileException::generic);
        }
        return CMemFile::Read(pBuffer, nCount);
    }

private:
    bool m_bFails = true;
};

} // namespace

TEST(ArchiveStringTest, AMarkerTheLengthAndTheCharacters)
{
    EXPECT_EQ(Bytes({0xFF, 0xFE, 0xFF, 2, 'a', 0, 0xAC, 0x20}), Stored(L"a\x20AC"));
    EXPECT_EQ(Bytes({0xFF, 0xFE, 0xFF, 0}), Stored(CString()));
    EXPECT_EQ(Bytes({0xFF, 0xFE, 0xFF, 3, 'a', 0, 0, 0, 'b', 0}), Stored(CString(L"a\0b", 3)));
}

TEST(ArchiveStringTest, TheLengthGrowsWithTheText)
{
    EXPECT_EQ(Bytes({0xFF, 0xFE, 0xFF, 0xFE}), Stored(CString(L'x', 254)).substr(0, 4));
    EXPECT_EQ(Bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0x00}), Stored(CString(L'x', 255)).substr(0, 6));
    EXPECT_EQ(Bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFD, 0xFF}), Stored(CString(L'x', 0xFFFD)).substr(0, 6));
    EXPECT_EQ(Bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFE, 0xFF, 0, 0}),
              Stored(CString(L'x', 0xFFFE)).substr(0, 10));
}

TEST(ArchiveStringTest, StringsOfEveryLengthComeBack)
{
    for (const int nLength : {0, 1, 254, 255, 256, 1024, 1025, 5000, 0xFFFD, 0xFFFE, 0xFFFF, 0x10000, 200000}) {
        const CString str(L'\x20AC', nLength);
        EXPECT_EQ(str, Loaded(Stored(str))) << nLength;
    }
    EXPECT_TRUE(Same(Loaded(Stored(CString(L"a\0b", 3))), L"a\0b", 3));
}

TEST(ArchiveStringTest, NarrowTextWithoutMarkerIsConverted)
{
    EXPECT_EQ(L"abc", Loaded(Bytes({3, 'a', 'b', 'c'})));
    EXPECT_EQ(L"", Loaded(Bytes({0})));
    EXPECT_EQ(CString(L'x', 300), Loaded(Bytes({0xFF, 0x2C, 0x01}) + std::string(300, 'x')));
}

TEST(ArchiveStringTest, NarrowTextHasCharactersOfTwoBytesAnywhere)
{
    const CImportPatch patch(L"korvaneafx.dll", "MultiByteToWideChar", ConvertAsInJapan);
    for (const int nBefore : {1022, 1023, 1024, 2047, 4095}) {
        const int cb = nBefore + 3;
        const std::string bytes =
            Bytes({0xFF, cb & 0xFF, cb >> 8}) + std::string(nBefore, 'x') + Bytes({0x83, 0x41, 'y'});
        EXPECT_TRUE(Loaded(bytes) == CString(L'x', nBefore) + L"\x30A2y") << nBefore;
    }
}

TEST(ArchiveStringTest, EveryTruncationIsTheEndOfTheFile)
{
    for (const int nLength : {3, 300}) {
        const std::string bytes = Stored(CString(L'x', nLength));
        for (size_t cb = 0; cb < bytes.size(); ++cb) {
            EXPECT_EQ(CArchiveException::endOfFile, CauseOf(bytes.substr(0, cb))) << cb;
        }
    }
}

TEST(ArchiveStringTest, AnEnormousLengthCostsNothing)
{
    EXPECT_EQ(CArchiveException::endOfFile,
              CauseOf(Bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 1})));
    EXPECT_EQ(CArchiveException::endOfFile, CauseOf(Bytes({0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0x7F, 1})));
    EXPECT_EQ(CArchiveException::endOfFile, CauseOf(Bytes({0xFF, 0xFE, 0xFF, 0xFF, 0xFE, 0xFF, 0xFF})));
}

TEST(ArchiveTest, NumbersHaveTheirBytesInMemory)
{
    const std::string bytes = StoredBy([](CArchive& ar) {
        ar << BYTE(1) << char(-2) << WORD(0x0304) << short(-5) << 6 << 7u << -8L << DWORD(9) << 1.5f << -2.5;
        ar << CTime(10) << CTimeSpan(11);
    });
    EXPECT_EQ(2u + 4 + 16 + 12 + 8, bytes.size());
    EXPECT_EQ(Bytes({1, 0xFE, 4, 3, 0xFB, 0xFF}), bytes.substr(0, 6));
    CMemFile file;
    file.Write(bytes.data(), bytes.size());
    file.SeekToBegin();
    CArchive ar(&file, CArchive::load);
    EXPECT_TRUE(ar.IsLoading() && !ar.IsStoring() && ar.GetFile() == &file);
    BYTE by;
    char ch;
    WORD w;
    short n16;
    int n;
    UINT u;
    LONG l;
    DWORD dw;
    float f;
    double d;
    CTime time;
    CTimeSpan span;
    ar >> by >> ch >> w >> n16 >> n >> u >> l >> dw >> f >> d >> time >> span;
    EXPECT_EQ(1, by);
    EXPECT_EQ(-2, ch);
    EXPECT_EQ(0x0304, w);
    EXPECT_EQ(-5, n16);
    EXPECT_EQ(6, n);
    EXPECT_EQ(7u, u);
    EXPECT_EQ(-8, l);
    EXPECT_EQ(9u, dw);
    EXPECT_EQ(1.5f, f);
    EXPECT_EQ(-2.5, d);
    EXPECT_EQ(10, time.GetTime());
    EXPECT_EQ(11, span.GetTotalSeconds());
    EXPECT_TRUE(Throws<CArchiveException>([&] { ar >> dw; }));
    EXPECT_EQ(9u, dw) << "left alone";
}

TEST(ArchiveTest, ClosingALoaderLeavesTheFileBehindTheLastValue)
{
    CMemFile file;
    const int rgValues[] = {1, 2, 3};
    file.Write(rgValues, sizeof rgValues);
    file.SeekToBegin();
    CArchive ar(&file, CArchive::load);
    int n;
    ar >> n;
    ar.Close();
    EXPECT_EQ(4u, file.GetPosition());
    EXPECT_TRUE(Throws<CArchiveException>([&] { ar >> n; }));
}

TEST(ArchiveTest, AReadingThatFailsLeavesNothingToHandOut)
{
    CUnluckyFile file;
    CArchive ar(&file, CArchive::load, 128);
    int n = -1;
    EXPECT_TRUE(Throws<CFileException>([&] { ar >> n; }));
    EXPECT_EQ(-1, n);
    ar >> n;
    EXPECT_EQ(1, n) << "the file's, once it can be read";
}

TEST(ArchiveTest, ClosingAfterAReadingThatFailedMovesNothing)
{
    CUnluckyFile file;
    file.Seek(200, CFile::begin);
    CArchive ar(&file, CArchive::load, 128);
    int n;
    EXPECT_TRUE(Throws<CFileException>([&] { ar >> n; }));
    ar.Close();
    EXPECT_EQ(200u, file.GetPosition());
}

TEST(ArchiveTest, StoringAndLoadingDoNotMix)
{
    CMemFile file;
    int n = 0;
    CArchive storing(&file, CArchive::store), loading(&file, CArchive::load);
    EXPECT_TRUE(Throws<CArchiveException>([&] { storing >> n; }));
    EXPECT_TRUE(Throws<CArchiveException>([&] { loading << n; }));
}

TEST(ArchiveTest, AbortAndNoFlushDropWhatIsBuffered)
{
    CMemFile file;
    {
        CArchive aborted(&file, CArchive::store), unflushed(&file, CArchive::store | CArchive::bNoFlushOnDelete);
        aborted << 1;
        aborted.Abort();
        unflushed << 1;
    }
    EXPECT_EQ(0u, file.GetLength());
}

TEST(FileTest, WhatIsWrittenIsReadBack)
{
    const CTempFolder folder;
    const std::wstring path = folder.File(L"file.bin");
    {
        CFile file(path.c_str(), CFile::modeCreate | CFile::modeWrite);
        CArchive ar(&file, CArchive::store);
        ar << CString(L"text") << 5;
    }
    CFile file(path.c_str(), CFile::modeReadWrite);
    EXPECT_EQ(16u, file.GetLength());
    CArchive ar(&file, CArchive::load);
    CString str;
    int n;
    ar >> str >> n;
    EXPECT_EQ(L"text", str);
    EXPECT_EQ(5, n);
    file.SetLength(4);
    EXPECT_EQ(4u, file.SeekToEnd());
    EXPECT_EQ(2, file.Seek(-2, CFile::current));
    BYTE rgBytes[8];
    EXPECT_EQ(2u, file.Read(rgBytes, sizeof rgBytes));
    file.Flush();
    file.Close();
    EXPECT_EQ(INVALID_HANDLE_VALUE, file.m_hFile);
}

TEST(FileTest, FailuresSayWhy)
{
    const CTempFolder folder;
    const std::wstring path = folder.File(L"absent.bin");
    CFile file;
    CFileException error;
    EXPECT_FALSE(file.Open(path.c_str(), CFile::modeRead, &error));
    EXPECT_EQ(CFileException::fileNotFound, error.m_cause);
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, error.m_lOsError);
    EXPECT_EQ(path.c_str(), error.m_strFileName);
    TCHAR sz[200];
    EXPECT_TRUE(error.GetErrorMessage(sz, ARRAYSIZE(sz)));
    EXPECT_NE(L'\0', sz[0]);
    const TCHAR chFirst = sz[0];
    EXPECT_TRUE(error.GetErrorMessage(sz, 2)) << "cut";
    EXPECT_EQ(CString(chFirst), sz);
    EXPECT_TRUE(Throws<CFileException>([&] { CFile(path.c_str(), CFile::modeRead); }));
    EXPECT_TRUE(Throws<CFileException>([&] { file.Read(sz, 1); })) << "not open";
    EXPECT_TRUE(Throws<CFileException>([&] { file.Write(sz, 1); }));
    EXPECT_TRUE(Throws<CFileException>([&] { file.GetLength(); }));
}

TEST(FileTest, AHandleHandedInStaysOpen)
{
    const CTempFolder folder;
    const HANDLE hFile = ::CreateFileW(folder.File(L"x").c_str(), GENERIC_WRITE, 0, NULL, CREATE_NEW, 0, NULL);
    ASSERT_NE(INVALID_HANDLE_VALUE, hFile);
    {
        CFile file(hFile);
        file.Write("abc", 3);
    }
    EXPECT_EQ(3u, ::GetFileSize(hFile, NULL));
    EXPECT_TRUE(::CloseHandle(hFile));
}

TEST(MemFileTest, GrowsWithZerosAndRefusesTheImpossible)
{
    CMemFile file;
    EXPECT_FALSE(file.Open(L"name", CFile::modeRead));
    EXPECT_EQ(4, file.Seek(4, CFile::begin));
    file.Write("x", 1);
    EXPECT_EQ(5u, file.GetLength());
    file.SeekToBegin();
    char rgBytes[8] = "#######";
    EXPECT_EQ(5u, file.Read(rgBytes, sizeof rgBytes));
    EXPECT_EQ(0, std::memcmp(rgBytes, "\0\0\0\0x##", 8));
    EXPECT_EQ(0u, file.Read(rgBytes, 1));
    EXPECT_TRUE(Throws<CFileException>([&] { file.Seek(-1, CFile::begin); }));
    EXPECT_TRUE(Throws<CFileException>([&] { file.Seek(LONG_MAX, CFile::end); }));
    EXPECT_TRUE(Throws<CMemoryException>([&] { file.SetLength(0xFFFFFFFF); }));
    file.Seek(LONG_MAX, CFile::begin);
    EXPECT_TRUE(Throws<CMemoryException>([&] { file.Write("x", 1); }));
    EXPECT_EQ(0u, file.Read(rgBytes, 1));
    EXPECT_EQ(5u, file.GetLength());
    file.Close();
    EXPECT_EQ(0u, file.GetLength());
}
