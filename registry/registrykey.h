// CRegistryKey: a counted registry key that remembers its first failure. CRegistryValue: a proxy for one value of it.
//
//     CSmartPtr<CRegistryKey> key = CRegistryKey::HK_CURRENT_USER->CreateKey(L"Software\\Atlas", KEY_ALL_ACCESS);
//     key->PutVals(L"Title", L"Maps");
//     CString title = key->GetVals(L"Title");
//     if (key->GetError() < 0) ...
//
// Ownership  keys live through CSmartPtr: as long as any smart pointer, child key or value proxy refers to them. A key
//            keeps the key it was opened from, so that one's handle is open as long as any child lives.
// Threads    one thread at a time.
// Errors     nothing is raised or thrown. A failure becomes the key's error, an HRESULT: 0x80070000 | the Win32 code,
//            or 0x80020005 (DISP_E_TYPEMISMATCH) for a value of another type. While a key is in error, reads return ""
//            or 0 and writes and Delete do nothing, until CleareError. CreateKey and OpenKey still run.
//
// samDesired goes to the platform as it is; there is no default. The device does not look at it, a desktop does.
#ifndef KORVANE_REGISTRY_REGISTRYKEY_H
#define KORVANE_REGISTRY_REGISTRYKEY_H

#include "base/api.h"
#include "base/refcount.h"
#include "base/smartptr.h"

#include <afx.h>
#include <windows.h>

class CRegistryKey;

// Comes from CRegistryKey::GetVals or GetDefaultVal. A value is read by initialising a CString or an unsigned long with
// the proxy, and written with the key's PutVals and SetDefaultVal.
class KORVANE_API CRegistryValue : public CRefCntBase
{
    friend class CRegistryKey;

public:
    ~CRegistryValue() override;

    // A REG_SZ value's text, up to its first zero. Otherwise "", and the key's error is set: the value is missing or
    // cannot be read, or has another type.
    operator CString();
    // A REG_DWORD value's number. A missing or longer value sets the key's error and gives 0; one of another type
    // sets the error to 0x80020005, however long it is, and gives its bytes all the same if they are at most 4.
    operator unsigned long();
    // 1 when the value is there, whatever its type; else, and for a key in error, 0. Leaves the key's error alone.
    int IsPresent();

protected:
    // Adds a reference to the key. The proxy's own count starts at 0, a copy's too. An empty name: the default value.
    CRegistryValue(CRegistryKey* key, CString name);
    CRegistryValue(const CRegistryValue& rOther);
    CRegistryValue& operator=(const CRegistryValue& rOther);
    // Writes REG_SZ with its terminator; null is stored as "".
    CRegistryValue& operator=(const wchar_t* value);
    // Writes the number's 4 bytes under the type REG_SZ. So reading it as a number gives the number and sets the key's
    // error to 0x80020005: data that applications have stored, and test for, in this form.
    CRegistryValue& operator=(unsigned long value);

private:
    void Store(const void* pData, unsigned long cb);

    CSmartPtr<CRegistryKey> m_pKey;
    CString m_strName;
};

class KORVANE_API CRegistryKey : public CRefCntBase
{
    friend class CRegistryKey_Initializer;
    friend class CRegistryValue;

public:
    // The predefined keys. They are there from the loading of the library on, InitLib makes them anew, and their
    // handles are never closed.
    static CSmartPtr<CRegistryKey> HK_CLASSES_ROOT;
    static CSmartPtr<CRegistryKey> HK_CURRENT_USER;
    static CSmartPtr<CRegistryKey> HK_LOCAL_MACHINE;
    static CSmartPtr<CRegistryKey> HK_USERS;
    // Whether a key that goes in error hands its error to the key it was opened from. Off at first.
    static bool m_bPropagetErrOnDestruct;
    static void PropagateErrorOnDestruction(bool bPropagate) { m_bPropagetErrOnDestruct = bPropagate; }

    // Copy every member: the count, the handle's value (not a duplicate), the error and the parent.
    CRegistryKey(const CRegistryKey&) = default;
    CRegistryKey& operator=(const CRegistryKey&) = default;

    // RegCreateKeyExW under this key, whose own error does not matter. Always returns a child; when the call failed it
    // has no handle and the failure is its error. Null only when memory is out.
    CSmartPtr<CRegistryKey> CreateKey(const wchar_t* name, unsigned long samDesired);
    // RegOpenKeyExW; as CreateKey, but a child that could not be opened has *this key's* error, which is usually 0:
    // its first operation then fails with 0x80070006 (ERROR_INVALID_HANDLE).
    CSmartPtr<CRegistryKey> OpenKey(const wchar_t* name, unsigned long samDesired);

    // The value with the empty name.
    CRegistryValue GetDefaultVal();
    void SetDefaultVal(const wchar_t* value);
    void SetDefaultVal(unsigned long value);

    CRegistryValue GetVals(const wchar_t* name);
    // See CRegistryValue: a number is stored under the type REG_SZ.
    void PutVals(const wchar_t* name, const wchar_t* value);
    void PutVals(const wchar_t* name, unsigned long value);

    // Deletes the subkey `name`, which must have no keys below it. 0x80004005 (E_FAIL) when this key is in error;
    // otherwise 0, and a failure is in GetError().
    long Delete(const wchar_t* name);

    // 0, or the first failure since the key was made or CleareError was called.
    long GetError() const { return m_lError; }
    void CleareError() { m_lError = 0; }

private:
    explicit CRegistryKey(CRegistryKey* pParent) : m_pParent(pParent) {}
    ~CRegistryKey() override;
    CSmartPtr<CRegistryKey> MakeChild(HKEY hKey, long lError);
    void RecordWin32(long lCode) { m_lError = HRESULT_FROM_WIN32(lCode); }
    bool IsFailed() const { return m_lError < 0; }

    HKEY m_hKey = nullptr; // owned unless it is a predefined one
    long m_lError = 0;
    CSmartPtr<CRegistryKey> m_pParent; // null for the roots
};

// Makes the four root keys anew. One of its kind is made when the library is loaded.
class KORVANE_API CRegistryKey_Initializer
{
public:
    CRegistryKey_Initializer();
};

#endif
