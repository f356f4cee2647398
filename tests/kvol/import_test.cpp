#include "kvol_process.h"

#include "text.h"

namespace {

class KvolImportTest : public KvolTest
{
protected:
    // Imports into a new volume, which has to fail with the part of a message, and to leave no volume.
    void Refused(const std::string& file, const std::string& bytes, const std::vector<std::string>& options,
                 const std::string& part)
    {
        std::vector<std::string> arguments = {"import", Volume(), "t", Write(file, bytes)};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Outcome outcome = Kvol(arguments);
        EXPECT_EQ(1u, outcome.code) << outcome;
        EXPECT_EQ("", outcome.out);
        EXPECT_TRUE(outcome.ErrHas(part)) << outcome;
        EXPECT_FALSE(Exists("test.vol"));
    }
};

std::string Lines(size_t count)
{
    std::string csv = "a\n";
    for (size_t i = 0; i < count; ++i) csv += std::to_string(i) + "\n";
    return csv;
}

} // namespace

TEST_F(KvolImportTest, TheCataloguesHaveTheRecordsThatTheLibraryReads)
{
    Import("cities", "name,population,founded,capital\nBern,134000,1191-01-01,true\n",
           {"--field", "founded:LPWSTR", "--index", "ByName=name,nocase", "--index", "BySize=population,desc"});
    CMounted volume(Volume());
    const std::string oid = std::to_string(volume.DatabaseOid(L"cities"));
    const auto all = [&](const wchar_t* pszName) {
        std::string text;
        for (const CEOID record : volume.Records(pszName)) text += volume.Get(pszName, record) + "\n";
        return text;
    };
    EXPECT_EQ("0x0000001F=\"cities\" 0x00010003=" + oid + "\n", all(L"MSysTables"));
    EXPECT_EQ("0x00000003=" + oid +
                  " 0x0001001F=\"name\" 0x00020003=31 0x00030002=0 0x00040002=12\n"
                  "0x00000003=" +
                  oid +
                  " 0x0001001F=\"population\" 0x00020003=65539 0x00030002=4 0x00040002=4\n"
                  "0x00000003=" +
                  oid +
                  " 0x0001001F=\"founded\" 0x00020003=131103 0x00030002=0 0x00040002=12\n"
                  "0x00000003=" +
                  oid + " 0x0001001F=\"capital\" 0x00020003=196619 0x00030002=4 0x00040002=-7\n",
              all(L"MSysFields"));
    EXPECT_EQ("0x00000003=" + oid +
                  " 0x0001001F=\"ByName\" 0x00020003=31 0x00030003=2\n"
                  "0x00000003=" +
                  oid + " 0x0001001F=\"BySize\" 0x00020003=65539 0x00030003=1\n",
              all(L"MSysIndexes"));
    CEOIDINFO info = {};
    ASSERT_TRUE(::CeOidGetInfoEx(volume.Guid(), volume.DatabaseOid(L"cities"), &info));
    ASSERT_EQ(2, info.infDatabase.wNumSortOrder);
    EXPECT_EQ(0x0000001Fu, info.infDatabase.rgSortSpecs[0].propid);
    EXPECT_EQ(static_cast<DWORD>(CEDB_SORT_CASEINSENSITIVE), info.infDatabase.rgSortSpecs[0].dwFlags);
    EXPECT_EQ(0x00010003u, info.infDatabase.rgSortSpecs[1].propid);
    EXPECT_EQ(static_cast<DWORD>(CEDB_SORT_DESCENDING), info.infDatabase.rgSortSpecs[1].dwFlags);
}

TEST_F(KvolImportTest, AnAbsentValueIsNoPropertyAndAnEmptyTextIsOne)
{
    Import("t", "a,b\n,x\n\"\",\n");
    CMounted volume(Volume());
    const std::vector<CEOID> records = volume.Records(L"t");
    ASSERT_EQ(2u, records.size());
    EXPECT_EQ("0x0001001F=\"x\"", volume.Get(L"t", records[0]));
    EXPECT_EQ("0x0000001F=\"\"", volume.Get(L"t", records[1]));
}

