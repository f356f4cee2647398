#include "kvol_process.h"

#include "text.h"

#include <sqlite3.h>

#include <cmath>
#include <cstring>

namespace {

class KvolSqliteTest : public KvolTest
{
protected:
    std::string File() const { return Path("x.sqlite"); }

    // Makes a SQLite file with these statements.
    void Make(const std::string& sql)
    {
        ::DeleteFileW(kvol::Wide(File()).c_str());
        Change(sql);
    }

    void Change(const std::string& sql)
    {
        sqlite3* pDb = nullptr;
        ASSERT_EQ(SQLITE_OK, ::sqlite3_open(File().c_str(), &pDb));
        char* pszError = nullptr;
        EXPECT_EQ(SQLITE_OK, ::sqlite3_exec(pDb, sql.c_str(), nullptr, nullptr, &pszError)) << pszError;
        EXPECT_EQ(SQLITE_OK, ::sqlite3_close(pDb));
    }

    // The rows of a query, columns with | between, rows with \n behind.
    std::string Query(const std::string& sql)
    {
        sqlite3* pDb = nullptr;
        EXPECT_EQ(SQLITE_OK, ::sqlite3_open_v2(File().c_str(), &pDb, SQLITE_OPEN_READONLY, nullptr));
        sqlite3_stmt* pStatement = nullptr;
        EXPECT_EQ(SQLITE_OK, ::sqlite3_prepare_v2(pDb, sql.c_str(), -1, &pStatement, nullptr)) << ::sqlite3_errmsg(pDb);
        std::string rows;
        while (::sqlite3_step(pStatement) == SQLITE_ROW) {
            for (int i = 0; i < ::sqlite3_column_count(pStatement); ++i) {
                const auto* p = reinterpret_cast<const char*>(::sqlite3_column_text(pStatement, i));
                rows += (i ? "|" : "") + std::string(p ? p : "NULL");
            }
            rows += "\n";
        }
        ::sqlite3_finalize(pStatement);
        ::sqlite3_close(pDb);
        return rows;
    }

    Outcome ImportFile(const std::vector<std::string>& options = {})
    {
        std::vector<std::string> arguments = {"import", Volume(), File()};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return Kvol(arguments);
    }

