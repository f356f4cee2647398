// threadstate.h - what the framework keeps for each thread.
//
// Ownership  made when a thread first asks for it, deleted when the thread ends or the library is unloaded. When the
//            whole process ends it stays: the host's static objects may still need it.
// Errors     CMemoryException* when memory is out.
#ifndef KORVANEAFX_THREADSTATE_H
#define KORVANEAFX_THREADSTATE_H

#include "handlemap.h"

#include "afx_dc.h"
#include "afx_menu.h"
#include "afx_wnd.h"

class CWinThread;
struct AFX_MODULE_STATE;

inline void SetMappedHandle(CGdiObject& object, HANDLE hHandle)
{
    object.m_hObject = hHandle;
}

inline void SetMappedHandle(CDC& dc, HANDLE hHandle)
{
    dc.m_hDC = dc.m_hAttribDC = static_cast<HDC>(hHandle);
}

inline void SetMappedHandle(CWnd& wnd, HANDLE hHandle)
{
    wnd.m_hWnd = static_cast<HWND>(hHandle);
}

inline void SetMappedHandle(CMenu& menu, HANDLE hHandle)
{
    menu.m_hMenu = static_cast<HMENU>(hHandle);
}

struct CThreadState
{
    CHandleMap<CGdiObject> m_gdiObjects;
    CHandleMap<CDC> m_contexts;
    CHandleMap<CWnd> m_windows;
    CHandleMap<CMenu> m_menus;

    MSG m_message = {};                      // the one that a window procedure is handling
    MSG m_pumped = {};                       // the last one that was taken without a CWinThread
    HWND m_hExchanging = NULL;               // the dialog whose UpdateData goes on: its notifications are not handled
    CWnd* m_pCreating = NULL;                // gets the next window that is created; borrowed
    HWND m_hCreated = NULL;                  // the last window that m_pCreating got
    HHOOK m_hCreateHook = NULL;              // while m_pCreating waits
    CWinThread* m_pThread = NULL;            // borrowed
    CWnd* m_pProgramsMainWnd = NULL;         // the program's main window as an object of this thread; borrowed
    AFX_MODULE_STATE* m_pModuleState = NULL; // the one in place, borrowed; NULL: the program's
    int m_nWaiting = 0;                      // BeginWaitCursor calls without their EndWaitCursor
    CString m_strClassName;                  // AfxRegisterWndClass's last

    // The calling thread's.
    static CThreadState& Get();
    // NULL if the calling thread has none: there is nothing to look up or to remove then.
    static CThreadState* GetIfAny();
};

#endif
