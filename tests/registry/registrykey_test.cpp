#include "registry/registrykey.h"

#include "own_key.h"
#include "support/import_patch.h"

#include <type_traits>

namespace {

constexpr long kMissing = static_cast<long>(0x80070002);
constexpr long kInvalidHandle = static_cast<long>(0x80070006);
constexpr long kAccessDenied = static_cast<long>(0x80070005);
constexpr long kDeleted = static_cast<long>(0x800703FA);

using Key = CSmartPtr<CRegistryKey>;

static_assert(sizeof(CRegistryKey) == sizeof(CRefCntBase) + 12, "handle, error and parent follow the count");
static_assert(!std::is_destructible_v<CRegistryKey>, "only the last release destroys a key");
static_assert(!std::is_constructible_v<CRegistryKey, CRegistryKey*>);

long Refs(CRegistryKey* pKey)
{
    pKey->AddRef();
    return pKey->Release();
}

// The handle, which stands behind the count.
HKEY HandleOf(const CRegistryKey* pKey)
{
    HKEY hKey;
    std::memcpy(&hKey, reinterpret_cast<const BYTE*>(pKey) + sizeof(CRefCntBase), sizeof(hKey));
    return hKey;
}

class RegistryKeyTest : public OwnKeyTest
{
protected:
    RegistryKeyTest() : m_key(CRegistryKey::HK_CURRENT_USER->OpenKey(m_path.c_str(), KEY_ALL_ACCESS)) {}
    ~RegistryKeyTest() override { CRegistryKey::PropagateErrorOnDestruction(false); }
    static void Fail(CRegistryKey* pKey)
    {
        const CString missing = pKey->GetVals(L"missing");
        ASSERT_EQ(kMissing, pKey->GetError());
    }

