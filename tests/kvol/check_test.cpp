#include "kvol_process.h"

#include "text.h"

#include <functional>

namespace {

class KvolCheckTest : public KvolTest
{
protected:
    void SetUp() override
    {
        std::string csv = "code,size\n";
        for (int i = 0; i < 50; ++i)
            csv += "c" + std::to_string(i % 20) + "," + std::to_string(i * 37 % 101 - 50) + "\n";
        Import("t", csv + "last,\n", {"--index", "ByCode=code,nocase", "--index", "BySize=size,desc"});
    }

    // Does damage to the volume; check has to find it, and to say the parts.
    void Finds(const std::function<void(CMounted&)>& damage, const std::vector<std::string>& parts)
    {
        {
            CMounted volume(Volume());
            damage(volume);
        }
        const Outcome outcome = Kvol({"check", Volume()});
        EXPECT_EQ(1u, outcome.code) << outcome;
        EXPECT_TRUE(outcome.OutHas(" found (")) << outcome;
        for (const std::string& part : parts) EXPECT_TRUE(outcome.OutHas(part)) << part << "\n" << outcome;
    }

    static CEOID Last(CMounted& volume, const wchar_t* pszName)
    {
        const std::vector<CEOID> records = volume.Records(pszName);
        return records.empty() ? 0 : records.back();
    }
};

} // namespace

TEST_F(KvolCheckTest, ASoundVolumeHasNoFault)
{
    const Outcome outcome = Kvol({"check", Volume()});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_EQ(Volume() + ": no fault found (1 table, 51 records, 2 indexes)\n", outcome.out);
    EXPECT_EQ("", outcome.err);
}

TEST_F(KvolCheckTest, ATableWithoutItsDatabaseIsFound)
{
    Finds([](CMounted& volume) { ASSERT_TRUE(::CeDeleteDatabaseEx(volume.Guid(), volume.DatabaseOid(L"t"))); },
          {"MSysTables, record ", "the table \"t\" is the database ", "which the volume does not have",
           "table \"t\": its database cannot be opened"});
}

TEST_F(KvolCheckTest, ADatabaseOfAnotherNameIsFound)
{
    Finds(
        [](CMounted& volume) {
            CEDBASEINFO info = {};
            info.dwFlags = CEDB_VALIDNAME;
            ::wcscpy(info.szDbaseName, L"renamed");
            ASSERT_TRUE(::CeSetDatabaseInfoEx(volume.Guid(), volume.DatabaseOid(L"t"), &info));
        },
        {"which is called \"renamed\""});
}

TEST_F(KvolCheckTest, AMissingCataloguePropertyIsFound)
{
    Finds([](CMounted& volume) { volume.Put(L"MSysFields", Last(volume, L"MSysFields"), {NoProperty(0x00030002)}); },
          {"MSysFields, record ", "the property Len is missing"});
}

TEST_F(KvolCheckTest, ACatalogueRowWithoutAnyPropertyIsFound)
{
    Finds(
        [](CMounted& volume) {
            const CEOID oid = volume.Put(L"MSysTables", 0, {TextProperty(0x0000001F, L"x")});
            volume.Put(L"MSysTables", oid, {NoProperty(0x0000001F)});
        },
        {"the property TableName is missing", "the property TableID is missing"});
}

TEST_F(KvolCheckTest, RowsOfUnknownTablesAreFound)
{
    Finds(
        [](CMounted& volume) {
            volume.Put(L"MSysIndexes", 0,
                       {NumberProperty(0x00000003, 9999), TextProperty(0x0001001F, L"stray"),
                        NumberProperty(0x00020003, 0x1F), NumberProperty(0x00030003, 0)});
            volume.Put(L"MSysFields", 0,
                       {NumberProperty(0x00000003, 8888), TextProperty(0x0001001F, L"stray"),
                        NumberProperty(0x00020003, 3), NumberProperty(0x00030002, 4), NumberProperty(0x00040002, 4)});
        },
        {"MSysIndexes, record ", "TableID 9999 is of no table", "MSysFields, record ", "TableID 8888 is of no table"});
}

TEST_F(KvolCheckTest, NamesAndPropertiesThatComeTwiceAreFound)
{
    Finds(
        [](CMounted& volume) {
            const long oid = static_cast<long>(volume.DatabaseOid(L"t"));
            volume.Put(L"MSysTables", 0, {TextProperty(0x0000001F, L"t"), NumberProperty(0x00010003, oid)});
            volume.Put(L"MSysFields", 0,
                       {NumberProperty(0x00000003, oid), TextProperty(0x0001001F, L"code"),
                        NumberProperty(0x00020003, 0x1F), NumberProperty(0x00030002, 0),
                        NumberProperty(0x00040002, 12)});
        },
        {"the table \"t\" is listed twice", "is the table \"t\" already",
         "(table \"t\", field \"code\"): the field is listed twice",
         "the property 0x0000001F is another field's already"});
}

TEST_F(KvolCheckTest, IndexesThatDoNotMatchTheDatabaseAreFound)
{
    Finds(
        [](CMounted& volume) {
            volume.Put(L"MSysIndexes", volume.Records(L"MSysIndexes")[0], {NumberProperty(0x00030003, 0)});
            volume.Put(L"MSysIndexes", volume.Records(L"MSysIndexes")[1], {NumberProperty(0x00020003, 0x00070003)});
        },
        {"(table \"t\", index \"ByCode\"): IndexFlags is 0x00000000, the database sorts with 0x00000002",
         "(table \"t\", index \"BySize\"): FieldID 0x00070003 is of no field of the table",
         "the table's database has no sort order on the property 0x00070003",
         "note: table \"t\": its database has a sort order on the property 0x00010003 that no index names"});
}