TEST_F(KvolImportTest, OutputIsOneLineAndThereIsNoProgressBarInAPipe)
{
    const Outcome outcome = Kvol({"import", Volume(), "t", Write("f.csv", Lines(3000))});
    EXPECT_EQ(0u, outcome.code);
    EXPECT_EQ("t: 3,000 records imported from f.csv\n", outcome.out);
    EXPECT_EQ("", outcome.err);
}

TEST_F(KvolImportTest, EveryTypeComesBackByteForByte)
{
    const std::string csv = "i2,ui2,i4,ui4,r8,flag,time,day,text\n"
                            "-32768,65535,-2147483648,4294967295,0.1,true,1601-01-01T00:00:00Z,2004-02-29,plain\n"
                            "32767,0,2147483647,0,-1.5e+300,false,9999-12-31T23:59:59Z,1899-12-30,\"\"\n"
                            ",,,,,,,,x\n";
    Import("t", csv,
           {"--field", "i2:I2", "--field", "ui2:ui2", "--field", "i4:I4", "--field", "ui4:UI4", "--field", "r8:R8",
            "--field", "flag:BOOL", "--field", "time:FILETIME", "--field", "text:LPWSTR"});
    EXPECT_EQ(csv, Dump("t"));
}

TEST_F(KvolImportTest, InferredTypesComeBackByteForByte)
{
    const std::string csv =
        "int,zero,plus,price,exp,word,day,stamp,big,huge,nzero,quoted,uni\n"
        "1,007,+5,1.50,1e3,true,2004-03-05,2004-03-05T00:00:00Z,4294967295,12345678901,-0,\"a,b\",\xC3\xA4\n"
        "-2,7,5,2,1000,TRUE,2004-03-06,2004-03-05T14:07:09Z,0,-1,0.5,\"say "
        "\"\"x\"\"\nand\r\ngo\",\xF0\x9F\x87\xA6\xF0\x9F\x87\xBC\n"
        ",,,,,,,,,,,\"\", blank \n";
    Import("t", csv);
    EXPECT_EQ(csv, Dump("t"));
    const Outcome schema = Kvol({"schema", Volume(), "t"});
    for (const char* pszLine :
         {"int     I4", "zero    LPWSTR", "plus    LPWSTR", "price   LPWSTR", "exp     LPWSTR", "word    LPWSTR",
          "day     FILETIME", "stamp   FILETIME", "big     UI4", "huge    R8", "nzero   R8", "uni     LPWSTR"}) {
        EXPECT_TRUE(schema.OutHas(pszLine)) << pszLine << "\n" << schema;
    }
}

TEST_F(KvolImportTest, CsvMayHaveAByteOrderMarkCarriageReturnsAndNoLastLineEnd)
{
    Import("t", "\xEF\xBB\xBF"
                "a,b\r\n1,x\r\n2,y");
    EXPECT_EQ("a,b\n1,x\n2,y\n", Dump("t"));
}

TEST_F(KvolImportTest, JsonIsReadFromAnArrayAndFromAnObjectAroundOne)
{
    const std::string rows = R"([{"code":"CH","n":756,"x":1.5,"ok":true},{"code":"\ud83c\udde6","gone":null}])";
    ASSERT_EQ(0u, Kvol({"import", Volume(), "plain", Write("plain.json", rows)}).code);
    ASSERT_EQ(0u, Kvol({"import", Volume(), "wrapped", Write("wrapped.JSON", "{\"3166-1\":" + rows + "}")}).code);
    ASSERT_EQ(0u, Kvol({"import", Volume(), "sniffed", Write("data.txt", " \n" + rows)}).code);
    const std::string csv = "code,n,x,ok,gone\nCH,756,1.5,true,\n\xF0\x9F\x87\xA6,,,,\n";
    EXPECT_EQ(csv, Dump("plain"));
    EXPECT_EQ(csv, Dump("wrapped"));
    EXPECT_EQ(csv, Dump("sniffed"));
}