    void Refuses(const std::string& sql, const std::string& part)
    {
        SCOPED_TRACE(part);
        Make(sql);
        const Outcome outcome = ImportFile();
        EXPECT_EQ(1u, outcome.code) << outcome;
        EXPECT_TRUE(outcome.ErrHas(part)) << outcome;
        EXPECT_FALSE(Exists("test.vol"));
    }
};

constexpr CEPROPID kOddFields[] = {0x00050002, 0x00010012, 0x00020003, 0x00030013, 0x00040005,
                                   0x0000000B, 0x00060040, 0x0007001F, 0x00080041};

// A table with a field of each type, made by the store's own calls: names that SQL would take apart, property numbers
// out of order, lengths and codes that nothing else has.
void MakeOddTable(CMounted& volume)
{
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    ::wcscpy(info.szDbaseName, L"odd \"table\"; drop");
    info.wNumSortOrder = 2;
    info.rgSortSpecs[0] = {0x0007001F, CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_UNKNOWNFIRST | CEDB_SORT_IGNORENONSPACE};
    info.rgSortSpecs[1] = {0x00060040, CEDB_SORT_DESCENDING};
    const CEOID oid = ::CeCreateDatabaseEx(volume.Guid(), &info);
    ASSERT_NE(0u, oid);
    const long table = static_cast<long>(oid);
    volume.Put(L"MSysTables", 0, {TextProperty(0x0000001F, info.szDbaseName), NumberProperty(0x00010003, table)});
    static const wchar_t* const kNames[] = {L"i2",   L"I2",   L"I4 \"x\"",    L"ui4", L"r8",
                                            L"bool", L"time", L"text \x00E4", L"blob"};
    for (int i = 0; i < 9; ++i) {
        volume.Put(L"MSysFields", 0,
                   {NumberProperty(0x00000003, table), TextProperty(0x0001001F, kNames[i]),
                    NumberProperty(0x00020003, static_cast<long>(kOddFields[i])), NumberProperty(0x00030002, 100 + i),
                    NumberProperty(0x00040002, i == 6 ? 11 : -50 - i)});
    }
    volume.Put(L"MSysIndexes", 0,
               {NumberProperty(0x00000003, table), TextProperty(0x0001001F, L"ByText"),
                NumberProperty(0x00020003, 0x0007001F),
                NumberProperty(0x00030003, static_cast<long>(info.rgSortSpecs[0].dwFlags))});
    volume.Put(L"MSysIndexes", 0,
               {NumberProperty(0x00000003, table), TextProperty(0x0001001F, L"ByTime"),
                NumberProperty(0x00020003, 0x00060040), NumberProperty(0x00030003, CEDB_SORT_DESCENDING)});
    const double reals[] = {0.0, -0.0, 1.5, -1e300, 5e-324, HUGE_VAL, -HUGE_VAL, std::nan(""), 9007199254740993.0, 3.0};
    const ULONGLONG times[] = {0,
                               1,
                               127226460291234567,
                               0x7FFFFFFFFFFFFFFF,
                               0xFFFFFFFFFFFFFFFF,
                               2650467743999999999,
                               2650467744000000000,
                               864000000000,
                               127226460290000000,
                               127226460290000100};
    const std::wstring texts[] = {L"",
                                  L"a",
                                  std::wstring(32735, L'\x4E00'),
                                  {0xD83C},
                                  {L'x', 0xDDE6, 0xD83C},
                                  L"\xD83C\xDDE6",
                                  L"'; --",
                                  L"1.50",
                                  L"\x01\t\n",
                                  L"NULL"};
    const long longs[] = {0, 1, -1, 2147483647, -2147483647 - 1, 32767, -32768, 65535, 127, -128};
    for (int i = 0; i < 10; ++i) {
        std::vector<BYTE> blob(i == 9 ? 65471 : i, static_cast<BYTE>(250 + i));
        blob.reserve(1);
        std::vector<CEPROPVAL> values(9);
        for (int f = 0; f < 9; ++f) values[f].propid = kOddFields[f];
        values[0].val.iVal = static_cast<short>(longs[i]);
        values[1].val.uiVal = static_cast<USHORT>(longs[i]);
        values[2].val.lVal = longs[i];
        values[3].val.ulVal = static_cast<ULONG>(longs[i]);
        values[4].val.dblVal = reals[i];
        values[5].val.boolVal = i < 3 || i > 7 ? longs[i] : 1;
        std::memcpy(&values[6].val.filetime, &times[i], sizeof(FILETIME));
        values[7].val.lpwstr = const_cast<wchar_t*>(texts[i].c_str());
        values[8].val.blob = {static_cast<DWORD>(blob.size()), blob.data()};
        // Each record lacks another field.
        if (i < 9) values.erase(values.begin() + (i * 4 + 5) % 9);
        volume.Put(info.szDbaseName, 0, values);
    }
    // One with nothing at all.
    const CEOID oidEmpty = volume.Put(info.szDbaseName, 0, {NumberProperty(0x00020003, 1)});
    volume.Put(info.szDbaseName, oidEmpty, {NoProperty(0x00020003)});
}

} // namespace

