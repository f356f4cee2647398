#include "kvol_process.h"

namespace {

class KvolEditTest : public KvolTest
{
protected:
    void SetUp() override
    {
        Import(
            "t", kRows,
            {"--index", "ByCode=code", "--index", "ByKind=kind", "--index", "BySize=size", "--index", "ByReal=real"});
    }

    static constexpr const char* kRows = "code,kind,size,real,flag,day\n"
                                         "A,x,-5,0.5,true,2004-03-05\n"
                                         "B,x,7,,false,\n"
                                         "C,y,,1e+21,,2004-03-06\n";
};

} // namespace

TEST_F(KvolEditTest, SeekPrintsTheFirstRecordWithTheValue)
{
    const Outcome outcome = Kvol({"seek", Volume(), "t", "ByKind", "x"});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_EQ("code  A\nkind  x\nsize  -5\nreal  0.5\nflag  true\nday   2004-03-05\n", outcome.out);
    EXPECT_EQ("code  C\nkind  y\nreal  1e+21\nday   2004-03-06\n", Kvol({"seek", Volume(), "t", "ByReal", "1e21"}).out);
    EXPECT_TRUE(Kvol({"seek", Volume(), "t", "BySize", "-5"}).OutHas("code  A\n"));
}

TEST_F(KvolEditTest, ASeekThatFindsNothingFailsAndSaysWhere)
{
    for (const char* pszCommand : {"seek", "delete", "set"}) {
        std::vector<std::string> arguments = {pszCommand, Volume(), "t", "ByCode", "Q"};
        if (arguments[0] == "set") arguments.push_back("kind=z");
        const Outcome none = Kvol(arguments);
        EXPECT_EQ(1u, none.code);
        EXPECT_EQ("", none.out);
        EXPECT_TRUE(none.ErrHas("no record of the table \"t\" has \"Q\" as \"code\" (index \"ByCode\")")) << none;
        arguments[3] = "BySize";
        const Outcome type = Kvol(arguments);
        EXPECT_EQ(1u, type.code);
        EXPECT_TRUE(type.ErrHas("\"Q\" is not an I4")) << type;
        arguments[3] = "ByNothing";
        EXPECT_TRUE(Kvol(arguments).ErrHas("no index \"ByNothing\"; its indexes are ByCode, ByKind, BySize, ByReal"));
        arguments[2] = "u";
        EXPECT_TRUE(Kvol(arguments).ErrHas("no table \"u\"; its tables are t"));
    }
    EXPECT_EQ(kRows, Dump("t"));
}

TEST_F(KvolEditTest, SetChangesTheFieldsNamedAndNoOthers)
{
    const Outcome outcome =
        Kvol({"set", Volume(), "t", "ByCode", "B", "size=70", "real=-2.5", "day=2020-02-29", "flag=true"});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_EQ("1 record changed\n", outcome.out);
    EXPECT_EQ("code,kind,size,real,flag,day\n"
              "A,x,-5,0.5,true,2004-03-05\n"
              "B,x,70,-2.5,true,2020-02-29\n"
              "C,y,,1e+21,,2004-03-06\n",
              Dump("t"));
    EXPECT_TRUE(Kvol({"seek", Volume(), "t", "BySize", "70"}).OutHas("code  B\n"));
    EXPECT_EQ(1u, Kvol({"seek", Volume(), "t", "BySize", "7"}).code);
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolEditTest, SetLeavesTheOtherFieldsAsTheyAreToTheBit)
{
    constexpr CEPROPID kFlag = 0x0004000B, kDay = 0x00050040, kStray = 0x00630003;
    CEOID oid = 0;
    std::string before;
    {
        CMounted volume(Volume());
        oid = volume.Records(L"t")[0];
        CEPROPVAL time = {}, flag = {};
        time.propid = kDay;
        time.val.filetime = {0x12345679, 0x01C402B8}; // with a fraction of a second
        flag.propid = kFlag;
        flag.val.boolVal = 5;
        ASSERT_EQ(oid, volume.Put(L"t", oid, {time, flag, NumberProperty(kStray, 17)}));
        before = volume.Bytes(L"t", oid);
    }
    ASSERT_EQ(0u, Kvol({"set", Volume(), "t", "ByCode", "A", "size=8", "kind=", "real=2.5", "size=9"}).code);
    ASSERT_EQ(0u, Kvol({"set", Volume(), "t", "ByCode", "A", "size=-5", "kind=x", "real=0.5"}).code);
    {
        CMounted volume(Volume());
        EXPECT_EQ(before, volume.Bytes(L"t", oid));
    }
    ASSERT_EQ(0u, Kvol({"set", Volume(), "t", "ByCode", "A", "size=8", "day=2004-03-05", "size=-5"}).code);
    EXPECT_EQ(kRows, Dump("t"));
}

