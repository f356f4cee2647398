#include "registry/registrykey.h"

#include "own_key.h"
#include "support/import_patch.h"

#include <type_traits>

namespace {

constexpr long kMissing = static_cast<long>(0x80070002);
constexpr long kAccessDenied = static_cast<long>(0x80070005);
constexpr long kMoreData = static_cast<long>(0x800700EA);

using Key = CSmartPtr<CRegistryKey>;

static_assert(sizeof(CRegistryValue) == sizeof(CRefCntBase) + 8, "key and name follow the count");
static_assert(std::has_virtual_destructor_v<CRegistryValue> && std::is_destructible_v<CRegistryValue>);
static_assert(!std::is_copy_constructible_v<CRegistryValue> && !std::is_copy_assignable_v<CRegistryValue>);
static_assert(!std::is_assignable_v<CRegistryValue, const wchar_t*> &&
                  !std::is_assignable_v<CRegistryValue, unsigned long>,
              "a host writes through its key");

// A host's own proxy, which reaches what the library keeps for derived classes.
class CHostValue : public CRegistryValue
{
public:
    CHostValue(CRegistryKey* pKey, const wchar_t* name) : CRegistryValue(pKey, name) {}
    CHostValue(const CHostValue&) = default;
    CHostValue& operator=(const CHostValue&) = default;
    using CRegistryValue::operator=;
};

class RegistryValueTest : public OwnKeyTest
{
protected:
    RegistryValueTest() : m_key(CRegistryKey::HK_CURRENT_USER->OpenKey(m_path.c_str(), KEY_ALL_ACCESS)) {}

    CString Get(const wchar_t* name) { return m_key->GetVals(name); }
    unsigned long GetNumber(const wchar_t* name) { return m_key->GetVals(name); }
    long Refs()
    {
        m_key->AddRef();
        return m_key->Release();
    }