TEST_F(KvolSqliteTest, EveryTypeAndValueComesBackThroughSqlite)
{
    Import("t", "code,size\na,1\nb,\n", {"--index", "ByCode=code,nocase", "--index", "BySize=size,desc"});
    Import("u", "code\n\"a\nb\"\n", {"--index", "ByCode=code"});
    {
        CMounted volume(Volume());
        MakeOddTable(volume);
    }
    const Outcome exported = Kvol({"export", Volume(), File()});
    ASSERT_EQ(0u, exported.code) << exported;
    EXPECT_EQ("t: 2 records exported\nu: 1 record exported\nodd \"table\"; drop: 11 records exported\n", exported.out);
    EXPECT_FALSE(Exists("x.sqlite.exporting"));
    EXPECT_EQ("ok\n", Query("PRAGMA integrity_check"));

    const std::string second = Path("second.vol");
    const Outcome imported = Kvol({"import", second, File()});
    ASSERT_EQ(0u, imported.code) << imported;
    EXPECT_TRUE(imported.OutHas("odd \"table\"; drop: 11 records imported from ")) << imported;
    EXPECT_EQ(0u, Kvol({"check", second}).code) << Kvol({"check", second});
    EXPECT_EQ(Kvol({"tables", Volume()}).out, Kvol({"tables", second}).out);
    EXPECT_EQ(Kvol({"schema", Volume()}).out, Kvol({"schema", second}).out);
    CMounted before(Volume());
    CMounted after(second);
    for (const wchar_t* pszTable : {L"t", L"u", L"odd \"table\"; drop"}) {
        SCOPED_TRACE(kvol::ToUtf8(pszTable));
        const std::vector<CEOID> left = before.Records(pszTable);
        const std::vector<CEOID> right = after.Records(pszTable);
        ASSERT_EQ(left.size(), right.size());
        for (size_t i = 0; i < left.size(); ++i) {
            EXPECT_EQ(before.Bytes(pszTable, left[i]), after.Bytes(pszTable, right[i])) << i;
        }
        CEOIDINFO infoLeft = {}, infoRight = {};
        ASSERT_TRUE(::CeOidGetInfoEx(before.Guid(), before.DatabaseOid(pszTable), &infoLeft));
        ASSERT_TRUE(::CeOidGetInfoEx(after.Guid(), after.DatabaseOid(pszTable), &infoRight));
        EXPECT_EQ(0, std::memcmp(infoLeft.infDatabase.rgSortSpecs, infoRight.infDatabase.rgSortSpecs,
                                 sizeof infoLeft.infDatabase.rgSortSpecs));
    }
    // The catalogues' own columns: lengths, codes, property numbers.
    const std::vector<CEOID> left = before.Records(L"MSysFields");
    const std::vector<CEOID> right = after.Records(L"MSysFields");
    ASSERT_EQ(left.size(), right.size());
    for (size_t i = 0; i < left.size(); ++i) {
        const std::string one = before.Get(L"MSysFields", left[i]);
        const std::string other = after.Get(L"MSysFields", right[i]);
        EXPECT_EQ(one.substr(one.find(' ')), other.substr(other.find(' '))); // behind the TableID
    }
}

TEST_F(KvolSqliteTest, AnExportIsSqlAsPeopleWriteIt)
{
    Import("t", "n,real,flag,day,time,name\n1,0.5,true,2004-03-05,2004-03-05T14:07:09Z,Z\xC3\xBCrich\n2,,,,,\n",
           {"--index", "ByName=name,nocase", "--index", "ByN=n,desc"});
    ASSERT_EQ(0u, Kvol({"export", Volume(), File()}).code);
    EXPECT_EQ("CREATE TABLE \"t\"(\"n\" INTEGER, \"real\" REAL, \"flag\" BOOLEAN, \"day\" DATE, \"time\" DATETIME, "
              "\"name\" TEXT)\n"
              "CREATE INDEX \"t.ByName\" ON \"t\"(\"name\" COLLATE NOCASE)\n"
              "CREATE INDEX \"t.ByN\" ON \"t\"(\"n\" DESC)\n",
              Query("SELECT sql FROM sqlite_schema WHERE tbl_name='t'"));
    EXPECT_EQ("1|0.5|1|2004-03-05|2004-03-05T14:07:09Z|Z\xC3\xBCrich\n2|NULL|NULL|NULL|NULL|NULL\n",
              Query("SELECT * FROM t"));
    EXPECT_EQ("integer|real|integer|text|text|text\n",
              Query("SELECT typeof(n),typeof(real),typeof(flag),typeof(day),typeof(time),typeof(name) FROM t LIMIT 1"));
    EXPECT_EQ("1078495629\n", Query("SELECT strftime('%s', time) FROM t LIMIT 1"));
}

