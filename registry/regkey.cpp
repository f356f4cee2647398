#include "registry/regkey.h"

#include <algorithm>
#include <cstring>
#include <cwchar>

namespace {

constexpr DWORD kMaxKeyName = 256;    // units, the terminator included
constexpr DWORD kMaxSubKeyName = 128; // what callers of SubKey provide
constexpr DWORD kShortValue = 64;     // bytes; most values are shorter
constexpr DWORD kBeside = sizeof(wchar_t);

} // namespace

RegKey::~RegKey()
{
    Close();
}

HKEY RegKey::Detach()
{
    const HKEY hKey = m_hKey;
    m_hKey = nullptr;
    return hKey;
}

long RegKey::Close()
{
    return m_hKey ? ::RegCloseKey(Detach()) : ERROR_SUCCESS;
}

long RegKey::Create(HKEY parent, const wchar_t* name, wchar_t* className, DWORD options, DWORD samDesired,
                    SECURITY_ATTRIBUTES* security, DWORD* disposition)
{
    HKEY hNew = nullptr;
    DWORD dwDisposition = 0;
    const long lResult =
        ::RegCreateKeyExW(parent, name, 0, className, options, samDesired, security, &hNew, &dwDisposition);
    if (disposition) *disposition = dwDisposition;
    if (lResult != ERROR_SUCCESS) return lResult;
    const long lClosed = Close();
    m_hKey = hNew;
    return lClosed;
}

long RegKey::Open(HKEY parent, const wchar_t* name, DWORD samDesired)
{
    HKEY hNew = nullptr;
    const long lResult = ::RegOpenKeyExW(parent, name, 0, samDesired, &hNew);
    if (lResult != ERROR_SUCCESS) return lResult;
    const long lClosed = Close();
    m_hKey = hNew;
    return lClosed;
}

// A desktop's registry puts a terminator behind a text that lacks one, and looks for it in the last two bytes of the data.
// Of a text of a single byte the first of those lies before the buffer, and where there is room for that byte alone both
// bytes of the terminator lie behind it. So values that can be so short are read into a buffer with room beside it.

long RegKey::QueryValue(DWORD& value, const wchar_t* valueName)
{
    DWORD data[] = {0, value, 0};
    DWORD dwType = 0;
    DWORD cb = sizeof(value);
    const long lResult =
        ::RegQueryValueExW(m_hKey, valueName, nullptr, &dwType, reinterpret_cast<BYTE*>(&data[1]), &cb);
    value = data[1];
    return lResult;
}

long RegKey::QueryValue(wchar_t* buffer, const wchar_t* valueName, DWORD* size)
{
    return QueryValue(reinterpret_cast<BYTE*>(buffer), valueName, size);
}

long RegKey::QueryValue(BYTE* buffer, const wchar_t* valueName, DWORD* size)
{
    DWORD dwType = 0;
    if (buffer && size) {
        BYTE data[kBeside + kShortValue + kBeside];
        std::memset(data, 0xFF, sizeof(data));
        BYTE* const pData = data + kBeside;
        DWORD cb = std::min(*size, kShortValue);
        const long lResult = ::RegQueryValueExW(m_hKey, valueName, nullptr, &dwType, pData, &cb);
        // All of it, and the terminator if there was to be one?
        const bool bWhole = lResult == ERROR_SUCCESS && cb + kBeside <= kShortValue;
        if (bWhole || *size <= kShortValue) {
            if (lResult == ERROR_SUCCESS) {
                const bool bEnded = cb + kBeside <= *size && pData[cb] == 0 && pData[cb + 1] == 0;
                std::memcpy(buffer, pData, bEnded ? cb + kBeside : cb);
            }
            *size = cb;
            return lResult;
        }
    }
    return ::RegQueryValueExW(m_hKey, valueName, nullptr, &dwType, buffer, size);
}

long RegKey::SetValue(DWORD value, const wchar_t* valueName)
{
    return ::RegSetValueExW(m_hKey, valueName, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&value), sizeof(value));
}

long RegKey::SetValue(const wchar_t* value, const wchar_t* valueName)
{
    if (!value) value = L"";
    const DWORD cb = (std::wcslen(value) + 1) * sizeof(wchar_t);
    return ::RegSetValueExW(m_hKey, valueName, 0, REG_SZ, reinterpret_cast<const BYTE*>(value), cb);
}

long RegKey::SetValue(BYTE* data, DWORD size, const wchar_t* valueName)
{
    return ::RegSetValueExW(m_hKey, valueName, 0, REG_BINARY, data, size);
}

long RegKey::SetValue(HKEY parent, const wchar_t* keyName, const wchar_t* value, const wchar_t* valueName)
{
    RegKey key;
    const long lResult = key.Create(parent, keyName, nullptr, 0, KEY_ALL_ACCESS, nullptr, nullptr);
    return lResult == ERROR_SUCCESS ? key.SetValue(value, valueName) : lResult;
}

long RegKey::SetKeyValue(const wchar_t* keyName, const wchar_t* value, const wchar_t* valueName)
{
    return SetValue(m_hKey, keyName, value, valueName);
}

long RegKey::RecurseDeleteKey(const wchar_t* name)
{
    RegKey key;
    const long lOpened = key.Open(m_hKey, name, KEY_ALL_ACCESS);
    if (lOpened != ERROR_SUCCESS) return lOpened;

    wchar_t child[kMaxKeyName];
    DWORD cch = kMaxKeyName;
    // Always the first one: deleting it moves the next to its place.
    while (::RegEnumKeyExW(key, 0, child, &cch, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS) {
        const long lDeleted = key.RecurseDeleteKey(child);
        if (lDeleted != ERROR_SUCCESS) return lDeleted;
        cch = kMaxKeyName;
    }
    key.Close();
    return ::RegDeleteKeyW(m_hKey, name);
}

int RegKey::SubKey(DWORD index, wchar_t* name) const
{
    wchar_t found[kMaxSubKeyName] = L"";
    DWORD cch = kMaxSubKeyName;
    const long lResult = ::RegEnumKeyExW(m_hKey, index, found, &cch, nullptr, nullptr, nullptr, nullptr);
    found[kMaxSubKeyName - 1] = L'\0';
    std::wcscpy(name, found);
    return lResult == ERROR_SUCCESS;
}

long RegKey::DeleteSubKey(const wchar_t* name)
{
    return ::RegDeleteKeyW(m_hKey, name);
}

long RegKey::DeleteValue(const wchar_t* valueName)
{
    return ::RegDeleteValueW(m_hKey, valueName);
}
