#include "world.h"
#include "ids.h"
#include "volume.h"

#include "support/import_patch.h"
#include "support/log_capture.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

namespace {

std::wstring Joined(const std::vector<CString>& texts)
{
    std::wstring joined;
    for (const CString& text : texts) joined += (joined.empty() ? L"" : L"|") + std::wstring(text);
    return joined;
}

class WorldTest : public testing::Test
{
protected:
    void SetUp() override
    {
        InitLib("");
        ASSERT_TRUE(CopyVolume(m_path));
    }
    void WriteFile(const std::string& bytes)
    {
        FILE* const file = ::_wfopen(m_path.c_str(), L"wb");
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
    }
    static std::string State(CWorld& world)
    {
        std::vector<CFavourite> favourites;
        EXPECT_EQ(0, world.ReadFavourites(favourites));
        std::string state;
        for (const CFavourite& favourite : favourites) {
            char part[40];
            std::snprintf(part, sizeof part, "%ls %g;", static_cast<LPCTSTR>(favourite.country), favourite.sum);
            state += part;
        }
        return state;
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.File(L"w.vol");
};

TEST_F(WorldTest, CountriesComeInTheOrderOfTheirNames)
{
    CWorld world;
    ASSERT_EQ(0u, world.Open(m_path.c_str()));
    std::vector<std::pair<CString, CString>> countries;
    ASSERT_EQ(0, world.ListCountries(countries));
    std::vector<CString> codes;
    for (const auto& country : countries) codes.push_back(country.first);
    EXPECT_EQ(L"AX|AQ|BO|IS|IN|IE|CH", Joined(codes));
    EXPECT_EQ(L"\u00C5land Islands", countries.front().second);
}

TEST_F(WorldTest, ACountryHasItsNamesLanguagesAndCurrencies)
{
    CWorld world;
    ASSERT_EQ(0u, world.Open(m_path.c_str()));
    CCountry country;
    ASSERT_EQ(0, world.ReadCountry(L"CH", country));
    std::vector<CString> texts = {country.code, country.code3,        country.number,
                                  country.name, country.officialName, country.commonName};
    EXPECT_EQ(L"CH|CHE|756|Switzerland|Swiss Confederation|", Joined(texts));
    texts.clear();
    for (const CLanguage& language : country.languages) {
        CString text;
        text.Format(L"%s %s %g", language.name, language.status, language.share);
        texts.push_back(text);
    }
    EXPECT_EQ(L"German official 73|Swiss German de_facto_official 65|French official 21|Romansh official_regional 0.5",
              Joined(texts));
    ASSERT_EQ(1u, country.currencies.size());
    EXPECT_EQ(CString(L"Swiss Franc"), country.currencies[0].name);
}

TEST_F(WorldTest, WhatTheListsDoNotHaveKeepsItsCode)
{
    CWorld world;
    ASSERT_EQ(0u, world.Open(m_path.c_str()));
    CCountry country;
    ASSERT_EQ(0, world.ReadCountry(L"IN", country));
    ASSERT_EQ(1u, country.currencies.size());
    EXPECT_EQ(CString(L"INR"), country.currencies[0].name);
}

TEST_F(WorldTest, AnUnknownCountryIsAbsentAndLeavesTheResultAlone)
{
    CWorld world;
    ASSERT_EQ(0u, world.Open(m_path.c_str()));
    CCountry country;
    country.name = L"before";
    EXPECT_EQ(1, world.ReadCountry(L"XX", country));
    EXPECT_EQ(1, world.ReadCountry(L"", country));
    EXPECT_EQ(CString(L"before"), country.name);
}

TEST_F(WorldTest, SubdivisionsAreThoseOfTheCountryAlone)
{
    CWorld world;
    ASSERT_EQ(0u, world.Open(m_path.c_str()));
    const struct
    {
        LPCTSTR country;
        std::size_t count;
    } cases[] = {{L"IS", 3}, {L"IE", 18}, {L"CH", 0}, {L"AQ", 0}};
    for (const auto& c : cases) {
        std::vector<CSubdivision> subdivisions(1);
        EXPECT_EQ(0, world.ReadSubdivisions(c.country, subdivisions));
        EXPECT_EQ(c.count, subdivisions.size()) << c.country;
    }
}

TEST_F(WorldTest, FavouritesAreInTheVolumeAfterItWasClosed)
{
    {
        CWorld world;
        ASSERT_EQ(0u, world.Open(m_path.c_str()));
        EXPECT_EQ("", State(world));
        EXPECT_EQ(0, world.StoreFavourite({L"IE", 1.5}));
        EXPECT_EQ(0, world.StoreFavourite({L"AQ", 0}));
        EXPECT_EQ(0, world.StoreFavourite({L"IE", 2.5})); // in place of the first
        EXPECT_EQ(0, world.StoreFavourite({L"IS", 3}));
        EXPECT_EQ(0, world.RemoveFavourite(L"IS"));
        EXPECT_EQ(1, world.RemoveFavourite(L"IS"));
    }
    CWorld world;
    ASSERT_EQ(0u, world.Open(m_path.c_str()));
    EXPECT_EQ("AQ 0;IE 2.5;", State(world));
    CFavourite favourite;
    EXPECT_EQ(0, world.ReadFavourite(L"IE", favourite));
    EXPECT_EQ(2.5, favourite.sum);
    EXPECT_EQ(1, world.ReadFavourite(L"CH", favourite));
    EXPECT_EQ(0u, Kvol(L"check \"" + m_path + L"\""));
}

TEST_F(WorldTest, AMissingVolumeIsToldAsMissing)
{
    CWorld world;
    EXPECT_EQ(static_cast<UINT>(IDS_VOLUME_MISSING), world.Open(m_folder.File(L"none.vol").c_str()));
}

TEST_F(WorldTest, AFolderIsNoVolume)
{
    CWorld world;
    EXPECT_EQ(static_cast<UINT>(IDS_VOLUME_LOCKED), world.Open(m_folder.Path().c_str()));
}

TEST_F(WorldTest, WhatIsNoVolumeIsToldAsDamaged)
{
    for (const std::string& bytes : {std::string(), std::string("no volume"), std::string(70000, 'x')}) {
        WriteFile(bytes);
        CWorld world;
        EXPECT_EQ(static_cast<UINT>(IDS_VOLUME_DAMAGED), world.Open(m_path.c_str())) << bytes.size();
    }
}

TEST_F(WorldTest, AVolumeThatLacksATableIsToldAsAnotherOne)
{
    ::DeleteFileW(m_path.c_str());
    ASSERT_TRUE(MakeVolume(m_path, L"favourites"));
    CWorld world;
    EXPECT_EQ(static_cast<UINT>(IDS_VOLUME_OTHER), world.Open(m_path.c_str()));
}

TEST_F(WorldTest, ATableWithoutAFieldAnIndexOrOfAnotherTypeIsToldAsAnotherVolume)
{
    const struct
    {
        const char* csv;
        const wchar_t* options;
    } cases[] = {{"country\n", L"--index ByCountry=country"},
                 {"country,sum\n", L"--field sum:R8"},
                 {"country,sum\n", L"--field sum:I4 --index ByCountry=country"}};
    for (const auto& c : cases) {
        const std::wstring csv = m_folder.File(L"favourites.csv");
        FILE* const file = ::_wfopen(csv.c_str(), L"wb");
        std::fputs(c.csv, file);
        std::fclose(file);
        ASSERT_EQ(0u, Kvol(L"import \"" + m_path + L"\" favourites \"" + csv + L"\" --replace " + c.options));
        CWorld world;
        EXPECT_EQ(static_cast<UINT>(IDS_VOLUME_OTHER), world.Open(m_path.c_str())) << c.csv;
    }
}

BOOL WINAPI RefuseMount(PCEGUID, LPWSTR, DWORD)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

TEST_F(WorldTest, AVolumeThatMayNotBeWrittenIsToldAsLocked)
{
    const CImportPatch patch(L"korvaneLib.dll", "CeMountDBVol@12", &RefuseMount);
    CWorld world;
    EXPECT_EQ(static_cast<UINT>(IDS_VOLUME_LOCKED), world.Open(m_path.c_str()));
}

CEOID WINAPI RefuseWrite(HANDLE, CEOID, WORD, CEPROPVAL*)
{
    ::SetLastError(ERROR_DISK_FULL);
    return 0;
}

TEST_F(WorldTest, AFavouriteThatCannotBeWrittenIsAFailureAndTheOthersStay)
{
    CWorld world;
    ASSERT_EQ(0u, world.Open(m_path.c_str()));
    ASSERT_EQ(0, world.StoreFavourite({L"IE", 1}));
    {
        const CImportPatch patch(L"korvaneLib.dll", "CeWriteRecordProps@16", &RefuseWrite);
        EXPECT_GT(0, world.StoreFavourite({L"IE", 2}));
        EXPECT_GT(0, world.StoreFavourite({L"IS", 3}));
    }
    EXPECT_EQ("IE 1;", State(world));
}

} // namespace
