#include "kvol_process.h"

namespace {

class KvolDumpTest : public KvolTest
{
protected:
    void SetUp() override
    {
        Import("cities",
               "name,country,people,born\n"
               "Bern,CH,134000,1991-05-01\n"
               "bern,US,,\n"
               "Zug,CH,30000,\n"
               "\xC3\x84hren,AT,\"12\",2001-02-03\n"
               "\"New\nTown, \"\"x\"\"\",,7,\n",
               {"--index", "ByName=name,nocase", "--index", "ByCountry=country", "--index", "ByPeople=people,desc",
                "--index", "ByDay=born"});
    }

    std::string First(const std::vector<std::string>& options)
    {
        std::vector<std::string> arguments = {"dump", Volume(), "cities", "--format", "csv"};
        arguments.insert(arguments.end(), options.begin(), options.end());
        const Outcome outcome = Kvol(arguments);
        EXPECT_EQ(0u, outcome.code) << outcome;
        // Names only, one a line, the header left out.
        std::string names;
        size_t start = outcome.out.find('\n') + 1;
        while (start < outcome.out.size()) {
            const size_t end = outcome.out.find('\n', start);
            names += outcome.out.substr(start, outcome.out.find_first_of(",\n", start) - start) + ";";
            start = end + 1;
        }
        return names;
    }
};

} // namespace

TEST_F(KvolDumpTest, WithoutAnIndexTheOrderIsThatOfCreation)
{
    EXPECT_EQ("Bern;bern;Zug;\xC3\x84hren;", First({"--limit", "4"}));
    EXPECT_EQ("", First({"--limit", "0"}));
    EXPECT_EQ("Bern;", First({"--limit", "1"}));
}

TEST_F(KvolDumpTest, AnIndexGivesTheOrder)
{
    EXPECT_EQ("\xC3\x84hren;Bern;bern;", First({"--index", "ByName", "--limit", "3"}));
    EXPECT_EQ("\xC3\x84hren;Bern;Zug;bern;", First({"--index", "ByCountry", "--limit", "4"}));
    EXPECT_EQ("Bern;Zug;\xC3\x84hren;", First({"--index", "ByPeople", "--limit", "3"}));
    EXPECT_EQ("Bern;\xC3\x84hren;bern;Zug;", First({"--index", "ByDay", "--limit", "4"}));
}

TEST_F(KvolDumpTest, EqualLimitsToTheRecordsWithAValue)
{
    EXPECT_EQ("Bern;Zug;", First({"--index", "ByCountry", "--equal", "CH"}));
    EXPECT_EQ("Bern;", First({"--index", "ByCountry", "--equal", "CH", "--limit", "1"}));
    EXPECT_EQ("Bern;bern;", First({"--index", "ByName", "--equal", "BERN"}));
    EXPECT_EQ("\xC3\x84hren;", First({"--index", "ByPeople", "--equal", "12"}));
    EXPECT_EQ("\xC3\x84hren;", First({"--index", "ByDay", "--equal", "2001-02-03"}));
    EXPECT_EQ("", First({"--index", "ByCountry", "--equal", "XX"}));
    EXPECT_EQ("", First({"--index", "ByPeople", "--equal", "-12"}));
    EXPECT_EQ("", First({"--index", "ByPeople", "--equal=-12"}));
}

TEST_F(KvolDumpTest, WhatIsNotThereIsNamed)
{
    const Outcome table = Kvol({"dump", Volume(), "Cities"});
    EXPECT_EQ(1u, table.code);
    EXPECT_TRUE(table.ErrHas("no table \"Cities\"; its tables are cities")) << table;
    const Outcome index = Kvol({"dump", Volume(), "cities", "--index", "byname"});
    EXPECT_EQ(1u, index.code);
    EXPECT_TRUE(index.ErrHas("no index \"byname\"; its indexes are ByName, ByCountry, ByPeople, ByDay")) << index;
    const Outcome value = Kvol({"dump", Volume(), "cities", "--index", "ByPeople", "--equal", "many"});
    EXPECT_EQ(1u, value.code);
    EXPECT_TRUE(value.ErrHas("--equal: \"many\" is not an I4")) << value;
    EXPECT_TRUE(value.ErrHas("\"people\"")) << value;
    const Outcome unnamed = Kvol({"dump", Volume(), "cities", "--index", "", "--equal", "12"});
    EXPECT_EQ(1u, unnamed.code);
    EXPECT_TRUE(unnamed.ErrHas("no index \"\"")) << unnamed;
}

TEST_F(KvolDumpTest, ADatabaseWithTwoNamesIsTwoTablesWithTheSameFieldsAndIndexes)
{
    {
        CMounted volume(Volume());
        const long oid = static_cast<long>(volume.DatabaseOid(L"cities"));
        volume.Put(L"MSysTables", 0, {TextProperty(0x0000001F, L"towns"), NumberProperty(0x00010003, oid)});
    }
    EXPECT_EQ(Dump("cities"), Dump("towns"));
    const Outcome outcome =
        Kvol({"dump", Volume(), "towns", "--index", "ByCountry", "--equal", "CH", "--format", "csv"});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_EQ(Kvol({"dump", Volume(), "cities", "--index", "ByCountry", "--equal", "CH", "--format", "csv"}).out,
              outcome.out);
}

