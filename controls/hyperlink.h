// CHyperLink: turns a static text of a dialog into a link that a click opens in the browser.
//
// Ownership  as CStatic: the object stands for a control that it subclassed or created. The fonts are its own; a cursor
//            that it is given stays the caller's and must live as long as the link.
// Threads    the window's.
// Errors     a link that cannot be opened beeps and shows a message box; nothing is raised.
//
//     CHyperLink m_link; // a member of the dialog
//
//     m_link.SetURL(L"http://www.example.com"); // in OnInitDialog; else the control's text is the URL
//     m_link.SubclassDlgItem(IDC_LINK, this);
//
// What a host should know:
// 1. The text is painted on white, whatever the background colour: only text and colours are the link's to set.
// 2. SetURL places the window before it sets the text, so that its size fits the text before; SetAutoSize(TRUE)
//    afterwards fits the new one.
// 3. Subclassing sets the underline mode to -1: SetUnderline belongs behind it.
// 4. Every failed start is reported as code 0, and takes "visited" back.
// 5. A click runs GotoURL and maybe a message box: the window and this object may be gone when it is over.
#ifndef KORVANE_CONTROLS_HYPERLINK_H
#define KORVANE_CONTROLS_HYPERLINK_H

#include "base/api.h"
#include "controls/lifeline.h"

#include <afxwin.h>

enum HYPERLINK_TYPE : unsigned int
{
    HYPERLINK_WEB = 0, // and every other value but 1
    HYPERLINK_MAIL = 1 // "mailto:" is put in front of the URL
};

class KORVANE_API CHyperLink : public CStatic
{
public:
    CHyperLink();
    ~CHyperLink() override;

    // The address, which is also the text of the control from now on. An empty one is replaced by the text when the
    // control is subclassed.
    void SetURL(CString url);
    CString GetURL() const;
    void SetType(HYPERLINK_TYPE type);

    // 0xFFFFFFFF as the hover colour is the system's highlight colour.
    void SetColours(COLORREF link, COLORREF visited, COLORREF hover);
    COLORREF GetLinkColour() const;
    COLORREF GetVisitedColour() const;
    COLORREF GetHoverColour() const;
    // Behind the characters, if they were not drawn transparently: see 1. above.
    void SetBgColour(COLORREF background);
    // Set by a start that succeeded, too.
    void SetVisited(int visited = TRUE);
    bool GetVisited() const;
    // Null is the library's hand.
    void SetLinkCursor(HICON cursor);
    HICON GetLinkCursor() const;
    // 1: always underlined, -1: while the pointer is over the link (the beginning), anything else: never. A mode that
    // is set already changes nothing.
    void SetUnderline(int mode = 1);
    int GetUnderline() const;
    // Whether the window fits its text (the beginning): TRUE makes it fit now.
    void SetAutoSize(int autoSize = TRUE);
    bool GetAutoSize() const;

    BOOL DestroyWindow() override;
    BOOL PreTranslateMessage(MSG* message) override;
    void PreSubclassWindow() override;
    // Starts the browser with `url` as its command line, "mailto:" in front of it for a mail link. True when it was
    // started; the library does not wait for it. A null url is an empty one.
    virtual bool GotoURL(const TCHAR* url);

protected:
    // Makes the window fit its text in the underlined font, the frame kept: from the left, around the middle with
    // SS_CENTER, from the right with SS_RIGHT; from the top, around the middle with SS_CENTERIMAGE. Only with a window
    // and auto size.
    void PositionWindow();
    // Without a cursor, looks for the group cursor 32649 in the modules that the framework looks through.
    void SetDefaultCursor();
    // The text of a key's default value in `value`, which has room for 131 TCHARs; what is longer, or absent, gives an
    // empty text. 0, or the registry's error when the key cannot be opened, with `value` as it was.
    long GetRegKey(HKEY key, const TCHAR* subkey, TCHAR* value);
    // Shows what the code of a failed start means, in a message box without a caption.
    void ReportError(int code);

    afx_msg void OnClicked();
    afx_msg HBRUSH CtlColor(CDC* pDC, UINT nCtlColor);
    afx_msg void OnMouseMove(UINT nFlags, CPoint point);
    afx_msg void OnTimer(UINT nIDEvent);
    afx_msg BOOL OnSetCursor(CWnd* pWnd, UINT nHitTest, UINT nMessage);
    afx_msg BOOL OnEraseBkgnd(CDC* pDC);
    DECLARE_MESSAGE_MAP()

private:
    void UseFont(const CFont& font);

    HYPERLINK_TYPE m_type = HYPERLINK_WEB;
    COLORREF m_crBackground = RGB(255, 255, 255);
    COLORREF m_crLink = RGB(0, 0, 238);
    COLORREF m_crVisited = RGB(85, 26, 139);
    COLORREF m_crHover = RGB(255, 0, 0);
    bool m_bOverControl = false;
    bool m_bVisited = false;
    int m_nUnderline = -1;
    bool m_bAutoSize = true;
    CString m_strURL;
    CFont m_underlineFont;
    CFont m_font;
    HICON m_hLinkCursor = nullptr; // borrowed
    UINT m_nTimerID = 100;
    CLifeline m_lifeline;
};

#endif
