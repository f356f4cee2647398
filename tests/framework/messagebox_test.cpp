#include "afxwin.h"
#include "resource.h"

#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Box
{
    HWND hOwner;
    std::wstring text, title;
    UINT type;
};
Box g_box;

int WINAPI AnswerBox(HWND hOwner, LPCWSTR pszText, LPCWSTR pszTitle, UINT nType)
{
    g_box = {hOwner, pszText, pszTitle, nType};
    return IDRETRY;
}

class MessageBoxTest : public testing::Test
{
protected:
    const CImportPatch m_patch{L"korvaneafx.dll", "MessageBoxW", AnswerBox};
};

} // namespace

TEST_F(MessageBoxTest, ShowsTheTextUnderTheProgramsNameAndReturnsTheButton)
{
    EXPECT_EQ(IDRETRY, AfxMessageBox(L"The disk is full."));
    EXPECT_EQ(L"The disk is full.", g_box.text);
    EXPECT_EQ(L"test_framework", g_box.title);
    EXPECT_EQ(static_cast<UINT>(MB_OK | MB_ICONEXCLAMATION), g_box.type);
}

TEST_F(MessageBoxTest, ATypeWithoutAnIconGetsOne)
{
    static constexpr struct
    {
        UINT type, shown;
    } kCases[] = {
        {MB_OK, MB_OK | MB_ICONEXCLAMATION},
        {MB_OKCANCEL, MB_OKCANCEL | MB_ICONEXCLAMATION},
        {MB_RETRYCANCEL, MB_RETRYCANCEL | MB_ICONEXCLAMATION},
        {MB_YESNO, MB_YESNO | MB_ICONQUESTION},
        {MB_YESNOCANCEL | MB_DEFBUTTON2, MB_YESNOCANCEL | MB_DEFBUTTON2 | MB_ICONQUESTION},
        {MB_YESNO | MB_ICONSTOP, MB_YESNO | MB_ICONSTOP},
        {MB_OK | MB_ICONINFORMATION, MB_OK | MB_ICONINFORMATION},
    };
    for (const auto& c : kCases) {
        AfxMessageBox(L"x", c.type);
        EXPECT_EQ(c.shown, g_box.type) << c.type;
    }
}

TEST_F(MessageBoxTest, ANumberNamesAStringResource)
{
    EXPECT_EQ(IDRETRY, AfxMessageBox(IDS_PLAIN, MB_YESNO));
    EXPECT_EQ(L"Plain text", g_box.text);
    EXPECT_EQ(static_cast<UINT>(MB_YESNO | MB_ICONQUESTION), g_box.type);
    AfxMessageBox(IDS_ABSENT);
    EXPECT_EQ(L"", g_box.text);
}

TEST_F(MessageBoxTest, ANullTextIsEmpty)
{
    AfxMessageBox(static_cast<LPCTSTR>(nullptr));
    EXPECT_EQ(L"", g_box.text);
}
