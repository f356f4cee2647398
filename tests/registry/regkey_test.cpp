#include "registry/regkey.h"

#include "own_key.h"
#include "support/import_patch.h"

#include <algorithm>
#include <type_traits>

namespace {

static_assert(sizeof(RegKey) == sizeof(HKEY) && !std::is_polymorphic_v<RegKey>);

class RegKeyTest : public OwnKeyTest
{
protected:
    RegKeyTest() { EXPECT_EQ(ERROR_SUCCESS, m_key.Open(HKEY_CURRENT_USER, m_path.c_str(), KEY_ALL_ACCESS)); }

    RegKey m_key;
};

TEST(ClosedRegKeyTest, IsNullAndClosesWithSuccess)
{
    RegKey key;
    EXPECT_EQ(nullptr, static_cast<HKEY>(key));
    EXPECT_EQ(0, key.Close());
    EXPECT_EQ(nullptr, key.Detach());
}

TEST(ClosedRegKeyTest, EveryOperationReturnsTheSystemsCode)
{
    RegKey key;
    DWORD dwValue = 0;
    wchar_t text[128] = L"";
    DWORD cb = sizeof(text);
    BYTE byte = 0;
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.QueryValue(dwValue, L"v"));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.QueryValue(text, L"v", &cb));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.SetValue(1ul, L"v"));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.SetValue(L"x", L"v"));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.SetValue(&byte, 1, L"v"));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.SetKeyValue(L"k", L"x", L"v"));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.RecurseDeleteKey(L"k"));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.DeleteSubKey(L"k"));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.DeleteValue(L"v"));
    EXPECT_EQ(0, key.SubKey(0, text));
}

TEST_F(RegKeyTest, CloseTwiceReturnsSuccessTheSecondTime)
{
    const HKEY hKey = m_key;
    EXPECT_TRUE(IsOpen(hKey));
    EXPECT_EQ(0, m_key.Close());
    EXPECT_FALSE(IsOpen(hKey));
    EXPECT_EQ(nullptr, static_cast<HKEY>(m_key));
    EXPECT_EQ(0, m_key.Close());
}

TEST_F(RegKeyTest, CloseReturnsTheFailureOfAHandleThatIsNone)
{
    RegKey copy;
    copy.Attach(m_key);
    EXPECT_EQ(0, m_key.Close());
    EXPECT_EQ(ERROR_INVALID_HANDLE, copy.Close());
    EXPECT_EQ(nullptr, static_cast<HKEY>(copy));
}

TEST_F(RegKeyTest, TheDestructorCloses)
{
    HKEY hKey = nullptr;
    {
        RegKey key;
        ASSERT_EQ(ERROR_SUCCESS, key.Open(HKEY_CURRENT_USER, m_path.c_str(), KEY_READ));
        hKey = key;
    }
    EXPECT_FALSE(IsOpen(hKey));
}

TEST_F(RegKeyTest, AttachDoesNotCloseAndDetachHandsOverOpen)
{
    const HKEY hFirst = m_key.Detach();
    EXPECT_EQ(nullptr, static_cast<HKEY>(m_key));
    EXPECT_TRUE(IsOpen(hFirst));
    m_key.Attach(hFirst);
    m_key.Attach(nullptr);
    EXPECT_TRUE(IsOpen(hFirst));
    ::RegCloseKey(hFirst);
}

TEST_F(RegKeyTest, CopiesHaveTheSameHandle)
{
    RegKey copy(m_key);
    RegKey assigned;
    assigned = m_key;
    EXPECT_EQ(static_cast<HKEY>(m_key), copy.Detach());
    EXPECT_EQ(static_cast<HKEY>(m_key), assigned.Detach());
    EXPECT_TRUE(IsOpen(m_key));
}

TEST_F(RegKeyTest, CreateSaysWhetherTheKeyIsNew)
{
    RegKey key;
    DWORD dwDisposition = 77;
    EXPECT_EQ(0, key.Create(m_key, L"child", nullptr, 0, KEY_ALL_ACCESS, nullptr, &dwDisposition));
    EXPECT_EQ(static_cast<DWORD>(REG_CREATED_NEW_KEY), dwDisposition);
    EXPECT_EQ(0, key.Create(m_key, L"child", nullptr, 0, KEY_ALL_ACCESS, nullptr, &dwDisposition));
    EXPECT_EQ(static_cast<DWORD>(REG_OPENED_EXISTING_KEY), dwDisposition);
    EXPECT_EQ(0, key.Create(m_key, L"child", nullptr, 0, KEY_ALL_ACCESS, nullptr, nullptr));
}

