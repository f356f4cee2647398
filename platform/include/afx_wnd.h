// afx_wnd.h - CWnd: an object for a window.
//
// Ownership  an object that created, attached or subclassed its window stands for it until the window is destroyed or
//            Detach is called; destroying the object first destroys the window. FromHandle gives that object, else a
//            temporary one, which is the thread's and goes when it is idle: use it, do not keep it.
// Threads    a window and its object belong to the thread that created the window.
// Errors     FALSE or NULL, and the last error as the system sets it. An exception that leaves a handler ends at the
//            window procedure: it is written to the debugger's output, and the message's result is 0 (-1, which means
//            "no window", for WM_CREATE). Of a CException the thread's object, if it has one, says what the result is:
//            see CWinThread::ProcessWndProcException.
//
// A window's messages go to WindowProc, which looks for a handler in the message map (afx_msg.h) and else calls
// DefWindowProc: the procedure that the window had before it was subclassed, or the system's.
#ifndef AFX_WND_H
#define AFX_WND_H

#include "afx_cmd.h"
#include "afx_gdi.h"

class CDataExchange;
class CListBox;
class CMenu;
class CScrollBar;

// A notification that the control handles itself arrives in its own map as this plus the message.
#define WM_REFLECT_BASE 0xBC00
// The one message behind the WM_CTLCOLOR... ones; its lParam is an AFX_CTLCOLOR.
#ifndef WM_CTLCOLOR
#define WM_CTLCOLOR 0x0019
#endif
#define WM_KICKIDLE 0x036A // to a modal dialog whose queue is empty: wParam MSGF_DIALOGBOX, lParam a counter; 0: enough
#define WM_IDLEUPDATECMDUI 0x0363 // to every window of the main window's tree, when the thread is idle

struct AFX_CTLCOLOR
{
    HWND hWnd;
    HDC hDC;
    UINT nCtlType; // CTLCOLOR_MSGBOX ... CTLCOLOR_STATIC
};

// RunModalLoop: show the window when the queue is empty; send no WM_ENTERIDLE; no WM_KICKIDLE.
#define MLF_NOIDLEMSG 0x0001
#define MLF_NOKICKIDLE 0x0002
#define MLF_SHOWONIDLE 0x0004

// A macro of the system's of two parameters, which a member function has the name of.
#undef GetNextWindow

#define afx_msg // marks message handlers for the reader

class AFX_API CWnd : public CCmdTarget
{
    DECLARE_DYNCREATE(CWnd)
    DECLARE_MESSAGE_MAP()

public:
    HWND m_hWnd; // NULL: none

    static const CWnd wndTop, wndBottom, wndTopMost, wndNoTopMost; // for SetWindowPos

    CWnd();
    ~CWnd() override;

    // Handles and objects.
    static CWnd* PASCAL FromHandle(HWND hWnd);
    static CWnd* PASCAL FromHandlePermanent(HWND hWnd); // NULL if no object stands for it
    static void PASCAL DeleteTempMap();
    BOOL Attach(HWND hWnd); // FALSE for NULL. REQUIRES: neither is attached
    HWND Detach();
    HWND GetSafeHwnd() const; // NULL for a NULL object too
    operator HWND() const { return m_hWnd; }
    BOOL operator==(const CWnd& wnd) const { return m_hWnd == wnd.m_hWnd; }
    BOOL operator!=(const CWnd& wnd) const { return m_hWnd != wnd.m_hWnd; }