TEST_F(KvolImportTest, NamesMayBeAnyText)
{
    const std::string table = "L\xC3\xA4nder = \xF0\x9F\x87\xA6";
    const std::string file = Write("\xC3\xBC"
                                   ".csv",
                                   "a=b,\"c,desc\"\n1,2\n");
    const Outcome outcome =
        Kvol({"import", Volume(), table, file, "--index", "By \xE2\x82\xAC=c,desc,desc", "--field", "a=b:LPWSTR"});
    ASSERT_EQ(0u, outcome.code) << outcome;
    EXPECT_EQ(table + ": 1 record imported from \xC3\xBC.csv\n", outcome.out);
    EXPECT_EQ(table + "\t2\t1\t1\n", Kvol({"tables", Volume()}).out);
    EXPECT_EQ("a=b,\"c,desc\"\n1,2\n", Dump(table));
    EXPECT_EQ("1 record changed\n", Kvol({"set", Volume(), table, "By \xE2\x82\xAC", "2", "a=b=x=\xE2\x82\xAC"}).out);
    EXPECT_EQ("a=b,\"c,desc\"\nx=\xE2\x82\xAC,2\n", Dump(table));
}

TEST_F(KvolImportTest, AnExistingTableNeedsAppendOrReplace)
{
    Import("t", "a,b\n1,x\n", {"--index", "ByA=a"});
    const Outcome refused = Kvol({"import", Volume(), "t", Write("g.csv", "a,b\n2,y\n")});
    EXPECT_EQ(1u, refused.code);
    EXPECT_TRUE(refused.ErrHas("--append")) << refused;
    EXPECT_TRUE(refused.ErrHas("--replace")) << refused;
    EXPECT_EQ("a,b\n1,x\n", Dump("t"));
}

TEST_F(KvolImportTest, AppendAddsByTheNamesOfTheColumns)
{
    Import("t", "a,b\n1,x\n", {"--index", "ByA=a,desc"});
    Import("t", "b,a\ny,2\n", {"--append"});
    Import("t", "b\nz\n", {"--append"});
    EXPECT_EQ("a,b\n1,x\n2,y\n,z\n", Dump("t"));
    EXPECT_EQ("t\t2\t1\t3\n", Kvol({"tables", Volume()}).out);
    EXPECT_EQ("a,b\n2,y\n1,x\n,z\n", Kvol({"dump", Volume(), "t", "--index", "ByA", "--format", "csv"}).out);
    const Outcome check = Kvol({"check", Volume()});
    EXPECT_EQ(0u, check.code) << check;
}

TEST_F(KvolImportTest, AppendToNothingMakesTheTable)
{
    Import("t", "a\n1\n", {"--append"});
    EXPECT_EQ("a\n1\n", Dump("t"));
}

TEST_F(KvolImportTest, AppendKeepsTheTypesOfTheTable)
{
    Import("t", "a,b\n1,x\n");
    const Outcome wrong = Kvol({"import", Volume(), "t", Write("g.csv", "b,a\ny,2\nz,three\n"), "--append"});
    EXPECT_EQ(1u, wrong.code);
    EXPECT_TRUE(wrong.ErrHas("g.csv: row 2 (line 3), column 2 \"a\": \"three\" is not an I4")) << wrong;
    const Outcome unknown = Kvol({"import", Volume(), "t", Write("g.csv", "a,c\n1,2\n"), "--append"});
    EXPECT_EQ(1u, unknown.code);
    EXPECT_TRUE(unknown.ErrHas("column 2 \"c\"")) << unknown;
    EXPECT_EQ("a,b\n1,x\n", Dump("t"));
}

TEST_F(KvolImportTest, ReplaceMakesTheTableAnewAndLeavesTheOthers)
{
    Import("other", "o\n1\n");
    Import("t", "a,b\n1,x\n2,y\n", {"--index", "ByA=a"});
    Import("t", "c\nz\n", {"--replace", "--index", "ByC=c"});
    EXPECT_EQ("c\nz\n", Dump("t"));
    EXPECT_EQ("o\n1\n", Dump("other"));
    EXPECT_EQ("other\t1\t0\t1\nt\t1\t1\t1\n", Kvol({"tables", Volume()}).out);
    Import("fresh", "f\n1\n", {"--replace"});
    EXPECT_EQ("f\n1\n", Dump("fresh"));
    const Outcome check = Kvol({"check", Volume()});
    EXPECT_EQ(0u, check.code) << check;
    EXPECT_FALSE(check.OutHas("note:")) << check;
}

