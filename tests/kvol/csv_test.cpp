#include "failure.h"
#include "source.h"

#include <gtest/gtest.h>

using namespace kvol;

namespace {

// The cells of a file as one text: cells in brackets, absent ones as -, a row a line.
std::string Read(std::string_view bytes)
{
    const Source source = ReadCsv("f.csv", bytes);
    std::string out;
    for (const Row& row : source.rows) {
        for (const Cell& cell : row.cells) out += cell.kind == Cell::Kind::Absent ? "-" : "[" + cell.text + "]";
        out += "\n";
    }
    return out;
}

std::string Error(std::string_view bytes)
{
    try {
        Read(bytes);
    } catch (const CFailure& failure) {
        return failure.what();
    }
    return "no error";
}

bool Has(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}

} // namespace

TEST(KvolCsvTest, CellsAreReadAsTheStandardSays)
{
    static constexpr struct
    {
        const char* pszWhy;
        const char* pszFile;
        const char* pszCells;
    } kCases[] = {
        {"line feeds", "a,b\n1,2\n3,4\n", "[1][2]\n[3][4]\n"},
        {"carriage returns and line feeds", "a,b\r\n1,2\r\n", "[1][2]\n"},
        {"both in one file", "a,b\r\n1,2\n3,4\r\n", "[1][2]\n[3][4]\n"},
        {"no line end at the end", "a,b\n1,2", "[1][2]\n"},
        {"a header alone", "a,b\n", ""},
        {"a header without a line end", "a", ""},
        {"byte order mark",
         "\xEF\xBB\xBF"
         "a\n1\n",
         "[1]\n"},
        {"empty cell is absent, quoted empty one is a text", "a,b,c\n,\"\",\n", "-[]-\n"},
        {"quoted comma", "a,b\n\"1,2\",3\n", "[1,2][3]\n"},
        {"quoted quote", "a\n\"say \"\"x\"\"\"\n", "[say \"x\"]\n"},
        {"only a quote", "a\n\"\"\"\"\n", "[\"]\n"},
        {"quoted line feed", "a,b\n\"1\n2\",3\n", "[1\n2][3]\n"},
        {"quoted carriage return and line feed stay", "a\n\"1\r\n2\"\n", "[1\r\n2]\n"},
        {"quoted lone carriage return", "a\n\"1\r2\"\n", "[1\r2]\n"},
        {"blanks belong to the cell", "a,b\n 1 , 2\n", "[ 1 ][ 2]\n"},
        {"empty line of one column is an absent value", "a\n1\n\n2\n", "[1]\n-\n[2]\n"},
        {"Unicode", "a\n\xF0\x9F\x87\xA6\xF0\x9F\x87\xBC \xC3\xA4\n", "[\xF0\x9F\x87\xA6\xF0\x9F\x87\xBC \xC3\xA4]\n"},
        {"quoted at the end of the file", "a\n\"x\"", "[x]\n"},
        {"comma at the end of the file", "a,b\n1,", "[1]-\n"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        EXPECT_EQ(c.pszCells, Read(c.pszFile));
    }
}

TEST(KvolCsvTest, TheHeaderNamesTheColumns)
{
    const Source source = ReadCsv("f.csv", "plain,\"with, comma\",\"\",\n");
    EXPECT_EQ((std::vector<std::string>{"plain", "with, comma", "", ""}), source.columns);
    EXPECT_FALSE(source.bJson);
}

TEST(KvolCsvTest, AnErrorNamesRowLineAndColumn)
{
    EXPECT_EQ("f.csv: row 2 (line 3), column 2 \"b\": the row has 1 cell, the header 2", Error("a,b\n1,2\n3\n"));
    EXPECT_TRUE(Has(Error("a,b\n1,2,3\n"), "f.csv: row 1 (line 2), column 3: the row has 3 cells, the header 2"));
    EXPECT_TRUE(Has(Error("a,b\n\n"), "row 1 (line 2), column 2 \"b\""));
    EXPECT_TRUE(Has(Error("a,b\n1,x\"y\n"), "row 1 (line 2), column 2 \"b\": a quote"));
    EXPECT_TRUE(Has(Error("a,b\n\"1\"x,2\n"), "row 1 (line 2), column 1 \"a\": text follows"));
    EXPECT_TRUE(Has(Error("a,b\n1,2\n3,\"4\n"), "row 2 (line 3), column 2 \"b\": the quote that opens"));
    EXPECT_TRUE(Has(Error("a,b\n1,2\r3\n"), "row 1 (line 2), column 2 \"b\": a carriage return"));
    EXPECT_TRUE(Has(Error("a,b\n\xE9,2\n"), "row 1 (line 2), column 1 \"a\""));
    EXPECT_TRUE(Has(Error("a,b\"\n"), "header (line 1), column 2"));
    EXPECT_TRUE(Has(Error(""), "f.csv: the file is empty"));
    EXPECT_TRUE(Has(Error("\xEF\xBB\xBF"), "f.csv: the file is empty"));
}

TEST(KvolCsvTest, LinesAreCountedThroughQuotedLineEnds)
{
    EXPECT_TRUE(Has(Error("a,b\n\"1\n1\n1\",2\n3\n"), "row 2 (line 5)"));
}

TEST(KvolCsvTest, TheRowThatIsOneTooManyIsNamed)
{
    std::string file = "a\n";
    for (size_t i = 0; i < kMostRecords; ++i) file += "1\n";
    EXPECT_EQ(kMostRecords, ReadCsv("f.csv", file).rows.size());
    EXPECT_EQ("f.csv: row 65536 (line 65537): a table holds at most 65,535 records", Error(file + "1\n"));
}

TEST(KvolCsvTest, CellsAreQuotedOnlyWhereTheyHaveToBe)
{
    static constexpr struct
    {
        const char* pszText;
        const char* pszCell;
    } kCases[] = {
        {"x", "x"},         {" x ", " x "},       {"", "\"\""},         {"a,b", "\"a,b\""},   {"a\"b", "\"a\"\"b\""},
        {"\"", "\"\"\"\""}, {"a\nb", "\"a\nb\""}, {"a\rb", "\"a\rb\""}, {"a;b\tc", "a;b\tc"},
    };
    for (const auto& c : kCases) {
        EXPECT_EQ(c.pszCell, CsvCell(false, c.pszText));
        EXPECT_EQ(std::string("[") + c.pszText + "]\n", Read(std::string("a\n") + c.pszCell + "\n"));
    }
    EXPECT_EQ("", CsvCell(true, ""));
}