    Key m_key;
};

TEST_F(RegistryValueTest, AStringIsWrittenWithItsTerminatorAndReadBack)
{
    m_key->PutVals(L"v", L"abc");
    EXPECT_EQ(Text(L"abc"), Read(L"v"));
    EXPECT_STREQ(L"abc", Get(L"v"));
    EXPECT_EQ(0, m_key->GetError());
}

TEST_F(RegistryValueTest, TextInEveryFormIsWrittenAsAString)
{
    TCHAR buffer[] = L"buffer";
    m_key->PutVals(L"buffer", buffer);
    m_key->PutVals(CString(L"string"), CString(L"text"));
    m_key->PutVals(L"empty", L"");
    m_key->PutVals(L"null", static_cast<const wchar_t*>(nullptr));
    EXPECT_EQ(Text(L"buffer"), Read(L"buffer"));
    EXPECT_EQ(Text(L"text"), Read(L"string"));
    EXPECT_EQ(Text(L""), Read(L"empty"));
    EXPECT_EQ(Text(L""), Read(L"null"));
    EXPECT_STREQ(L"", Get(L"empty"));
    EXPECT_EQ(0, m_key->GetError());
}

TEST_F(RegistryValueTest, ALongStringComesBackWhole)
{
    const std::wstring text(100000, L'\u4E2D');
    m_key->PutVals(L"v", text.c_str());
    EXPECT_STREQ(text.c_str(), Get(L"v"));
}

TEST_F(RegistryValueTest, ANumberWrittenIsFourBytesUnderTheStringType)
{
    for (unsigned long value : {0ul, 1ul, 0x00010000ul, 0xFFFFFFFFul, 0x80000000ul, 0x0000FFFFul, 0x12345678ul}) {
        SCOPED_TRACE(value);
        m_key->CleareError();
        m_key->PutVals(L"n", value);
        EXPECT_EQ(0, m_key->GetError());
        EXPECT_EQ(Number(REG_SZ, value), Read(L"n"));
        EXPECT_EQ(value, GetNumber(L"n"));
        EXPECT_EQ(DISP_E_TYPEMISMATCH, m_key->GetError());
    }
}

TEST_F(RegistryValueTest, ANumberWrittenIsFourBytesOnManyValues)
{
    unsigned long value = 12345;
    for (int i = 0; i < 2000; ++i) {
        value = value * 1664525 + 1013904223;
        // Every other one with a low or a high half of zero.
        const unsigned long written = i % 3 == 0 ? value : i % 3 == 1 ? value & 0xFFFF : value & 0xFFFF0000;
        m_key->CleareError();
        m_key->PutVals(L"n", written);
        ASSERT_EQ(Number(REG_SZ, written), Read(L"n"));
        ASSERT_EQ(written, GetNumber(L"n"));
    }
}

TEST_F(RegistryValueTest, TheDefaultValueHasTheEmptyName)
{
    m_key->SetDefaultVal(L"text");
    EXPECT_EQ(Text(L"text"), Read(L""));
    const CString text = m_key->GetDefaultVal();
    EXPECT_STREQ(L"text", text);
    m_key->SetDefaultVal(0x00010000ul);
    EXPECT_EQ(Number(REG_SZ, 0x00010000), Read(L""));
    EXPECT_EQ(1, m_key->GetDefaultVal().IsPresent());
    EXPECT_EQ(0x00010000u, GetNumber(L""));
}

TEST_F(RegistryValueTest, AMissingStringIsEmptyAndSetsTheErrorOnce)
{
    EXPECT_STREQ(L"", Get(L"v"));
    EXPECT_EQ(kMissing, m_key->GetError());
    Write(L"v", REG_SZ, {'x', 0, 0, 0});
    EXPECT_STREQ(L"", Get(L"v")) << "a key in error does not look";
    EXPECT_EQ(kMissing, m_key->GetError());
    m_key->CleareError();
    EXPECT_STREQ(L"x", Get(L"v"));
}

TEST_F(RegistryValueTest, AMissingNumberIsZeroAndSetsTheError)
{
    EXPECT_EQ(0u, GetNumber(L"v"));
    EXPECT_EQ(kMissing, m_key->GetError()) << "not a mismatch of types";
}

TEST_F(RegistryValueTest, ADwordIsANumber)
{
    Write(L"n", REG_DWORD, {0x78, 0x56, 0x34, 0x92});
    EXPECT_EQ(0x92345678u, GetNumber(L"n"));
    EXPECT_EQ(0, m_key->GetError());
}

TEST_F(RegistryValueTest, OnlyStringsAreReadAsStrings)
{
    for (DWORD dwType : {REG_NONE, REG_EXPAND_SZ, REG_BINARY, REG_DWORD, REG_DWORD_BIG_ENDIAN, REG_LINK, REG_MULTI_SZ,
                         REG_QWORD, 77}) {
        SCOPED_TRACE(dwType);
        m_key->CleareError();
        Write(L"v", dwType, {'x', 0, 0, 0});
        EXPECT_STREQ(L"", Get(L"v"));
        EXPECT_EQ(DISP_E_TYPEMISMATCH, m_key->GetError());
        EXPECT_STREQ(L"", Get(L"v"));
    }
}

TEST_F(RegistryValueTest, ValuesOfOtherTypesReadAsNumbersGiveTheirBytesAndAMismatch)
{
    for (DWORD dwType :
         {REG_NONE, REG_SZ, REG_EXPAND_SZ, REG_BINARY, REG_DWORD_BIG_ENDIAN, REG_MULTI_SZ, REG_QWORD, 77}) {
        SCOPED_TRACE(dwType);
        m_key->CleareError();
        Write(L"v", dwType, {1, 2, 3, 4});
        EXPECT_EQ(0x04030201u, GetNumber(L"v"));
        EXPECT_EQ(DISP_E_TYPEMISMATCH, m_key->GetError());
    }
}

TEST_F(RegistryValueTest, NumbersOfOtherSizes)
{
    Write(L"short", REG_DWORD, {0x34, 0x12});
    EXPECT_EQ(0x1234u, GetNumber(L"short"));
    EXPECT_EQ(0, m_key->GetError());
    Write(L"none", REG_DWORD, {});
    EXPECT_EQ(0u, GetNumber(L"none"));
    EXPECT_EQ(0, m_key->GetError());
    Write(L"long", REG_DWORD, {1, 2, 3, 4, 5, 6, 7, 8});
    GetNumber(L"long");
    EXPECT_EQ(kMoreData, m_key->GetError());
    m_key->CleareError();
    Write(L"long text", REG_SZ, {'a', 0, 'b', 0, 0, 0});
    GetNumber(L"long text");
    EXPECT_EQ(DISP_E_TYPEMISMATCH, m_key->GetError()) << "that it is no number counts for more";
}

TEST_F(RegistryValueTest, StringsWithoutTerminatorOrWithOddBytesAreRead)
{
    static const struct
    {
        const char* pszWhy;
        std::vector<BYTE> bytes;
        const wchar_t* pszText;
    } kCases[] = {
        {"no bytes", {}, L""},
        {"one byte", {'a'}, L"a"},
        {"one unit", {'a', 0}, L"a"},
        {"an odd byte", {'a', 0, 'b'}, L"ab"},
        {"no terminator", {'a', 0, 'b', 0}, L"ab"},
        {"a zero within", {'a', 0, 0, 0, 'b', 0, 0, 0}, L"a"},
        {"only the terminator", {0, 0}, L""},
        {"half a terminator", {'a', 0, 0}, L"a"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        Write(L"v", REG_SZ, c.bytes);
        EXPECT_STREQ(c.pszText, Get(L"v"));
        EXPECT_EQ(0, m_key->GetError());
    }
}

// The data of a value that grows between the two queries of a read, however often it is asked.
LONG WINAPI QueryWhatGrows(HKEY, LPCWSTR, LPDWORD, LPDWORD pdwType, LPBYTE pData, LPDWORD pcb)
{
    *pdwType = REG_SZ;
    if (pData) return ERROR_MORE_DATA;
    *pcb = 4;
    return ERROR_SUCCESS;
}

TEST_F(RegistryValueTest, AStringThatOutgrowsItsBufferIsEmptyAndSetsTheError)
{
    const CImportPatch patch(L"korvaneLib.dll", "RegQueryValueExW", &QueryWhatGrows);
    EXPECT_STREQ(L"", Get(L"v"));
    EXPECT_EQ(kMoreData, m_key->GetError());
}

TEST_F(RegistryValueTest, AStringForWhichThereIsNoMemoryIsEmptyAndSetsTheError)
{
    m_key->PutVals(L"v", L"text");
    {
        const CWithoutMemory without;
        EXPECT_STREQ(L"", Get(L"v"));
    }
    EXPECT_EQ(E_OUTOFMEMORY, m_key->GetError());
}

int s_nQueries = 0;
LONG WINAPI CountQuery(HKEY, LPCWSTR, LPDWORD, LPDWORD, LPBYTE, LPDWORD)
{
    ++s_nQueries;
    return ERROR_FILE_NOT_FOUND;
}

TEST_F(RegistryValueTest, AKeyInErrorDoesNotAskTheSystem)
{
    const CImportPatch patch(L"korvaneLib.dll", "RegQueryValueExW", &CountQuery);
    s_nQueries = 0;
    Get(L"v");
    EXPECT_EQ(1, s_nQueries);
    Get(L"v");
    GetNumber(L"v");
    EXPECT_EQ(0, m_key->GetVals(L"v").IsPresent());
    EXPECT_EQ(1, s_nQueries);
}

TEST_F(RegistryValueTest, WithoutTheRightToReadAReadIsAccessDenied)
{
    m_key->PutVals(L"v", L"text");
    m_key = CRegistryKey::HK_CURRENT_USER->OpenKey(m_path.c_str(), KEY_SET_VALUE);
    EXPECT_EQ(0, m_key->GetVals(L"v").IsPresent());
    EXPECT_EQ(0, m_key->GetError());
    EXPECT_STREQ(L"", Get(L"v"));
    EXPECT_EQ(kAccessDenied, m_key->GetError());
    m_key->CleareError();
    EXPECT_EQ(0u, GetNumber(L"v"));
    EXPECT_EQ(kAccessDenied, m_key->GetError());
}

TEST_F(RegistryValueTest, IsPresentTellsOfAnyTypeAndLeavesTheErrorAlone)
{
    EXPECT_EQ(0, m_key->GetVals(L"v").IsPresent());
    EXPECT_EQ(0, m_key->GetError());
    for (DWORD dwType : {REG_SZ, REG_DWORD, REG_BINARY}) {
        Write(L"v", dwType, {1, 2, 3, 4});
        EXPECT_EQ(1, m_key->GetVals(L"v").IsPresent());
    }
    Get(L"missing");
    EXPECT_EQ(0, m_key->GetVals(L"v").IsPresent()) << "the key is in error";
    EXPECT_EQ(kMissing, m_key->GetError());
}

TEST_F(RegistryValueTest, ValueNamesOf255And256Units)
{
    for (std::size_t cch : {255u, 256u}) {
        const std::wstring name(cch, L'v');
        m_key->PutVals(name.c_str(), L"text");
        EXPECT_STREQ(L"text", Get(name.c_str()));
        EXPECT_EQ(0, m_key->GetError());
    }
}

TEST_F(RegistryValueTest, AProxyHoldsItsKey)
{
    const long lBefore = Refs();
    {
        CRegistryValue value = m_key->GetVals(L"v");
        EXPECT_EQ(lBefore + 1, Refs());
        EXPECT_EQ(0, value.AddRef()) << "its own count starts at 0";
    }
    EXPECT_EQ(lBefore, Refs());
}

TEST_F(RegistryValueTest, AProxyKeepsItsKeyAlive)
{
    m_key->PutVals(L"v", L"text");
    CRegistryValue value = m_key->GetVals(L"v");
    m_key = nullptr;
    const CString text = value;
    EXPECT_STREQ(L"text", text);
}

TEST_F(RegistryValueTest, ADerivedProxyReachesTheProtectedMembers)
{
    CHostValue value(m_key, L"v");
    value = L"text";
    EXPECT_EQ(Text(L"text"), Read(L"v"));
    value = 5ul;
    EXPECT_EQ(Number(REG_SZ, 5), Read(L"v"));
    EXPECT_EQ(0, m_key->GetError());
}

TEST_F(RegistryValueTest, ACopiedProxyTakesKeyAndNameAndStartsAtCountZero)
{
    const long lBefore = Refs();
    CHostValue value(m_key, L"v");
    value.AddRef();
    CHostValue copy(value);
    EXPECT_EQ(lBefore + 2, Refs());
    EXPECT_EQ(0, copy.AddRef());
    copy = L"text";
    EXPECT_EQ(Text(L"text"), Read(L"v"));
}

TEST_F(RegistryValueTest, AssigningAProxyTakesKeyAndNameAndKeepsItsCount)
{
    const Key child = m_key->CreateKey(L"child", KEY_ALL_ACCESS);
    const long lBefore = Refs(); // the child holds one
    CHostValue value(m_key, L"v");
    CHostValue other(child, L"w");
    other.AddRef();
    value = other;
    EXPECT_EQ(lBefore, Refs()) << "the old key is let go";
    EXPECT_EQ(0, value.AddRef());
    value = L"text";
    const CString text = child->GetVals(L"w");
    EXPECT_STREQ(L"text", text);
    CHostValue& rSelf = value;
    value = rSelf;
    EXPECT_EQ(1, value.IsPresent());
}

} // namespace
