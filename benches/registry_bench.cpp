// Registry values through CRegistryValue beside the bare calls of the system.
#include "harness.h"

#include "korvanelib.h"

namespace {

constexpr int kCalls = 50; // in a pass
constexpr const wchar_t* kText = L"C:\\Program Files\\Atlas\\maps\\city.vol";

// A key of this process's own, gone afterwards.
class OwnKey
{
public:
    OwnKey()
    {
        m_strName.Format(L"Software\\korvane-bench-%lu", ::GetCurrentProcessId());
        m_pKey = CRegistryKey::HK_CURRENT_USER->CreateKey(m_strName, KEY_ALL_ACCESS);
        const DWORD number = 4711;
        if (::RegOpenKeyExW(HKEY_CURRENT_USER, m_strName, 0, KEY_ALL_ACCESS, &m_hBare) != ERROR_SUCCESS ||
            ::RegSetValueExW(m_hBare, L"Number", 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number), 4) != 0) {
            bench::Fail("cannot make a key in HKEY_CURRENT_USER");
        }
        m_pKey->PutVals(L"Text", kText);
    }
    ~OwnKey()
    {
        ::RegCloseKey(m_hBare);
        m_pKey = nullptr;
        ::RegDeleteKeyW(HKEY_CURRENT_USER, m_strName);
    }

    CString m_strName;
    CSmartPtr<CRegistryKey> m_pKey;
    HKEY m_hBare = nullptr; // the same key
};

template <class Call> bool Repeat(Call call)
{
    bool right = true;
    for (int i = 0; i < kCalls; ++i) right = call() && right;
    return right;
}

} // namespace

int main(int argc, char** argv)
{
    bench::Start(argc, argv);
    static OwnKey key; // goes at exit, however the program ends
    bench::PrintText("## Registry\n\n"
                     "One value of a key that is open. Each registry call is one round trip to another process, which "
                     "is nearly all of the\n"
                     "time; every value read is compared with the one stored.\n");
    constexpr double kMicroseconds = 1e6 / kCalls;

    bench::Comparison numbers("Reading a number", "us a value", kMicroseconds, bench::kShortRounds);
    numbers.Add("`CRegistryValue`", "`unsigned long n = key->GetVals(name)`", [&] {
        return Repeat([&] {
            const unsigned long value = key.m_pKey->GetVals(L"Number");
            return value == 4711 && key.m_pKey->GetError() == 0;
        });
    });
    numbers.Add("bare", "one `RegQueryValueExW`", [&] {
        return Repeat([&] {
            DWORD type = 0, value = 0, size = sizeof value;
            BYTE* const data = reinterpret_cast<BYTE*>(&value);
            return ::RegQueryValueExW(key.m_hBare, L"Number", nullptr, &type, data, &size) == 0 && value == 4711;
        });
    });
    numbers.Run();
    bench::Judge(numbers.Results(), "registry: read a number", "`CRegistryValue`", "bare", bench::AtMost(1.1));

    bench::Comparison texts("Reading a text of any length", "us a value", kMicroseconds, bench::kShortRounds);
    texts.Add("`CRegistryValue`", "`CString s = key->GetVals(name)`", [&] {
        return Repeat([&] {
            const CString text = key.m_pKey->GetVals(L"Text");
            return text == kText;
        });
    });
    texts.Add("bare, size first", "`RegQueryValueExW` for the size, then for the text, into a `CString`", [&] {
        return Repeat([&] {
            DWORD type = 0, size = 0;
            if (::RegQueryValueExW(key.m_hBare, L"Text", nullptr, &type, nullptr, &size) != 0) return false;
            CString text;
            BYTE* const data = reinterpret_cast<BYTE*>(text.GetBuffer(size / sizeof(wchar_t)));
            if (::RegQueryValueExW(key.m_hBare, L"Text", nullptr, &type, data, &size) != 0) return false;
            text.ReleaseBuffer(size / sizeof(wchar_t) - 1);
            return text == kText;
        });
    });
    texts.Add("bare, fixed room", "one `RegQueryValueExW` into an array of 260, for texts that fit one", [&] {
        return Repeat([&] {
            wchar_t text[260];
            DWORD type = 0, size = sizeof text;
            BYTE* const data = reinterpret_cast<BYTE*>(text);
            return ::RegQueryValueExW(key.m_hBare, L"Text", nullptr, &type, data, &size) == 0 &&
                   std::wcscmp(text, kText) == 0;
        });
    });
    texts.Run();
    bench::Judge(texts.Results(), "registry: read a text", "`CRegistryValue`", "bare, size first", bench::AtMost(1.1));

    bench::Comparison writing("Writing a text", "us a value", kMicroseconds, bench::kShortRounds);
    writing.Add("`CRegistryKey`", "`key->PutVals(name, text)`", [&] {
        return Repeat([&] {
            key.m_pKey->PutVals(L"Written", kText);
            return key.m_pKey->GetError() == 0;
        });
    });
    writing.Add("bare", "one `RegSetValueExW`", [&] {
        const DWORD size = (std::wcslen(kText) + 1) * sizeof(wchar_t);
        return Repeat([&] {
            const BYTE* const data = reinterpret_cast<const BYTE*>(kText);
            return ::RegSetValueExW(key.m_hBare, L"Written", 0, REG_SZ, data, size) == 0;
        });
    });
    writing.Run();
    bench::Judge(writing.Results(), "registry: write a text", "`CRegistryKey`", "bare", bench::AtMost(1.1));
}