TEST_F(KvolSqliteTest, AnIndexGetsTheNameOfNoTableThatIsStillToCome)
{
    Import("t", "a\n1\n", {"--index", "x=a"});
    Import("T.X", "a\n2\n", {"--index", "y=a"});
    Import("t.X.y", "a\n3\n");
    const Outcome exported = Kvol({"export", Volume(), File()});
    ASSERT_EQ(0u, exported.code) << exported;
    EXPECT_EQ("t|t.x_2\nT.X|T.X.y_2\n",
              Query("SELECT tbl_name, name FROM sqlite_schema WHERE type='index' ORDER BY rowid"));
    const std::string second = Path("second.vol");
    ASSERT_EQ(0u, Kvol({"import", second, File()}).code);
    EXPECT_EQ(Kvol({"schema", Volume()}).out, Kvol({"schema", second}).out);
    EXPECT_EQ(0u, Kvol({"check", second}).code);
}

TEST_F(KvolSqliteTest, ATableWithANameThatTheFileNeedsItselfIsNotExported)
{
    for (const char* pszName : {"Korvane_Indexes", "SQLite_stat1"}) {
        Import(pszName, "a\n1\n");
        const Outcome outcome = Kvol({"export", Volume(), File()});
        EXPECT_EQ(1u, outcome.code);
        EXPECT_TRUE(outcome.ErrHas("the table \"" + std::string(pszName) + "\" cannot be exported")) << outcome;
        EXPECT_FALSE(Exists("x.sqlite"));
        ASSERT_EQ(0u, Kvol({"drop", Volume(), pszName}).code);
    }
}

TEST_F(KvolSqliteTest, AFileThatIsThereIsReplacedOnlyWhenThatIsSaid)
{
    Import("t", "a\n1\n");
    Write("x.sqlite", "mine");
    const Outcome refused = Kvol({"export", Volume(), File()});
    EXPECT_EQ(1u, refused.code);
    EXPECT_TRUE(refused.ErrHas("already; say --replace")) << refused;
    EXPECT_EQ("mine", Read("x.sqlite"));
    EXPECT_EQ(0u, Kvol({"export", Volume(), File(), "--replace"}).code);
    EXPECT_EQ("1\n", Query("SELECT a FROM t"));
    EXPECT_EQ(1u, Kvol({"export", Volume(), Path("nowhere\\x.sqlite")}).code);
    EXPECT_FALSE(Exists("nowhere"));
}

TEST_F(KvolSqliteTest, AnExportThatFailsLeavesNoFile)
{
    Import("t", "a\n1\n");
    {
        CMounted volume(Volume());
        ASSERT_TRUE(::CeDeleteDatabaseEx(volume.Guid(), volume.DatabaseOid(L"t")));
    }
    const Outcome outcome = Kvol({"export", Volume(), File()});
    EXPECT_EQ(1u, outcome.code);
    EXPECT_TRUE(outcome.ErrHas("cannot open the table \"t\"")) << outcome;
    EXPECT_FALSE(Exists("x.sqlite"));
    EXPECT_FALSE(Exists("x.sqlite.exporting"));
}

TEST_F(KvolSqliteTest, WhatHasNoPlaceInTheFileIsSaid)
{
    Import("t", "a\n1\n");
    {
        CMounted volume(Volume());
        CEDBASEINFO info = {};
        info.dwFlags = CEDB_VALIDNAME;
        ::wcscpy(info.szDbaseName, L"Contacts");
        ASSERT_NE(0u, ::CeCreateDatabaseEx(volume.Guid(), &info));
        volume.Put(L"t", volume.Records(L"t")[0], {NumberProperty(0x00630003, 5)});
    }
    const Outcome outcome = Kvol({"export", Volume(), File()});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_TRUE(outcome.OutHas("note: 1 property of no field of their table were left out")) << outcome;
    EXPECT_TRUE(outcome.OutHas("note: database \"Contacts\": no table is stored in it; it was left out\n")) << outcome;
}

