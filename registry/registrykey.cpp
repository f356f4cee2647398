#include "registry/registrykey.h"

#include <cwchar>
#include <memory>
#include <new>

// The roots and their initialiser stay in this order and in this file: pointers that are null from the start are set by
// the initialiser, and release their keys when the library is unloaded.
CSmartPtr<CRegistryKey> CRegistryKey::HK_CLASSES_ROOT;
CSmartPtr<CRegistryKey> CRegistryKey::HK_CURRENT_USER;
CSmartPtr<CRegistryKey> CRegistryKey::HK_LOCAL_MACHINE;
CSmartPtr<CRegistryKey> CRegistryKey::HK_USERS;
bool CRegistryKey::m_bPropagetErrOnDestruct = false;

static const CRegistryKey_Initializer s_rootKeys;

CRegistryKey_Initializer::CRegistryKey_Initializer()
{
    const struct
    {
        CSmartPtr<CRegistryKey>& rRoot;
        HKEY hKey;
    } kRoots[] = {
        {CRegistryKey::HK_CLASSES_ROOT, HKEY_CLASSES_ROOT},
        {CRegistryKey::HK_CURRENT_USER, HKEY_CURRENT_USER},
        {CRegistryKey::HK_LOCAL_MACHINE, HKEY_LOCAL_MACHINE},
        {CRegistryKey::HK_USERS, HKEY_USERS},
    };
    for (const auto& root : kRoots) {
        root.rRoot = new (std::nothrow) CRegistryKey(nullptr);
        if (root.rRoot) root.rRoot->m_hKey = root.hKey;
    }
}

CRegistryKey::~CRegistryKey()
{
    const bool bPredefined = m_hKey == HKEY_CLASSES_ROOT || m_hKey == HKEY_CURRENT_USER ||
                             m_hKey == HKEY_LOCAL_MACHINE || m_hKey == HKEY_USERS;
    if (m_hKey && !bPredefined) ::RegCloseKey(m_hKey);
    m_hKey = nullptr;
    if (IsFailed() && m_bPropagetErrOnDestruct && m_pParent) m_pParent->m_lError = m_lError;
}

CSmartPtr<CRegistryKey> CRegistryKey::CreateKey(const wchar_t* name, unsigned long samDesired)
{
    HKEY hKey = nullptr;
    DWORD dwDisposition = 0;
    wchar_t className[] = L"";
    const long lResult = ::RegCreateKeyExW(m_hKey, name, 0, className, 0, samDesired, nullptr, &hKey, &dwDisposition);
    return lResult == ERROR_SUCCESS ? MakeChild(hKey, 0) : MakeChild(nullptr, HRESULT_FROM_WIN32(lResult));
}

CSmartPtr<CRegistryKey> CRegistryKey::OpenKey(const wchar_t* name, unsigned long samDesired)
{
    HKEY hKey = nullptr;
    const long lResult = ::RegOpenKeyExW(m_hKey, name, 0, samDesired, &hKey);
    return lResult == ERROR_SUCCESS ? MakeChild(hKey, 0) : MakeChild(nullptr, m_lError);
}

CSmartPtr<CRegistryKey> CRegistryKey::MakeChild(HKEY hKey, long lError)
{
    CSmartPtr<CRegistryKey> child(new (std::nothrow) CRegistryKey(this));
    if (child) {
        child->m_hKey = hKey;
        child->m_lError = lError;
    } else if (hKey) {
        ::RegCloseKey(hKey);
    }
    return child;
}

CRegistryValue CRegistryKey::GetDefaultVal()
{
    return CRegistryValue(this, CString());
}

void CRegistryKey::SetDefaultVal(const wchar_t* value)
{
    GetDefaultVal() = value;
}

void CRegistryKey::SetDefaultVal(unsigned long value)
{
    GetDefaultVal() = value;
}

CRegistryValue CRegistryKey::GetVals(const wchar_t* name)
{
    return CRegistryValue(this, name);
}

void CRegistryKey::PutVals(const wchar_t* name, const wchar_t* value)
{
    GetVals(name) = value;
}

void CRegistryKey::PutVals(const wchar_t* name, unsigned long value)
{
    GetVals(name) = value;
}

