// A host application, built by itself from the framework's headers, with this program in the place of its user.
#include "afx_print.h"
#include "host/ids.h"

#include <afxdlgs.h>

#include <gtest/gtest.h>

#include <functional>

namespace {

constexpr LPCTSTR kTitle = L"only in the other module"; // of the other module's string

class HostTest : public testing::Test
{
protected:
    HostTest()
    {
        STARTUPINFO start = {};
        start.cb = sizeof(start);
        TCHAR szCommand[] = L"framework_host.exe";
        CString strFolder;
        ::GetModuleFileNameW(NULL, strFolder.GetBuffer(MAX_PATH), MAX_PATH);
        strFolder.ReleaseBuffer();
        strFolder = strFolder.Left(strFolder.ReverseFind(L'\\') + 1);
        EXPECT_TRUE(::CreateProcessW(strFolder + szCommand, szCommand, NULL, NULL, FALSE, 0, NULL, strFolder, &start,
                                     &m_process));
        m_hMain = WaitForWindow(kTitle);
        EXPECT_TRUE(Until([&] { return History().Find(L"timer|") >= 0 && ::GetPropW(m_hMain, L"idle"); }));
    }
    ~HostTest() override
    {
        ::TerminateProcess(m_process.hProcess, 99); // one that failed to end
        ::CloseHandle(m_process.hThread);
        ::CloseHandle(m_process.hProcess);
    }

    // Looks again and again, as long as the host runs and not for ever.
    bool Until(std::function<bool()> condition)
    {
        for (int i = 0; i < 2000; ++i) {
            if (condition()) return true;
            if (::WaitForSingleObject(m_process.hProcess, 5) != WAIT_TIMEOUT) break;
        }
        return condition();
    }
    HWND Window(LPCTSTR pszTitle) const
    {
        const HWND hWnd = ::FindWindowW(L"#32770", pszTitle);
        DWORD dwProcess = 0;
        ::GetWindowThreadProcessId(hWnd, &dwProcess);
        return dwProcess == m_process.dwProcessId && ::IsWindowVisible(hWnd) ? hWnd : NULL;
    }
    HWND WaitForWindow(LPCTSTR pszTitle)
    {
        EXPECT_TRUE(Until([&] { return Window(pszTitle) != NULL; })) << "no window appeared";
        return Window(pszTitle);
    }
    static CString Text(HWND hWnd)
    {
        CString str;
        ::SendMessageW(hWnd, WM_GETTEXT, 500, reinterpret_cast<LPARAM>(str.GetBuffer(500)));
        str.ReleaseBuffer();
        return str;
    }
    // What the host wrote since the last time, without the timer's line.
    CString History() const { return Text(Item(IDC_HISTORY)); }
    CString News()
    {
        const CString strAll = History();
        const CString strNews = strAll.Mid(m_nRead);
        m_nRead = strAll.GetLength();
        return strNews;
    }
    CString WaitForNews()
    {
        EXPECT_TRUE(Until([&] { return History().GetLength() > m_nRead; })) << "nothing happened";
        return News();
    }
    HWND Item(int nID) const { return ::GetDlgItem(m_hMain, nID); }
    // As a click on it: the host is back in its loop when this returns.
    void Click(int nID) { ::SendMessageW(Item(nID), BM_CLICK, 0, 0); }
    void Type(int nID, LPCTSTR psz) { ::SendMessageW(Item(nID), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(psz)); }
    void Command(UINT nID) { ::PostMessageW(m_hMain, WM_COMMAND, nID, 0); }
    void Key(UINT nKey) { ::PostMessageW(Item(IDC_NOTE), WM_KEYDOWN, nKey, 1); }
    DWORD End()
    {
        ::PostMessageW(m_hMain, WM_CLOSE, 0, 0);
        EXPECT_EQ(static_cast<DWORD>(WAIT_OBJECT_0), ::WaitForSingleObject(m_process.hProcess, 10000));
        DWORD dwCode = 0;
        ::GetExitCodeProcess(m_process.hProcess, &dwCode);
        return dwCode;
    }

    PROCESS_INFORMATION m_process = {};
    HWND m_hMain = NULL;
    int m_nRead = 0;
};

} // namespace

TEST_F(HostTest, StartsIsIdleAndEndsWithItsExitCode)
{
    EXPECT_EQ(CString(L"timer|"), News());
    EXPECT_EQ(41u, End());
}

