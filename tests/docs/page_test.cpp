#include "page.h"

#include "support/temp_folder.h"

#include <cstring>
#include <vector>

namespace {

std::vector<std::string> Lines(const std::string& text)
{
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\n')
            lines.emplace_back();
        else if (c != '\r')
            lines.back() += c;
    }
    while (!lines.empty() && lines.back().empty()) lines.pop_back();
    return lines;
}

bool LineShowsAs(const char* line, const char* shown)
{
    for (; *shown; ++line, ++shown) {
        if (std::strncmp(shown, "...", 3) == 0) {
            for (;; ++line) {
                if (LineShowsAs(line, shown + 3)) return true;
                if (!*line) return false;
            }
        }
        if (*line != *shown) return false;
    }
    return !*line;
}

bool LinesShowAs(const std::vector<std::string>& lines, size_t i, const std::vector<std::string>& shown, size_t j)
{
    for (; j < shown.size(); ++i, ++j) {
        if (shown[j] == "...") {
            for (; i <= lines.size(); ++i) {
                if (LinesShowAs(lines, i, shown, j + 1)) return true;
            }
            return false;
        }
        if (i == lines.size() || !LineShowsAs(lines[i].c_str(), shown[j].c_str())) return false;
    }
    return i == lines.size();
}

// The examples' current folder, with the files of tests/docs/data. What they keep in the registry, and the log that they open, is gone afterwards.
class CPlace
{
public:
    CPlace()
    {
        ::GetCurrentDirectoryW(MAX_PATH, m_before);
        for (const wchar_t* name : {L"boat.png", L"boat.ico"}) {
            ::CopyFileW((std::wstring(DOCS_DATA L"/") + name).c_str(), m_folder.File(name).c_str(), TRUE);
        }
        ::SetCurrentDirectoryW(m_folder.Path().c_str());
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
    }
    ~CPlace()
    {
        delete theLogStream;
        DeInitLib();
        gErrHRESULT = 0;
        ::RegDeleteTreeW(HKEY_CURRENT_USER, kKey);
        ::SetCurrentDirectoryW(m_before);
    }

private:
    static constexpr wchar_t kKey[] = L"Software\\Harbour";
    CTempFolder m_folder;
    wchar_t m_before[MAX_PATH] = L"";
};

} // namespace

bool ShowsAs(const std::string& text, const std::string& shown)
{
    return LinesShowAs(Lines(text), 0, Lines(shown), 0);
}

void CPage::Expect(int line, const char* shown)
{
    std::fflush(stdout);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_TRUE(ShowsAs(printed, shown)) << "the example in line " << line << " printed\n" << printed;
    testing::internal::CaptureStdout();
}

void RunPage(void (*page)(CPage&))
{
    const CPlace place;
    CPage run;
    testing::internal::CaptureStdout();
    page(run);
    EXPECT_EQ("", testing::internal::GetCapturedStdout());
    EXPECT_TRUE(run.IsFinished()) << "an example has returned early";
    EXPECT_EQ(0, gErrHRESULT);
}

// What stands in the file, line by line, behind the first line.
static std::string BehindFirstLine(const char* path)
{
    std::ifstream file(path);
    std::string text;
    std::getline(file, text);
    std::getline(file, text, '\0');
    return text;
}

TEST(ReadmeTest, ItsProgramIsTheSmallestSample)
{
    // In front of it: a #line, and the sample's word on itself.
    const std::string shown = BehindFirstLine(README_PROGRAM);
    EXPECT_FALSE(shown.empty());
    EXPECT_EQ(BehindFirstLine(SMALLEST_SAMPLE), shown);
}

TEST(ShownTest, TextIsComparedWhole)
{
    EXPECT_TRUE(ShowsAs("one\r\ntwo\r\n", "one\ntwo\n"));
    EXPECT_FALSE(ShowsAs("one\ntwo\n", "one\n"));
    EXPECT_FALSE(ShowsAs("one\n", "one\ntwo\n"));
    EXPECT_FALSE(ShowsAs("one more\n", "one\n"));
    EXPECT_FALSE(ShowsAs("", "one\n"));
}

TEST(ShownTest, ThreeDotsStandForWhatVaries)
{
    EXPECT_TRUE(ShowsAs("took 12 ms in all\n", "took ... ms in all\n"));
    EXPECT_FALSE(ShowsAs("took 12 s in all\n", "took ... ms in all\n"));
    EXPECT_TRUE(ShowsAs("one\ntwo\nthree\nfour\n", "one\n...\nfour\n"));
    EXPECT_TRUE(ShowsAs("one\nfour\n", "one\n...\nfour\n"));
    EXPECT_FALSE(ShowsAs("one\ntwo\nthree\n", "one\n...\nfour\n"));
}
