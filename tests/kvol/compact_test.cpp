#include "kvol_process.h"

#include "text.h"

#include <korvanebatch.h>

namespace {

class KvolCompactTest : public KvolTest
{
protected:
    void SetUp() override
    {
        std::string csv = "code,size\n";
        for (int i = 0; i < 3000; ++i) csv += "code " + std::to_string(i) + "," + std::to_string(i * 37 % 101) + "\n";
        Import("t", csv, {"--index", "ByCode=code,nocase", "--index", "BySize=size,desc"});
        Import("gone", csv);
        ASSERT_EQ(0u, Kvol({"drop", Volume(), "gone"}).code);
    }
};

// A database that no table is in, with all that a description can have.
CEOID MakeOddDatabase(CMounted& volume)
{
    CEDBASEINFOEX info = {};
    info.wVersion = CEDBASEINFOEX_VERSION;
    info.dwFlags = CEDB_VALIDCREATE | CEDB_NOCOMPRESS | CEDB_SYSTEMDB;
    ::wcscpy(info.szDbaseName, L"Odd \x00E4\x4E00");
    info.dwDbaseType = 0x12345678;
    info.wNumSortOrder = 2;
    info.rgSortSpecs[0].wVersion = info.rgSortSpecs[1].wVersion = SORTORDERSPECEX_VERSION;
    info.rgSortSpecs[0].wNumProps = 2;
    info.rgSortSpecs[0].rgPropID[0] = 0x0001001F;
    info.rgSortSpecs[0].rgdwFlags[0] = CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_DESCENDING;
    info.rgSortSpecs[0].rgPropID[1] = 0x00020003;
    info.rgSortSpecs[0].rgdwFlags[1] = CEDB_SORT_UNKNOWNFIRST;
    info.rgSortSpecs[1].wNumProps = 1;
    info.rgSortSpecs[1].wKeyFlags = CEDB_SORT_UNIQUE;
    info.rgSortSpecs[1].rgPropID[0] = 0x00020003;
    const CEOID oid = ::CeCreateDatabaseEx2(volume.Guid(), &info);
    EXPECT_NE(0u, oid) << ::GetLastError();
    const std::wstring longText(30000, L'\x4E8C'); // in pages of its own
    volume.Put(L"Odd \x00E4\x4E00", 0, {TextProperty(0x0001001F, L"a"), NumberProperty(0x00020003, 1)});
    volume.Put(L"Odd \x00E4\x4E00", 0, {TextProperty(0x0001001F, longText.c_str()), NumberProperty(0x00020003, 2)});
    return oid;
}

// The description of a database, byte by byte, without what the store counts for itself.
std::string Description(CMounted& volume, CEOID oid)
{
    CEOIDINFOEX info = {};
    info.wVersion = CEOIDINFOEX_VERSION;
    EXPECT_TRUE(::CeOidGetInfoEx2(volume.Guid(), oid, &info)) << ::GetLastError();
    return std::string(reinterpret_cast<const char*>(&info), sizeof info);
}

} // namespace

TEST_F(KvolCompactTest, DropRemovesDatabaseAndCatalogueRows)
{
    CEOID oid = 0;
    {
        CMounted volume(Volume());
        oid = volume.DatabaseOid(L"t");
        EXPECT_EQ(0u, volume.DatabaseOid(L"gone"));
        EXPECT_EQ(1u, volume.Records(L"MSysTables").size());
        EXPECT_EQ(2u, volume.Records(L"MSysFields").size());
        EXPECT_EQ(2u, volume.Records(L"MSysIndexes").size());
    }
    const Outcome outcome = Kvol({"drop", Volume(), "t"});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_EQ("t: dropped with 3,000 records and 2 indexes\n", outcome.out);
    EXPECT_EQ("", Kvol({"tables", Volume()}).out);
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
    CMounted volume(Volume());
    CEOIDINFO info = {};
    EXPECT_FALSE(::CeOidGetInfoEx(volume.Guid(), oid, &info));
    for (const wchar_t* pszName : {L"MSysTables", L"MSysFields", L"MSysIndexes"})
        EXPECT_EQ(0u, volume.Records(pszName).size());
}

