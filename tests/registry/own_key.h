// A registry key of a test's own, HKEY_CURRENT_USER\Software\korvane-test-<process>, new at first and gone afterwards.
#ifndef KORVANE_TESTS_REGISTRY_OWN_KEY_H
#define KORVANE_TESTS_REGISTRY_OWN_KEY_H

#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <string>
#include <vector>

class OwnKeyTest : public testing::Test
{
protected:
    OwnKeyTest() : m_path(L"Software\\korvane-test-" + std::to_wstring(::GetCurrentProcessId()))
    {
        DWORD dwDisposition = 0;
        EXPECT_EQ(ERROR_SUCCESS, ::RegCreateKeyExW(HKEY_CURRENT_USER, m_path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS,
                                                   nullptr, &m_hKey, &dwDisposition));
        EXPECT_EQ(static_cast<DWORD>(REG_CREATED_NEW_KEY), dwDisposition) << "left over by somebody";
    }
    ~OwnKeyTest() override
    {
        ::RegCloseKey(m_hKey);
        EXPECT_EQ(ERROR_SUCCESS, ::RegDeleteTreeW(HKEY_CURRENT_USER, m_path.c_str()));
    }

    // What the system's own calls say of a value: its type and its bytes. Type 0xFFFF: there is none.
    struct Stored
    {
        DWORD dwType = 0xFFFF;
        std::vector<BYTE> bytes;
        bool operator==(const Stored& r) const { return dwType == r.dwType && bytes == r.bytes; }
    };
    Stored Read(const wchar_t* name) const
    {
        Stored stored;
        DWORD cb = 0;
        if (::RegQueryValueExW(m_hKey, name, nullptr, nullptr, nullptr, &cb) != ERROR_SUCCESS) return stored;
        // Of text without a terminator the system adds one behind it, even where there is room for half of it only, and
        // of text of one byte it looks at the byte before.
        std::vector<BYTE> room(sizeof(wchar_t) + cb + sizeof(wchar_t));
        ::RegQueryValueExW(m_hKey, name, nullptr, &stored.dwType, room.data() + sizeof(wchar_t), &cb);
        stored.bytes.assign(room.begin() + sizeof(wchar_t), room.begin() + sizeof(wchar_t) + cb);
        return stored;
    }
    static Stored Text(const wchar_t* text)
    {
        const BYTE* const p = reinterpret_cast<const BYTE*>(text);
        return {REG_SZ, std::vector<BYTE>(p, p + (std::wcslen(text) + 1) * sizeof(wchar_t))};
    }
    static Stored Number(DWORD dwType, DWORD dwValue)
    {
        const BYTE* const p = reinterpret_cast<const BYTE*>(&dwValue);
        return {dwType, std::vector<BYTE>(p, p + sizeof(dwValue))};
    }
    // Writes bytes as they are. A non-zero unit behind them keeps the system from adding a terminator to a string, and of
    // a string of one byte it looks at the unit before.
    void Write(const wchar_t* name, DWORD dwType, std::vector<BYTE> bytes)
    {
        const DWORD cb = bytes.size();
        bytes.insert(bytes.begin(), 4, 0xFF);
        bytes.resize(4 + cb + 4, 0xFF);
        ASSERT_EQ(ERROR_SUCCESS, ::RegSetValueExW(m_hKey, name, 0, dwType, bytes.data() + 4, cb));
        ASSERT_EQ(cb, Read(name).bytes.size());
    }
    bool HasSubKey(const wchar_t* name) const
    {
        HKEY hKey = nullptr;
        if (::RegOpenKeyExW(m_hKey, name, 0, KEY_READ, &hKey) != ERROR_SUCCESS) return false;
        ::RegCloseKey(hKey);
        return true;
    }
    static bool IsOpen(HKEY hKey) { return ::RegQueryInfoKeyW(hKey, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0) == ERROR_SUCCESS; }

    std::wstring m_path; // under HKEY_CURRENT_USER
    HKEY m_hKey = nullptr;
};

#endif