long CRegistryKey::Delete(const wchar_t* name)
{
    if (IsFailed()) return E_FAIL;
    const long lResult = ::RegDeleteKeyW(m_hKey, name);
    if (lResult != ERROR_SUCCESS) RecordWin32(lResult);
    return 0;
}

CRegistryValue::CRegistryValue(CRegistryKey* key, CString name) : m_pKey(key), m_strName(name) {}

CRegistryValue::CRegistryValue(const CRegistryValue& rOther)
    : CRefCntBase(), m_pKey(rOther.m_pKey), m_strName(rOther.m_strName)
{
}

CRegistryValue& CRegistryValue::operator=(const CRegistryValue& rOther)
{
    // Not the base: the count is this proxy's own.
    m_pKey = rOther.m_pKey;
    m_strName = rOther.m_strName;
    return *this;
}

CRegistryValue::~CRegistryValue() = default;

CRegistryValue::operator CString()
{
    CString text;
    if (m_pKey->IsFailed()) return text;

    DWORD dwType = 0;
    DWORD cb = 0;
    long lResult = ::RegQueryValueExW(m_pKey->m_hKey, m_strName, nullptr, &dwType, nullptr, &cb);
    if (lResult != ERROR_SUCCESS) {
        m_pKey->RecordWin32(lResult);
        return text;
    }
    if (dwType != REG_SZ) {
        m_pKey->m_lError = DISP_E_TYPEMISMATCH;
        return text;
    }
    // Room for twice the data, in case it grows, and zeros behind all of it: stored data can lack the terminator, or
    // end in half a character. A unit before it: a desktop's registry looks at the last two bytes of a text of one byte.
    cb *= 2;
    const std::size_t cch = 1 + cb / sizeof(wchar_t) + 1;
    const std::unique_ptr<wchar_t[]> buffer(new (std::nothrow) wchar_t[cch]());
    if (!buffer) {
        m_pKey->RecordWin32(ERROR_OUTOFMEMORY);
        return text;
    }
    wchar_t* const pwchText = buffer.get() + 1;
    lResult = ::RegQueryValueExW(m_pKey->m_hKey, m_strName, nullptr, &dwType, reinterpret_cast<BYTE*>(pwchText), &cb);
    if (lResult == ERROR_SUCCESS) {
        text = pwchText;
    } else {
        m_pKey->RecordWin32(lResult);
    }
    return text;
}

CRegistryValue::operator unsigned long()
{
    if (m_pKey->IsFailed()) return 0;

    DWORD data[] = {0, 0}; // something before the value, as with texts
    DWORD& dwValue = data[1];
    DWORD dwType = REG_DWORD; // of a value that is not there nothing is known
    DWORD cb = sizeof(dwValue);
    const long lResult =
        ::RegQueryValueExW(m_pKey->m_hKey, m_strName, nullptr, &dwType, reinterpret_cast<BYTE*>(&dwValue), &cb);
    if (lResult != ERROR_SUCCESS) m_pKey->RecordWin32(lResult);
    // Also of one that is too long for a number, whose type comes all the same.
    if (dwType != REG_DWORD) m_pKey->m_lError = DISP_E_TYPEMISMATCH;
    return dwValue;
}

int CRegistryValue::IsPresent()
{
    if (m_pKey->IsFailed()) return 0;
    return ::RegQueryValueExW(m_pKey->m_hKey, m_strName, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
}

CRegistryValue& CRegistryValue::operator=(const wchar_t* value)
{
    if (!value) value = L"";
    Store(value, (std::wcslen(value) + 1) * sizeof(wchar_t));
    return *this;
}

CRegistryValue& CRegistryValue::operator=(unsigned long value)
{
    // A desktop's registry looks one unit behind string data that does not end in a zero, and takes a zero there for
    // the missing terminator. The second element keeps the value at 4 bytes.
    const unsigned long data[] = {value, 0xFFFFFFFF};
    Store(data, sizeof(value));
    return *this;
}

// Writes the value as REG_SZ unless the key is in error.
void CRegistryValue::Store(const void* pData, unsigned long cb)
{
    if (m_pKey->IsFailed()) return;
    const long lResult = ::RegSetValueExW(m_pKey->m_hKey, m_strName, 0, REG_SZ, static_cast<const BYTE*>(pData), cb);
    if (lResult != ERROR_SUCCESS) m_pKey->RecordWin32(lResult);
}