TEST_F(KvolCompactTest, DropRefusesATableThatIsNotThereAndOneThatIsOpen)
{
    const Outcome none = Kvol({"drop", Volume(), "T"});
    EXPECT_EQ(1u, none.code);
    EXPECT_TRUE(none.ErrHas("has no table \"T\"; its tables are t")) << none;
    EXPECT_TRUE(Kvol({"drop", Volume(), "MSysTables"}).ErrHas("has no table \"MSysTables\""));
    const std::string before = Dump("t");
    {
        CMounted volume(Volume());
        CEOID oid = 0;
        WCHAR name[] = L"t";
        const HANDLE h = ::CeOpenDatabaseEx(volume.Guid(), &oid, name, 0, 0, nullptr);
        ASSERT_NE(INVALID_HANDLE_VALUE, h);
        const Outcome open = Kvol({"drop", Volume(), "t"});
        EXPECT_EQ(1u, open.code);
        EXPECT_TRUE(open.ErrHas("cannot drop the table \"t\": a program has it open; close that first")) << open;
        EXPECT_TRUE(::CloseHandle(h));
    }
    EXPECT_EQ(before, Dump("t"));
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolCompactTest, DropRefusesARowThatLeadsToACatalogue)
{
    {
        CMounted volume(Volume());
        const long oid = static_cast<long>(volume.DatabaseOid(L"MSysFields"));
        volume.Put(L"MSysTables", 0, {TextProperty(0x0000001F, L"trap"), NumberProperty(0x00010003, oid)});
    }
    const Outcome outcome = Kvol({"drop", Volume(), "trap"});
    EXPECT_EQ(1u, outcome.code) << outcome;
    EXPECT_TRUE(outcome.ErrHas("its database is called \"MSysFields\"")) << outcome;
    CMounted volume(Volume());
    EXPECT_EQ(2u, volume.Records(L"MSysFields").size());
}

TEST_F(KvolCompactTest, CompactKeepsEverythingAndMakesTheFileSmaller)
{
    std::string description;
    std::vector<CEOID> records;
    std::vector<std::string> contents;
    CEOID oidOdd = 0;
    const std::wstring odd = L"Odd \x00E4\x4E00";
    {
        CMounted volume(Volume());
        oidOdd = MakeOddDatabase(volume);
        // What comes and goes leaves its room behind.
        const std::wstring longText(30000, L'\x4E8C');
        std::vector<CEOID> gone;
        for (int i = 0; i < 8; ++i) {
            gone.push_back(volume.Put(
                odd.c_str(), 0, {TextProperty(0x0001001F, longText.c_str()), NumberProperty(0x00020003, 100 + i)}));
        }
        for (const CEOID oid : gone) EXPECT_TRUE(volume.Remove(odd.c_str(), oid));
        description = Description(volume, oidOdd);
        records = volume.Records(odd.c_str());
        for (const CEOID oid : records) contents.push_back(volume.Get(odd.c_str(), oid));
    }
    const std::string table = Dump("t");
    const std::string schema = Kvol({"schema", Volume()}).out;
    const size_t cbBefore = Read("test.vol").size();
    const Outcome outcome = Kvol({"compact", Volume()});
    ASSERT_EQ(0u, outcome.code) << outcome;
    const size_t cbAfter = Read("test.vol").size();
    EXPECT_LT(cbAfter, cbBefore * 2 / 3);
    const auto line = [](size_t cb) { return "5 databases, 3,007 records, " + kvol::Counted(cb, "byte") + "\n"; };
    EXPECT_EQ("before: " + line(cbBefore) + "now:    " + line(cbAfter), outcome.out);
    EXPECT_FALSE(Exists("test.vol.compacting"));
    EXPECT_EQ(table, Dump("t"));
    EXPECT_EQ(schema, Kvol({"schema", Volume()}).out);
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
    CMounted volume(Volume());
    EXPECT_EQ(oidOdd, volume.DatabaseOid(odd.c_str()));
    EXPECT_EQ(description, Description(volume, oidOdd));
    ASSERT_EQ(records, volume.Records(odd.c_str()));
    for (size_t i = 0; i < records.size(); ++i) EXPECT_EQ(contents[i], volume.Get(odd.c_str(), records[i]));
}

TEST_F(KvolCompactTest, ACompactedVolumeStaysAsSmallAndGoesOnWorking)
{
    ASSERT_EQ(0u, Kvol({"compact", Volume()}).code);
    const size_t cbOnce = Read("test.vol").size();
    ASSERT_EQ(0u, Kvol({"compact", Volume()}).code);
    EXPECT_EQ(cbOnce, Read("test.vol").size());
    const CEOID oidLast = [&] {
        CMounted volume(Volume());
        return volume.Records(L"t").back();
    }();
    Import("t", "code,size\nnew,5\n", {"--append"});
    CMounted volume(Volume());
    EXPECT_GT(volume.Records(L"t").back(), oidLast); // OIDs go on from where they were
}

