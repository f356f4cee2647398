#include "favouritesfile.h"
#include "ids.h"

#include "support/log_capture.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>

namespace {

class FavouritesFileTest : public testing::Test
{
protected:
    UINT Import(const std::string& bytes)
    {
        FILE* const file = ::_wfopen(m_path.c_str(), L"wb");
        std::fwrite(bytes.data(), 1, bytes.size(), file);
        std::fclose(file);
        return ImportFavourites(m_path.c_str(), m_read);
    }
    std::string Exported(const std::vector<CFavourite>& favourites)
    {
        EXPECT_EQ(0u, ExportFavourites(m_path.c_str(), favourites));
        return ReadBytes(m_path);
    }
    std::string State() const
    {
        std::string state;
        for (const CFavourite& favourite : m_read) {
            char part[40];
            std::snprintf(part, sizeof part, "%ls %g;", static_cast<LPCTSTR>(favourite.country), favourite.sum);
            state += part;
        }
        return state;
    }

    CTempFolder m_folder;
    const std::wstring m_path = m_folder.File(L"a.fav");
    std::vector<CFavourite> m_read{{L"ZZ", 7}}; // what was there before
};

const std::vector<CFavourite> kTwo = {{L"IE", 1234.5}, {L"IS", 0}};

// The bytes, with a sum of its own for each.
std::string File(unsigned char count, const std::string& entries)
{
    return std::string("AtlF\x01\x00", 6) + static_cast<char>(count) + std::string(3, '\0') + entries;
}

std::string Entry(const char* code, double sum)
{
    std::string entry = static_cast<char>(std::strlen(code)) + std::string(3, '\0');
    for (; *code; ++code) entry += *code + std::string(1, '\0');
    return entry.append(reinterpret_cast<const char*>(&sum), sizeof sum);
}

TEST_F(FavouritesFileTest, WhatIsWrittenIsTheBytesOfTheFormat)
{
    EXPECT_EQ(File(2, Entry("IE", 1234.5) + Entry("IS", 0)), Exported(kTwo));
}

TEST_F(FavouritesFileTest, WhatWasExportedIsImported)
{
    EXPECT_EQ(0u, Import(Exported(kTwo)));
    EXPECT_EQ("IE 1234.5;IS 0;", State());
    EXPECT_EQ(0u, Import(Exported({})));
    EXPECT_EQ("", State());
}

TEST_F(FavouritesFileTest, EveryTruncationIsRefusedAndNothingIsRead)
{
    const std::string whole = Exported(kTwo);
    for (std::size_t cb = 0; cb < whole.size(); ++cb) {
        SCOPED_TRACE(cb);
        EXPECT_EQ(static_cast<UINT>(IDS_IMPORT_REFUSED), Import(whole.substr(0, cb)));
        EXPECT_EQ("ZZ 7;", State());
    }
}

TEST_F(FavouritesFileTest, WhatIsNoFavouritesFileIsRefused)
{
    const std::string one = Entry("IE", 1);
    const struct
    {
        const char* why;
        std::string bytes;
    } cases[] = {
        {"another magic", "BtlF" + File(1, one).substr(4)},
        {"another version", std::string("AtlF\x02\x00", 6) + File(1, one).substr(6)},
        {"bytes behind the last one", File(1, one) + '\0'},
        {"more than there are", File(2, one)},
        {"fewer than there are", File(0, one)},
        {"no code", File(1, Entry("", 1))},
        {"a short code", File(1, Entry("I", 1))},
        {"a long code", File(1, Entry("IRL", 1))},
        {"lower case", File(1, Entry("ie", 1))},
        {"a code that is none", File(1, Entry("I1", 1))},
        {"a country twice", File(2, one + one)},
        {"a negative sum", File(1, Entry("IE", -0.01))},
        {"a sum too large", File(1, Entry("IE", 1000000.5))},
        {"an endless sum", File(1, Entry("IE", std::numeric_limits<double>::infinity()))},
        {"no number", File(1, Entry("IE", std::numeric_limits<double>::quiet_NaN()))},
        {"a text of 2^32-1 units", File(1, std::string(4, '\xFF') + one)},
        {"4 billion favourites", File(1, one).replace(6, 4, 4, '\xFF')},
        {"a file without end", std::string(65 * 1024, 'A')},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.why);
        EXPECT_EQ(static_cast<UINT>(IDS_IMPORT_REFUSED), Import(c.bytes));
        EXPECT_EQ("ZZ 7;", State());
    }
}

TEST_F(FavouritesFileTest, DamagedBytesAreRefusedOrReadAsValidFavourites)
{
    std::mt19937 random(20261121);
    const std::string whole = Exported(kTwo);
    int refused = 0;
    for (int i = 0; i < 500; ++i) {
        std::string bytes = whole;
        bytes[random() % bytes.size()] = static_cast<char>(random());
        m_read = {{L"ZZ", 7}};
        const UINT failure = Import(bytes);
        if (failure) {
            ++refused;
            ASSERT_EQ("ZZ 7;", State());
        } else {
            ASSERT_EQ(2u, m_read.size());
            for (const CFavourite& favourite : m_read) {
                ASSERT_EQ(2, favourite.country.GetLength());
                ASSERT_TRUE(favourite.sum >= 0 && favourite.sum <= kLargestSum);
            }
        }
    }
    EXPECT_GT(refused, 250);
}

TEST_F(FavouritesFileTest, AMissingFileIsUnreadable)
{
    EXPECT_EQ(static_cast<UINT>(IDS_IMPORT_UNREADABLE), ImportFavourites(m_folder.File(L"none").c_str(), m_read));
    EXPECT_EQ("ZZ 7;", State());
}

TEST_F(FavouritesFileTest, AFolderThatIsNotThereCannotBeWrittenTo)
{
    EXPECT_EQ(static_cast<UINT>(IDS_EXPORT_FAILED), ExportFavourites(m_folder.File(L"none\\a.fav").c_str(), kTwo));
}

} // namespace