    // Creation. The object stands for the window from its first message on. NULL as the class: a plain one with the
    // arrow for a cursor and no background. FALSE, and PostNcDestroy was called, if there is no window.
    virtual BOOL Create(LPCTSTR pszClassName, LPCTSTR pszWindowName, DWORD dwStyle, const RECT& rect, CWnd* pParentWnd,
                        UINT nID, void* pContext = NULL); // a child
    BOOL CreateEx(DWORD dwExStyle, LPCTSTR pszClassName, LPCTSTR pszWindowName, DWORD dwStyle, int x, int y, int nWidth,
                  int nHeight, HWND hWndParent, HMENU nIDorHMenu, LPVOID pParam = NULL);
    BOOL CreateEx(DWORD dwExStyle, LPCTSTR pszClassName, LPCTSTR pszWindowName, DWORD dwStyle, const RECT& rect,
                  CWnd* pParentWnd, UINT nID, LPVOID pParam = NULL);
    virtual BOOL PreCreateWindow(CREATESTRUCT& cs); // may change it; FALSE: no window
    virtual void PreSubclassWindow() {}             // before the first message through the object
    virtual BOOL DestroyWindow();
    // An existing window's messages go through this object from now on. FALSE for no window and for one of another
    // thread. REQUIRES: not attached.
    BOOL SubclassWindow(HWND hWnd);
    BOOL SubclassDlgItem(UINT nID, CWnd* pParent);
    HWND UnsubclassWindow(); // the window as it was, detached

    // Messages.
    static const MSG* PASCAL GetCurrentMessage(); // the one being handled; its pt is where GetMessagePos says
    LRESULT Default();                            // the default handling of that one
    virtual BOOL PreTranslateMessage(MSG* pMsg);  // before a posted message is dispatched; TRUE: drop it
    LRESULT SendMessage(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0) const
    {
        return ::SendMessageW(m_hWnd, nMessage, wParam, lParam);
    }
    BOOL PostMessage(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0)
    {
        return ::PostMessageW(m_hWnd, nMessage, wParam, lParam);
    }
    BOOL SendNotifyMessage(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0)
    {
        return ::SendNotifyMessageW(m_hWnd, nMessage, wParam, lParam);
    }
    BOOL IsDialogMessage(LPMSG pMsg) { return ::IsDialogMessageW(m_hWnd, pMsg); }
    LRESULT SendDlgItemMessage(int nID, UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0)
    {
        return ::SendDlgItemMessageW(m_hWnd, nID, nMessage, wParam, lParam);
    }
    void SendMessageToDescendants(UINT nMessage, WPARAM wParam = 0, LPARAM lParam = 0, BOOL bDeep = TRUE);
    static BOOL PASCAL WalkPreTranslateTree(HWND hWndStop, MSG* pMsg);

    // Text and font.
    void SetWindowText(LPCTSTR pszString);
    int GetWindowText(LPTSTR pszBuffer, int nMaxCount) const;
    void GetWindowText(CString& rString) const;
    int GetWindowTextLength() const { return ::GetWindowTextLengthW(m_hWnd); }
    void SetFont(CFont* pFont, BOOL bRedraw = TRUE);
    CFont* GetFont() const;

    // Style. ModifyStyle: TRUE if it changed; flags other than 0 for SetWindowPos, whose move and size flags are added.
    DWORD GetStyle() const { return static_cast<DWORD>(::GetWindowLongW(m_hWnd, GWL_STYLE)); }
    DWORD GetExStyle() const { return static_cast<DWORD>(::GetWindowLongW(m_hWnd, GWL_EXSTYLE)); }
    BOOL ModifyStyle(DWORD dwRemove, DWORD dwAdd, UINT nFlags = 0);
    BOOL ModifyStyleEx(DWORD dwRemove, DWORD dwAdd, UINT nFlags = 0);
    CWnd* GetOwner() const; // the one set, else the parent
    void SetOwner(CWnd* pOwnerWnd);

