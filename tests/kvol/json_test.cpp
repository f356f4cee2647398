#include "failure.h"
#include "source.h"

#include <gtest/gtest.h>

using namespace kvol;

namespace {

std::string Read(std::string_view bytes)
{
    const Source source = ReadJson("f.json", bytes);
    std::string out;
    for (const std::string& column : source.columns) out += column + " ";
    out += "\n";
    for (const Row& row : source.rows) {
        for (const Cell& cell : row.cells) {
            static constexpr const char* kOpen[] = {"-", "\"", "#", "?"};
            out += kOpen[static_cast<int>(cell.kind)] + cell.text + " ";
        }
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

TEST(KvolJsonTest, RecordsAreReadFromAnArrayOfFlatObjects)
{
    static constexpr struct
    {
        const char* pszWhy;
        const char* pszFile;
        const char* pszCells;
    } kCases[] = {
        {"kinds", R"([{"t":"x","n":1,"b":true,"z":null}])", "t n b z \n\"x #1 ?true - \n"},
        {"columns in the order of their first coming", R"([{"z":1},{"a":2,"z":3}])", "z a \n#1 - \n#3 #2 \n"},
        {"empty array", "[]", "\n"},
        {"empty object", R"([{"a":1},{}])", "a \n#1 \n- \n"},
        {"empty text is no absent value", R"([{"a":""}])", "a \n\" \n"},
        {"escapes", R"([{"a":"\u00e4\n\ud83c\udde6"}])", "a \n\"\xC3\xA4\n\xF0\x9F\x87\xA6 \n"},
        {"numbers keep their digits", R"([{"a":1.50,"b":-7,"c":18446744073709551615,"d":1E3}])",
         "a b c d \n#1.50 #-7 #18446744073709551615 #1E3 \n"},
        {"the array in an object", R"({"3166-1":[{"a":1}]})", "a \n#1 \n"},
        {"other members of that object", R"({"v":"1.0","n":{"x":[1]},"rows":[{"a":1}],"k":2})", "a \n#1 \n"},
        {"byte order mark", "\xEF\xBB\xBF[{\"a\":1}]", "a \n#1 \n"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        EXPECT_EQ(c.pszCells, Read(c.pszFile));
    }
}

TEST(KvolJsonTest, AnErrorNamesRowAndColumn)
{
    EXPECT_TRUE(Has(Error(R"([{"a":1},{"a":[1]}])"), "f.json: row 2, column 1 \"a\": an array"));
    EXPECT_TRUE(Has(Error(R"([{"a":1,"b":{"c":1}}])"), "f.json: row 1, column 2 \"b\": an object"));
    EXPECT_TRUE(Has(Error(R"([{"a":1,"a":2}])"), "row 1, column 1 \"a\": the record has this member twice"));
    EXPECT_TRUE(Has(Error(R"([{"a":1},5])"), "f.json: row 2 is not an object"));
    EXPECT_TRUE(Has(Error(R"([[1]])"), "f.json: row 1 is not an object"));
    EXPECT_TRUE(Has(Error(R"("text")"), "f.json: it has to be an array"));
    EXPECT_TRUE(Has(Error(R"({"a":1})"), "f.json: it has to be an array"));
    EXPECT_TRUE(Has(Error(R"({"a":[],"b":[]})"), "more than one array"));
    EXPECT_TRUE(Has(Error(""), "f.json: "));
    EXPECT_TRUE(Has(Error("[{\"a\":1},\n{\"a\" 2}]"), "row 2"));
    EXPECT_TRUE(Has(Error("[{\"a\":1},\n{\"a\" 2}]"), "line 2"));
    EXPECT_TRUE(Has(Error("[{\"a\":\"\\ud800\"}]"), "surrogate"));
    EXPECT_NE("no error", Error("[{\"a\":\"\xFF\"}]"));
    EXPECT_NE("no error", Error("[{\"a\":1}"));
    EXPECT_NE("no error", Error("[{\"a\":1}] x"));
}

TEST(KvolJsonTest, AMemberTwiceIsFoundInEveryRow)
{
    EXPECT_TRUE(Has(Error(R"([{"a":1},{"a":1},{"b":1,"a":2,"a":3}])"), "row 3, column 1"));
    EXPECT_EQ("no error", Error(R"([{"a":1},{"b":1},{"a":2,"b":3}])"));
}

TEST(KvolJsonTest, DeepNestingIsRefusedAtItsFirstLevel)
{
    EXPECT_TRUE(Has(Error("[{\"a\":" + std::string(100000, '[')), "row 1, column 1"));
    EXPECT_NE("no error", Error("{\"a\":" + std::string(100000, '{')));
}

TEST(KvolJsonTest, TheRowThatIsOneTooManyIsNamed)
{
    std::string file = "[{\"a\":1}";
    for (size_t i = 1; i < kMostRecords; ++i) file += ",{\"a\":1}";
    EXPECT_EQ(kMostRecords, ReadJson("f.json", file + "]").rows.size());
    EXPECT_EQ("f.json: row 65536: a table holds at most 65,535 records", Error(file + ",{\"a\":1}]"));
}
