#include "settings.h"

namespace {

CString KeyOf(LPCTSTR program)
{
    return CString(L"Software\\korvaneLib\\") + program;
}

CString ReadText(CRegistryKey& key, LPCTSTR name, const CString& otherwise)
{
    const CString text = key.GetVals(name);
    const bool isThere = key.GetError() == S_OK;
    key.CleareError();
    return isThere ? text : otherwise;
}

// PutVals keeps a number under the type of a text. So reading it back gives the number and says DISP_E_TYPEMISMATCH.
long ReadNumber(CRegistryKey& key, LPCTSTR name, long otherwise)
{
    const unsigned long number = key.GetVals(name);
    const bool isThere = key.GetError() == S_OK || key.GetError() == DISP_E_TYPEMISMATCH;
    key.CleareError();
    return isThere ? static_cast<long>(number) : otherwise;
}

} // namespace

void CSettings::Load(LPCTSTR program)
{
    const CSmartPtr<CRegistryKey> key = CRegistryKey::HK_CURRENT_USER->OpenKey(KeyOf(program), KEY_READ);
    country = ReadText(*key, L"Country", country);
    file = ReadText(*key, L"File", file);
    position.x = ReadNumber(*key, L"Left", position.x);
    position.y = ReadNumber(*key, L"Top", position.y);
}

long CSettings::Save(LPCTSTR program) const
{
    const CSmartPtr<CRegistryKey> key = CRegistryKey::HK_CURRENT_USER->CreateKey(KeyOf(program), KEY_WRITE);
    key->PutVals(L"Country", country);
    key->PutVals(L"File", file);
    key->PutVals(L"Left", static_cast<unsigned long>(position.x));
    key->PutVals(L"Top", static_cast<unsigned long>(position.y));
    return key->GetError();
}
