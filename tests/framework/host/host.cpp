// A small application as a developer writes it who has the framework's documentation and nothing else: no header but
// the framework's, no function of this project's. host_test.cpp starts it and sits in front of it.
#include <afxwin.h>
#include <afxdlgs.h>

#include "../resource.h"
#include "ids.h"

#define WM_WORKED (WM_USER + 1)

// An edit control that looks after its own notifications.
class CNoteEdit : public CEdit
{
public:
    CNoteEdit() : m_brush(RGB(255, 255, 200)), m_nChanges(0) {}
    int GetChanges() const { return m_nChanges; }

protected:
    //{{AFX_MSG(CNoteEdit)
    afx_msg HBRUSH CtlColor(CDC* pDC, UINT nCtlColor);
    afx_msg BOOL OnChange();
    //}}AFX_MSG
    DECLARE_MESSAGE_MAP()

private:
    CBrush m_brush;
    int m_nChanges;
};

BEGIN_MESSAGE_MAP(CNoteEdit, CEdit)
//{{AFX_MSG_MAP(CNoteEdit)
ON_WM_CTLCOLOR_REFLECT()
ON_CONTROL_REFLECT_EX(EN_CHANGE, OnChange)
//}}AFX_MSG_MAP
END_MESSAGE_MAP()

HBRUSH CNoteEdit::CtlColor(CDC* pDC, UINT /*nCtlColor*/)
{
    pDC->SetBkColor(RGB(255, 255, 200));
    return m_brush;
}

BOOL CNoteEdit::OnChange()
{
    m_nChanges++;
    return FALSE; // the dialog wants it as well
}

class CGeneralPage : public CPropertyPage
{
    DECLARE_DYNCREATE(CGeneralPage)
public:
    CGeneralPage() : CPropertyPage(IDD_GENERAL, IDS_GENERAL) {}
    enum
    {
        IDD = IDD_GENERAL
    };
    CString m_strName;

    virtual BOOL OnApply();

protected:
    virtual void DoDataExchange(CDataExchange* pDX);
    afx_msg void OnChangeName() { SetModified(); }
    DECLARE_MESSAGE_MAP()
};

IMPLEMENT_DYNCREATE(CGeneralPage, CPropertyPage)

BEGIN_MESSAGE_MAP(CGeneralPage, CPropertyPage)
ON_EN_CHANGE(IDC_NAME, OnChangeName)
END_MESSAGE_MAP()

void CGeneralPage::DoDataExchange(CDataExchange* pDX)
{
    CPropertyPage::DoDataExchange(pDX);
    DDX_Text(pDX, IDC_NAME, m_strName);
    DDV_MaxChars(pDX, m_strName, 10);
}

class CAdvancedPage : public CPropertyPage
{
public:
    CAdvancedPage() : CPropertyPage(IDD_ADVANCED), m_nSize(12), m_bLoud(FALSE) {}
    int m_nSize;
    BOOL m_bLoud;

protected:
    virtual void DoDataExchange(CDataExchange* pDX)
    {
        CPropertyPage::DoDataExchange(pDX);
        DDX_Text(pDX, IDC_TEXT_SIZE, m_nSize);
        DDV_MinMaxInt(pDX, m_nSize, 6, 72);
        DDX_Check(pDX, IDC_LOUD, m_bLoud);
    }
};

class COptionsSheet : public CPropertySheet
{
public:
    COptionsSheet(CWnd* pParent) : CPropertySheet(_T("Options"), pParent)
    {
        AddPage(&m_general);
        AddPage(&m_advanced);
    }
    CGeneralPage m_general;
    CAdvancedPage m_advanced;
};

class CAboutDialog : public CDialog
{
public:
    CAboutDialog(CWnd* pParent = NULL) : CDialog(IDD_ABOUT, pParent) {}
};

class CMainDialog : public CDialog
{
public:
    CMainDialog() : m_hKeys(NULL), m_nTimer(0) {}
    enum
    {
        IDD = IDD_MAIN
    };
    void Write(LPCTSTR pszLine);

