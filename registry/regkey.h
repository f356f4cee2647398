// RegKey: one open registry key.
//
// Ownership  the handle is owned: Close and the destructor close it. A copy (constructor or assignment) has the same
//            handle value, not a duplicate, and both close it: Detach all but one of such copies before they go.
//            Assigning does not close the handle held before.
// Threads    one thread at a time.
// Errors     every long is the Win32 code of the registry call, unchanged: 0 (ERROR_SUCCESS), ERROR_FILE_NOT_FOUND, ...
//            Nothing is raised, logged or thrown.
//
// Strings are UTF-16 and end with a zero. A null or empty value name is the key's default value.
#ifndef KORVANE_REGISTRY_REGKEY_H
#define KORVANE_REGISTRY_REGKEY_H

#include "base/api.h"

#include <windows.h>

class KORVANE_API RegKey
{
public:
    RegKey() = default;
    RegKey(const RegKey&) = default;
    RegKey& operator=(const RegKey&) = default;
    ~RegKey();

    // The handle; null when no key is open. It stays this object's.
    operator HKEY() const { return m_hKey; }
    // Takes a handle over; the one held before is not closed.
    void Attach(HKEY hKey) { m_hKey = hKey; }
    // Hands the handle over, open, and is closed.
    HKEY Detach();
    // RegCloseKey's result; 0 when no key is open. No key is open afterwards in either case.
    long Close();

    // RegCreateKeyExW: opens the key `name` under `parent`, or makes it. *disposition, when not null, receives
    // REG_CREATED_NEW_KEY or REG_OPENED_EXISTING_KEY, and 0 when the call failed. On success the key held before is
    // closed and the result is that Close's; on failure it stays open.
    long Create(HKEY parent, const wchar_t* name, wchar_t* className, DWORD options, DWORD samDesired,
                SECURITY_ATTRIBUTES* security, DWORD* disposition);
    // RegOpenKeyExW; the key held before as with Create.
    long Open(HKEY parent, const wchar_t* name, DWORD samDesired);

    // RegQueryValueExW. The value's type is not looked at: a value of 1 to 4 bytes fills as much of the number.
    long QueryValue(DWORD& value, const wchar_t* valueName);
    // *size is the buffer's size in bytes and becomes the data's. A string comes as it is stored: one without a
    // terminator has none here. Nothing beside the buffer is touched, whatever its size.
    long QueryValue(wchar_t* buffer, const wchar_t* valueName, DWORD* size);
    long QueryValue(BYTE* buffer, const wchar_t* valueName, DWORD* size);

    // RegSetValueExW: REG_DWORD; REG_SZ with its terminator (null is stored as ""); REG_BINARY of `size` bytes.
    long SetValue(DWORD value, const wchar_t* valueName);
    long SetValue(const wchar_t* value, const wchar_t* valueName);
    long SetValue(BYTE* data, DWORD size, const wchar_t* valueName);
    // Opens or makes the key `keyName`, with KEY_ALL_ACCESS, and sets a string value in it. When the key cannot be had,
    // the result is that failure and nothing is written.
    static long SetValue(HKEY parent, const wchar_t* keyName, const wchar_t* value, const wchar_t* valueName);
    // The same under this key.
    long SetKeyValue(const wchar_t* keyName, const wchar_t* value, const wchar_t* valueName);

    // Deletes the subkey `name` with all keys below it, the deepest first. The first failure is returned at once; what
    // has been deleted by then stays deleted.
    long RecurseDeleteKey(const wchar_t* name);
    // The name of the subkey at `index`, from 0. 1, or 0 when there is none or its name is 128 units or longer; `name`
    // means nothing then. `name` has room for 128 units; it receives a terminated text in either case.
    int SubKey(DWORD index, wchar_t* name) const;
    // RegDeleteKeyW: a subkey without keys below it.
    long DeleteSubKey(const wchar_t* name);
    long DeleteValue(const wchar_t* valueName);

private:
    HKEY m_hKey = nullptr; // owned
};

#endif
