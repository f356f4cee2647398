#include "base/ownerinfo.h"

#include <windows.h>

namespace {

constexpr DWORD kRecordBytes = 768;
constexpr DWORD kRecordUnits = kRecordBytes / sizeof(TCHAR);
constexpr DWORD kCompanyUnit = 36; // byte 72

// The text from unit `first` up to its zero or the end of what came, which is `count` units.
CString TextAt(const TCHAR* record, DWORD first, DWORD count)
{
    DWORD end = first;
    while (end < count && record[end] != 0) ++end;
    return first < end ? CString(record + first, static_cast<int>(end - first)) : CString();
}

} // namespace

int GetOwnerInfo(CString& name, CString& company)
{
    // The device opens with no access rights at all, because it does not look at them. A desktop does: without the
    // right to query, nothing could be read.
    HKEY key = nullptr;
    if (::RegOpenKeyExW(HKEY_CURRENT_USER, L"ControlPanel\\Owner", 0, KEY_QUERY_VALUE, &key) != ERROR_SUCCESS) return 0;

    TCHAR record[kRecordUnits];
    DWORD type = REG_BINARY;
    DWORD bytes = kRecordBytes;
    const LONG error = ::RegQueryValueExW(key, L"Owner", nullptr, &type, reinterpret_cast<BYTE*>(record), &bytes);
    ::RegCloseKey(key);
    if (error != ERROR_SUCCESS) return 0;

    const DWORD units = bytes / sizeof(TCHAR);
    // Both or, when memory is out, neither: what is assigned is there already.
    const CString newName = TextAt(record, 0, units), newCompany = TextAt(record, kCompanyUnit, units);
    name = newName;
    company = newCompany;
    return 1;
}
