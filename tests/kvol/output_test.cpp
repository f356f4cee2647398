#include "kvol_process.h"

#include "output.h"
#include "sqlite_source.h"

#include <cstdint>

using kvol::ProgressLine;

namespace {

using KvolOutputTest = KvolTest;

std::string Bar(size_t filled)
{
    return "x [" + std::string(filled, '#') + std::string(40 - filled, '.') + "] ";
}

} // namespace

TEST_F(KvolOutputTest, TheBarIsAsFullAsTheJobIsDone)
{
    EXPECT_EQ(Bar(0) + "0 of 10", ProgressLine("x", 0, 10));
    EXPECT_EQ(Bar(20) + "5 of 10", ProgressLine("x", 5, 10));
    EXPECT_EQ(Bar(39) + "9,999 of 10,000", ProgressLine("x", 9999, 10000));
    EXPECT_EQ(Bar(40) + "10 of 10", ProgressLine("x", 10, 10));
    EXPECT_EQ(Bar(20) + "2,000,000,000 of 4,000,000,000", ProgressLine("x", 2000000000, 4000000000));
}

TEST_F(KvolOutputTest, TheBarIsFullWhenMoreIsDoneThanThereWasToBe)
{
    EXPECT_EQ(Bar(0) + "0 of 0", ProgressLine("x", 0, 0));
    EXPECT_EQ(Bar(40) + "1 of 1", ProgressLine("x", 1, 0));
    EXPECT_EQ(Bar(40) + "65,535 of 65,535", ProgressLine("x", 65535, 1));
    EXPECT_EQ(Bar(40) + "4,294,967,295 of 4,294,967,295", ProgressLine("x", SIZE_MAX, 7));
}

TEST_F(KvolOutputTest, TheRowsOfASqliteFileAreCountedWhoeverWroteIt)
{
    Import("t", "a\n1\n2\n3\n", {"--index", "ByA=a"});
    const std::string file = Path("x.sqlite");
    ASSERT_EQ(0u, Kvol({"export", Volume(), file}).code);
    kvol::CSqliteSource source(file);
    const std::vector<kvol::SqlTable> tables = source.Tables();
    ASSERT_EQ(1u, tables.size());
    EXPECT_TRUE(tables[0].bOurs);
    EXPECT_EQ(3u, tables[0].nRows);
}

TEST_F(KvolOutputTest, ACommandOnAConsoleDrawsItsBarAndIsDone)
{
    // Enough for several drawings, of which there are ten a second.
    std::string csv = "a,b,c,d\n";
    for (int i = 0; i < 60000; ++i) {
        const std::string number = std::to_string(i);
        csv += number + ",text " + number + ",more of " + number + "," + std::to_string(i % 1000) + "\n";
    }
    const std::string second = Path("second.vol");
    EXPECT_EQ(0u, KvolOnConsole({"import", Volume(), "t", Write("t.csv", csv), "--index", "ByA=a", "--index",
                                 "ByB=b,nocase", "--index", "ByC=c,desc", "--index", "ByD=d"}));
    EXPECT_EQ(0u, KvolOnConsole({"export", Volume(), Path("x.sqlite")}));
    EXPECT_EQ(0u, KvolOnConsole({"import", second, Path("x.sqlite")}));
    EXPECT_EQ(0u, KvolOnConsole({"check", second}));
    EXPECT_EQ("t\t4\t4\t60000\n", Kvol({"tables", second}).out);
}
