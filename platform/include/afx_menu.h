// afx_menu.h - CMenu: an object for a menu.
//
// Ownership  an object that created, loaded or attached its menu owns it: its destructor destroys it, with everything
//            below. FromHandle gives the owner, if this thread has one, else a temporary object, which never destroys
//            its menu and goes when the thread is idle. A popup menu that was appended belongs to the menu it is in:
//            Detach it.
// Threads    one thread at a time.
// Errors     FALSE, NULL or -1 as the system's calls; an object without a menu fails every call.
//
// The device has no calls that list a menu's items; nor has this class.
#ifndef AFX_MENU_H
#define AFX_MENU_H

#include "afx_object.h"

class CWnd;

class AFX_API CMenu : public CObject
{
    DECLARE_DYNCREATE(CMenu)

public:
    HMENU m_hMenu; // NULL: none

    CMenu() : m_hMenu(NULL) {}
    ~CMenu() override;

    static CMenu* PASCAL FromHandle(HMENU hMenu); // NULL for NULL
    static CMenu* PASCAL FromHandlePermanent(HMENU hMenu);
    static void PASCAL DeleteTempMap();
    BOOL Attach(HMENU hMenu); // FALSE for NULL. REQUIRES: no menu yet
    HMENU Detach();
    HMENU GetSafeHmenu() const; // NULL for a NULL object too
    operator HMENU() const { return m_hMenu; }

    // REQUIRES: no menu yet. LoadMenu looks in the modules as AfxFindResourceHandle does.
    BOOL CreateMenu();
    BOOL CreatePopupMenu();
    BOOL LoadMenu(LPCTSTR pszResourceName);
    BOOL LoadMenu(UINT nIDResource) { return LoadMenu(MAKEINTRESOURCE(nIDResource)); }
    BOOL DestroyMenu();

    // nPosition: the item's command, or with MF_BYPOSITION its place. nIDNewItem: the command, or with MF_POPUP a menu's
    // handle. Of EnableMenuItem and CheckMenuItem: the state before, -1 for no such item.
    BOOL AppendMenu(UINT nFlags, UINT nIDNewItem = 0, LPCTSTR pszNewItem = NULL)
    {
        return ::AppendMenuW(m_hMenu, nFlags, nIDNewItem, pszNewItem);
    }
    BOOL InsertMenu(UINT nPosition, UINT nFlags, UINT nIDNewItem = 0, LPCTSTR pszNewItem = NULL)
    {
        return ::InsertMenuW(m_hMenu, nPosition, nFlags, nIDNewItem, pszNewItem);
    }
    BOOL DeleteMenu(UINT nPosition, UINT nFlags) { return ::DeleteMenu(m_hMenu, nPosition, nFlags); }
    BOOL RemoveMenu(UINT nPosition, UINT nFlags) { return ::RemoveMenu(m_hMenu, nPosition, nFlags); } // keeps its popup
    UINT EnableMenuItem(UINT nItem, UINT nFlags) { return static_cast<UINT>(::EnableMenuItem(m_hMenu, nItem, nFlags)); }
    UINT CheckMenuItem(UINT nItem, UINT nFlags) { return ::CheckMenuItem(m_hMenu, nItem, nFlags); }
    BOOL CheckMenuRadioItem(UINT nFirst, UINT nLast, UINT nItem, UINT nFlags)
    {
        return ::CheckMenuRadioItem(m_hMenu, nFirst, nLast, nItem, nFlags);
    }
    CMenu* GetSubMenu(int nPos) const { return FromHandle(::GetSubMenu(m_hMenu, nPos)); }

    // At a place of the screen; pWnd gets the command, TPM_RETURNCMD gives it instead. Messages are handled until the
    // menu is closed: windows and objects may be gone afterwards. The rectangle is not used.
    BOOL TrackPopupMenu(UINT nFlags, int x, int y, CWnd* pWnd, LPCRECT pRect = NULL);
};

#endif
