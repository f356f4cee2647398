#include "kvol_process.h"

namespace {

using KvolUsageTest = KvolTest;

} // namespace

TEST_F(KvolUsageTest, EveryCommandHasHelp)
{
    for (const char* pszCommand : {"import", "tables", "schema", "dump", "seek", "set", "delete", "check", "drop",
                                   "compact", "export", "recover"}) {
        SCOPED_TRACE(pszCommand);
        const Outcome outcome = Kvol({pszCommand, "--help"});
        EXPECT_EQ(0u, outcome.code) << outcome;
        EXPECT_TRUE(outcome.OutHas("VOLUME")) << outcome;
        EXPECT_TRUE(outcome.OutHas("Exit codes: 0 done, 1 failed, 2 wrong usage.")) << outcome;
        EXPECT_EQ("", outcome.err);
    }
    const Outcome outcome = Kvol({"--help"});
    EXPECT_EQ(0u, outcome.code) << outcome;
    for (const char* pszCommand : {"import", "tables", "schema", "dump", "seek", "set", "delete", "check", "drop",
                                   "compact", "export", "recover"})
        EXPECT_TRUE(outcome.OutHas(pszCommand));
}

TEST_F(KvolUsageTest, TheVersionIsTheProjects)
{
    const Outcome outcome = Kvol({"--version"});
    EXPECT_EQ(0u, outcome.code);
    EXPECT_EQ("kvol " KVOL_VERSION "\n", outcome.out);
}

TEST_F(KvolUsageTest, WrongUsageIsSaidOnStandardErrorWithExitCodeTwo)
{
    const std::string file = Write("f.csv", "a\n1\n");
    const std::vector<std::pair<std::vector<std::string>, std::string>> cases = {
        {{}, "subcommand"},
        {{"frobnicate"}, "there is no command \"frobnicate\""},
        {{"frobnicate", Volume()}, "there is no command \"frobnicate\""},
        {{"tables", Volume(), "--frobnicate"}, "--frobnicate"},
        {{"tables"}, "VOLUME"},
        {{"tables", Volume(), "extra"}, "extra"},
        {{"dump", Volume()}, "TABLE"},
        {{"dump", Volume(), "t", "--limit", "few"}, "--limit"},
        {{"dump", Volume(), "t", "--equal", "1"}, "--index"},
        {{"seek", Volume(), "t", "i"}, "VALUE"},
        {{"set", Volume(), "t", "i", "v"}, "FIELD=VALUE"},
        {{"set", Volume(), "t", "i", "v", "noequals"}, "noequals"},
        {{"delete", Volume(), "t", "i"}, "VALUE"},
        {{"check"}, "VOLUME"},
        {{"drop", Volume()}, "TABLE"},
        {{"compact"}, "VOLUME"},
        {{"export", Volume()}, "FILE"},
        {{"recover", Volume()}, "VOLUME"},
        {{"import", Volume(), "x.sqlite", "--field", "a:I4"}, "not with a SQLite file"},
        {{"import", Volume(), "t"}, "FILE"},
        {{"import", Volume(), "t", file, "--field", "a"}, "NAME:TYPE"},
        {{"import", Volume(), "t", file, "--field", "a:I8"}, "I2, UI2, I4, UI4, R8, BOOL, FILETIME, LPWSTR"},
        {{"import", Volume(), "t", file, "--field", ":I4"}, "NAME:TYPE"},
        {{"import", Volume(), "t", file, "--index", "ByA"}, "NAME=FIELD[,desc][,nocase]"},
        {{"import", Volume(), "t", file, "--index", "ByA=,desc"}, "NAME=FIELD"},
        {{"import", Volume(), "t", file, "--append", "--replace"}, "--replace"},
        {{"import", Volume(), "t", file, "--append", "--field", "a:I4"}, "--append"},
        {{"import", Volume(), "t", file, "--append", "--index", "ByA=a"}, "--append"},
        {{"tables", ""}, "empty"},
        {{"dump", Volume(), "t", "--limit", "-1"}, "--limit = -1\n"},
        {{"dump", Volume(), "t", "--format", "xml"}, "--format \"xml\" is not table, csv or json"},
        {{"dump", Volume(), "t", "--format", "-5"}, "--format \"-5\" is not table, csv or json"},
        {{"-5"}, "there is no command \"-5\""},
        {{"dump", Volume(), "t", "--format", "\x01-5"}, "--format \"\\x01-5\" is not table, csv or json"},
        {{"dump", Volume(), "t", "--format", "1"}, "--format \"1\" is not table, csv or json"},
    };
    for (const auto& [arguments, part] : cases) {
        std::string line;
        for (const std::string& argument : arguments) line += argument + " ";
        SCOPED_TRACE(line);
        const Outcome outcome = Kvol(arguments);
        EXPECT_EQ(2u, outcome.code) << outcome;
        EXPECT_EQ("", outcome.out);
        EXPECT_EQ(0u, outcome.err.find("kvol: ")) << outcome;
        EXPECT_TRUE(outcome.ErrHas(part)) << outcome;
        EXPECT_FALSE(Exists("test.vol"));
    }
}

TEST_F(KvolUsageTest, AVolumeThatIsNoneIsRefusedByEveryCommandAndLeftAsItIs)
{
    const std::string file = Write("f.csv", "a\n1\n");
    const std::string text(5000, 'x');
    Write("text.vol", text);
    Write("empty.vol", "");
    ::CreateDirectoryA(Path("folder.vol").c_str(), nullptr);
    const std::vector<std::pair<std::string, std::string>> volumes = {{"text.vol", "not a volume"},
                                                                      {"empty.vol", "not a volume"},
                                                                      {"folder.vol", "cannot open"},
                                                                      {"missing\\x.vol", "no such folder"}};
    for (const auto& [name, part] : volumes) {
        const std::string volume = Path(name);
        for (const auto& arguments : std::vector<std::vector<std::string>>{{"import", volume, "t", file},
                                                                           {"tables", volume},
                                                                           {"schema", volume},
                                                                           {"dump", volume, "t"},
                                                                           {"seek", volume, "t", "i", "v"},
                                                                           {"set", volume, "t", "i", "v", "a=1"},
                                                                           {"delete", volume, "t", "i", "v"},
                                                                           {"check", volume},
                                                                           {"drop", volume, "t"},
                                                                           {"compact", volume},
                                                                           {"export", volume, Path("x.sqlite")}}) {
            SCOPED_TRACE(arguments[0] + " " + name);
            const Outcome outcome = Kvol(arguments);
            EXPECT_EQ(1u, outcome.code) << outcome;
            EXPECT_TRUE(outcome.ErrHas(part)) << outcome;
            EXPECT_TRUE(outcome.ErrHas(name.substr(name.find_last_of('\\') + 1))) << outcome;
        }
    }
    EXPECT_EQ(text, Read("text.vol"));
    EXPECT_TRUE(Exists("empty.vol"));
    EXPECT_EQ("", Read("empty.vol"));
    EXPECT_FALSE(Exists("missing"));
}

TEST_F(KvolUsageTest, AMissingVolumeIsAFailureExceptForImport)
{
    for (const char* pszCommand : {"tables", "schema", "check", "drop", "compact"}) {
        const Outcome outcome =
            Kvol(pszCommand == std::string("drop") ? std::vector<std::string>{pszCommand, Volume(), "t"}
                                                   : std::vector<std::string>{pszCommand, Volume()});
        EXPECT_EQ(1u, outcome.code) << outcome;
        EXPECT_TRUE(outcome.ErrHas("no such file")) << outcome;
        EXPECT_FALSE(Exists("test.vol"));
    }
}
