// The path helpers. The C library's names are included first: the library's still win.
#include <tchar.h>

#include "korvanelib.h"

#include "library_names.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

// The four parts between bars, as "C:|\dir\|name|.ext". The outputs are as large as documented, with guards behind
// them.
std::wstring Parts(const std::wstring& path)
{
    struct
    {
        TCHAR drive[3], guard1 = 0xAAAA, dir[256], guard2 = 0xAAAA, name[256], guard3 = 0xAAAA, ext[256],
                        guard4 = 0xAAAA;
    } out;
    _tsplitpath(path.c_str(), out.drive, out.dir, out.name, out.ext);
    EXPECT_TRUE(out.guard1 == 0xAAAA && out.guard2 == 0xAAAA && out.guard3 == 0xAAAA && out.guard4 == 0xAAAA);
    return out.drive + std::wstring(L"|") + out.dir + L"|" + out.name + L"|" + out.ext;
}

std::wstring Relative(const wchar_t* base, const wchar_t* target)
{
    CString result(L"untouched");
    const int ok = getRelPath(base, target, result);
    return (ok ? L"" : L"0 ") + std::wstring(result);
}

std::wstring Full(const wchar_t* base, const wchar_t* relative)
{
    CString result(L"untouched");
    EXPECT_EQ(buildFullPath(base, relative, result), 1);
    return std::wstring(result);
}

std::wstring Appended(const wchar_t* path, const wchar_t* more)
{
    CString byText(path), byString(path), tail(more);
    CUtil::AppendPath(byText, more);
    CUtil::AppendPath(byString, tail);
    EXPECT_TRUE(byText == byString);
    EXPECT_TRUE(tail == more);
    return std::wstring(byText);
}

} // namespace

TEST(PathTest, APathIsTakenApart)
{
    EXPECT_EQ(Parts(L"C:\\maps\\city.idx"), L"C:|\\maps\\|city|.idx");
    EXPECT_EQ(Parts(L"\\maps\\city.idx"), L"|\\maps\\|city|.idx");
    EXPECT_EQ(Parts(L"city"), L"||city|");
    EXPECT_EQ(Parts(L"C:city.idx"), L"C:||city|.idx");
    EXPECT_EQ(Parts(L"\\maps\\"), L"|\\maps\\||");
}

TEST(PathTest, TheLastDotBeginsTheExtension)
{
    EXPECT_EQ(Parts(L"a.b.c"), L"||a.b|.c");
    EXPECT_EQ(Parts(L"a."), L"||a|.");
    EXPECT_EQ(Parts(L".a"), L"|||.a");
    EXPECT_EQ(Parts(L".."), L"||.|.");
    EXPECT_EQ(Parts(L"\\d\\.a"), L"|\\d\\||.a");
}

TEST(PathTest, ADotInAFolderGivesNoExtension)
{
    EXPECT_EQ(Parts(L"C:\\dir.x\\file"), L"C:|\\dir.x\\|file|");
    EXPECT_EQ(Parts(L"dir.x\\"), L"|dir.x\\||");
}

TEST(PathTest, ASlashSeparatesHereToo)
{
    EXPECT_EQ(Parts(L"/a/b.c"), L"|/a/|b|.c");
    EXPECT_EQ(Parts(L"C:/a\\b/c"), L"C:|/a\\b/|c|");
}

TEST(PathTest, ShortPathsAreTakenApartWithoutReadingBehindThem)
{
    EXPECT_EQ(Parts(L""), L"|||");
    EXPECT_EQ(Parts(L"a"), L"||a|");
    EXPECT_EQ(Parts(L"."), L"|||.");
    EXPECT_EQ(Parts(L"\\"), L"|\\||");
    EXPECT_EQ(Parts(L":"), L"||:|");
    EXPECT_EQ(Parts(L"C:"), L"C:|||");
    EXPECT_EQ(Parts(L"::"), L"::|||");
    EXPECT_EQ(Parts(L"\\\\\\//"), L"|\\\\\\//||");
    const TCHAR nothingButZero[2] = {0, L':'};
    TCHAR drive[3];
    _tsplitpath(nothingButZero, drive, nullptr, nullptr, nullptr);
    EXPECT_STREQ(drive, L"");
}