TEST_F(KvolSqliteTest, ColumnsOfAnyFileGetTheTypeThatTheirValuesHave)
{
    Make("CREATE TABLE t(a INTEGER, b, c REAL, d TEXT, e BLOB, f BOOLEAN, g DATETIME, h DATE, i SMALLINT, j UNSIGNED "
         "SMALLINT, k BIGINT, l INTEGER, m NUMERIC, n DATETIME, o VARCHAR(10), p INTEGER, q UNSIGNED INTEGER);"
         "INSERT INTO t VALUES(1,'x',2,'y',x'0102',1,'2004-03-05 14:07:09.25','2004-03-05',-5,60000,4000000000,"
         "1099511627776,9007199254740993,1078495629,7,NULL,4000000000);"
         "INSERT INTO t VALUES(-2147483648,3,2.5,NULL,NULL,0,NULL,NULL,NULL,NULL,0,0,0.5,NULL,'007',NULL,1)");
    const Outcome outcome = ImportFile();
    ASSERT_EQ(0u, outcome.code) << outcome;
    EXPECT_TRUE(outcome.OutHas("t: 2 records imported from ")) << outcome;
    EXPECT_TRUE(outcome.OutHas("note: table \"t\", column \"e\": it is a BLOB")) << outcome;
    std::string types;
    const std::string schema = Kvol({"schema", Volume()}).out;
    for (size_t at = schema.find("field"); at != std::string::npos; at = schema.find("field", at + 5)) {
        const size_t from = schema.find_first_not_of(' ', at + 5);
        const size_t type = schema.find_first_not_of(' ', schema.find(' ', from));
        types += schema.substr(type, schema.find_first_of(" \n", type) - type) + " ";
    }
    EXPECT_NE(std::string::npos,
              types.find("I4 LPWSTR R8 LPWSTR BLOB BOOL FILETIME FILETIME I2 UI2 UI4 R8 LPWSTR I4 LPWSTR I4 UI4 "))
        << schema;
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
    CMounted volume(Volume());
    const std::vector<CEOID> records = volume.Records(L"t");
    ASSERT_EQ(2u, records.size());
    EXPECT_NE(std::string::npos, volume.Get(L"t", records[1]).find("0x000E001F=\"007\""))
        << volume.Get(L"t", records[1]);
    EXPECT_NE(std::string::npos, volume.Get(L"t", records[0]).find("0x000C001F=\"9007199254740993\""))
        << volume.Get(L"t", records[0]);
}

TEST_F(KvolSqliteTest, WhatIsNoTimeMakesItsColumnATextOrIsRefusedByAFieldOfTimes)
{
    static constexpr const char* kNone[] = {
        "2003-02-29",           "1900-02-29T00:00:00Z",  "2004-02-30",
        "2004-04-31",           "2004-03-05T14:07.5",    "2004-03-05 14:07.25Z",
        "2004-03-05T24:00:00Z", "2004-03-05T14:07:09.Z", "2004-03-05T14:07:09.12345678Z"};
    std::string sql;
    for (size_t i = 0; i < std::size(kNone); ++i) {
        const std::string name = "t" + std::to_string(i);
        sql += "CREATE TABLE " + name + "(a DATETIME); INSERT INTO " + name + " VALUES('2004-02-29'),('" + kNone[i] +
               "');";
    }
    Make(sql);
    ASSERT_EQ(0u, ImportFile().code);
    for (size_t i = 0; i < std::size(kNone); ++i) {
        const std::string name = "t" + std::to_string(i);
        EXPECT_EQ("a\n2004-02-29\n" + std::string(kNone[i]) + "\n", Dump(name));
    }
    ::DeleteFileW(kvol::Wide(Volume()).c_str());
    Import("t", "a\n2004-02-29\n", {"--field", "a:FILETIME"});
    ASSERT_EQ(0u, Kvol({"export", Volume(), File(), "--replace"}).code);
    for (const char* pszNone : kNone) {
        Change("UPDATE t SET a='" + std::string(pszNone) + "'");
        const Outcome outcome = Kvol({"import", Path("second.vol"), File()});
        EXPECT_EQ(1u, outcome.code) << pszNone;
        EXPECT_TRUE(outcome.ErrHas("row 1, column \"a\": the value is not a FILETIME")) << outcome;
    }
    Change("UPDATE t SET a='2004-02-29T14:07'");
    EXPECT_EQ(0u, Kvol({"import", Path("second.vol"), File()}).code);
}