TEST_F(KvolImportTest, AReplacedTableThatIsOpenSomewhereStaysAsItIs)
{
    Import("t", "a\n1\n");
    {
        CMounted volume(Volume());
        CEOID oid = volume.DatabaseOid(L"t");
        const HANDLE h = ::CeOpenDatabaseEx(volume.Guid(), &oid, nullptr, 0, 0, nullptr);
        const Outcome outcome = Kvol({"import", Volume(), "t", Write("g.csv", "b\n2\n"), "--replace"});
        EXPECT_EQ(1u, outcome.code);
        EXPECT_TRUE(outcome.ErrHas("a program has it open")) << outcome;
        EXPECT_TRUE(::CloseHandle(h));
    }
    EXPECT_EQ("a\n1\n", Dump("t"));
}

TEST_F(KvolImportTest, ReplaceMendsATableWhoseDatabaseIsGone)
{
    Import("t", "a\n1\n", {"--index", "ByA=a"});
    {
        CMounted volume(Volume());
        ASSERT_TRUE(::CeDeleteDatabaseEx(volume.Guid(), volume.DatabaseOid(L"t")));
    }
    EXPECT_EQ(1u, Kvol({"dump", Volume(), "t"}).code);
    Import("t", "b\n2\n", {"--replace"});
    EXPECT_EQ("b\n2\n", Dump("t"));
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolImportTest, AColumnOfDaysStaysOneWhenItsTypeIsGiven)
{
    Import("t", "day,mixed\n2004-03-05,2004-03-05\n2004-03-06,2004-03-06T12:00:00Z\n",
           {"--field", "day:FILETIME", "--field", "mixed:FILETIME"});
    EXPECT_EQ("day,mixed\n2004-03-05,2004-03-05T00:00:00Z\n2004-03-06,2004-03-06T12:00:00Z\n", Dump("t"));
}

TEST_F(KvolImportTest, AFailingReplaceKeepsTheOldTable)
{
    Import("t", "a,b\n1,x\n2,y\n", {"--index", "ByA=a"});
    const Outcome outcome =
        Kvol({"import", Volume(), "t", Write("g.csv", "a\n1\nx\n"), "--replace", "--field", "a:I4"});
    EXPECT_EQ(1u, outcome.code);
    EXPECT_EQ("a,b\n1,x\n2,y\n", Dump("t"));
    EXPECT_EQ("t\t2\t1\t2\n", Kvol({"tables", Volume()}).out);
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolImportTest, ABadRowIsNamedAndNothingIsLeftBehind)
{
    Refused("f.csv", "a,b\n1,2\n3\n", {}, "f.csv: row 2 (line 3), column 2 \"b\": the row has 1 cell, the header 2");
    Refused("f.csv", "a,b\n1,2\n3,4\"\n", {}, "f.csv: row 2 (line 3), column 2 \"b\"");
    Refused("f.csv", "a,b\n1,2\n3,\xFF\n", {}, "f.csv: row 2 (line 3), column 2 \"b\"");
    Refused("f.csv", "a,b\n1,2\n,\n", {}, "f.csv: row 2 (line 3), column 1 \"a\": no cell of the row has a value");
    Refused("f.json", R"([{"a":1},{"a":[]}])", {}, "f.json: row 2, column 1 \"a\"");
    Refused("f.json", R"([{"a":1},{}])", {}, "f.json: row 2, column 1 \"a\": no cell");
    Refused("f.json", "[{\"a\":\"x\\u0000y\"}]", {}, "f.json: row 1, column 1 \"a\"");
    Refused("f.csv", "a,b\n1," + std::string(32736, 'x') + "\n", {}, "row 1 (line 2), column 2 \"b\"");
}