TEST_F(RegKeyTest, CreateClosesTheKeyHeldBefore)
{
    const HKEY hFirst = m_key;
    EXPECT_EQ(0, m_key.Create(HKEY_CURRENT_USER, (m_path + L"\\child").c_str(), nullptr, 0, KEY_ALL_ACCESS, nullptr,
                              nullptr));
    EXPECT_TRUE(IsOpen(m_key));
    EXPECT_TRUE(hFirst == static_cast<HKEY>(m_key) || !IsOpen(hFirst));
}

TEST_F(RegKeyTest, CreateAndOpenReturnTheCodeOfClosingTheKeyHeldBefore)
{
    RegKey key;
    key.Attach(reinterpret_cast<HKEY>(0x7FFFFFF0));
    EXPECT_EQ(ERROR_INVALID_HANDLE, key.Open(HKEY_CURRENT_USER, m_path.c_str(), KEY_READ));
    EXPECT_TRUE(IsOpen(key)) << "the new key is taken all the same";
    key.Close();
    key.Attach(reinterpret_cast<HKEY>(0x7FFFFFF0));
    EXPECT_EQ(ERROR_INVALID_HANDLE,
              key.Create(HKEY_CURRENT_USER, m_path.c_str(), nullptr, 0, KEY_READ, nullptr, nullptr));
    EXPECT_TRUE(IsOpen(key));
}

TEST_F(RegKeyTest, AFailedOpenKeepsTheOpenKey)
{
    const HKEY hFirst = m_key;
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.Open(HKEY_CURRENT_USER, (m_path + L"\\missing").c_str(), KEY_READ));
    EXPECT_EQ(hFirst, static_cast<HKEY>(m_key));
    EXPECT_EQ(0, m_key.SetValue(1ul, L"still usable"));
}

TEST_F(RegKeyTest, AFailedCreateKeepsTheOpenKeyAndStoresTheDisposition)
{
    const HKEY hFirst = m_key;
    DWORD dwDisposition = 77;
    EXPECT_EQ(ERROR_INVALID_HANDLE, m_key.Create(reinterpret_cast<HKEY>(0x7FFFFFF0), L"child", nullptr, 0, KEY_READ,
                                                 nullptr, &dwDisposition));
    EXPECT_EQ(0u, dwDisposition);
    EXPECT_EQ(hFirst, static_cast<HKEY>(m_key));
    EXPECT_EQ(0, m_key.SetValue(1ul, L"still usable"));
}

TEST_F(RegKeyTest, ANumberIsADword)
{
    EXPECT_EQ(0, m_key.SetValue(0x80000001ul, L"n"));
    EXPECT_EQ(Number(REG_DWORD, 0x80000001), Read(L"n"));
    DWORD dwValue = 0;
    EXPECT_EQ(0, m_key.QueryValue(dwValue, L"n"));
    EXPECT_EQ(0x80000001u, dwValue);
}

