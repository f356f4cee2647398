// afx_cmd.h - CCmdTarget, an object with a message map, the map's records, and CCmdUI, a command's appearance.
//
// Ownership  maps are constants of their classes; what a message carries belongs to its sender.
// Threads    a target belongs to one thread.
// Errors     a handler may throw: the exception ends at the window procedure that dispatched it (see afx_wnd.h).
#ifndef AFX_CMD_H
#define AFX_CMD_H

#include "afx_object.h"

class CCmdTarget;
class CMenu;
class CWnd;

// What a handler is called with, and what it gives back.
struct AFX_MSGCALL
{
    UINT nMessage;
    WPARAM wParam;
    LPARAM lParam;
    LRESULT lResult; // set by the handler of a message, not of a command
    UINT nID;        // of the command
    void* pExtra;    // a command's AFX_NOTIFY or CCmdUI
};

// One line of a message map. pfnCall unpacks the call for the class's handler; FALSE: not handled, search on.
struct AFX_MSGMAP_ENTRY
{
    UINT nMessage; // 0: the end of the map; 0xC000: the registered message *pRegistered
    UINT nCode;    // a control's or WM_NOTIFY's code, cut to 16 bits; 0 for messages
    UINT nID;      // the command's identifier, or the first of a range; 0 for messages
    UINT nLastID;
    BOOL (*pfnCall)(CCmdTarget* pTarget, AFX_MSGCALL& call);
    const UINT* pRegistered;
};

struct AFX_MSGMAP
{
    const AFX_MSGMAP*(PASCAL* pfnGetBaseMap)(); // NULL in CCmdTarget's
    const AFX_MSGMAP_ENTRY* pEntries;
};

// Who would handle a command: filled instead of handling it.
struct AFX_CMDHANDLERINFO
{
    CCmdTarget* pTarget;
    const AFX_MSGMAP_ENTRY* pEntry;
};

// The WM_NOTIFY that is being handled; pResult is where its result goes.
struct AFX_NOTIFY
{
    LRESULT* pResult;
    NMHDR* pNMHDR;
};

// Beside the notification codes of controls, which have 16 bits.
#define CN_COMMAND 0                               // a command of a menu, an accelerator or a button
#define CN_UPDATE_COMMAND_UI static_cast<UINT>(-1) // what the command, for 0 the control itself, looks like

#define DECLARE_MESSAGE_MAP()                                                                                          \
protected:                                                                                                             \
    static const AFX_MSGMAP* PASCAL GetThisMessageMap();                                                               \
    virtual const AFX_MSGMAP* GetMessageMap() const;

class AFX_API CCmdTarget : public CObject
{
    DECLARE_DYNAMIC(CCmdTarget)
    DECLARE_MESSAGE_MAP()

public:
    CCmdTarget() {}

    // Looks for a handler of the command nID, or of a control's notification, in the object's map and calls it; TRUE if
    // there was one that did not pass it on. nCode: CN_..., a control's code, or MAKELONG(code, message). With pInfo
    // the handler is told, not called. Overridden to pass commands on to others.
    virtual BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo);

    // The waiting cursor, counted.
    void BeginWaitCursor();
    void EndWaitCursor();
    void RestoreWaitCursor();
};

// A command's appearance, which an ON_UPDATE_COMMAND_UI handler sets.
class AFX_API CCmdUI
{
public:
    CCmdUI();
    virtual ~CCmdUI() {}

    UINT m_nID;     // the command
    UINT m_nIndex;  // its place among its owner's
    CMenu* m_pMenu; // the menu in which it is item m_nIndex; NULL: none
    CWnd* m_pOther; // the control that stands for it; without either the setters only count as handled
    BOOL m_bEnableChanged;
    BOOL m_bContinueRouting;
    UINT m_nIndexMax;

    virtual void Enable(BOOL bOn = TRUE);
    virtual void SetCheck(int nCheck = 1); // 0, 1 or 2 (undetermined); for check boxes and radio buttons
    virtual void SetRadio(BOOL bOn = TRUE);
    virtual void SetText(LPCTSTR pszText);
    // From the handler: let the next target handle it too.
    void ContinueRouting() { m_bContinueRouting = TRUE; }
    // Asks pTarget. With bDisableIfNoHndler a command that nobody handles is disabled.
    BOOL DoUpdate(CCmdTarget* pTarget, BOOL bDisableIfNoHndler);
};

#endif