TEST_F(KvolImportTest, TheLongestTextComesBackAndALongerOneIsRefused)
{
    const std::string csv = "a\n" + std::string(32735, 'x') + "\n" + std::string(32735, 'y') + "\n";
    Import("t", csv, {"--index", "ByA=a,desc"});
    EXPECT_EQ(csv, Dump("t"));
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
    const std::string json = "[{\"a\": \"" + std::string(32735, 'x') + "\"}]";
    ASSERT_EQ(0u, Kvol({"import", Volume(), "u", Write("u.json", json)}).code);
    EXPECT_EQ("a\n" + std::string(32735, 'x') + "\n", Dump("u"));
    const Outcome longer = Kvol({"import", Volume(), "v", Write("v.csv", "a\n" + std::string(32736, 'x') + "\n")});
    EXPECT_EQ(1u, longer.code);
    EXPECT_TRUE(longer.ErrHas("has 32,736 UTF-16 units; a text has at most 32,735")) << longer;
}

TEST_F(KvolImportTest, ATypeThatDoesNotFitIsNamedWithRowAndColumn)
{
    static constexpr struct
    {
        const char* pszType;
        const char* pszCell;
    } kCases[] = {{"I2", "32768"},          {"UI2", "-1"},  {"I4", "1.5"},
                  {"UI4", "4294967296"},    {"R8", "many"}, {"BOOL", "yes"},
                  {"FILETIME", "5.3.2004"}, {"I4", "\"\""}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszType);
        Refused("f.csv", std::string("a,b\n1,0\n2,") + c.pszCell + "\n", {"--field", std::string("b:") + c.pszType},
                std::string(c.pszType) == "FILETIME" ? "row 1 (line 2), column 2 \"b\""
                                                     : "row 2 (line 3), column 2 \"b\"");
    }
}

TEST_F(KvolImportTest, BadNamesAndIndexesAreRefused)
{
    Refused("f.csv", "", {}, "f.csv: the file is empty");
    Refused("f.csv", "a,\n1,2\n", {}, "f.csv: header (line 1), column 2: the column has no name");
    Refused("f.csv", "a,b,a\n1,2,3\n", {}, "f.csv: header (line 1), column 3: the name \"a\" comes twice");
    Refused("f.csv", "\"a\nb\"\n1\n", {},
            "header (line 1), column 1: the column name \"a\\nb\" has a control character");
    Refused("f.json", "[]", {}, "f.json: there is no record");
    Refused("f.csv", "a\n1\n", {"--field", "b:I4"}, "no column \"b\"; its columns are a");
    Refused("f.csv", "a\n1\n", {"--field", "a:I4", "--field", "a:I2"}, "given twice");
    Refused("f.csv", "a\n1\n", {"--index", "ByB=b"}, "no column \"b\"");
    Refused("f.csv", "a\n1\n", {"--index", "I=a", "--index", "J=a,desc"}, "both on the field \"a\"");
    Refused("f.csv", "a,b\n1,2\n", {"--index", "I=a", "--index", "I=b"}, "\"I\" comes twice");
    Refused("f.csv", "a\n1\n", {"--index", "I=a,nocase"}, "cannot be nocase");
    Refused("f.csv", "a,b,c,d,e\n1,2,3,4,5\n",
            {"--index", "A=a", "--index", "B=b", "--index", "C=c", "--index", "D=d", "--index", "E=e"}, "at most 4");
    std::string wide = "c0";
    std::string cells = "0";
    for (int i = 1; i < 257; ++i) {
        wide += ",c" + std::to_string(i);
        cells += ",0";
    }
    Refused("f.csv", wide + "\n" + cells + "\n", {}, "column 257: a table has at most 256 fields");
}

TEST_F(KvolImportTest, BadTableNamesAreRefused)
{
    const std::string file = Write("f.csv", "a\n1\n");
    const std::vector<std::pair<std::string, std::string>> names = {{"", "is empty"},
                                                                    {std::string(32, 'x'), "31"},
                                                                    {"MSysTables", "MSys"},
                                                                    {"msysOther", "MSys"},
                                                                    {"a\tb", "control character"}};
    for (const auto& [name, part] : names) {
        const Outcome outcome = Kvol({"import", Volume(), name, file});
        EXPECT_EQ(1u, outcome.code) << outcome;
        EXPECT_TRUE(outcome.ErrHas(part)) << outcome;
        EXPECT_FALSE(Exists("test.vol"));
    }
    EXPECT_EQ(0u, Kvol({"import", Volume(), std::string(31, 'x'), file}).code);
    const Outcome twin = Kvol({"import", Volume(), std::string(31, 'X'), file});
    EXPECT_EQ(1u, twin.code);
    EXPECT_TRUE(twin.ErrHas("without case")) << twin;
}