TEST_F(KvolCheckTest, AFieldOfAnUnknownTypeIsFound)
{
    Finds(
        [](CMounted& volume) {
            volume.Put(L"MSysFields", volume.Records(L"MSysFields")[1], {NumberProperty(0x00020003, 0x00010063)});
        },
        {"field \"size\"): FieldID 0x00010063 has no type that there is"});
}

TEST_F(KvolCheckTest, AValueOfAnotherTypeThanTheFieldsIsFound)
{
    CEOID oid = 0;
    Finds(
        [&](CMounted& volume) {
            oid = volume.Records(L"t")[3];
            volume.Put(L"t", oid, {TextProperty(0x0001001F, L"seven")});
        },
        {"table \"t\", record ",
         "it has the property 0x0001001F (LPWSTR), which is of no field; the field \"size\" is I4"});
    EXPECT_NE(0u, oid);
    EXPECT_TRUE(Kvol({"check", Volume()}).OutHas("record " + std::to_string(oid) + ":"));
}

TEST_F(KvolCheckTest, ARecordWithoutAnyValueIsFound)
{
    CEOID oid = 0;
    Finds(
        [&](CMounted& volume) {
            oid = volume.Records(L"t")[3];
            volume.Put(L"t", oid, {NoProperty(0x0000001F), NoProperty(0x00010003)});
        },
        {"it has no value in any field of the table"});
    EXPECT_TRUE(Kvol({"check", Volume()}).OutHas("table \"t\", record " + std::to_string(oid) + ":"));
}

TEST_F(KvolCheckTest, AMissingCatalogueIsSaid)
{
    {
        CMounted volume(Volume());
        ASSERT_TRUE(::CeDeleteDatabaseEx(volume.Guid(), volume.DatabaseOid(L"MSysIndexes")));
    }
    const Outcome outcome = Kvol({"check", Volume()});
    EXPECT_EQ(1u, outcome.code);
    EXPECT_TRUE(outcome.OutHas("volume: ")) << outcome;
    EXPECT_TRUE(outcome.OutHas("MSysIndexes cannot be opened")) << outcome;
    for (const char* pszCommand : {"tables", "schema"}) EXPECT_EQ(1u, Kvol({pszCommand, Volume()}).code);
}

TEST_F(KvolCheckTest, ADatabaseThatIsNoTableIsANoteAndNoFault)
{
    {
        CMounted volume(Volume());
        CEDBASEINFO info = {};
        info.dwFlags = CEDB_VALIDNAME;
        ::wcscpy(info.szDbaseName, L"settings");
        ASSERT_NE(0u, ::CeCreateDatabaseEx(volume.Guid(), &info));
    }
    const Outcome outcome = Kvol({"check", Volume()});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_TRUE(outcome.OutHas("note: database \"settings\": no table is stored in it\n")) << outcome;
}

TEST_F(KvolCheckTest, TimesFinerThanTheLibrarysAreInOrder)
{
    Import("times", "at\n2004-03-05T14:07:09Z\n", {"--index", "ByAt=at"});
    {
        CMounted volume(Volume());
        CEPROPVAL value = {};
        value.propid = 0x00000040;
        value.val.filetime.dwHighDateTime = 0x01C40000;
        for (DWORD i = 0; i < 3; ++i) {
            value.val.filetime.dwLowDateTime = 1234567 - i;
            volume.Put(L"times", 0, {value});
        }
    }
    const Outcome outcome = Kvol({"check", Volume()});
    EXPECT_EQ(0u, outcome.code) << outcome;
}

TEST_F(KvolCheckTest, ADamagedFileIsAFaultWhereverTheDamageIs)
{
    const std::string sound = Read("test.vol");
    const std::string content = Dump("t");
    ASSERT_LT(4096u * 4, sound.size());
    size_t nFound = 0;
    for (size_t at = 0; at + 4096 <= sound.size(); at += 4096) {
        std::string damaged = sound;
        for (size_t i = at; i < at + 4096; ++i) damaged[i] = static_cast<char>(damaged[i] ^ 0xA5);
        Write("test.vol", damaged);
        const Outcome outcome = Kvol({"check", Volume()});
        SCOPED_TRACE(at);
        // A page that nothing uses may be damaged without harm: then all content is what it was.
        EXPECT_LE(outcome.code, 1u) << outcome;
        if (outcome.code == 1) {
            ++nFound;
            EXPECT_TRUE(!outcome.err.empty() || outcome.OutHas(" found (")) << outcome;
        } else {
            EXPECT_TRUE(outcome.OutHas("no fault found (1 table, 51 records, 2 indexes)")) << outcome;
            EXPECT_EQ(content, Dump("t"));
        }
    }
    EXPECT_NE(0u, nFound);
    Write("test.vol", sound);
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolCheckTest, ACutFileIsRefused)
{
    const std::string sound = Read("test.vol");
    for (const size_t cb : {size_t(1), size_t(100), size_t(4096), sound.size() / 2}) {
        Write("test.vol", sound.substr(0, cb));
        const Outcome outcome = Kvol({"check", Volume()});
        EXPECT_EQ(1u, outcome.code) << cb << "\n" << outcome;
        EXPECT_EQ(sound.substr(0, cb), Read("test.vol"));
    }
}