TEST_F(RegKeyTest, QueryingANumberLooksAtTheSizeNotTheType)
{
    Write(L"short", REG_BINARY, {0x34, 0x12});
    Write(L"long", REG_DWORD, {1, 2, 3, 4, 5, 6, 7, 8});
    DWORD dwValue = 0;
    EXPECT_EQ(0, m_key.QueryValue(dwValue, L"short"));
    EXPECT_EQ(0x1234u, dwValue);
    EXPECT_EQ(ERROR_MORE_DATA, m_key.QueryValue(dwValue, L"long"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.QueryValue(dwValue, L"missing"));
}

TEST_F(RegKeyTest, AStringIsStoredWithItsTerminator)
{
    EXPECT_EQ(0, m_key.SetValue(L"abc", L"s"));
    EXPECT_EQ(Text(L"abc"), Read(L"s"));
    EXPECT_EQ(8u, Read(L"s").bytes.size());
    EXPECT_EQ(0, m_key.SetValue(L"", L"empty"));
    EXPECT_EQ(Text(L""), Read(L"empty"));
    EXPECT_EQ(0, m_key.SetValue(static_cast<const wchar_t*>(nullptr), L"null"));
    EXPECT_EQ(Text(L""), Read(L"null"));
}

TEST_F(RegKeyTest, QueryingAStringGivesItsSizeInBytes)
{
    ASSERT_EQ(0, m_key.SetValue(L"abc", L"s"));
    wchar_t buffer[8] = L"";
    DWORD cb = sizeof(buffer);
    EXPECT_EQ(0, m_key.QueryValue(buffer, L"s", &cb));
    EXPECT_STREQ(L"abc", buffer);
    EXPECT_EQ(8u, cb);
    cb = 7;
    EXPECT_EQ(ERROR_MORE_DATA, m_key.QueryValue(buffer, L"s", &cb));
    EXPECT_EQ(8u, cb) << "what is needed";
    cb = 0;
    EXPECT_EQ(0, m_key.QueryValue(static_cast<wchar_t*>(nullptr), L"s", &cb));
    EXPECT_EQ(8u, cb);
}

TEST_F(RegKeyTest, BytesAreBinary)
{
    BYTE data[] = {0, 1, 0xFF};
    EXPECT_EQ(0, m_key.SetValue(data, 3, L"b"));
    EXPECT_EQ((Stored{REG_BINARY, {0, 1, 0xFF}}), Read(L"b"));
    EXPECT_EQ(0, m_key.SetValue(data, 0, L"none"));
    EXPECT_EQ((Stored{REG_BINARY, {}}), Read(L"none"));
    BYTE read[8] = {};
    DWORD cb = sizeof(read);
    EXPECT_EQ(0, m_key.QueryValue(read, L"b", &cb));
    EXPECT_EQ(3u, cb);
    EXPECT_TRUE(std::equal(data, data + 3, read));
}

TEST_F(RegKeyTest, NothingBesideTheBufferIsTouchedWhateverItsSize)
{
    std::vector<BYTE> bytes(70, 'x');
    for (DWORD cbValue : {0, 1, 2, 3, 4, 5, 61, 62, 63, 64, 65, 66, 70}) {
        Write(L"v", REG_SZ, {bytes.begin(), bytes.begin() + cbValue});
        for (DWORD cbBuffer = 0; cbBuffer <= 75; ++cbBuffer) {
            SCOPED_TRACE(std::to_string(cbValue) + " bytes, room for " + std::to_string(cbBuffer));
            std::vector<BYTE> room(10 + 75 + 10, 0xEE);
            DWORD cb = cbBuffer;
            const long lResult = m_key.QueryValue(&room[10], L"v", &cb);
            EXPECT_EQ(cbValue <= cbBuffer ? ERROR_SUCCESS : ERROR_MORE_DATA, lResult);
            EXPECT_EQ(cbValue, cb);
            std::vector<BYTE> expected(room.size(), 0xEE);
            if (cbValue <= cbBuffer) std::copy_n(bytes.begin(), cbValue, expected.begin() + 10);
            // The system's terminator, where there is room for all of it.
            if (cbValue && cbValue + 2 <= cbBuffer) expected[10 + cbValue] = expected[10 + cbValue + 1] = 0;
            EXPECT_EQ(expected, room);
        }
    }
}

// A buffer at the beginning of a page behind one that cannot be read.
class CPageStart
{
public:
    CPageStart() : m_pPages(static_cast<BYTE*>(::VirtualAlloc(nullptr, 0x2000, MEM_RESERVE, PAGE_NOACCESS)))
    {
        EXPECT_NE(nullptr, ::VirtualAlloc(m_pPages + 0x1000, 0x1000, MEM_COMMIT, PAGE_READWRITE));
    }
    ~CPageStart() { ::VirtualFree(m_pPages, 0, MEM_RELEASE); }
    CPageStart(const CPageStart&) = delete;
    CPageStart& operator=(const CPageStart&) = delete;

    BYTE* Get() const { return m_pPages + 0x1000; }

private:
    BYTE* const m_pPages;
};

TEST_F(RegKeyTest, ATextOfOneByteIsReadToWhereNothingCanBeReadBefore)
{
    Write(L"v", REG_SZ, {'x'});
    const CPageStart page;
    DWORD cb = 0x1000;
    EXPECT_EQ(0, m_key.QueryValue(page.Get(), L"v", &cb));
    EXPECT_EQ(1u, cb);
    EXPECT_EQ('x', page.Get()[0]);
    DWORD& dwValue = *reinterpret_cast<DWORD*>(page.Get());
    EXPECT_EQ(0, m_key.QueryValue(dwValue, L"v"));
    EXPECT_EQ('x', page.Get()[0]);
}

TEST_F(RegKeyTest, ANullOrEmptyNameIsTheDefaultValue)
{
    EXPECT_EQ(0, m_key.SetValue(L"default", nullptr));
    EXPECT_EQ(Text(L"default"), Read(L""));
    EXPECT_EQ(0, m_key.SetValue(7ul, L""));
    DWORD dwValue = 0;
    EXPECT_EQ(0, m_key.QueryValue(dwValue, nullptr));
    EXPECT_EQ(7u, dwValue);
    EXPECT_EQ(0, m_key.DeleteValue(nullptr));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.QueryValue(dwValue, L""));
}

