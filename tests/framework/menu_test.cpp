// CMenu, the messages of menus, and what a menu's commands look like.
#include "afx_print.h"
#include "dialogs.h"
#include "window_support.h"

#include <gtest/gtest.h>

namespace {

UINT StateOf(const CMenu& menu, UINT nItem)
{
    MENUITEMINFO info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_STATE;
    return ::GetMenuItemInfoW(menu.m_hMenu, nItem, FALSE, &info) ? info.fState : 0xFFFFFFFF;
}

CString TextOf(const CMenu& menu, UINT nItem)
{
    TCHAR szText[40] = L"";
    MENUITEMINFO info = {};
    info.cbSize = sizeof(info);
    info.fMask = MIIM_STRING;
    info.dwTypeData = szText;
    info.cch = 40;
    ::GetMenuItemInfoW(menu.m_hMenu, nItem, FALSE, &info);
    return szText;
}

class CMenuWindow : public CPlainWindow
{
public:
    CMenu* m_pOpened = NULL;
    UINT m_nSelected = 0, m_nCommand = 0;

protected:
    afx_msg void OnInitMenuPopup(CMenu* pMenu, UINT nIndex, BOOL bSysMenu)
    {
        CPlainWindow::OnInitMenuPopup(pMenu, nIndex, bSysMenu);
        m_pOpened = pMenu;
    }
    afx_msg void OnMenuSelect(UINT nItemID, UINT, HMENU)
    {
        if (nItemID) m_nSelected = nItemID;
    }
    afx_msg LRESULT OnMenuChar(UINT nChar, UINT, CMenu*) { return MAKELRESULT(nChar == L'x' ? 1 : 0, MNC_EXECUTE); }
    afx_msg void OnCommand51() { m_nCommand = 51; }
    afx_msg void OnCommand52() { m_nCommand = 52; }
    DECLARE_MESSAGE_MAP()
};

BEGIN_MESSAGE_MAP(CMenuWindow, CPlainWindow)
ON_WM_INITMENUPOPUP()
ON_WM_MENUSELECT()
ON_WM_MENUCHAR()
ON_COMMAND(51, OnCommand51)
ON_COMMAND(52, OnCommand52)
END_MESSAGE_MAP()

} // namespace

TEST(MenuTest, ItemsAreAddedChangedAndTakenAway)
{
    CMenu menu;
    EXPECT_FALSE(menu.AppendMenu(MF_STRING, 1, L"x")); // no menu yet
    ASSERT_TRUE(menu.CreatePopupMenu());
    EXPECT_EQ(&menu, CMenu::FromHandlePermanent(menu));
    EXPECT_TRUE(menu.AppendMenu(MF_STRING, 51, L"one"));
    EXPECT_TRUE(menu.AppendMenu(MF_SEPARATOR));
    EXPECT_TRUE(menu.InsertMenu(51, MF_BYCOMMAND | MF_STRING, 50, L"zero"));
    EXPECT_EQ(CString(L"zero"), TextOf(menu, 50));
    EXPECT_EQ(static_cast<UINT>(MF_ENABLED), menu.EnableMenuItem(51, MF_BYCOMMAND | MF_GRAYED));
    EXPECT_TRUE(StateOf(menu, 51) & MFS_GRAYED);
    EXPECT_EQ(static_cast<UINT>(MF_UNCHECKED), menu.CheckMenuItem(50, MF_BYCOMMAND | MF_CHECKED));
    EXPECT_TRUE(StateOf(menu, 50) & MFS_CHECKED);
    EXPECT_EQ(static_cast<UINT>(-1), menu.EnableMenuItem(99, MF_BYCOMMAND | MF_GRAYED));
    EXPECT_TRUE(menu.CheckMenuRadioItem(50, 51, 51, MF_BYCOMMAND));
    EXPECT_FALSE(StateOf(menu, 50) & MFS_CHECKED);
    EXPECT_TRUE(menu.DeleteMenu(50, MF_BYCOMMAND));
    EXPECT_FALSE(menu.DeleteMenu(50, MF_BYCOMMAND));
    EXPECT_TRUE(menu.DestroyMenu());
    EXPECT_FALSE(menu.DestroyMenu());
}

