// wndhook.h - how an object gets its window while it is being created, and where exceptions end.
//
// Threads    the calling thread's windows only.
#ifndef KORVANEAFX_WNDHOOK_H
#define KORVANEAFX_WNDHOOK_H

#include "threadstate.h"

#include "afx_dialog.h"

#include <exception>

// Bits of CWnd::m_nFlags.
constexpr UINT kModalLoop = 0x10;     // RunModalLoop runs
constexpr UINT kContinueModal = 0x20; // and is to go on

// The next window that this thread creates becomes pWnd's, before its first message.
void HookCreation(CWnd* pWnd);
// TRUE if it did; otherwise no window will.
BOOL UnhookCreation();
// TRUE while the next window is to be pWnd's.
BOOL IsWaitingForWindow(const CWnd* pWnd);

// What CWnd keeps to itself, for the framework's own sources.
struct CWndAccess
{
    // Attaches and subclasses; FALSE if an object stands for the window already.
    static BOOL Adopt(CWnd& wnd, HWND hWnd);
    static LRESULT Call(CWnd& wnd, UINT nMessage, WPARAM wParam, LPARAM lParam);
    static void LetGo(CWnd& wnd);
    static void PrepareInit(CDialog& dialog) { dialog.PreInitDialog(); }
};

// One line to the debugger's output.
void LogException(LPCTSTR pszWhere, LPCTSTR pszWhat);
void LogException(LPCTSTR pszWhere, CException* e);
void LogException(LPCTSTR pszWhere, const std::exception& e);
// What a message whose handler failed results in.
LRESULT ResultOfFailure(const MSG& message);
// The first entry for a message (not a command) in the map or those of its bases; NULL if there is none.
const AFX_MSGMAP_ENTRY* FindMessageEntry(const AFX_MSGMAP* pMap, UINT nMessage);

// Runs action. An exception ends here and is logged: FALSE.
template <class Action> bool Contained(LPCTSTR pszWhere, Action action)
{
    try {
        action();
        return true;
    } catch (CException* e) {
        LogException(pszWhere, e);
        e->Delete();
    } catch (const std::exception& e) {
        LogException(pszWhere, e);
    } catch (...) {
        LogException(pszWhere, L"an exception of unknown type");
    }
    return false;
}

// Waits for one message, takes it through the thread's object if it has one, and dispatches it. FALSE for WM_QUIT.
// *pMessage is the message.
BOOL PumpThreadMessage(MSG* pMessage);
// Likewise CWinThread::IsIdleMessage.
BOOL IsThreadIdleMessage(MSG* pMessage);

#endif