    virtual BOOL PreTranslateMessage(MSG* pMsg);

protected:
    virtual BOOL OnInitDialog();
    virtual void DoDataExchange(CDataExchange* pDX);
    virtual void OnOK() {}
    virtual void OnCancel() { DestroyWindow(); }
    virtual void PostNcDestroy();

    //{{AFX_MSG(CMainDialog)
    afx_msg void OnTimer(UINT nIDEvent);
    afx_msg void OnDestroy();
    afx_msg void OnOptions();
    afx_msg void OnAbout();
    afx_msg void OnWork();
    afx_msg void OnFail();
    afx_msg void OnPaper();
    afx_msg void OnColour(UINT nID);
    afx_msg void OnLetter(UINT nID);
    afx_msg void OnChangeNote();
    afx_msg void OnUpdateBlue(CCmdUI* pCmdUI);
    afx_msg LRESULT OnWorked(WPARAM wParam, LPARAM lParam);
    //}}AFX_MSG
    DECLARE_MESSAGE_MAP()

private:
    static UINT Work(LPVOID pParam);

    CNoteEdit m_note;
    CString m_strHistory;
    HACCEL m_hKeys;
    UINT m_nTimer;
};

class CHostApp : public CWinApp
{
public:
    CHostApp() : m_nIdle(0) {}
    virtual BOOL InitInstance();
    virtual int ExitInstance();
    virtual BOOL OnIdle(LONG lCount);

    int m_nIdle;

protected:
    afx_msg void OnGreen();
    DECLARE_MESSAGE_MAP()
};

CHostApp theApp;

BEGIN_MESSAGE_MAP(CHostApp, CWinApp)
ON_COMMAND(ID_GREEN, OnGreen)
END_MESSAGE_MAP()

BEGIN_MESSAGE_MAP(CMainDialog, CDialog)
//{{AFX_MSG_MAP(CMainDialog)
ON_WM_TIMER()
ON_WM_DESTROY()
ON_COMMAND(ID_OPTIONS, OnOptions)
ON_COMMAND(ID_ABOUT, OnAbout)
ON_COMMAND(ID_WORK, OnWork)
ON_COMMAND(ID_FAIL, OnFail)
ON_COMMAND(ID_PAPER, OnPaper)
ON_COMMAND(ID_RED, CMainDialog::OnAbout)
ON_COMMAND_RANGE(ID_BLUE, ID_VIOLET, OnColour)
ON_UPDATE_COMMAND_UI(ID_BLUE, OnUpdateBlue)
ON_CONTROL_RANGE(BN_CLICKED, IDC_LETTER_A, IDC_LETTER_C, OnLetter)
ON_EN_CHANGE(IDC_NOTE, OnChangeNote)
ON_MESSAGE(WM_WORKED, OnWorked)
//}}AFX_MSG_MAP
END_MESSAGE_MAP()

BOOL CGeneralPage::OnApply()
{
    ((CMainDialog*)AfxGetMainWnd())->Write(_T("applied ") + m_strName);
    return CPropertyPage::OnApply();
}

void CMainDialog::Write(LPCTSTR pszLine)
{
    m_strHistory += pszLine;
    m_strHistory += _T("|");
    SetDlgItemText(IDC_HISTORY, m_strHistory);
}

void CMainDialog::DoDataExchange(CDataExchange* pDX)
{
    CDialog::DoDataExchange(pDX);
    DDX_Control(pDX, IDC_NOTE, m_note);
}

BOOL CMainDialog::OnInitDialog()
{
    CDialog::OnInitDialog();
    SetIcon(theApp.LoadStandardIcon(IDI_APPLICATION), TRUE);
    m_hKeys = ::LoadAccelerators(AfxGetResourceHandle(), MAKEINTRESOURCE(IDR_KEYS));

    // The title is a string of another module.
    HINSTANCE hOther = ::LoadLibrary(_T("framework_extra.dll"));
    HINSTANCE hOwn = AfxGetResourceHandle();
    AfxSetResourceHandle(hOther);
    CString strTitle;
    VERIFY(strTitle.LoadString(IDS_ONLY_EXTRA));
    AfxSetResourceHandle(hOwn);
    SetWindowText(strTitle);
    ::FreeLibrary(hOther);

    m_nTimer = SetTimer(7, 10, NULL);
    m_note.SetFocus();
    return FALSE;
}