TEST_F(RegKeyTest, SetKeyValueMakesTheKey)
{
    EXPECT_EQ(0, m_key.SetKeyValue(L"child\\grandchild", L"text", L"v"));
    RegKey child;
    ASSERT_EQ(0, child.Open(m_key, L"child\\grandchild", KEY_READ));
    wchar_t buffer[8] = L"";
    DWORD cb = sizeof(buffer);
    EXPECT_EQ(0, child.QueryValue(buffer, L"v", &cb));
    EXPECT_STREQ(L"text", buffer);
    EXPECT_EQ(0, RegKey::SetValue(m_key, L"child\\grandchild", L"new", L"v"));
    cb = sizeof(buffer);
    EXPECT_EQ(0, child.QueryValue(buffer, L"v", &cb));
    EXPECT_STREQ(L"new", buffer);
}

TEST_F(RegKeyTest, SetValueUnderAKeyThatCannotBeHadWritesNothing)
{
    EXPECT_EQ(ERROR_INVALID_HANDLE, RegKey::SetValue(reinterpret_cast<HKEY>(0x7FFFFFF0), L"child", L"text", L"v"));
    RegKey reader;
    ASSERT_EQ(0, reader.Open(HKEY_CURRENT_USER, m_path.c_str(), KEY_READ));
    EXPECT_EQ(ERROR_ACCESS_DENIED, reader.SetValue(L"text", L"v"));
    EXPECT_EQ(0xFFFFu, Read(L"v").dwType);
}

TEST_F(RegKeyTest, DeleteValueAndDeleteSubKey)
{
    ASSERT_EQ(0, m_key.SetValue(1ul, L"v"));
    EXPECT_EQ(0, m_key.DeleteValue(L"v"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.DeleteValue(L"v"));
    ASSERT_EQ(0, m_key.SetKeyValue(L"child", L"", L""));
    EXPECT_EQ(0, m_key.DeleteSubKey(L"child"));
    EXPECT_FALSE(HasSubKey(L"child"));
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.DeleteSubKey(L"child"));
}

TEST_F(RegKeyTest, DeleteSubKeyIsNotRecursive)
{
    ASSERT_EQ(0, m_key.SetKeyValue(L"child\\grandchild", L"", L""));
    EXPECT_NE(0, m_key.DeleteSubKey(L"child"));
    EXPECT_TRUE(HasSubKey(L"child\\grandchild"));
}

TEST_F(RegKeyTest, RecurseDeleteKeyDeletesTheWholeTree)
{
    for (const wchar_t* name :
         {L"tree", L"tree\\a", L"tree\\a\\b", L"tree\\a\\b\\c", L"tree\\d", L"tree\\e\\f", L"other"}) {
        ASSERT_EQ(0, m_key.SetKeyValue(name, L"text", L"v"));
    }
    EXPECT_EQ(0, m_key.RecurseDeleteKey(L"tree"));
    EXPECT_FALSE(HasSubKey(L"tree"));
    EXPECT_TRUE(HasSubKey(L"other"));
}

int s_nDeletions = 0;
LONG WINAPI DeleteOneOnly(HKEY hKey, LPCWSTR name)
{
    return ++s_nDeletions > 1 ? ERROR_ACCESS_DENIED : ::RegDeleteKeyW(hKey, name);
}

TEST_F(RegKeyTest, RecurseDeleteKeyStopsAtTheFirstFailureAndWhatIsDeletedStaysDeleted)
{
    for (const wchar_t* name : {L"tree\\a", L"tree\\b", L"tree\\c"}) ASSERT_EQ(0, m_key.SetKeyValue(name, L"", L""));
    {
        const CImportPatch patch(L"korvaneLib.dll", "RegDeleteKeyW", &DeleteOneOnly);
        s_nDeletions = 0;
        EXPECT_EQ(ERROR_ACCESS_DENIED, m_key.RecurseDeleteKey(L"tree"));
        EXPECT_EQ(2, s_nDeletions) << "neither the other children nor the key itself are tried";
    }
    int nLeft = 0;
    for (const wchar_t* name : {L"tree\\a", L"tree\\b", L"tree\\c"}) nLeft += HasSubKey(name);
    EXPECT_EQ(2, nLeft);
    EXPECT_EQ(0, m_key.RecurseDeleteKey(L"tree"));
}

