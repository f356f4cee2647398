// GetOwnerInfo, on a key of the test's own that stands in for HKEY_CURRENT_USER.
#include "korvanelib.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class OwnerInfoTest : public testing::Test
{
protected:
    OwnerInfoTest() : m_strPath(L"Software\\korvane-owner-" + std::to_wstring(::GetCurrentProcessId()))
    {
        DWORD disposition = 0;
        ::RegCreateKeyExW(HKEY_CURRENT_USER, m_strPath.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &m_hRoot,
                          &disposition);
        EXPECT_EQ(disposition, static_cast<DWORD>(REG_CREATED_NEW_KEY));
        ::RegOverridePredefKey(HKEY_CURRENT_USER, m_hRoot);
    }
    ~OwnerInfoTest() override
    {
        ::RegOverridePredefKey(HKEY_CURRENT_USER, nullptr);
        ::RegDeleteKeyW(m_hRoot, L"ControlPanel\\Owner");
        ::RegDeleteKeyW(m_hRoot, L"ControlPanel");
        ::RegCloseKey(m_hRoot);
        ::RegDeleteKeyW(HKEY_CURRENT_USER, m_strPath.c_str());
    }

    void MakeKey()
    {
        HKEY key = nullptr;
        ASSERT_EQ(
            ::RegCreateKeyExW(m_hRoot, L"ControlPanel\\Owner", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            0);
        ::RegCloseKey(key);
    }

    void PutRecord(const void* data, DWORD size, DWORD type = REG_BINARY)
    {
        HKEY key = nullptr;
        ASSERT_EQ(
            ::RegCreateKeyExW(m_hRoot, L"ControlPanel\\Owner", 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr),
            0);
        ASSERT_EQ(::RegSetValueExW(key, L"Owner", 0, type, static_cast<const BYTE*>(data), size), 0);
        ::RegCloseKey(key);
    }

    // Name and company with a bar between; both stay "before" when the result is 0.
    static std::wstring Read()
    {
        CString name(L"before"), company(L"before");
        const int found = GetOwnerInfo(name, company);
        if (found == 0) {
            EXPECT_TRUE(name == L"before" && company == L"before");
        }
        return std::to_wstring(found) + L" " + static_cast<LPCTSTR>(name) + L"|" + static_cast<LPCTSTR>(company);
    }

    // A record of `units` units with a name and a company in it.
    static std::wstring Record(const wchar_t* name, const wchar_t* company, size_t units = 384)
    {
        std::wstring record(384, L'\0');
        record.replace(0, std::wcslen(name), name);
        record.replace(36, std::wcslen(company), company);
        return record.substr(0, units);
    }

    const std::wstring m_strPath;
    HKEY m_hRoot = nullptr;
};

const std::wstring kNothing = L"0 before|before";

} // namespace

TEST_F(OwnerInfoTest, NameAndCompanyAreRead)
{
    const std::wstring record = Record(L"Ada Byron", L"Analytical Engines");
    PutRecord(record.data(), 768);
    EXPECT_EQ(Read(), L"1 Ada Byron|Analytical Engines");
}

TEST_F(OwnerInfoTest, AMissingKeyIsNothing)
{
    EXPECT_EQ(Read(), kNothing);
}

TEST_F(OwnerInfoTest, AMissingValueIsNothing)
{
    MakeKey();
    EXPECT_EQ(Read(), kNothing);
}

TEST_F(OwnerInfoTest, MoreThan768BytesAreNothing)
{
    const std::wstring record(1000, L'x');
    PutRecord(record.data(), 769);
    EXPECT_EQ(Read(), kNothing);
    PutRecord(record.data(), 2000);
    EXPECT_EQ(Read(), kNothing);
}

TEST_F(OwnerInfoTest, AnEmptyRecordIsTwoEmptyTexts)
{
    PutRecord(L"", 0);
    EXPECT_EQ(Read(), L"1 |");
}

TEST_F(OwnerInfoTest, ARecordThatEndsEarlyIsReadAsFarAsItGoes)
{
    const std::wstring record = Record(L"Ada", L"Engines");
    PutRecord(record.data(), 4);
    EXPECT_EQ(Read(), L"1 Ad|");
    PutRecord(record.data(), 5); // an odd byte is no character
    EXPECT_EQ(Read(), L"1 Ad|");
    PutRecord(record.data(), 72);
    EXPECT_EQ(Read(), L"1 Ada|");
    PutRecord(record.data(), 73);
    EXPECT_EQ(Read(), L"1 Ada|");
    PutRecord(record.data(), 72 + 6);
    EXPECT_EQ(Read(), L"1 Ada|Eng");
}

TEST_F(OwnerInfoTest, TextsWithoutAZeroEndWithTheRecord)
{
    const std::wstring record(384, L'x');
    PutRecord(record.data(), 768);
    EXPECT_EQ(Read(), L"1 " + std::wstring(384, L'x') + L"|" + std::wstring(348, L'x'));
}

TEST_F(OwnerInfoTest, TheTypeOfTheValueDoesNotMatter)
{
    const std::wstring record = Record(L"Ada", L"Engines", 50);
    PutRecord(record.data(), 100, REG_SZ);
    EXPECT_EQ(Read(), L"1 Ada|Engines");
}

// The sample in base/ownerinfo.h.
TEST_F(OwnerInfoTest, TheSampleOfTheHeaderMakesATitle)
{
    const std::wstring record = Record(L"Ada", L"Engines");
    PutRecord(record.data(), 768);
    CString title;
    CString name, company;
    if (GetOwnerInfo(name, company)) title = name + L", " + company;
    EXPECT_TRUE(title == L"Ada, Engines");
}