TEST_F(KvolDumpTest, TheTableFormatIsForReading)
{
    const Outcome outcome = Kvol({"dump", Volume(), "cities"});
    EXPECT_EQ(0u, outcome.code);
    EXPECT_EQ("name            country  people  born\n"
              "--------------  -------  ------  ----------\n"
              "Bern            CH       134000  1991-05-01\n"
              "bern            US\n"
              "Zug             CH        30000\n"
              "\xC3\x84hren           AT           12  2001-02-03\n"
              "New\\nTown, \"x\"                7\n",
              outcome.out);
}

TEST_F(KvolDumpTest, TheTableFormatCutsLongTexts)
{
    Import("t", "a,b\n" + std::string(40, 'x') + ",1\n" + std::string(41, 'y') + ",2\n");
    const Outcome outcome = Kvol({"dump", Volume(), "t"});
    EXPECT_TRUE(outcome.OutHas(std::string(40, 'x') + "  1\n")) << outcome;
    EXPECT_TRUE(outcome.OutHas(std::string(37, 'y') + "...  2\n")) << outcome;
}

TEST_F(KvolDumpTest, JsonLeavesAbsentValuesOutAndCanBeImportedAgain)
{
    const Outcome outcome = Kvol({"dump", Volume(), "cities", "--format", "json"});
    EXPECT_EQ(0u, outcome.code);
    EXPECT_EQ("[\n"
              "{\"name\": \"Bern\", \"country\": \"CH\", \"people\": 134000, \"born\": \"1991-05-01\"},\n"
              "{\"name\": \"bern\", \"country\": \"US\"},\n"
              "{\"name\": \"Zug\", \"country\": \"CH\", \"people\": 30000},\n"
              "{\"name\": \"\xC3\x84hren\", \"country\": \"AT\", \"people\": 12, \"born\": \"2001-02-03\"},\n"
              "{\"name\": \"New\\nTown, \\\"x\\\"\", \"people\": 7}\n"
              "]\n",
              outcome.out);
    const Outcome again = Kvol({"import", Volume(), "again", Write("again.json", outcome.out)});
    ASSERT_EQ(0u, again.code) << again;
    EXPECT_EQ(Dump("cities"), Dump("again"));
}

TEST_F(KvolDumpTest, AnEmptyTableHasAHeaderOnly)
{
    Import("empty", "a,b\n");
    EXPECT_EQ("a,b\n", Dump("empty"));
    EXPECT_EQ("[\n]\n", Kvol({"dump", Volume(), "empty", "--format", "json"}).out);
    EXPECT_EQ("a  b\n-  -\n", Kvol({"dump", Volume(), "empty"}).out);
}

TEST_F(KvolDumpTest, ALoneSurrogateIsWrittenAsFarAsTheFormatCan)
{
    Import("t", "a\nx\n");
    const wchar_t lone[] = {L'a', 0xD800, L'b', 0};
    {
        CMounted volume(Volume());
        volume.Put(L"t", 0, {TextProperty(0x0000001F, lone)});
    }
    EXPECT_EQ("a\nx\na\xEF\xBF\xBD"
              "b\n",
              Dump("t"));
    EXPECT_TRUE(Kvol({"dump", Volume(), "t", "--format", "json"}).OutHas("\"a\\ud800b\""));
}

TEST_F(KvolDumpTest, ARecordWithoutAnyValueIsARowOfAbsentValues)
{
    Import("t", "a,b\n1,x\n2,y\n");
    {
        CMounted volume(Volume());
        volume.Put(L"t", volume.Records(L"t")[0], {NoProperty(0x00000003), NoProperty(0x0001001F)});
    }
    EXPECT_EQ("a,b\n,\n2,y\n", Dump("t"));
}

TEST_F(KvolDumpTest, TablesAndSchemaListWhatThereIs)
{
    Import("b", "x\n1\n");
    EXPECT_EQ("cities\t4\t4\t5\nb\t1\t0\t1\n", Kvol({"tables", Volume()}).out);
    const Outcome schema = Kvol({"schema", Volume()});
    EXPECT_EQ(0u, schema.code);
    EXPECT_EQ("cities: 4 fields, 4 indexes, 5 records\n"
              "  field  name       LPWSTR    property 0x0000001F\n"
              "  field  country    LPWSTR    property 0x0001001F\n"
              "  field  people     I4        property 0x00020003\n"
              "  field  born       FILETIME  property 0x00030040, days\n"
              "  index  ByName     on name, ascending, nocase\n"
              "  index  ByCountry  on country, ascending\n"
              "  index  ByPeople   on people, descending\n"
              "  index  ByDay      on born, ascending\n"
              "\n"
              "b: 1 field, 0 indexes, 1 record\n"
              "  field  x  I4        property 0x00000003\n",
              schema.out);
    EXPECT_EQ(schema.out.substr(schema.out.find("b: 1")), Kvol({"schema", Volume(), "b"}).out);
    const Outcome missing = Kvol({"schema", Volume(), "c"});
    EXPECT_EQ(1u, missing.code);
    EXPECT_TRUE(missing.ErrHas("no table \"c\"; its tables are cities, b")) << missing;
}
