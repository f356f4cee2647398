// CAppAboutDlg: an About box for a screen 240 pixels wide, over a picture of the host's.
//
// Ownership  the background bitmap stays the host's and must live as long as the box is shown; the texts are copied.
// Threads    the window's.
// Errors     DoModal -1: there is no such template, or no window. A browser that does not start is silent.
//
// The box is 240 x 284 pixels, shows the picture at its top left corner, the version text at the right above the link,
// the web address as the link, and below it the rights notice. A click on the link starts the browser with the address.
// Caption and rights notice are string resources: see controls/aboutids.h.
//
// What a host should know:
// 1. Every click, on the link or not, gives the link the visited colour at the next painting.
// 2. The background is not erased: what the picture does not cover keeps what was on the screen.
// 3. The address is drawn as dialog texts are, so a "&" in it underlines what follows.
#ifndef KORVANE_CONTROLS_ABOUTDIALOG_H
#define KORVANE_CONTROLS_ABOUTDIALOG_H

#include "base/api.h"
#include "controls/aboutids.h"

#include <afxwin.h>

class KORVANE_API CAppAboutDlg : public CDialog
{
public:
    // background: null is none. url, version: null is an empty text. templateId: a dialog with the controls of
    // controls/aboutids.h, of which each may be missing; KORVANE_IDD_ABOUT is the library's own.
    CAppAboutDlg(HBITMAP background, const TCHAR* url, const TCHAR* version, unsigned int templateId);
    ~CAppAboutDlg() override;

    // Shows the box until it is closed: IDOK or IDCANCEL. The template is looked for in korvaneLib.dll first and then
    // wherever the framework looks; meanwhile AfxGetResourceHandle gives korvaneLib.dll, afterwards the host's again.
    int DoModal() override;

protected:
    BOOL OnInitDialog() override; // TRUE
    virtual void InitFonts();
    void DoDataExchange(CDataExchange* exchange) override;
    afx_msg HBRUSH OnCtlColor(CDC* dc, CWnd* control, UINT type);
    afx_msg void OnPaint();
    afx_msg void OnLButtonDown(UINT flags, CPoint point);
    DECLARE_MESSAGE_MAP()

private:
    CString Text(UINT id) const;

    CString m_strUrl;
    CString m_strVersion;
    CString m_strReserved;
    CFont m_fontLarge; // of the link
    CFont m_fontSmall;
    bool m_bClicked = false;
    COLORREF m_crVisited = RGB(128, 0, 128);
    COLORREF m_crLink = RGB(0, 0, 255);
    RECT m_rcLink = {};                 // pixels of the client area
    HBITMAP m_hBackground;              // the host's
    HINSTANCE m_hHostStrings = nullptr; // where the host's resources are, while DoModal runs
};

#endif
