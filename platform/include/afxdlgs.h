// afxdlgs.h - CPropertyPage and CPropertySheet: dialogs as the pages of one window with tabs.
//
// Ownership  a sheet borrows its pages, which must outlive it; neither deletes itself.
// Threads    the thread that creates the sheet.
// Errors     DoModal -1 if the sheet could not be made; FALSE or NULL elsewhere; CMemoryException* when memory is out. A page
//            whose window could not be made when it was first shown is taken out of the sheet's tabs by the system.
#ifndef AFXDLGS_H
#define AFXDLGS_H

#include "afxwin.h"

#include <commctrl.h>

#include <vector>

class CPropertySheet;

class AFX_API CPropertyPage : public CDialog
{
    DECLARE_DYNAMIC(CPropertyPage)
    DECLARE_MESSAGE_MAP()

public:
    CPropertyPage();
    // nIDCaption: the string resource of its tab; 0: the template's own caption.
    explicit CPropertyPage(UINT nIDTemplate, UINT nIDCaption = 0);
    explicit CPropertyPage(LPCTSTR pszTemplateName, UINT nIDCaption = 0);
    ~CPropertyPage() override;
    void Construct(UINT nIDTemplate, UINT nIDCaption = 0); // after the default constructor
    void Construct(LPCTSTR pszTemplateName, UINT nIDCaption = 0);

    PROPSHEETPAGE m_psp; // may be changed before the sheet is created

    void SetModified(BOOL bChanged = TRUE);
    void CancelToClose();                                // OK becomes Close, Cancel is disabled
    LRESULT QuerySiblings(WPARAM wParam, LPARAM lParam); // the first answer that is not 0

    virtual BOOL OnSetActive();   // FALSE: another page
    virtual BOOL OnKillActive();  // UpdateData(TRUE); FALSE: the page stays
    virtual BOOL OnApply();       // calls OnOK; FALSE: the sheet stays
    virtual BOOL OnQueryCancel(); // FALSE: the sheet stays
    virtual void OnReset();       // calls OnCancel
    virtual BOOL OnWizardFinish() { return TRUE; }
    virtual LRESULT OnWizardBack() { return 0; }
    virtual LRESULT OnWizardNext() { return 0; }

    BOOL PreTranslateMessage(MSG* pMsg) override;

protected:
    void OnOK() override;
    void OnCancel() override;
    BOOL OnNotify(WPARAM wParam, LPARAM lParam, LRESULT* pResult) override;
    void PreInitDialog() override;

    CString m_strCaption;

private:
    friend class CPropertySheet;
    static UINT CALLBACK PageCallback(HWND hWnd, UINT nMessage, PROPSHEETPAGE* pPage);
    BOOL Prepare(); // finds the template; FALSE if it is not there

    BOOL m_bFirstSetActive;
};

class AFX_API CPropertySheet : public CWnd
{
    DECLARE_DYNAMIC(CPropertySheet)
    DECLARE_MESSAGE_MAP()

public:
    CPropertySheet();
    explicit CPropertySheet(UINT nIDCaption, CWnd* pParentWnd = NULL, UINT iSelectPage = 0);
    explicit CPropertySheet(LPCTSTR pszCaption, CWnd* pParentWnd = NULL, UINT iSelectPage = 0);
    ~CPropertySheet() override;
    void Construct(UINT nIDCaption, CWnd* pParentWnd = NULL, UINT iSelectPage = 0);
    void Construct(LPCTSTR pszCaption, CWnd* pParentWnd = NULL, UINT iSelectPage = 0);

    PROPSHEETHEADER m_psh; // may be changed before the sheet is created

    void AddPage(CPropertyPage* pPage);
    void RemovePage(CPropertyPage* pPage);
    void RemovePage(int nPage);
    int GetPageCount() const { return static_cast<int>(m_pages.size()); }
    CPropertyPage* GetPage(int nPage) const;      // NULL outside
    int GetPageIndex(CPropertyPage* pPage) const; // -1: none of it
    int GetActiveIndex() const;
    CPropertyPage* GetActivePage() const;
    BOOL SetActivePage(int nPage);
    BOOL SetActivePage(CPropertyPage* pPage);
    void SetTitle(LPCTSTR pszText, UINT nStyle = 0); // PSH_PROPTITLE: "Properties for"
    CWnd* GetTabControl() const;                     // a temporary object
    BOOL PressButton(int nButton);                   // PSBTN_...
    void SetFinishText(LPCTSTR pszText);
    void SetWizardButtons(DWORD dwFlags); // PSWIZB_...
    void SetWizardMode() { m_psh.dwFlags |= PSH_WIZARD; }

    virtual int DoModal(); // IDOK, IDCANCEL, or what EndDialog was given
    using CWnd::Create;
    BOOL Create(CWnd* pParentWnd = NULL, DWORD dwStyle = static_cast<DWORD>(-1), DWORD dwExStyle = 0); // modeless
    void EndDialog(int nEndID);

    virtual BOOL OnInitDialog();
    BOOL PreTranslateMessage(MSG* pMsg) override;
    BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo) override;
    BOOL ContinueModal() override;

protected:
    LRESULT DefWindowProc(UINT nMessage, WPARAM wParam, LPARAM lParam) override;
    BOOL OnCommand(WPARAM wParam, LPARAM lParam) override;
    afx_msg LRESULT HandleInitDialog(WPARAM wParam, LPARAM lParam);
    afx_msg LRESULT HandlePressButton(WPARAM wParam, LPARAM lParam);
    afx_msg void OnClose();

    std::vector<CPropertyPage*> m_pages; // borrowed
    CString m_strCaption;
    CWnd* m_pParentWnd;

private:
    HWND CreateSheet(HWND hWndParent);

    BOOL m_bModeless;
};

#endif
