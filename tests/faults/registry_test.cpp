// Each registry call of the platform fails in turn: the key's error is the call's, and the key works again afterwards.
#include "registry/registrykey.h"
#include "faults.h"

#include <gtest/gtest.h>

#include <functional>
#include <string>

namespace {

constexpr long kRefused = static_cast<long>(0x80070005); // HRESULT_FROM_WIN32(ERROR_ACCESS_DENIED)

constexpr long kNoHandle = static_cast<long>(0x80070006); // HRESULT_FROM_WIN32(ERROR_INVALID_HANDLE)

template <class... Arguments> LONG WINAPI Refuse(Arguments...)
{
    return ERROR_ACCESS_DENIED;
}

class RegistryFaultTest : public testing::Test
{
protected:
    RegistryFaultTest()
        : m_name(L"Software\\korvane-faults-" + std::to_wstring(::GetCurrentProcessId())),
          m_key(CRegistryKey::HK_CURRENT_USER->CreateKey(m_name.c_str(), KEY_ALL_ACCESS))
    {
        m_key->PutVals(L"Text", L"text");
    }
    ~RegistryFaultTest() override
    {
        m_key = nullptr;
        ::RegDeleteKeyW(HKEY_CURRENT_USER, m_name.c_str());
    }

    // With the call failing the operation leaves that error, and without it none.
    template <class Function> void Check(const char* pszCall, Function* refuse, const std::function<long()>& operation)
    {
        SCOPED_TRACE(pszCall);
        EXPECT_GE(operation(), 0);
        m_key->CleareError();
        {
            const CImportPatch patch(kLibrary, pszCall, refuse);
            EXPECT_EQ(kRefused, operation());
        }
        m_key->CleareError();
        EXPECT_GE(operation(), 0) << "it has not recovered";
        m_key->CleareError();
    }

    std::wstring m_name;
    CSmartPtr<CRegistryKey> m_key;
};

} // namespace

TEST_F(RegistryFaultTest, ACallThatFailsIsTheKeysError)
{
    using Key = HKEY;
    Check("RegSetValueExW", &Refuse<Key, LPCWSTR, DWORD, DWORD, const BYTE*, DWORD>, [this] {
        m_key->PutVals(L"Text", L"text");
        return m_key->GetError();
    });
    Check("RegQueryValueExW", &Refuse<Key, LPCWSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD>, [this] {
        const CString text = m_key->GetVals(L"Text");
        return m_key->GetError();
    });
    Check("RegCreateKeyExW", &Refuse<Key, LPCWSTR, DWORD, LPWSTR, DWORD, REGSAM, LPSECURITY_ATTRIBUTES, PHKEY, LPDWORD>,
          [this] {
              const CSmartPtr<CRegistryKey> key = m_key->CreateKey(L"below", KEY_ALL_ACCESS);
              return key->GetError();
          });
    Check("RegDeleteKeyW", &Refuse<Key, LPCWSTR>, [this] {
        {
            const CSmartPtr<CRegistryKey> key = m_key->CreateKey(L"below", KEY_ALL_ACCESS);
        }
        m_key->Delete(L"below");
        return m_key->GetError();
    });
}

TEST_F(RegistryFaultTest, AKeyThatCannotBeOpenedFailsItsFirstOperation)
{
    const CImportPatch patch(kLibrary, "RegOpenKeyExW", &Refuse<HKEY, LPCWSTR, DWORD, REGSAM, PHKEY>);
    const CSmartPtr<CRegistryKey> key = m_key->OpenKey(L"below", KEY_ALL_ACCESS);
    ASSERT_TRUE(key);
    EXPECT_EQ(0, key->GetError());
    key->PutVals(L"Text", L"text");
    EXPECT_EQ(kNoHandle, key->GetError());
    EXPECT_EQ(0, m_key->GetError());
}