    // Place and size, in the parent's client coordinates (screen coordinates for top-level windows).
    void MoveWindow(int x, int y, int nWidth, int nHeight, BOOL bRepaint = TRUE);
    void MoveWindow(LPCRECT pRect, BOOL bRepaint = TRUE);
    BOOL SetWindowPos(const CWnd* pWndInsertAfter, int x, int y, int cx, int cy, UINT nFlags);
    void BringWindowToTop() { ::BringWindowToTop(m_hWnd); }
    void CenterWindow(CWnd* pAlternateOwner = NULL); // over its owner, within the work area
    void GetWindowRect(LPRECT pRect) const { ::GetWindowRect(m_hWnd, pRect); }
    void GetClientRect(LPRECT pRect) const { ::GetClientRect(m_hWnd, pRect); }
    void ClientToScreen(LPPOINT pPoint) const { ::ClientToScreen(m_hWnd, pPoint); }
    void ClientToScreen(LPRECT pRect) const { ::MapWindowPoints(m_hWnd, NULL, reinterpret_cast<POINT*>(pRect), 2); }
    void ScreenToClient(LPPOINT pPoint) const { ::ScreenToClient(m_hWnd, pPoint); }
    void ScreenToClient(LPRECT pRect) const { ::MapWindowPoints(NULL, m_hWnd, reinterpret_cast<POINT*>(pRect), 2); }
    void MapWindowPoints(CWnd* pWndTo, LPPOINT pPoint, UINT nCount) const;
    void MapWindowPoints(CWnd* pWndTo, LPRECT pRect) const;

    // State. SetFocus, SetCapture and SetActiveWindow give the window before, as a temporary object.
    BOOL ShowWindow(int nCmdShow) { return ::ShowWindow(m_hWnd, nCmdShow); }
    BOOL IsWindowVisible() const { return ::IsWindowVisible(m_hWnd); }
    BOOL EnableWindow(BOOL bEnable = TRUE) { return ::EnableWindow(m_hWnd, bEnable); }
    BOOL IsWindowEnabled() const { return ::IsWindowEnabled(m_hWnd); }
    CWnd* SetFocus() { return FromHandle(::SetFocus(m_hWnd)); }
    static CWnd* PASCAL GetFocus() { return FromHandle(::GetFocus()); }
    CWnd* SetCapture() { return FromHandle(::SetCapture(m_hWnd)); }
    static CWnd* PASCAL GetCapture() { return FromHandle(::GetCapture()); }
    CWnd* SetActiveWindow() { return FromHandle(::SetActiveWindow(m_hWnd)); }
    static CWnd* PASCAL GetActiveWindow() { return FromHandle(::GetActiveWindow()); }
    BOOL SetForegroundWindow() { return ::SetForegroundWindow(m_hWnd); }
    static CWnd* PASCAL GetForegroundWindow() { return FromHandle(::GetForegroundWindow()); }

    void ShowCaret() { ::ShowCaret(m_hWnd); }
    void HideCaret() { ::HideCaret(m_hWnd); }
    void CreateSolidCaret(int nWidth, int nHeight) { ::CreateCaret(m_hWnd, NULL, nWidth, nHeight); }
    static void PASCAL SetCaretPos(POINT point) { ::SetCaretPos(point.x, point.y); }
    HICON SetIcon(HICON hIcon, BOOL bBigIcon) // the one before
    {
        return reinterpret_cast<HICON>(
            SendMessage(WM_SETICON, static_cast<WPARAM>(bBigIcon), reinterpret_cast<LPARAM>(hIcon)));
    }
    HICON GetIcon(BOOL bBigIcon) const
    {
        return reinterpret_cast<HICON>(SendMessage(WM_GETICON, static_cast<WPARAM>(bBigIcon)));
    }