BOOL CMainDialog::PreTranslateMessage(MSG* pMsg)
{
    if (m_hKeys != NULL && ::TranslateAccelerator(m_hWnd, m_hKeys, pMsg)) return TRUE;
    return CDialog::PreTranslateMessage(pMsg);
}

void CMainDialog::OnTimer(UINT nIDEvent)
{
    if (nIDEvent == m_nTimer) {
        KillTimer(m_nTimer);
        Write(_T("timer"));
    }
    CDialog::OnTimer(nIDEvent);
}

void CMainDialog::OnDestroy()
{
    ::RemoveProp(m_hWnd, _T("idle"));
    CDialog::OnDestroy();
    theApp.m_nIdle = theApp.m_nIdle > 0;
}

void CMainDialog::PostNcDestroy()
{
    delete this;
}

void CMainDialog::OnOptions()
{
    COptionsSheet sheet(this);
    sheet.m_general.m_strName = _T("Ada");
    int nResult = sheet.DoModal();
    CString str;
    str.Format(_T("options %d %s %d %d"), nResult, sheet.m_general.m_strName, sheet.m_advanced.m_nSize,
               sheet.m_advanced.m_bLoud);
    Write(str);
}

void CMainDialog::OnAbout()
{
    CAboutDialog dialog(this);
    Write(dialog.DoModal() == IDOK ? _T("about") : _T("no about"));
}

// static
UINT CMainDialog::Work(LPVOID pParam)
{
    ::PostMessage((HWND)pParam, WM_WORKED, 21, 2);
    return 0;
}

void CMainDialog::OnWork()
{
    VERIFY(AfxBeginThread(Work, m_hWnd) != NULL);
}

LRESULT CMainDialog::OnWorked(WPARAM wParam, LPARAM lParam)
{
    CString str;
    str.Format(_T("worked %d"), (int)(wParam * lParam));
    Write(str);
    return 0;
}

void CMainDialog::OnFail()
{
    AfxThrowResourceException();
}

void CMainDialog::OnPaper()
{
    CRect rect;
    m_note.GetClientRect(&rect);
    m_note.RedrawWindow();
    CClientDC dc(&m_note);
    CString str;
    str.Format(_T("paper %06x"), dc.GetPixel(rect.right - 3, rect.CenterPoint().y));
    Write(str);
}

void CMainDialog::OnColour(UINT nID)
{
    Write(nID == ID_BLUE ? _T("blue") : _T("violet"));
}

void CMainDialog::OnUpdateBlue(CCmdUI* pCmdUI)
{
    pCmdUI->Enable(m_note.GetWindowTextLength() > 0);
}

void CMainDialog::OnLetter(UINT nID)
{
    CString str;
    GetDlgItem(nID)->GetWindowText(str);
    Write(_T("letter ") + str);
}

void CMainDialog::OnChangeNote()
{
    SetDlgItemInt(IDC_COUNT, m_note.GetChanges());
}

void CHostApp::OnGreen()
{
    ((CMainDialog*)m_pMainWnd)->Write(_T("green"));
}

BOOL CHostApp::InitInstance()
{
    CMainDialog* pDialog = new CMainDialog;
    if (!pDialog->Create(CMainDialog::IDD)) return FALSE;
    m_pMainWnd = pDialog;
    pDialog->ShowWindow(m_nCmdShow);
    pDialog->UpdateWindow();
    return TRUE;
}

BOOL CHostApp::OnIdle(LONG lCount)
{
    m_nIdle++;
    if (m_pMainWnd) ::SetProp(m_pMainWnd->m_hWnd, _T("idle"), (HANDLE)1); // for the one who waits for it
    return CWinApp::OnIdle(lCount);
}

int CHostApp::ExitInstance()
{
    // 41, if it was ever idle.
    return CWinApp::ExitInstance() + 40 + m_nIdle;
}