TEST_F(KvolSqliteTest, IndexesAreTakenAndWhatCannotBeIsSaid)
{
    Make("CREATE TABLE t(id INTEGER PRIMARY KEY, code TEXT UNIQUE, name TEXT COLLATE NOCASE, x, y, z, w, e BLOB);"
         "CREATE INDEX ByName ON t(name); CREATE INDEX \"by x\" ON t(x DESC); CREATE INDEX two ON t(x, y);"
         "CREATE INDEX again ON t(name COLLATE BINARY); CREATE INDEX lowered ON t(lower(y)); CREATE INDEX part ON t(y) "
         "WHERE y > 1;"
         "CREATE INDEX ofblob ON t(e); CREATE INDEX ByY ON t(y); CREATE INDEX ByZ ON t(z);"
         "CREATE VIEW v AS SELECT * FROM t; CREATE TRIGGER tr AFTER INSERT ON t BEGIN SELECT 1; END;"
         "INSERT INTO t VALUES(2,'b','B',1,2,3,4,x'00'),(1,'a','A',5,6,7,8,NULL)");
    const Outcome outcome = ImportFile();
    ASSERT_EQ(0u, outcome.code) << outcome;
    const std::string schema = Kvol({"schema", Volume()}).out;
    for (const char* pszLine :
         {"index  Key code  on code, ascending\n", "index  ByName    on name, ascending, nocase\n",
          "index  by x      on x, descending\n", "index  ByY       on y, ascending\n"})
        EXPECT_NE(std::string::npos, schema.find(pszLine)) << pszLine << schema;
    for (const char* pszNote :
         {"index \"two\": it is on several columns", "index \"again\": the column has an index already",
          "index \"lowered\": it is on an expression", "index \"part\": it is on a part of the rows",
          "index \"ofblob\": it is on a BLOB", "index \"ByZ\": a table has at most 4", "view \"v\" was left out",
          "trigger \"tr\" was left out"})
        EXPECT_TRUE(outcome.OutHas(pszNote)) << pszNote << outcome;
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
    CMounted volume(Volume());
    EXPECT_NE(std::string::npos,
              volume.Get(L"t", volume.Records(L"t")[0]).find("0x00000003=1")); // in the order of the rowid
}

TEST_F(KvolSqliteTest, OtherKindsOfFilesComeInToo)
{
    Make("PRAGMA encoding='UTF-16le'; CREATE TABLE \"a \"\"b\"\"\"(\"select\" TEXT, \"x y\" INT, PRIMARY "
         "KEY(\"select\")) WITHOUT ROWID;"
         "INSERT INTO \"a \"\"b\"\"\" VALUES('\xC3\xA4', 2), ('z', 1); CREATE TABLE empty(a, b INTEGER);"
         "CREATE TABLE g(a INT, b INT AS (a * 2) STORED, c INT AS (a + 1)); INSERT INTO g VALUES(4)");
    const Outcome outcome = ImportFile();
    ASSERT_EQ(0u, outcome.code) << outcome;
    EXPECT_EQ("select,x y\nz,1\n\xC3\xA4,2\n", Dump("a \"b\""));
    EXPECT_EQ("a,b\n", Dump("empty"));
    EXPECT_EQ("a,b,c\n4,8,5\n", Dump("g"));
}