    // Relatives.
    CWnd* GetParent() const { return FromHandle(::GetParent(m_hWnd)); }
    CWnd* SetParent(CWnd* pWndNewParent); // the one before
    CWnd* GetTopLevelParent() const;
    CWnd* GetWindow(UINT nCmd) const { return FromHandle(::GetWindow(m_hWnd, nCmd)); }
    CWnd* GetTopWindow() const { return FromHandle(::GetTopWindow(m_hWnd)); }
    CWnd* GetNextWindow(UINT nFlag = GW_HWNDNEXT) const { return FromHandle(::GetWindow(m_hWnd, nFlag)); }
    BOOL IsChild(const CWnd* pWnd) const;
    CWnd* ChildWindowFromPoint(POINT point) const { return FromHandle(::ChildWindowFromPoint(m_hWnd, point)); }
    static CWnd* PASCAL FindWindow(LPCTSTR pszClassName, LPCTSTR pszWindowName);
    static CWnd* PASCAL GetDesktopWindow() { return FromHandle(::GetDesktopWindow()); }
    static CWnd* PASCAL WindowFromPoint(POINT point) { return FromHandle(::WindowFromPoint(point)); }
    CWnd* GetDlgItem(int nID) const { return FromHandle(::GetDlgItem(m_hWnd, nID)); } // NULL if there is none
    void GetDlgItem(int nID, HWND* phWnd) const { *phWnd = ::GetDlgItem(m_hWnd, nID); }
    int GetDlgCtrlID() const { return ::GetDlgCtrlID(m_hWnd); }
    int SetDlgCtrlID(int nID) { return ::SetWindowLongW(m_hWnd, GWL_ID, nID); }
    CWnd* GetNextDlgTabItem(CWnd* pWndCtl, BOOL bPrevious = FALSE) const;
    CWnd* GetNextDlgGroupItem(CWnd* pWndCtl, BOOL bPrevious = FALSE) const;

    // Controls by identifier.
    void SetDlgItemText(int nID, LPCTSTR pszString);
    int GetDlgItemText(int nID, LPTSTR pszBuffer, int nMaxCount) const;
    int GetDlgItemText(int nID, CString& rString) const; // its length; empty if there is none
    void SetDlgItemInt(int nID, UINT nValue, BOOL bSigned = TRUE) { ::SetDlgItemInt(m_hWnd, nID, nValue, bSigned); }
    UINT GetDlgItemInt(int nID, BOOL* pTrans = NULL, BOOL bSigned = TRUE) const;
    void CheckDlgButton(int nIDButton, UINT nCheck) { ::CheckDlgButton(m_hWnd, nIDButton, nCheck); }
    UINT IsDlgButtonChecked(int nIDButton) const { return ::IsDlgButtonChecked(m_hWnd, nIDButton); }
    void CheckRadioButton(int nIDFirst, int nIDLast, int nIDCheck);
    int GetCheckedRadioButton(int nIDFirst, int nIDLast) const; // 0: none

    // Painting.
    CDC* GetDC();
    CDC* GetWindowDC();
    int ReleaseDC(CDC* pDC);
    CDC* BeginPaint(LPPAINTSTRUCT pPaint);
    void EndPaint(LPPAINTSTRUCT pPaint) { ::EndPaint(m_hWnd, pPaint); }
    void Invalidate(BOOL bErase = TRUE) { ::InvalidateRect(m_hWnd, NULL, bErase); }
    void InvalidateRect(LPCRECT pRect, BOOL bErase = TRUE) { ::InvalidateRect(m_hWnd, pRect, bErase); }
    void ValidateRect(LPCRECT pRect) { ::ValidateRect(m_hWnd, pRect); }
    BOOL GetUpdateRect(LPRECT pRect, BOOL bErase = FALSE) { return ::GetUpdateRect(m_hWnd, pRect, bErase); }
    void UpdateWindow() { ::UpdateWindow(m_hWnd); }
    void SetRedraw(BOOL bRedraw = TRUE) { SendMessage(WM_SETREDRAW, bRedraw); }
    BOOL RedrawWindow(LPCRECT pRect = NULL, CRgn* pRgn = NULL,
                      UINT nFlags = RDW_INVALIDATE | RDW_UPDATENOW | RDW_ERASE);

