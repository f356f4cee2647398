// CScrollDialog and CScrollPropertyPage: a dialog that was designed larger than the area it gets, and is scrolled in
// it.
//
// Ownership  as CDialog and CPropertyPage.
// Threads    the window's.
// Errors     none of their own: DoModal and Create report a missing template as their base does.
//
// The client area that the window has when it is initialised is its design size. Whenever it becomes smaller than
// that, a scroll bar appears and moves its children; when it becomes large enough again, the content goes home and the
// bar disappears. Only a window that is restored counts, not one that is maximised or minimised.
//
// What a host should know:
// 1. A bar takes room of the client area, so one bar often brings the other with it; the window then gets WM_SIZE from
//    within its own OnSize. That size is dealt with as soon as the one before it is.
// 2. The last horizontal position is two pixels before the end, where the vertical one is at the end; when the window
//    is one pixel narrower than designed, it is -1.
// 3. When the window has become wide enough again, the content goes back horizontally by the vertical position: a
//    dialog that was scrolled only horizontally stays shifted.
// 4. Only dragging the thumb scrolls; where it is let go says nothing new.
#ifndef KORVANE_CONTROLS_SCROLLDIALOG_H
#define KORVANE_CONTROLS_SCROLLDIALOG_H

#include "base/api.h"
#include "controls/lifeline.h"

#include <afxdlgs.h>

// What both classes know of their window's scrolling, and how they answer its messages.
class CContentScroller
{
public:
    // The window as it is now is the design size.
    void Start(CWnd& window);
    // type, cx, cy: as of WM_SIZE, in pixels.
    void Resize(CWnd& window, unsigned int type, int cx, int cy);
    // code, position: as of WM_VSCROLL and WM_HSCROLL.
    void ScrollVertically(CWnd& window, unsigned int code, unsigned int position);
    void ScrollHorizontally(CWnd& window, unsigned int code, unsigned int position);

private:
    void ResizeVertically(CWnd& window, int cy);
    void ResizeHorizontally(CWnd& window, int cx);
    void FitSmaller(CWnd& window, int bar, int design, int size);
    // Answers WM_VSCROLL or WM_HSCROLL. size: of the client area along the bar. beyond: what the last position is
    // further than the range's end less that size.
    void MoveBar(CWnd& window, int bar, unsigned int code, unsigned int position, int size, int beyond);

    bool m_bReserved = false;
    bool m_bNoHorizontal = false; // no horizontal scrolling
    bool m_bInitialised = false;
    int m_nDesignWidth = 0;  // pixels
    int m_nDesignHeight = 0; // pixels
    bool m_bVertical = false;
    bool m_bHorizontal = false;
    bool m_bResizing = false;
    bool m_bAgain = false; // m_next has come in meanwhile
    CSize m_next{0, 0};    // pixels
    CLifeline m_lifeline;
};

class KORVANE_API CScrollDialog : public CDialog
{
    DECLARE_DYNCREATE(CScrollDialog)

public:
    // Without a template: for CreateObject and a derived class's Create.
    CScrollDialog() = default;
    // templateId: a dialog of the resources that the framework looks through. parent: null is the main window.
    explicit CScrollDialog(unsigned int templateId, CWnd* parent = nullptr);

    // Sets the range and page (pixels) of SB_VERT or SB_HORZ, redrawn; the position as it is afterwards.
    int SetScrollInfo(int bar, int min, int max, int page);
    // Moves the content by (dx, dy) pixels; flags: SW_SCROLLCHILDREN and its like. NULLREGION, SIMPLEREGION,
    // COMPLEXREGION, or ERROR.
    int ScrollWindowEx(int dx, int dy, unsigned int flags);

protected:
    BOOL OnInitDialog() override; // TRUE
    void DoDataExchange(CDataExchange* exchange) override;
    afx_msg void OnSize(UINT type, int cx, int cy);
    afx_msg void OnVScroll(UINT code, UINT position, CScrollBar* bar);
    afx_msg void OnHScroll(UINT code, UINT position, CScrollBar* bar);
    DECLARE_MESSAGE_MAP()

private:
    CContentScroller m_scroller;
};

class KORVANE_API CScrollPropertyPage : public CPropertyPage
{
    DECLARE_DYNCREATE(CScrollPropertyPage)

public:
    CScrollPropertyPage() = default;
    // parent is not used: the sheet that the page is added to becomes its parent.
    explicit CScrollPropertyPage(unsigned int templateId, CWnd* parent = nullptr);

    // As of CScrollDialog.
    int SetScrollInfo(int bar, int min, int max, int page);
    int ScrollWindowEx(int dx, int dy, unsigned int flags);

protected:
    BOOL OnInitDialog() override; // TRUE
    void DoDataExchange(CDataExchange* exchange) override;
    afx_msg void OnSize(UINT type, int cx, int cy);
    afx_msg void OnVScroll(UINT code, UINT position, CScrollBar* bar);
    afx_msg void OnHScroll(UINT code, UINT position, CScrollBar* bar);
    DECLARE_MESSAGE_MAP()

private:
    CContentScroller m_scroller;
};

#endif
