#include "settings.h"

#include <gtest/gtest.h>

#include <string>

namespace {

class SettingsTest : public testing::Test
{
protected:
    SettingsTest() : m_program(L"atlas-test-" + std::to_wstring(::GetCurrentProcessId()))
    {
        m_path = L"Software\\korvaneLib\\" + m_program;
        ::RegDeleteKeyW(HKEY_CURRENT_USER, m_path.c_str());
    }
    ~SettingsTest() override { ::RegDeleteKeyW(HKEY_CURRENT_USER, m_path.c_str()); }

    void Put(const wchar_t* name, DWORD type, const void* data, DWORD cb)
    {
        HKEY key = nullptr;
        ASSERT_EQ(
            0, ::RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_WRITE, nullptr, &key, nullptr));
        EXPECT_EQ(0, ::RegSetValueExW(key, name, 0, type, static_cast<const BYTE*>(data), cb));
        ::RegCloseKey(key);
    }
    // Defaults that are none of the program's, then what is in the registry.
    std::wstring Loaded()
    {
        CSettings settings;
        settings.country = L"XX";
        settings.file = L"f";
        settings.position = CPoint(-1, -2);
        settings.Load(m_program.c_str());
        return std::wstring(settings.country) + L"|" + std::wstring(settings.file) + L"|" +
               std::to_wstring(settings.position.x) + L"," + std::to_wstring(settings.position.y);
    }

    const std::wstring m_program;
    std::wstring m_path;
};

TEST_F(SettingsTest, WithoutAKeyTheDefaultsStay)
{
    EXPECT_EQ(L"XX|f|-1,-2", Loaded());
}

TEST_F(SettingsTest, WhatWasSavedIsLoaded)
{
    CSettings settings;
    settings.country = L"IE";
    settings.file = L"\\My Documents\\a.fav";
    settings.position = CPoint(-5, 70000);
    EXPECT_EQ(0, settings.Save(m_program.c_str()));
    EXPECT_EQ(L"IE|\\My Documents\\a.fav|-5,70000", Loaded());
}

TEST_F(SettingsTest, ValuesOfOtherTypesGiveTheDefaults)
{
    const DWORD number = 12;
    Put(L"Country", REG_DWORD, &number, sizeof number);
    Put(L"File", REG_BINARY, "abc", 3);
    Put(L"Left", REG_BINARY, "abcdefgh", 8);
    EXPECT_EQ(L"XX|f|", Loaded().substr(0, 5));
}

TEST_F(SettingsTest, ANumberOfTheRegistrysOwnTypeIsTaken)
{
    const DWORD number = 12;
    Put(L"Left", REG_DWORD, &number, sizeof number);
    EXPECT_EQ(L"XX|f|12,-2", Loaded());
}

} // namespace