TEST_F(KvolCompactTest, AnEmptyVolumeIsCompactedToo)
{
    const std::string path = Path("empty.vol");
    {
        CEGUID guid;
        std::wstring wide = kvol::Wide(path);
        ASSERT_TRUE(::CeMountDBVol(&guid, wide.data(), CREATE_NEW));
        ASSERT_TRUE(::CeUnmountDBVol(&guid));
    }
    const Outcome outcome = Kvol({"compact", path});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_TRUE(outcome.OutHas("now:    0 databases, 0 records, ")) << outcome;
}

TEST_F(KvolCompactTest, AVolumeInUseIsNotCompacted)
{
    const std::string before = Dump("t");
    {
        const CMounted volume(Volume());
        const Outcome outcome = Kvol({"compact", Volume()});
        EXPECT_EQ(1u, outcome.code);
        EXPECT_TRUE(outcome.ErrHas("which is as it was: a program has it open; close that first")) << outcome;
        EXPECT_FALSE(Exists("test.vol.compacting"));
    }
    EXPECT_EQ(before, Dump("t"));
}

TEST_F(KvolCompactTest, WhatAKilledCompactionLeftIsOverwritten)
{
    Write("test.vol.compacting", std::string(100000, 'x'));
    const Outcome outcome = Kvol({"compact", Volume()});
    EXPECT_EQ(0u, outcome.code) << outcome;
    EXPECT_FALSE(Exists("test.vol.compacting"));
    EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
}

TEST_F(KvolCompactTest, AFailureLeavesTheVolumeByteForByteAsItWas)
{
    const std::string before = Read("test.vol");
    // A folder in the new file's place.
    ASSERT_TRUE(::CreateDirectoryW(kvol::Wide(Path("test.vol.compacting")).c_str(), nullptr));
    const Outcome outcome = Kvol({"compact", Volume()});
    EXPECT_EQ(1u, outcome.code) << outcome;
    EXPECT_TRUE(outcome.ErrHas("which is as it was")) << outcome;
    EXPECT_EQ(before, Read("test.vol"));
}

TEST_F(KvolCompactTest, ADamagedVolumeIsNotCompactedWhicheverPageItIs)
{
    const std::string sound = Read("test.vol");
    const size_t nPages = sound.size() / 4096;
    size_t nRefused = 0;
    for (size_t page = 4; page < nPages; page += 1 + nPages / 40) {
        SCOPED_TRACE(page);
        std::string damaged = sound;
        for (size_t i = 0; i < 4096; ++i) damaged[page * 4096 + i] = static_cast<char>(i * 7 + 1);
        Write("test.vol", damaged);
        std::wstring wide = kvol::Wide(Volume());
        wchar_t problem[200] = L"";
        if (::CeCompactDBVol(wide.data(), problem, ARRAYSIZE(problem))) {
            EXPECT_NE(damaged, Read("test.vol")); // a free page: the copy is sound
            EXPECT_EQ(0u, Kvol({"check", Volume()}).code);
            continue;
        }
        ++nRefused;
        EXPECT_EQ(static_cast<DWORD>(ERROR_FILE_CORRUPT), ::GetLastError());
        EXPECT_NE(L'\0', *problem);
        EXPECT_EQ(damaged, Read("test.vol"));
        EXPECT_FALSE(Exists("test.vol.compacting"));
    }
    EXPECT_GT(nRefused, 5u);
}

TEST_F(KvolCompactTest, AKillAtAnyTimeLeavesTheOldVolumeOrTheNewOne)
{
    const std::string table = Dump("t");
    const std::string sound = Read("test.vol");
    for (DWORD dwMilliseconds = 0; dwMilliseconds < 300; dwMilliseconds += 30) {
        SCOPED_TRACE(dwMilliseconds);
        Write("test.vol", sound);
        KvolKilledAfter({"compact", Volume()}, dwMilliseconds);
        ASSERT_EQ(0u, Kvol({"check", Volume()}).code);
        ASSERT_EQ(table, Dump("t"));
    }
}
