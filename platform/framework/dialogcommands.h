// Where a command goes that a dialog or a property sheet does not handle itself.
#ifndef KORVANE_FRAMEWORK_DIALOGCOMMANDS_H
#define KORVANE_FRAMEWORK_DIALOGCOMMANDS_H

#include "afx_app.h"
#include "afx_msg.h"

// To the parent, then to the thread. Notifications are the dialog's own business; commands of the program go on.
inline BOOL PassCommandOn(const CWnd& wnd, UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo)
{
    if (nCode != CN_COMMAND && static_cast<UINT>(nCode) != CN_UPDATE_COMMAND_UI) return FALSE;
    if (nID < 0x8000 || nID >= 0xF000) return FALSE;
    CWnd* const pParent = wnd.GetParent();
    if (pParent && pParent->OnCmdMsg(nID, nCode, pExtra, pHandlerInfo)) return TRUE;
    CWinThread* const pThread = AfxGetThread();
    return pThread && pThread->OnCmdMsg(nID, nCode, pExtra, pHandlerInfo);
}

#endif
