#include "attachnew.h"
#include "threadstate.h"

#include "afx_menu.h"
#include "afx_resource.h"

IMPLEMENT_DYNCREATE(CMenu, CObject)

CMenu::~CMenu()
{
    DestroyMenu();
}

CMenu* PASCAL CMenu::FromHandle(HMENU hMenu)
{
    return hMenu ? CThreadState::Get().m_menus.FromHandle(hMenu, RUNTIME_CLASS(CMenu)) : NULL;
}

CMenu* PASCAL CMenu::FromHandlePermanent(HMENU hMenu)
{
    const CThreadState* const pState = CThreadState::GetIfAny();
    return pState && hMenu ? pState->m_menus.FindPermanent(hMenu) : NULL;
}

void PASCAL CMenu::DeleteTempMap()
{
    if (CThreadState* const pState = CThreadState::GetIfAny()) pState->m_menus.DeleteTemporaries();
}

BOOL CMenu::Attach(HMENU hMenu)
{
    ASSERT(m_hMenu == NULL);
    if (!hMenu || m_hMenu) return FALSE;
    CThreadState::Get().m_menus.SetPermanent(hMenu, this);
    m_hMenu = hMenu;
    return TRUE;
}

HMENU CMenu::Detach()
{
    const HMENU hMenu = m_hMenu;
    if (hMenu) {
        if (CThreadState* const pState = CThreadState::GetIfAny()) pState->m_menus.RemovePermanent(hMenu, this);
    }
    m_hMenu = NULL;
    return hMenu;
}

HMENU CMenu::GetSafeHmenu() const
{
    return this ? m_hMenu : NULL;
}

BOOL CMenu::CreateMenu()
{
    return AttachNew(*this, ::CreateMenu(), ::DestroyMenu);
}

BOOL CMenu::CreatePopupMenu()
{
    return AttachNew(*this, ::CreatePopupMenu(), ::DestroyMenu);
}

BOOL CMenu::LoadMenu(LPCTSTR pszResourceName)
{
    return AttachNew(*this, ::LoadMenuW(AfxFindResourceHandle(pszResourceName, RT_MENU), pszResourceName),
                     ::DestroyMenu);
}

BOOL CMenu::DestroyMenu()
{
    const HMENU hMenu = Detach();
    return hMenu ? ::DestroyMenu(hMenu) : FALSE;
}

BOOL CMenu::TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT)
{
    return ::TrackPopupMenuEx(m_hMenu, nFlags, x, y, pWnd->GetSafeHwnd(), NULL);
}