TEST(PathTest, EachOutputMayBeNull)
{
    TCHAR part[256];
    _tsplitpath(L"C:\\a\\b.c", nullptr, nullptr, nullptr, nullptr);
    _tsplitpath(L"C:\\a\\b.c", part, nullptr, nullptr, nullptr);
    EXPECT_STREQ(part, L"C:");
    _tsplitpath(L"C:\\a\\b.c", nullptr, part, nullptr, nullptr);
    EXPECT_STREQ(part, L"\\a\\");
    _tsplitpath(L"C:\\a\\b.c", nullptr, nullptr, part, nullptr);
    EXPECT_STREQ(part, L"b");
    _tsplitpath(L"C:\\a\\b.c", nullptr, nullptr, nullptr, part);
    EXPECT_STREQ(part, L".c");
    _tsplitpath(nullptr, nullptr, nullptr, part, nullptr);
    EXPECT_STREQ(part, L"");
}

TEST(PathTest, ComponentsAreCutAt255Characters)
{
    for (size_t length : {255, 256, 32767}) {
        SCOPED_TRACE(length);
        const std::wstring expected(255, L'x');
        EXPECT_EQ(Parts(std::wstring(length, L'x')), L"||" + expected + L"|");
        EXPECT_EQ(Parts(L"n." + std::wstring(length - 1, L'x')), L"||n|." + std::wstring(254, L'x'));
        EXPECT_EQ(Parts(std::wstring(length - 1, L'x') + L"\\n"),
                  L"|" + (length == 255 ? std::wstring(254, L'x') + L"\\" : expected) + L"|n|");
    }
}

// numparse_test.cpp has the two headers in the other order.
TEST(PathTest, TheLibrarysNamesWinWhenTheCLibrarysComeFirst)
{
    ExpectTheLibrarysNames();
}

TEST(PathTest, TheCLibrarysFunctionStaysUnderItsOwnName)
{
    TCHAR drive[3], dir[256], name[256], ext[256];
    ::_wsplitpath(L"C:\\a\\b.c", drive, dir, name, ext);
    EXPECT_STREQ(name, L"b");
}

TEST(PathTest, TheWayFromOneFileToAnother)
{
    EXPECT_EQ(Relative(L"\\a\\b\\f.txt", L"\\a\\c\\g.txt"), L"..\\c\\g.txt");
    EXPECT_EQ(Relative(L"\\a\\b\\f.txt", L"\\a\\b\\g.txt"), L"g.txt");
    EXPECT_EQ(Relative(L"\\a\\b\\f.txt", L"\\g.txt"), L"..\\..\\g.txt");
    EXPECT_EQ(Relative(L"\\f.txt", L"\\a\\b\\g.txt"), L"a\\b\\g.txt");
    EXPECT_EQ(Relative(L"C:\\a\\f", L"C:\\b\\g"), L"..\\b\\g");
    EXPECT_EQ(Relative(L"\\a\\b\\", L"\\a\\b\\"), L"");
}

TEST(PathTest, DifferentDrivesHaveNoWay)
{
    EXPECT_EQ(Relative(L"C:\\a\\f", L"D:\\a\\g"), L"0 untouched");
    EXPECT_EQ(Relative(L"C:\\a\\f", L"c:\\a\\g"), L"0 untouched");
    EXPECT_EQ(Relative(L"C:\\a\\f", L"\\a\\g"), L"0 untouched");
    EXPECT_EQ(Relative(L" :f", L":f"), L"0 untouched");
}

TEST(PathTest, FoldersCompareWithCase)
{
    EXPECT_EQ(Relative(L"\\Maps\\f", L"\\maps\\g"), L"..\\maps\\g");
}