    // The scroll bars of the frame. The setters of positions give the position before.
    int GetScrollPos(int nBar) const;
    int SetScrollPos(int nBar, int nPos, BOOL bRedraw = TRUE);
    void GetScrollRange(int nBar, LPINT pMinPos, LPINT pMaxPos) const;
    void SetScrollRange(int nBar, int nMinPos, int nMaxPos, BOOL bRedraw = TRUE);
    BOOL GetScrollInfo(int nBar, LPSCROLLINFO pScrollInfo, UINT nMask = SIF_ALL);
    BOOL SetScrollInfo(int nBar, LPSCROLLINFO pScrollInfo, BOOL bRedraw = TRUE);
    int GetScrollLimit(int nBar); // the largest position that a person can reach
    void ShowScrollBar(UINT nBar, BOOL bShow = TRUE) { ::ShowScrollBar(m_hWnd, nBar, bShow); }
    virtual CScrollBar* GetScrollBarCtrl(int nBar) const; // a control in place of the frame's bar; the base has none
    void ScrollWindow(int xAmount, int yAmount, LPCRECT pRect = NULL, LPCRECT pClipRect = NULL);
    int ScrollWindowEx(int dx, int dy, LPCRECT pRectScroll, LPCRECT pRectClip, CRgn* pRgnUpdate, LPRECT pRectUpdate,
                       UINT nFlags);

    // Timers, boxes, data.
    UINT SetTimer(UINT nIDEvent, UINT nElapse, TIMERPROC pfnTimer); // milliseconds; 0 on failure
    BOOL KillTimer(int nIDEvent) { return ::KillTimer(m_hWnd, nIDEvent); }
    int MessageBox(LPCTSTR pszText, LPCTSTR pszCaption = NULL, UINT nType = MB_OK); // no caption: the program's name
    // FALSE if what a person entered is not valid (told already), or if this goes on within itself.
    BOOL UpdateData(BOOL bSaveAndValidate = TRUE);
    // Asks pTarget about each child's command.
    virtual void UpdateDialogControls(CCmdTarget* pTarget, BOOL bDisableIfNoHndler);
    // A loop that pumps messages until EndModalLoop(result), -1 if the program is told to quit.
    int RunModalLoop(DWORD dwFlags = 0);
    virtual BOOL ContinueModal();
    virtual void EndModalLoop(int nResult);

