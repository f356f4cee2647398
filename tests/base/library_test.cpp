#include "korvanelib.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace {

// What a host's own static initialisers find, before main and before InitLib.
const bool s_bRootsAtStart = CRegistryKey::HK_CLASSES_ROOT && CRegistryKey::HK_CURRENT_USER &&
                             CRegistryKey::HK_LOCAL_MACHINE && CRegistryKey::HK_USERS;
const bool s_bNoWriterAtStart = theLogStream == nullptr;

// Each InitLib leaves a writer that nobody owns; the tests delete them so that the files can go.
class LibraryTest : public testing::Test
{
protected:
    ~LibraryTest() override { DeInitLib(); }
    CTempFolder m_folder;
    const std::wstring m_path = m_folder.File(L"log.txt");
    const std::string m_name = ToNarrow(m_path);
};

TEST_F(LibraryTest, LoadingMakesTheRootsAndNoWriter)
{
    EXPECT_TRUE(s_bRootsAtStart);
    EXPECT_TRUE(s_bNoWriterAtStart);
}

TEST_F(LibraryTest, InitLibMakesAWriterOnTheNamedFile)
{
    InitLib(m_name.c_str());
    ASSERT_NE(nullptr, theLogStream);
    CStreamWriter* const pWriter = theLogStream;
    *theLogStream << "hello";
    EXPECT_EQ("hello", ReadBytes(m_path));
    delete pWriter;
}

TEST_F(LibraryTest, AnEmptyNameSendsTheLogToTheDebugger)
{
    InitLib("");
    ASSERT_NE(nullptr, theLogStream);
    CStreamWriter* const pWriter = theLogStream;
    CDebugOutput output;
    *theLogStream << "hello";
    EXPECT_EQ(std::vector<std::wstring>{L"hello"}, output.Texts());
    delete pWriter;
}

TEST_F(LibraryTest, DeInitLibOnlyForgetsTheWriter)
{
    InitLib(m_name.c_str());
    CStreamWriter* const pWriter = theLogStream;
    CRegistryKey* const pRoot = CRegistryKey::HK_USERS;
    DeInitLib();
    EXPECT_EQ(nullptr, theLogStream);
    EXPECT_EQ(pRoot, CRegistryKey::HK_USERS);
    *pWriter << "still open";
    EXPECT_EQ("still open", ReadBytes(m_path));
    DeInitLib();
    EXPECT_EQ(nullptr, theLogStream);
    delete pWriter;
}

TEST_F(LibraryTest, ASecondInitLibLeavesTheFirstWriterAliveAndEmptiesTheFile)
{
    InitLib(m_name.c_str());
    CStreamWriter* const pFirst = theLogStream;
    *pFirst << "first";
    InitLib(m_name.c_str());
    CStreamWriter* const pSecond = theLogStream;
    EXPECT_NE(pFirst, pSecond);
    EXPECT_EQ("", ReadBytes(m_path));
    *pSecond << "second";
    delete pSecond;
    EXPECT_FALSE(::DeleteFileW(m_path.c_str())) << "the first writer has it open";
    *pFirst << L"!";
    delete pFirst;
    EXPECT_TRUE(::DeleteFileW(m_path.c_str()));
}

TEST_F(LibraryTest, ASecondInitLibReplacesTheRootsAndHeldOnesLiveOn)
{
    InitLib("");
    CStreamWriter* const pFirst = theLogStream;
    const CSmartPtr<CRegistryKey> held = CRegistryKey::HK_CURRENT_USER;
    EXPECT_EQ(2, held->AddRef());
    EXPECT_EQ(2, held->Release());
    InitLib("");
    CStreamWriter* const pSecond = theLogStream;
    EXPECT_NE(static_cast<CRegistryKey*>(held), static_cast<CRegistryKey*>(CRegistryKey::HK_CURRENT_USER));
    EXPECT_EQ(1, held->AddRef());
    EXPECT_EQ(1, held->Release());
    EXPECT_EQ(0, held->OpenKey(L"Software", KEY_READ)->GetError());
    EXPECT_EQ(1, CRegistryKey::HK_USERS->AddRef()) << "the static pointer has the one reference";
    EXPECT_EQ(1, CRegistryKey::HK_USERS->Release());
    delete pFirst;
    delete pSecond;
}

TEST(KorvaneLibHeaderTest, ABuildWithoutUnicodeIsRefusedWithASentence)
{
    EXPECT_EQ(0, KORVANE_NARROW_HOST_COMPILES);
    EXPECT_EQ(1, KORVANE_NARROW_HOST_SENTENCE);
}

TEST_F(LibraryTest, WithoutMemoryThereIsNoWriterAndNothingIsReported)
{
    {
        const CWithoutMemory without;
        InitLib(m_name.c_str());
    }
    EXPECT_EQ(nullptr, theLogStream);
    EXPECT_FALSE(CRegistryKey::HK_CURRENT_USER);
    EXPECT_EQ(0, gErrHRESULT);
    InitLib(m_name.c_str());
    EXPECT_NE(nullptr, theLogStream);
    EXPECT_TRUE(CRegistryKey::HK_CURRENT_USER);
    delete theLogStream;
}

} // namespace