TEST(PathTest, TheEmptyFolderBeforeALeadingSeparatorCounts)
{
    EXPECT_EQ(Relative(L"\\a\\f", L"a\\g"), L"..\\..\\a\\g");
    EXPECT_EQ(Relative(L"a\\f", L"\\a\\g"), L"..\\\\a\\g");
    EXPECT_EQ(Relative(L"\\a\\\\b\\f", L"\\a\\g"), L"..\\..\\g");
}

TEST(PathTest, FoldersAreTrimmedOfBlanksAndASlashDoesNotSeparateThem)
{
    EXPECT_EQ(Relative(L"\\a \\f", L"\\ a\\g"), L"g");
    EXPECT_EQ(Relative(L"\\a/b\\f", L"\\a\\b\\g"), L"..\\a\\b\\g");
    EXPECT_EQ(Relative(L"/a/f", L"/a/g"), L"g");
}

TEST(PathTest, ARelativePathIsBuiltUpAgain)
{
    EXPECT_EQ(Full(L"\\a\\b\\f.txt", L"..\\c\\g.txt"), L"\\a\\c\\g.txt");
    EXPECT_EQ(Full(L"\\a\\b\\f.txt", L"g.txt"), L"\\a\\b\\g.txt");
    EXPECT_EQ(Full(L"C:\\a\\b\\f.txt", L"..\\g.txt"), L"C:\\a\\g.txt");
    EXPECT_EQ(Full(L"f.txt", L"g.txt"), L"g.txt");
    EXPECT_EQ(Full(L"\\a\\b\\f.txt", L""), L"\\a\\b\\");
    EXPECT_EQ(Full(L" :\\a\\f", L"g"), L" :\\a\\g") << "a drive is only trimmed to be looked at";
}

TEST(PathTest, AnAbsolutePathIsReturnedAsItIs)
{
    EXPECT_EQ(Full(L"\\a\\b\\f.txt", L"\\x\\y.txt"), L"\\x\\y.txt");
    EXPECT_EQ(Full(L"\\a\\b\\f.txt", L"D:y.txt"), L"D:y.txt");
    EXPECT_EQ(Full(L"C:\\a\\b\\f.txt", L"C:\\..\\y.txt"), L"C:\\..\\y.txt");
    EXPECT_EQ(Full(L"\\a\\f", L" \\x\\y"), L" \\x\\y");
    EXPECT_EQ(Full(L"\\a\\f", L" :y"), L" :y");
}

TEST(PathTest, OnlyLeadingDoubleDotsGoUp)
{
    EXPECT_EQ(Full(L"\\a\\b\\f", L"..\\..\\g"), L"\\g");
    EXPECT_EQ(Full(L"\\a\\b\\f", L"c\\..\\g"), L"\\a\\b\\c\\..\\g");
    EXPECT_EQ(Full(L"\\a\\b\\f", L".\\y.txt"), L"\\a\\b\\.\\y.txt");
    EXPECT_EQ(Full(L"\\a\\b\\f", L".\\..\\g"), L"\\a\\b\\.\\..\\g");
    EXPECT_EQ(Full(L"\\a\\b\\f", L".."), L"\\a\\b\\..");
}

TEST(PathTest, GoingUpTakesTheEmptyFolderOfTheRootTooAndStopsThere)
{
    EXPECT_EQ(Full(L"C:\\a\\f", L"..\\..\\g"), L"C:g");
    EXPECT_EQ(Full(L"C:\\a\\f", L"..\\..\\..\\..\\x\\g"), L"C:x\\g");
    EXPECT_EQ(Full(L"f", L"..\\g"), L"g");
}

TEST(PathTest, BuildingAndTheWayAgree)
{
    for (const wchar_t* target : {L"\\a\\c\\g.txt", L"\\g.txt", L"\\a\\b\\c\\d\\g", L"\\a\\b\\g.tar.gz"}) {
        EXPECT_EQ(Full(L"\\a\\b\\f.txt", Relative(L"\\a\\b\\f.txt", target).c_str()), target);
    }
}