    Key m_key;
};

TEST(RegistryRootTest, TheRootsHaveThePredefinedHandles)
{
    EXPECT_EQ(HKEY_CLASSES_ROOT, HandleOf(CRegistryKey::HK_CLASSES_ROOT));
    EXPECT_EQ(HKEY_CURRENT_USER, HandleOf(CRegistryKey::HK_CURRENT_USER));
    EXPECT_EQ(HKEY_LOCAL_MACHINE, HandleOf(CRegistryKey::HK_LOCAL_MACHINE));
    EXPECT_EQ(HKEY_USERS, HandleOf(CRegistryKey::HK_USERS));
    EXPECT_EQ(0x80000000u, reinterpret_cast<DWORD>(HandleOf(CRegistryKey::HK_CLASSES_ROOT)));
    EXPECT_EQ(0x80000003u, reinterpret_cast<DWORD>(HandleOf(CRegistryKey::HK_USERS)));
}

TEST(RegistryRootTest, TheRootsHaveOneReferenceAndNoError)
{
    for (CRegistryKey* pRoot : {static_cast<CRegistryKey*>(CRegistryKey::HK_CLASSES_ROOT),
                                static_cast<CRegistryKey*>(CRegistryKey::HK_CURRENT_USER),
                                static_cast<CRegistryKey*>(CRegistryKey::HK_LOCAL_MACHINE),
                                static_cast<CRegistryKey*>(CRegistryKey::HK_USERS)}) {
        EXPECT_EQ(1, Refs(pRoot));
        EXPECT_EQ(0, pRoot->GetError());
    }
}

TEST(RegistryRootTest, TheInitialiserMakesNewOnesAndDoesNotCloseTheHandles)
{
    const Key held = CRegistryKey::HK_CURRENT_USER;
    const CRegistryKey_Initializer again;
    EXPECT_NE(static_cast<CRegistryKey*>(held), static_cast<CRegistryKey*>(CRegistryKey::HK_CURRENT_USER));
    EXPECT_EQ(1, Refs(held));
    const Key software = CRegistryKey::HK_CURRENT_USER->OpenKey(L"Software", KEY_READ);
    EXPECT_NE(nullptr, HandleOf(software));
    EXPECT_NE(nullptr, HandleOf(held->OpenKey(L"Software", KEY_READ)));
}

TEST(RegistryRootTest, PropagationIsOffAtFirst)
{
    EXPECT_FALSE(CRegistryKey::m_bPropagetErrOnDestruct);
    CRegistryKey::PropagateErrorOnDestruction(true);
    EXPECT_TRUE(CRegistryKey::m_bPropagetErrOnDestruct);
    CRegistryKey::m_bPropagetErrOnDestruct = false;
}

TEST_F(RegistryKeyTest, TheHeadersSampleWritesAndReads)
{
    const std::wstring path = m_path + L"\\Atlas";
    CSmartPtr<CRegistryKey> key = CRegistryKey::HK_CURRENT_USER->CreateKey(path.c_str(), KEY_ALL_ACCESS);
    key->PutVals(L"Title", L"Maps");
    CString title = key->GetVals(L"Title");
    EXPECT_STREQ(L"Maps", title);
    EXPECT_EQ(0, key->GetError());
}

TEST_F(RegistryKeyTest, OpenKeyHoldsItsParent)
{
    const long lBefore = Refs(m_key);
    {
        const Key child = m_key->CreateKey(L"child", KEY_ALL_ACCESS);
        EXPECT_EQ(lBefore + 1, Refs(m_key));
        EXPECT_EQ(1, Refs(child));
    }
    EXPECT_EQ(lBefore, Refs(m_key));
}

TEST_F(RegistryKeyTest, AParentLivesAndStaysOpenAsLongAsItsChild)
{
    const HKEY hParent = HandleOf(m_key);
    Key child = m_key->CreateKey(L"child", KEY_ALL_ACCESS);
    const HKEY hChild = HandleOf(child);
    m_key = nullptr;
    EXPECT_TRUE(IsOpen(hParent));
    child = nullptr;
    EXPECT_FALSE(IsOpen(hChild));
    EXPECT_FALSE(IsOpen(hParent));
}

TEST_F(RegistryKeyTest, CreateKeyMakesTheKeyAndOpensItTheNextTime)
{
    const Key created = m_key->CreateKey(L"child\\grandchild", KEY_ALL_ACCESS);
    EXPECT_EQ(0, created->GetError());
    EXPECT_TRUE(HasSubKey(L"child\\grandchild"));
    created->PutVals(L"v", L"text");
    const Key opened = m_key->CreateKey(L"child\\grandchild", KEY_READ);
    const CString text = opened->GetVals(L"v");
    EXPECT_STREQ(L"text", text);
}

TEST_F(RegistryKeyTest, AFailedCreateKeyReturnsAChildWithTheFailure)
{
    const Key child = m_key->CreateKey(std::wstring(1000, L'n').c_str(), KEY_READ);
    ASSERT_TRUE(child);
    EXPECT_LT(child->GetError(), 0);
    EXPECT_EQ(0x80070000u, child->GetError() & 0xFFFF0000u);
    EXPECT_EQ(nullptr, HandleOf(child));
    EXPECT_EQ(0, m_key->GetError());
}

int s_nClosed = 0;
LONG WINAPI CountClosed(HKEY hKey)
{
    ++s_nClosed;
    return ::RegCloseKey(hKey);
}

TEST_F(RegistryKeyTest, WithoutMemoryThereIsNoChildAndItsHandleIsClosed)
{
    const long lBefore = Refs(m_key);
    s_nClosed = 0;
    {
        const CWithoutMemory without;
        const CImportPatch patch(L"korvaneLib.dll", "RegCloseKey", &CountClosed);
        EXPECT_FALSE(m_key->CreateKey(L"child", KEY_ALL_ACCESS));
        EXPECT_FALSE(m_key->OpenKey(L"child", KEY_ALL_ACCESS));
        EXPECT_FALSE(m_key->OpenKey(L"missing", KEY_ALL_ACCESS));
    }
    EXPECT_EQ(2, s_nClosed) << "the created and the opened one";
    EXPECT_EQ(lBefore, Refs(m_key));
    EXPECT_EQ(0, m_key->Delete(L"child"));
    EXPECT_EQ(0, m_key->GetError());
}

TEST_F(RegistryKeyTest, KeyNamesOf255Units)
{
    const std::wstring name(255, L'n');
    EXPECT_EQ(0, m_key->CreateKey(name.c_str(), KEY_READ)->GetError());
    EXPECT_NE(nullptr, HandleOf(m_key->OpenKey(name.c_str(), KEY_READ)));
    EXPECT_EQ(0, m_key->Delete(name.c_str()));
    EXPECT_FALSE(HasSubKey(name.c_str()));
}

TEST_F(RegistryKeyTest, CreateKeyUnderAKeyWithoutHandleIsAnInvalidHandle)
{
    const Key none = m_key->OpenKey(L"missing", KEY_READ);
    EXPECT_EQ(kInvalidHandle, none->CreateKey(L"child", KEY_READ)->GetError());
}

TEST_F(RegistryKeyTest, AFailedOpenKeyOfAHealthyKeyReturnsAChildWithoutError)
{
    const Key child = m_key->OpenKey(L"missing", KEY_READ);
    ASSERT_TRUE(child);
    EXPECT_EQ(0, child->GetError());
    EXPECT_EQ(nullptr, HandleOf(child));
    const CString text = child->GetVals(L"v");
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(kInvalidHandle, child->GetError());
}

TEST_F(RegistryKeyTest, AFailedOpenKeyOfAFailedKeyInheritsItsError)
{
    Fail(m_key);
    EXPECT_EQ(kMissing, m_key->OpenKey(L"missing", KEY_READ)->GetError());
}

TEST_F(RegistryKeyTest, OpenKeyAndCreateKeyRunOnAFailedKey)
{
    Fail(m_key);
    EXPECT_EQ(0, m_key->CreateKey(L"child", KEY_READ)->GetError());
    EXPECT_EQ(0, m_key->OpenKey(L"child", KEY_READ)->GetError());
    EXPECT_EQ(kMissing, m_key->GetError());
}

TEST_F(RegistryKeyTest, AnErrorIsStickyUntilItIsCleared)
{
    Fail(m_key);
    m_key->PutVals(L"v", L"text");
    m_key->PutVals(L"n", 7ul);
    m_key->SetDefaultVal(L"text");
    EXPECT_EQ(0xFFFFu, Read(L"v").dwType);
    EXPECT_EQ(0xFFFFu, Read(L"n").dwType);
    EXPECT_EQ(0xFFFFu, Read(L"").dwType);
    Write(L"there", REG_DWORD, {1, 0, 0, 0});
    const unsigned long ulFailed = m_key->GetVals(L"there");
    EXPECT_EQ(0u, ulFailed);
    EXPECT_EQ(0, m_key->GetVals(L"there").IsPresent());
    m_key->CleareError();
    EXPECT_EQ(0, m_key->GetError());
    const unsigned long ulValue = m_key->GetVals(L"there");
    EXPECT_EQ(1u, ulValue);
}

TEST_F(RegistryKeyTest, DeleteRemovesASubKey)
{
    m_key->CreateKey(L"child", KEY_READ);
    EXPECT_EQ(0, m_key->Delete(L"child"));
    EXPECT_EQ(0, m_key->GetError());
    EXPECT_FALSE(HasSubKey(L"child"));
}

TEST_F(RegistryKeyTest, AFailedDeleteReturnsZeroAndSetsTheError)
{
    EXPECT_EQ(0, m_key->Delete(L"missing"));
    EXPECT_EQ(kMissing, m_key->GetError());
}

TEST_F(RegistryKeyTest, DeleteOnAFailedKeyIsEFailAndDeletesNothing)
{
    m_key->CreateKey(L"child", KEY_READ);
    Fail(m_key);
    EXPECT_EQ(E_FAIL, m_key->Delete(L"child"));
    EXPECT_TRUE(HasSubKey(L"child"));
    EXPECT_EQ(kMissing, m_key->GetError());
}

TEST_F(RegistryKeyTest, DeleteIsNotRecursive)
{
    m_key->CreateKey(L"child\\grandchild", KEY_READ);
    EXPECT_EQ(0, m_key->Delete(L"child"));
    EXPECT_LT(m_key->GetError(), 0);
    EXPECT_TRUE(HasSubKey(L"child\\grandchild"));
}

TEST_F(RegistryKeyTest, WithoutTheRightToWriteAWriteIsAccessDenied)
{
    const Key reader = CRegistryKey::HK_CURRENT_USER->OpenKey(m_path.c_str(), KEY_READ);
    reader->PutVals(L"v", L"text");
    EXPECT_EQ(kAccessDenied, reader->GetError());
    reader->CleareError();
    reader->PutVals(L"n", 1ul);
    EXPECT_EQ(kAccessDenied, reader->GetError());
}

TEST_F(RegistryKeyTest, AKeyThatIsDeletedWhileOpenReportsIt)
{
    const Key child = m_key->CreateKey(L"child", KEY_ALL_ACCESS);
    ASSERT_EQ(0, m_key->Delete(L"child"));
    child->PutVals(L"v", L"text");
    EXPECT_EQ(kDeleted, child->GetError());
    child->CleareError();
    const CString text = child->GetVals(L"v");
    EXPECT_STREQ(L"", text);
    EXPECT_EQ(kDeleted, child->GetError());
}

TEST_F(RegistryKeyTest, WithPropagationAChildThatGoesInFailurePassesItsErrorOn)
{
    CRegistryKey::PropagateErrorOnDestruction(true);
    Key child = m_key->CreateKey(L"child", KEY_ALL_ACCESS);
    Fail(child);
    EXPECT_EQ(0, m_key->GetError());
    child = nullptr;
    EXPECT_EQ(kMissing, m_key->GetError());
}

TEST_F(RegistryKeyTest, PropagationOverwritesTheParentsErrorAndGoesUpTheChain)
{
    CRegistryKey::PropagateErrorOnDestruction(true);
    Key child = m_key->CreateKey(L"child", KEY_ALL_ACCESS);
    Key grandchild = child->CreateKey(L"grandchild", KEY_READ);
    Fail(child);
    grandchild->PutVals(L"v", L"text");
    ASSERT_EQ(kAccessDenied, grandchild->GetError());
    child = nullptr;
    EXPECT_EQ(0, m_key->GetError()) << "the grandchild holds it";
    grandchild = nullptr;
    EXPECT_EQ(kAccessDenied, m_key->GetError());
}

TEST_F(RegistryKeyTest, AHealthyChildPropagatesNothing)
{
    CRegistryKey::PropagateErrorOnDestruction(true);
    Fail(m_key);
    m_key->CreateKey(L"child", KEY_READ);
    EXPECT_EQ(kMissing, m_key->GetError());
}

TEST_F(RegistryKeyTest, WithoutPropagationTheParentIsUntouched)
{
    Key child = m_key->CreateKey(L"child", KEY_ALL_ACCESS);
    Fail(child);
    child = nullptr;
    EXPECT_EQ(0, m_key->GetError());
}

TEST_F(RegistryKeyTest, AFailedKeyWithoutParentPropagatesToNobody)
{
    CRegistryKey::PropagateErrorOnDestruction(true);
    Key root = CRegistryKey::HK_USERS;
    Fail(root);
    const CRegistryKey_Initializer again;
    root = nullptr;
    EXPECT_EQ(0, CRegistryKey::HK_USERS->GetError());
}

TEST_F(RegistryKeyTest, ACopyHasEveryMember)
{
    Fail(m_key);
    const long lParentRefs = Refs(CRegistryKey::HK_CURRENT_USER);
    CRegistryKey* const pCopy = new CRegistryKey(*m_key);
    EXPECT_EQ(Refs(m_key), Refs(pCopy)) << "the count too";
    EXPECT_EQ(HandleOf(m_key), HandleOf(pCopy));
    EXPECT_EQ(kMissing, pCopy->GetError());
    EXPECT_EQ(lParentRefs + 1, Refs(CRegistryKey::HK_CURRENT_USER));
    // Both would close the one handle: the copy gets another key's state, a root's, before it goes.
    *pCopy = *CRegistryKey::HK_USERS;
    EXPECT_EQ(HKEY_USERS, HandleOf(pCopy));
    EXPECT_EQ(0, pCopy->GetError());
    EXPECT_EQ(lParentRefs, Refs(CRegistryKey::HK_CURRENT_USER));
    EXPECT_EQ(0, pCopy->Release());
    EXPECT_TRUE(IsOpen(HandleOf(m_key)));
}

} // namespace