TEST_F(KvolSqliteTest, TablesThatAreThereAreReplacedOnlyWhenThatIsSaidAndAllOrNone)
{
    Import("t", "a\n1\n");
    Make("CREATE TABLE s(a); INSERT INTO s VALUES(1); CREATE TABLE t(b); INSERT INTO t VALUES('new')");
    const Outcome refused = ImportFile();
    EXPECT_EQ(1u, refused.code);
    EXPECT_TRUE(refused.ErrHas("has a table \"t\" already; say --replace")) << refused;
    EXPECT_EQ("t\t1\t0\t1\n", Kvol({"tables", Volume()}).out);
    const Outcome done = ImportFile({"--replace"});
    EXPECT_EQ(0u, done.code) << done;
    EXPECT_EQ("b\nnew\n", Dump("t"));
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolSqliteTest, WhatAVolumeCannotHoldIsRefusedWithItsPlace)
{
    std::string columns = "c0";
    for (int i = 1; i < 257; ++i) columns += ",c" + std::to_string(i);
    Refuses("CREATE TABLE t(" + columns + ")", "table \"t\": it has 257 columns; a table has at most 256 fields");
    Refuses("CREATE TABLE t(a); INSERT INTO t VALUES('x'),(NULL)", "table \"t\", row 2: no column has a value");
    Refuses("CREATE TABLE t(a); INSERT INTO t VALUES(printf('%.*c', 32736, 'x'))",
            "row 1, column \"a\": the value is too long: a text has at most 32,735");
    Refuses("CREATE TABLE t(a); INSERT INTO t VALUES(zeroblob(65472))",
            "row 1, column \"a\": the value is too long: a blob has at most 65,471");
    Refuses("CREATE TABLE t(a); INSERT INTO t VALUES('a' || char(0) || 'b')",
            "row 1, column \"a\": the value has the character U+0000");
    Refuses("CREATE TABLE t(a TEXT); INSERT INTO t VALUES(CAST(x'FF41' AS TEXT))",
            "row 1, column \"a\": the value is not well-formed UTF-8");
    Refuses("CREATE TABLE t(a); INSERT INTO t VALUES('x'),(x'01')", "column \"a\": it has blobs and other values");
    Refuses("CREATE TABLE t(a,b,c,d,e); INSERT INTO t SELECT "
            "zeroblob(30000),zeroblob(30000),zeroblob(30000),zeroblob(30000),zeroblob(30000)",
            "row 1: the record cannot be written: the volume is full");
    Refuses("CREATE TABLE t(a); WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT i+1 FROM n WHERE i<65536) INSERT "
            "INTO t SELECT i FROM n",
            "row 65,536: a table holds at most 65,535 records");
    Refuses("CREATE TABLE MSysTables(a)", "names that begin with MSys belong to the catalogues");
    Refuses("CREATE TABLE a1234567890123456789012345678901(a)", "the name is too long: it may have 31 UTF-16 units");
    Refuses("CREATE TABLE \"\xC3\xA4\"(a); CREATE TABLE \"\xC3\x84\"(a)", "has one of that name already");
    Refuses("CREATE VIEW v AS SELECT 1", "there is no table in it");
}

TEST_F(KvolSqliteTest, WhatIsNoSqliteFileIsRefused)
{
    const Outcome missing = ImportFile();
    EXPECT_EQ(1u, missing.code);
    EXPECT_TRUE(missing.ErrHas("there is no such file")) << missing;
    EXPECT_FALSE(Exists("x.sqlite"));
    Write("x.sqlite", std::string(5000, 'x'));
    const Outcome text = ImportFile();
    EXPECT_EQ(1u, text.code);
    EXPECT_TRUE(text.ErrHas("file is not a database")) << text;
    EXPECT_FALSE(Exists("test.vol"));
    const Outcome usage = ImportFile({"--append"});
    EXPECT_EQ(2u, usage.code);
    EXPECT_TRUE(usage.ErrHas("not with a SQLite file")) << usage;
}

TEST_F(KvolSqliteTest, ADamagedSqliteFileImportsWhollyOrNotAtAll)
{
    Make("CREATE TABLE t(a TEXT, b INT); CREATE INDEX i ON t(b); WITH RECURSIVE n(i) AS (VALUES(1) UNION ALL SELECT "
         "i+1 FROM n WHERE "
         "i<300) INSERT INTO t SELECT 'text ' || i, i FROM n");
    const std::string sound = Read("x.sqlite");
    unsigned state = 12345;
    for (int i = 0; i < 25; ++i) {
        std::string damaged = sound;
        for (int k = 0; k < 8; ++k) {
            state = state * 1103515245 + 12345;
            damaged[100 + (state >> 8) % (damaged.size() - 100)] = static_cast<char>(state >> 3);
        }
        Write("x.sqlite", damaged);
        const Outcome outcome = ImportFile();
        EXPECT_LE(outcome.code, 1u) << outcome;
        if (outcome.code == 1) {
            EXPECT_FALSE(Exists("test.vol"));
            EXPECT_NE("", outcome.err);
        } else {
            EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
            ::DeleteFileW(kvol::Wide(Volume()).c_str());
        }
    }
}