TEST_F(KvolEditTest, SetRemovesAValueAndMakesAnEmptyText)
{
    ASSERT_EQ(0u, Kvol({"set", Volume(), "t", "ByCode", "A", "kind=", "size=", "real=", "flag=", "day="}).code);
    ASSERT_EQ(0u, Kvol({"set", Volume(), "t", "ByCode", "B", "kind=\"\""}).code);
    ASSERT_EQ(0u, Kvol({"set", Volume(), "t", "ByCode", "C", "kind=a=\"b\", c"}).code);
    EXPECT_EQ("code,kind,size,real,flag,day\n"
              "A,,,,,\n"
              "B,\"\",7,,false,\n"
              "C,\"a=\"\"b\"\", c\",,1e+21,,2004-03-06\n",
              Dump("t"));
    const Outcome last = Kvol({"set", Volume(), "t", "ByCode", "A", "code="});
    EXPECT_EQ(1u, last.code);
    EXPECT_TRUE(last.ErrHas("no value would be left")) << last;
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolEditTest, SetRefusesWhatTheTableHasNotOrTheTypeCannotHold)
{
    const Outcome field = Kvol({"set", Volume(), "t", "ByCode", "A", "kind=z", "colour=red"});
    EXPECT_EQ(1u, field.code);
    EXPECT_TRUE(field.ErrHas("no field \"colour\"")) << field;
    const Outcome value = Kvol({"set", Volume(), "t", "ByCode", "A", "kind=z", "size=2147483648"});
    EXPECT_EQ(1u, value.code);
    EXPECT_TRUE(value.ErrHas("field \"size\": \"2147483648\" does not fit I4")) << value;
    const Outcome empty = Kvol({"set", Volume(), "t", "ByCode", "A", "size=\"\""});
    EXPECT_EQ(1u, empty.code);
    EXPECT_EQ(kRows, Dump("t"));
}

TEST_F(KvolEditTest, SeveralRecordsAreChangedOnlyWhenAllIsSaid)
{
    const Outcome refused = Kvol({"set", Volume(), "t", "ByKind", "x", "kind=z"});
    EXPECT_EQ(1u, refused.code);
    EXPECT_TRUE(refused.ErrHas("2 records of the table \"t\" have \"x\" in the index \"ByKind\"; say --all"))
        << refused;
    EXPECT_EQ(kRows, Dump("t"));
    const Outcome done = Kvol({"set", "--all", Volume(), "t", "ByKind", "x", "kind=z"});
    EXPECT_EQ(0u, done.code) << done;
    EXPECT_EQ("2 records changed\n", done.out);
    EXPECT_EQ("code,kind,size,real,flag,day\nA,z,-5,0.5,true,2004-03-05\nB,z,7,,false,\nC,y,,1e+21,,2004-03-06\n",
              Dump("t"));
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolEditTest, AChangeThatFailsAtOneOfSeveralRecordsChangesNone)
{
    // The second of the two records has nothing but its kind left, which the change takes away.
    ASSERT_EQ(0u, Kvol({"set", Volume(), "t", "ByCode", "B", "code=", "size=", "flag="}).code);
    const std::string before = Dump("t");
    const Outcome outcome = Kvol({"set", Volume(), "t", "ByKind", "x", "kind=", "--all"});
    EXPECT_EQ(1u, outcome.code) << outcome;
    EXPECT_EQ(before, Dump("t"));
}

TEST_F(KvolEditTest, DeleteRemovesTheRecordFromTableAndIndexes)
{
    const Outcome refused = Kvol({"delete", Volume(), "t", "ByKind", "x"});
    EXPECT_EQ(1u, refused.code);
    EXPECT_TRUE(refused.ErrHas("--all")) << refused;
    const Outcome one = Kvol({"delete", Volume(), "t", "ByCode", "C"});
    EXPECT_EQ(0u, one.code) << one;
    EXPECT_EQ("1 record deleted\n", one.out);
    EXPECT_EQ(1u, Kvol({"seek", Volume(), "t", "ByKind", "y"}).code);
    EXPECT_EQ("t\t6\t4\t2\n", Kvol({"tables", Volume()}).out);
    const Outcome all = Kvol({"delete", Volume(), "t", "ByKind", "x", "--all"});
    EXPECT_EQ(0u, all.code) << all;
    EXPECT_EQ("2 records deleted\n", all.out);
    EXPECT_EQ("code,kind,size,real,flag,day\n", Dump("t"));
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}