TEST(MenuTest, HandlesFindTheirObjects)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreateMenu());
    CMenu* const pPopup = new CMenu;
    ASSERT_TRUE(pPopup->CreatePopupMenu());
    EXPECT_TRUE(menu.AppendMenu(MF_POPUP, reinterpret_cast<UINT>(pPopup->m_hMenu), L"more"));
    EXPECT_EQ(pPopup, menu.GetSubMenu(0));
    const HMENU hPopup = pPopup->Detach();
    delete pPopup;
    EXPECT_TRUE(::IsMenu(hPopup));
    EXPECT_EQ(hPopup, menu.GetSubMenu(0)->m_hMenu);
    CMenu::DeleteTempMap();
    EXPECT_TRUE(::IsMenu(hPopup)); // a temporary object's menu is not its own
    EXPECT_EQ(nullptr, menu.GetSubMenu(1));
    EXPECT_EQ(nullptr, CMenu::FromHandle(NULL));
    menu.DestroyMenu();
    EXPECT_FALSE(::IsMenu(hPopup));
}

TEST(MenuTest, ATemporaryObjectThatWasDetachedIsFoundWithItsHandleAgain)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreateMenu());
    const HMENU hPopup = ::CreatePopupMenu();
    ASSERT_TRUE(menu.AppendMenu(MF_POPUP, reinterpret_cast<UINT>(hPopup), L"more"));
    EXPECT_EQ(hPopup, menu.GetSubMenu(0)->Detach());
    EXPECT_EQ(hPopup, menu.GetSubMenu(0)->m_hMenu);
    EXPECT_TRUE(menu.GetSubMenu(0)->AppendMenu(MF_STRING, 51, L"one"));
    CMenu::DeleteTempMap();
}

TEST(MenuTest, MenusComeFromResources)
{
    CMenu menu, none;
    EXPECT_FALSE(none.LoadMenu(IDD_ABSENT));
    ASSERT_TRUE(menu.LoadMenu(IDR_MENU));
    EXPECT_EQ(CString(L"Fifty-two"), TextOf(*menu.GetSubMenu(0), 52));
}

TEST(MenuTest, APopupSendsItsMessagesAndItsCommand)
{
    CMenuWindow wnd;
    CMenu menu;
    ASSERT_TRUE(menu.LoadMenu(IDR_MENU));
    wnd.SetForegroundWindow();
    for (WPARAM nKey : {VK_DOWN, VK_DOWN, VK_RETURN}) wnd.PostMessage(WM_KEYDOWN, nKey, 1);
    CMenu* const pPopup = menu.GetSubMenu(0);
    EXPECT_TRUE(pPopup->TrackPopupMenu(TPM_LEFTALIGN, 30, 30, &wnd));
    PumpAll();
    EXPECT_EQ(pPopup, wnd.m_pOpened);
    EXPECT_EQ(52u, wnd.m_nSelected);
    EXPECT_EQ(52u, wnd.m_nCommand);
    wnd.PostMessage(WM_KEYDOWN, VK_ESCAPE, 1);
    EXPECT_EQ(0, pPopup->TrackPopupMenu(TPM_RETURNCMD, 30, 30, &wnd));
    EXPECT_EQ(MAKELRESULT(1, MNC_EXECUTE), wnd.SendMessage(WM_MENUCHAR, MAKEWPARAM(L'x', MF_POPUP), 0));
}

TEST(MenuTest, AnUpdateHandlerSetsTheItemsAppearance)
{
    CMenu menu;
    ASSERT_TRUE(menu.CreatePopupMenu());
    menu.AppendMenu(MF_STRING, 50, L"zero");
    menu.AppendMenu(MF_STRING, 51, L"one");
    CCmdUI ui;
    ui.m_pMenu = &menu;
    ui.m_nIndex = 1;
    ui.Enable(FALSE);
    ui.SetCheck(1);
    ui.SetText(L"new");
    EXPECT_TRUE(StateOf(menu, 51) & MFS_GRAYED);
    EXPECT_TRUE(StateOf(menu, 51) & MFS_CHECKED);
    EXPECT_EQ(CString(L"new"), TextOf(menu, 51));
    EXPECT_FALSE(StateOf(menu, 50) & (MFS_GRAYED | MFS_CHECKED));
    ui.Enable();
    ui.SetRadio(FALSE);
    EXPECT_FALSE(StateOf(menu, 51) & (MFS_GRAYED | MFS_CHECKED));
    ui.SetRadio();
    EXPECT_TRUE(StateOf(menu, 51) & MFS_CHECKED);
}