TEST_F(HostTest, ControlsReachTheirHandlers)
{
    News();
    Click(IDC_LETTER_C);
    Click(IDC_LETTER_A);
    EXPECT_EQ(CString(L"letter C|letter A|"), News());
    Type(IDC_NOTE, L"one");
    Type(IDC_NOTE, L"two");
    EXPECT_EQ(CString(L"2"), Text(Item(IDC_COUNT)));
    News();
    Command(ID_PAPER); // the edit control paints itself in the colour that it asked itself for
    EXPECT_EQ(CString(L"paper c8ffff|"), WaitForNews());
    EXPECT_EQ(41u, End());
}

TEST_F(HostTest, CommandsGoThroughTheirRangesToTheApplication)
{
    News();
    Command(ID_VIOLET);
    EXPECT_EQ(CString(L"violet|"), WaitForNews());
    Command(ID_BLUE); // switched off without a note
    Command(ID_GREEN);
    EXPECT_EQ(CString(L"green|"), WaitForNews());
    Type(IDC_NOTE, L"a note");
    Command(ID_BLUE);
    EXPECT_EQ(CString(L"blue|"), WaitForNews());
    Command(ID_WORK);
    EXPECT_EQ(CString(L"worked 42|"), WaitForNews());
    EXPECT_EQ(41u, End());
}

TEST_F(HostTest, KeysOpenADialogInFrontOfTheMainWindow)
{
    News();
    Key(VK_F3);
    const HWND hAbout = WaitForWindow(L"About Host");
    EXPECT_FALSE(::IsWindowEnabled(m_hMain));
    ::PostMessageW(::GetDlgItem(hAbout, IDOK), WM_KEYDOWN, VK_RETURN, 1);
    EXPECT_EQ(CString(L"about|"), WaitForNews());
    EXPECT_TRUE(Until([&] { return ::IsWindowEnabled(m_hMain) != FALSE; }));
    EXPECT_EQ(41u, End());
}

TEST_F(HostTest, TheOptionsAreASheetWhosePagesExchangeTheirData)
{
    News();
    Key(VK_F2);
    const HWND hSheet = WaitForWindow(L"Options");
    const auto page = [&] { return reinterpret_cast<HWND>(::SendMessageW(hSheet, PSM_GETCURRENTPAGEHWND, 0, 0)); };
    const HWND hGeneral = page();
    EXPECT_EQ(CString(L"Ada"), Text(::GetDlgItem(hGeneral, IDC_NAME)));
    ::SendMessageW(::GetDlgItem(hGeneral, IDC_NAME), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"Grace"));
    ::SendMessageW(hSheet, PSM_SETCURSEL, 1, 0);
    const HWND hAdvanced = page();
    ASSERT_NE(hGeneral, hAdvanced);
    EXPECT_TRUE(::GetWindowLongW(hAdvanced, GWL_STYLE) & WS_CHILD); // the template says otherwise
    ::SendMessageW(::GetDlgItem(hAdvanced, IDC_TEXT_SIZE), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"5"));
    ::PostMessageW(hSheet, PSM_PRESSBUTTON, PSBTN_OK, 0);
    // Too small: said, and the page stays.
    HWND hBox = NULL;
    EXPECT_TRUE(Until([&] { return (hBox = ::GetLastActivePopup(hSheet)) != hSheet && ::IsWindowVisible(hBox); }));
    ::PostMessageW(hBox, WM_COMMAND, IDOK, 0);
    EXPECT_TRUE(Until([&] { return !::IsWindow(hBox); }));
    EXPECT_EQ(hAdvanced, page());
    ::SendMessageW(::GetDlgItem(hAdvanced, IDC_TEXT_SIZE), WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"6"));
    ::SendMessageW(::GetDlgItem(hAdvanced, IDC_LOUD), BM_CLICK, 0, 0);
    ::PostMessageW(hSheet, PSM_PRESSBUTTON, PSBTN_OK, 0);
    EXPECT_EQ(CString(L"applied Grace|"), WaitForNews().Left(14));
    EXPECT_TRUE(Until([&] { return History().Find(L"options 1 Grace 6 1|") >= 0; }));
    EXPECT_EQ(41u, End());
}

TEST_F(HostTest, AHandlersExceptionIsSaidAndTheHostGoesOn)
{
    News();
    Command(ID_FAIL);
    HWND hBox = NULL;
    EXPECT_TRUE(Until([&] { return (hBox = ::GetLastActivePopup(m_hMain)) != m_hMain && ::IsWindowVisible(hBox); }));
    ::PostMessageW(hBox, WM_COMMAND, IDOK, 0);
    Command(ID_GREEN);
    EXPECT_EQ(CString(L"green|"), WaitForNews());
    EXPECT_EQ(41u, End());
}