TEST_F(RegKeyTest, RecurseDeleteKeyTakesTheLongestNames)
{
    const std::wstring child = L"tree\\" + std::wstring(255, L'n');
    ASSERT_EQ(0, m_key.SetKeyValue(child.c_str(), L"text", L"v"));
    EXPECT_EQ(0, m_key.RecurseDeleteKey(L"tree"));
    EXPECT_FALSE(HasSubKey(L"tree"));
}

TEST_F(RegKeyTest, RecurseDeleteKeyOfAMissingKeyIsTheOpenFailure)
{
    EXPECT_EQ(ERROR_FILE_NOT_FOUND, m_key.RecurseDeleteKey(L"missing"));
}

TEST_F(RegKeyTest, SubKeyListsTheChildren)
{
    ASSERT_EQ(0, m_key.SetKeyValue(L"one", L"", L""));
    ASSERT_EQ(0, m_key.SetKeyValue(L"two", L"", L""));
    wchar_t name[128] = L"old";
    std::vector<std::wstring> names;
    for (DWORD i = 0; m_key.SubKey(i, name) == 1; ++i) names.emplace_back(name);
    std::sort(names.begin(), names.end());
    EXPECT_EQ((std::vector<std::wstring>{L"one", L"two"}), names);
    EXPECT_EQ(0, m_key.SubKey(2, name));
    EXPECT_EQ(0, m_key.SubKey(0xFFFFFFFF, name));
}

TEST_F(RegKeyTest, SubKeyHasRoomFor127Units)
{
    struct
    {
        wchar_t name[128];
        wchar_t guard = 0x5A5A;
    } out;
    ASSERT_EQ(0, m_key.SetKeyValue(std::wstring(127, L'n').c_str(), L"", L""));
    EXPECT_EQ(1, m_key.SubKey(0, out.name));
    EXPECT_EQ(std::wstring(127, L'n'), out.name);
    ASSERT_EQ(0, m_key.DeleteSubKey(out.name));
    ASSERT_EQ(0, m_key.SetKeyValue(std::wstring(128, L'n').c_str(), L"", L""));
    EXPECT_EQ(0, m_key.SubKey(0, out.name));
    EXPECT_LT(std::wcslen(out.name), 128u) << "terminated in any case";
    EXPECT_EQ(0x5A5A, out.guard);
}

TEST_F(RegKeyTest, AChildWhoseNameIsTooLongForTheBufferStopsRecurseDeleteKey)
{
    // Windows has no such names, Wine admits one unit more.
    const long lCreated = m_key.SetKeyValue((L"tree\\" + std::wstring(256, L'n')).c_str(), L"text", L"v");
    const long lDeleted = m_key.RecurseDeleteKey(L"tree");
    EXPECT_EQ(lCreated == ERROR_SUCCESS, lDeleted != ERROR_SUCCESS);
    EXPECT_EQ(lCreated == ERROR_SUCCESS, HasSubKey(L"tree"));
}

TEST_F(RegKeyTest, LongNames)
{
    RegKey key;
    EXPECT_EQ(0, key.Create(m_key, std::wstring(255, L'n').c_str(), nullptr, 0, KEY_READ, nullptr, nullptr));
    EXPECT_NE(0, key.Create(m_key, std::wstring(1000, L'n').c_str(), nullptr, 0, KEY_READ, nullptr, nullptr));
    EXPECT_TRUE(IsOpen(key));
    EXPECT_EQ(0, m_key.SetValue(1ul, std::wstring(255, L'v').c_str()));
    EXPECT_EQ(0, m_key.SetValue(1ul, std::wstring(256, L'v').c_str())) << "value names may be longer";
}

TEST_F(RegKeyTest, AKeyThatIsDeletedWhileOpenReportsIt)
{
    RegKey child;
    ASSERT_EQ(0, child.Create(m_key, L"child", nullptr, 0, KEY_ALL_ACCESS, nullptr, nullptr));
    ASSERT_EQ(0, m_key.DeleteSubKey(L"child"));
    DWORD dwValue = 0;
    wchar_t name[128] = L"";
    EXPECT_EQ(ERROR_KEY_DELETED, child.SetValue(1ul, L"v"));
    EXPECT_EQ(ERROR_KEY_DELETED, child.QueryValue(dwValue, L"v"));
    EXPECT_EQ(0, child.SubKey(0, name));
    EXPECT_EQ(0, child.Close());
}

} // namespace