    // Offers the message that the parent is handling to this child; TRUE if it handled it.
    BOOL SendChildNotifyLastMsg(LRESULT* pResult = NULL);
    static BOOL PASCAL ReflectLastMsg(HWND hWndChild, LRESULT* pResult = NULL);

protected:
    virtual LRESULT WindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam);
    virtual BOOL OnWndMsg(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
    virtual LRESULT DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam);
    virtual WNDPROC* GetSuperWndProcAddr() { return &m_pfnSuper; }
    virtual BOOL OnCommand(WPARAM wParam, LPARAM lParam);
    virtual BOOL OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult);
    virtual BOOL OnChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
    BOOL ReflectChildNotify(UINT nMessage, WPARAM wParam, LPARAM lParam, LRESULT* pResult);
    virtual void PostNcDestroy() {} // the last call: "delete this" belongs here
    virtual void DoDataExchange(CDataExchange* pDX);
    // Executes the RT_DLGINIT resource of a dialog (items of its lists); FALSE if it is damaged or refused.
    BOOL ExecuteDlgInit(LPCTSTR pszResourceName);

    // Handlers. The base ones do the default handling; those of notifications offer them to the child first.
    afx_msg void OnActivate(UINT nState, CWnd* pWndOther, BOOL bMinimized);
    afx_msg void OnCancelMode();
    afx_msg void OnCaptureChanged(CWnd* pWnd);
    afx_msg void OnChar(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg int OnCharToItem(UINT nChar, CListBox* pListBox, UINT nIndex);
    afx_msg void OnClose();
    afx_msg int OnCompareItem(int nIDCtl, LPCOMPAREITEMSTRUCT pCompareItem);
    afx_msg void OnContextMenu(CWnd* pWnd, CPoint point);
    afx_msg int OnCreate(LPCREATESTRUCT pCreateStruct);
    afx_msg HBRUSH OnCtlColor(CDC* pDC, CWnd* pWnd, UINT nCtlColor);
    afx_msg void OnDeadChar(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnDeleteItem(int nIDCtl, LPDELETEITEMSTRUCT pDeleteItem);
    afx_msg void OnDestroy();
    afx_msg void OnDrawItem(int nIDCtl, LPDRAWITEMSTRUCT pDrawItem);
    afx_msg void OnEnable(BOOL bEnable);
    afx_msg void OnEnterIdle(UINT nWhy, CWnd* pWho);
    afx_msg BOOL OnEraseBkgnd(CDC* pDC);
    afx_msg UINT OnGetDlgCode();
    afx_msg void OnGetMinMaxInfo(MINMAXINFO* pMinMaxInfo);
    afx_msg void OnHScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar);
    afx_msg void OnInitMenuPopup(CMenu* pPopupMenu, UINT nIndex, BOOL bSysMenu);
    afx_msg void OnKeyDown(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnKeyUp(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnKillFocus(CWnd* pNewWnd);
    afx_msg void OnLButtonDblClk(UINT nFlags, CPoint point);
    afx_msg void OnLButtonDown(UINT nFlags, CPoint point);
    afx_msg void OnLButtonUp(UINT nFlags, CPoint point);
    afx_msg void OnMeasureItem(int nIDCtl, LPMEASUREITEMSTRUCT pMeasureItem);
    afx_msg LRESULT OnMenuChar(UINT nChar, UINT nFlags, CMenu* pMenu);
    afx_msg void OnMenuSelect(UINT nItemID, UINT nFlags, HMENU hSysMenu);
    afx_msg void OnMouseMove(UINT nFlags, CPoint point);
    afx_msg BOOL OnMouseWheel(UINT nFlags, short zDelta, CPoint point);
    afx_msg void OnMove(int x, int y);
    afx_msg void OnNcDestroy(); // the last message: lets go of the window and calls PostNcDestroy
    afx_msg void OnNcPaint();
    afx_msg void OnPaint();
    afx_msg void OnParentNotify(UINT nMessage, LPARAM lParam);
    afx_msg void OnRButtonDblClk(UINT nFlags, CPoint point);
    afx_msg void OnRButtonDown(UINT nFlags, CPoint point);
    afx_msg void OnRButtonUp(UINT nFlags, CPoint point);
    afx_msg BOOL OnSetCursor(CWnd* pWnd, UINT nHitTest, UINT nMessage);
    afx_msg void OnSetFocus(CWnd* pOldWnd);
    afx_msg void OnShowWindow(BOOL bShow, UINT nStatus);
    afx_msg void OnSize(UINT nType, int cx, int cy);
    afx_msg void OnSysChar(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnSysColorChange();
    afx_msg void OnSysCommand(UINT nID, LPARAM lParam);
    afx_msg void OnSysKeyDown(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnSysKeyUp(UINT nChar, UINT nRepCnt, UINT nFlags);
    afx_msg void OnTimer(UINT nIDEvent);
    afx_msg int OnVKeyToItem(UINT nKey, CListBox* pListBox, UINT nIndex);
    afx_msg void OnVScroll(UINT nSBCode, UINT nPos, CScrollBar* pScrollBar);
    afx_msg void OnWindowPosChanged(WINDOWPOS* pWindowPos);
    afx_msg void OnWindowPosChanging(WINDOWPOS* pWindowPos);
    afx_msg void OnWinIniChange(LPCTSTR pszSection);

    HWND m_hWndOwner; // set by SetOwner
    UINT m_nFlags;    // of the modal loop
    int m_nModalResult;

private:
    friend struct CWndAccess;
    explicit CWnd(HWND hWnd);

    WNDPROC m_pfnSuper; // the window's procedure before; NULL: the system's
};

// The procedure of every window that has an object.
AFX_API LRESULT CALLBACK AfxWndProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);
// A window class of the program's for these properties, registered once; its name, valid until the thread calls again.
// Throws CResourceException* if it cannot be registered.
AFX_API LPCTSTR AFXAPI AfxRegisterWndClass(UINT nClassStyle, HCURSOR hCursor = NULL, HBRUSH hbrBackground = NULL,
                                           HICON hIcon = NULL);
// RegisterClass; TRUE also if it is registered already.
AFX_API BOOL AFXAPI AfxRegisterClass(WNDCLASS* pWndClass);

#endif