TEST_F(KvolImportTest, AFileThatCannotBeReadIsNamed)
{
    const Outcome missing = Kvol({"import", Volume(), "t", Path("none.csv")});
    EXPECT_EQ(1u, missing.code);
    EXPECT_TRUE(missing.ErrHas("none.csv")) << missing;
    ::CreateDirectoryA(Path("folder.csv").c_str(), nullptr);
    const Outcome folder = Kvol({"import", Volume(), "t", Path("folder.csv")});
    EXPECT_EQ(1u, folder.code);
    EXPECT_TRUE(folder.ErrHas("folder.csv")) << folder;
    EXPECT_FALSE(Exists("test.vol"));
}

TEST_F(KvolImportTest, ATableTakes256FieldsAndFourIndexes)
{
    std::string header = "c0";
    std::string cells = "x";
    for (int i = 1; i < 256; ++i) {
        header += ",c" + std::to_string(i);
        cells += ",x";
    }
    Import("t", header + "\n" + cells + "\n",
           {"--index", "A=c0", "--index", "B=c1", "--index", "C=c2", "--index", "D=c255"});
    EXPECT_EQ(header + "\n" + cells + "\n", Dump("t"));
    EXPECT_EQ("t\t256\t4\t1\n", Kvol({"tables", Volume()}).out);
}

TEST_F(KvolImportTest, ATableTakes65535RecordsAndNotOneMore)
{
    Refused("f.csv", Lines(65536), {}, "f.csv: row 65536 (line 65537): a table holds at most 65,535 records");
    Import("t", Lines(65535));
    EXPECT_EQ("t\t1\t0\t65535\n", Kvol({"tables", Volume()}).out);
    const Outcome outcome = Kvol({"import", Volume(), "t", Write("g.csv", "a\n1\n"), "--append"});
    EXPECT_EQ(1u, outcome.code);
    EXPECT_TRUE(outcome.ErrHas("g.csv: row 1 (line 2): a table holds at most 65,535 records; \"t\" has 65,535 already"))
        << outcome;
    EXPECT_EQ("t\t1\t0\t65535\n", Kvol({"tables", Volume()}).out);
}

TEST_F(KvolImportTest, AFailingImportLeavesAnExistingVolumeAsItWas)
{
    Import("kept", "a\n1\n", {"--index", "ByA=a"});
    const Outcome outcome = Kvol({"import", Volume(), "t", Write("g.csv", Lines(2000) + "x\n"), "--field", "a:I4"});
    EXPECT_EQ(1u, outcome.code);
    EXPECT_TRUE(outcome.ErrHas("row 2001 (line 2002), column 1 \"a\"")) << outcome;
    EXPECT_EQ("kept\t1\t1\t1\n", Kvol({"tables", Volume()}).out);
    const Outcome check = Kvol({"check", Volume()});
    EXPECT_EQ(0u, check.code) << check;
    EXPECT_FALSE(check.OutHas("note:")) << check;
}

TEST_F(KvolImportTest, ARecordThatIsTooLargeIsNamed)
{
    std::string csv = "a,b,c\n1,2,3\n";
    for (int i = 0; i < 3; ++i) csv += (i ? "," : "") + std::string(30000, 'x' + i);
    // Three texts of 60,000 bytes each as UTF-16.
    csv.replace(csv.size() - 30000, 30000, [] {
        std::string s;
        for (int i = 0; i < 30000; ++i) s += "\xE2\x82\xAC";
        return s;
    }());
    csv.replace(csv.find("xx"), 30000, [] {
        std::string s;
        for (int i = 0; i < 30000; ++i) s += "\xE2\x82\xAC";
        return s;
    }());
    csv.replace(csv.find("yy"), 30000, [] {
        std::string s;
        for (int i = 0; i < 30000; ++i) s += "\xE2\x82\xAC";
        return s;
    }());
    Refused("f.csv", csv + "\n", {}, "row 2 (line 3)");
}
