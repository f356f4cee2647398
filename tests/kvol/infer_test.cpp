#include "infer.h"

#include "value.h"

#include <gtest/gtest.h>

using namespace kvol;

namespace {

// The type of a one-column file of these cells, with "days" behind it for a field of days.
std::string TypeOf(const Source& source)
{
    const ColumnType type = InferType(source, 0);
    return TypeName(type.wType) + (type.wType == CEVT_FILETIME && type.odbc == kOdbcDate ? " days" : "");
}

std::string CsvType(const std::vector<const char*>& cells)
{
    std::string file = "c\n";
    for (const char* pszCell : cells) file += std::string(pszCell) + "\n";
    return TypeOf(ReadCsv("f.csv", file));
}

std::string JsonType(const std::string& cells)
{
    std::string file = "[{\"c\":null}";
    size_t start = 0;
    for (size_t end = 0; end != std::string::npos; start = end + 1) {
        end = cells.find(' ', start);
        file += ",{\"c\":" + cells.substr(start, end == std::string::npos ? end : end - start) + "}";
    }
    return TypeOf(ReadJson("f.json", file + "]"));
}

} // namespace

TEST(KvolInferTest, ACsvColumnGetsATypeThatWritesItBackAsItIs)
{
    static const struct
    {
        const char* pszWhy;
        std::vector<const char*> cells;
        const char* pszType;
    } kCases[] = {
        {"whole numbers", {"1", "-2", "2147483647"}, "I4"},
        {"and absent ones", {"1", "", "3"}, "I4"},
        {"beyond I4", {"1", "4294967295"}, "UI4"},
        {"beyond I4 and negative", {"-1", "4294967295"}, "R8"},
        {"beyond UI4, exact as R8", {"12345678901"}, "R8"},
        {"beyond what R8 holds exactly", {"12345678901234567890"}, "LPWSTR"},
        {"leading zeros", {"1", "007"}, "LPWSTR"},
        {"plus sign", {"+5"}, "LPWSTR"},
        {"fraction", {"1.5", "2"}, "R8"},
        {"zero at the end of a fraction", {"1.50"}, "LPWSTR"},
        {"exponent", {"1e3"}, "LPWSTR"},
        {"exponent as written", {"1e+21"}, "R8"},
        {"negative zero", {"-0"}, "R8"},
        {"more digits than a double has", {"0.12345678901234567890"}, "LPWSTR"},
        {"no number", {"1", "x"}, "LPWSTR"},
        {"infinity is a word", {"inf"}, "LPWSTR"},
        {"blanks", {" 1"}, "LPWSTR"},
        {"truth values", {"true", "false", ""}, "BOOL"},
        {"other spellings of them", {"true", "FALSE"}, "LPWSTR"},
        {"truth values and numbers", {"true", "1"}, "LPWSTR"},
        {"days", {"2004-03-05", "2024-02-29"}, "FILETIME days"},
        {"times", {"2004-03-05T14:07:09Z", "2004-03-05T00:00:00Z"}, "FILETIME"},
        {"days and times", {"2004-03-05", "2004-03-05T14:07:09Z"}, "LPWSTR"},
        {"milliseconds", {"2004-03-05T14:07:09.123Z"}, "LPWSTR"},
        {"no such day", {"2004-02-30"}, "LPWSTR"},
        {"nothing at all", {"", ""}, "LPWSTR"},
        {"no rows", {}, "LPWSTR"},
        {"an empty text among numbers", {"1", "\"\""}, "LPWSTR"},
        {"quoted numbers are numbers", {"\"1\"", "2"}, "I4"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        EXPECT_EQ(c.pszType, CsvType(c.cells));
    }
}

TEST(KvolInferTest, AJsonColumnGoesByTheKindOfItsValues)
{
    static constexpr struct
    {
        const char* pszWhy;
        const char* pszCells;
        const char* pszType;
    } kCases[] = {
        {"whole numbers", "1 -2", "I4"},
        {"beyond I4", "4294967295", "UI4"},
        {"fractions however spelt", "1.50 2e3 7", "R8"},
        {"a whole number that R8 cannot hold", "12345678901234567890", "LPWSTR"},
        {"truth values", "true false", "BOOL"},
        {"texts that look like numbers", "\"1\" \"2\"", "LPWSTR"},
        {"texts that look like truth values", "\"true\"", "LPWSTR"},
        {"texts that are days", "\"2004-03-05\"", "FILETIME days"},
        {"texts and numbers", "\"a\" 1", "LPWSTR"},
        {"truth values and numbers", "true 1", "LPWSTR"},
        {"nulls", "null", "LPWSTR"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        EXPECT_EQ(c.pszType, JsonType(c.pszCells));
    }
}

TEST(KvolInferTest, TheTypeSaysHowTheFieldIsListed)
{
    const Source source = ReadCsv("f.csv", "a,b,c\n1,x,1.5\n");
    EXPECT_EQ(kOdbcInteger, InferType(source, 0).odbc);
    EXPECT_EQ(kOdbcVarchar, InferType(source, 1).odbc);
    EXPECT_EQ(kOdbcDouble, InferType(source, 2).odbc);
}