TEST(PathTest, OddPathsAreSafeInBothDirections)
{
    const std::wstring longName(32767, L'x');
    std::wstring deep;
    while (deep.size() < 32767) deep += L"ab\\";
    const std::wstring paths[] = {L"",
                                  L"x",
                                  L"\\",
                                  L"\\\\\\\\",
                                  L"////",
                                  L"C:",
                                  L"C:\\",
                                  L":",
                                  L"..",
                                  L"..\\",
                                  L".",
                                  L" ",
                                  L" \\ \\ ",
                                  std::wstring(255, L'x'),
                                  std::wstring(256, L'x'),
                                  longName,
                                  deep,
                                  std::wstring(32767, L'\\')};
    for (const std::wstring& base : paths) {
        for (const std::wstring& other : paths) {
            CString way(L"untouched"), whole;
            if (!getRelPath(base.c_str(), other.c_str(), way)) {
                EXPECT_TRUE(way == L"untouched");
            }
            EXPECT_EQ(buildFullPath(base.c_str(), other.c_str(), whole), 1);
        }
    }
    EXPECT_EQ(Full(L"\\a\\f", longName.c_str()), L"\\a\\" + std::wstring(255, L'x'));
}

TEST(PathTest, TheResultMayBeOneOfTheArguments)
{
    CString path(L"\\a\\b\\f.txt");
    buildFullPath(path, L"..\\g", path);
    EXPECT_TRUE(path == L"\\a\\g");
    getRelPath(path, L"\\h", path);
    EXPECT_TRUE(path == L"..\\h");
}

TEST(PathTest, AppendingPutsOneSeparatorBetweenUnlessThereIsOne)
{
    EXPECT_EQ(Appended(L"a", L"b"), L"a\\b");
    EXPECT_EQ(Appended(L"a\\", L"b"), L"a\\b");
    EXPECT_EQ(Appended(L"a", L"\\b"), L"a\\b");
    EXPECT_EQ(Appended(L"a\\", L"\\b"), L"a\\\\b");
    EXPECT_EQ(Appended(L"", L"b"), L"\\b");
    EXPECT_EQ(Appended(L"a", L""), L"a\\");
    EXPECT_EQ(Appended(L"", L""), L"\\");
    EXPECT_EQ(Appended(L"\\", L""), L"\\");
    EXPECT_EQ(Appended(L"a/", L"b"), L"a/\\b");
}

TEST(PathTest, APathCanBeAppendedToItself)
{
    CString path(L"a");
    CUtil::AppendPath(path, path);
    EXPECT_TRUE(path == L"a\\a");
    CUtil::AppendPath(path, static_cast<LPCTSTR>(path) + 2);
    EXPECT_TRUE(path == L"a\\a\\a");
    CUtil::AppendPath(path, static_cast<const TCHAR*>(nullptr));
    EXPECT_TRUE(path == L"a\\a\\a\\");
}

// The samples in base/path.h.
TEST(PathTest, TheSamplesOfTheHeaderGiveWhatTheySay)
{
    TCHAR drive[3], dir[256], name[256], ext[256];
    _tsplitpath(L"C:\\maps\\city.idx", drive, dir, name, ext); // "C:", "\maps\", "city", ".idx"
    EXPECT_STREQ(drive, L"C:");
    EXPECT_STREQ(dir, L"\\maps\\");

    CString shorter, whole, file(L"\\maps");
    if (!getRelPath(L"\\maps\\index.txt", L"\\sounds\\bell.wav", shorter)) return; // "..\sounds\bell.wav"
    buildFullPath(L"\\maps\\index.txt", shorter, whole);                           // "\sounds\bell.wav"
    CUtil::AppendPath(file, L"city.idx");                                          // "\maps\city.idx"
    EXPECT_TRUE(shorter == L"..\\sounds\\bell.wav");
    EXPECT_TRUE(whole == L"\\sounds\\bell.wav");
    EXPECT_TRUE(file == L"\\maps\\city.idx");
}
