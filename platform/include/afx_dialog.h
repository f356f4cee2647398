// afx_dialog.h - CDialog: a dialog box from a template, modal or not, and the exchange of data with its controls.
//
// Ownership  a modal dialog's object is usable again after DoModal. A modeless one's window is destroyed by the host
//            (OnOK and OnCancel overridden to call DestroyWindow), its object in PostNcDestroy or when it goes.
//            Template names and memory are borrowed until the dialog was created.
// Threads    the thread that creates it.
// Errors     DoModal -1 if there is no template or window, IDABORT if something else fails, -1 if the program quits.
//
// Templates are looked for with AfxFindResourceHandle(name, RT_DIALOG): the current resource module first, then the
// libraries on the list, then the program. Every dialog is a control parent. It is not centred nor moved into view.
// Alt+H is WM_HELP, without a record, to the dialog.
#ifndef AFX_DIALOG_H
#define AFX_DIALOG_H

#include "afx_wnd.h"

// The dialog procedure of every dialog that has an object: calls OnInitDialog.
AFX_API INT_PTR CALLBACK AfxDlgProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam);

class AFX_API CDialog : public CWnd
{
    DECLARE_DYNAMIC(CDialog)
    DECLARE_MESSAGE_MAP()

public:
    CDialog(); // for Create..., InitModalIndirect and derived classes
    explicit CDialog(UINT nIDTemplate, CWnd* pParentWnd = NULL);
    explicit CDialog(LPCTSTR pszTemplateName, CWnd* pParentWnd = NULL);
    ~CDialog() override;

    // Modeless. NULL as the parent is the main window.
    BOOL Create(UINT nIDTemplate, CWnd* pParentWnd = NULL);
    virtual BOOL Create(LPCTSTR pszTemplateName, CWnd* pParentWnd = NULL);
    virtual BOOL CreateIndirect(LPCDLGTEMPLATE pDialogTemplate, CWnd* pParentWnd = NULL, void* pDialogInit = NULL);
    virtual BOOL CreateIndirect(HGLOBAL hDialogTemplate, CWnd* pParentWnd = NULL);

    // Modal.
    BOOL InitModalIndirect(LPCDLGTEMPLATE pDialogTemplate, CWnd* pParentWnd = NULL, void* pDialogInit = NULL);
    BOOL InitModalIndirect(HGLOBAL hDialogTemplate, CWnd* pParentWnd = NULL);
    virtual int DoModal();
    void EndDialog(int nResult); // DoModal ends with nResult when the current message is done; also in OnInitDialog

    void MapDialogRect(LPRECT pRect) const; // dialog units to pixels
    void SetHelpID(UINT nIDR) { m_nIDHelp = nIDR; }
    void NextDlgCtrl() const;
    void PrevDlgCtrl() const;
    void GotoDlgCtrl(CWnd* pWndCtrl);
    DWORD GetDefID() const;
    void SetDefID(UINT nID);

    // Fills the lists of the RT_DLGINIT resource and calls UpdateData(FALSE). TRUE: the first control gets the focus.
    virtual BOOL OnInitDialog();
    BOOL PreTranslateMessage(MSG* pMsg) override;
    BOOL OnCmdMsg(UINT nID, int nCode, void* pExtra, AFX_CMDHANDLERINFO* pHandlerInfo) override;

protected:
    virtual void OnOK(); // UpdateData(TRUE), and if that went well EndDialog(IDOK)
    virtual void OnCancel();
    friend struct CWndAccess;
    virtual void PreInitDialog() {} // before OnInitDialog
    virtual void OnSetFont(CFont* pFont);
    afx_msg LRESULT HandleSetFont(WPARAM wParam, LPARAM lParam);
    BOOL PreTranslateInput(MSG* pMsg);
    BOOL CreateDlgIndirect(LPCDLGTEMPLATE pDialogTemplate, CWnd* pParentWnd, HINSTANCE hInst);

    UINT m_nIDHelp;
    LPCTSTR m_lpszTemplateName;        // a name or MAKEINTRESOURCE; a name is copied
    HGLOBAL m_hDialogTemplate;         // of InitModalIndirect, borrowed
    LPCDLGTEMPLATE m_lpDialogTemplate; // likewise
    void* m_lpDialogInit;              // likewise: the items of its lists, as an RT_DLGINIT resource has them
    CWnd* m_pParentWnd;                // as it was given

    void SetTemplateName(LPCTSTR pszName);

private:
    BOOL CreateFrom(LPCDLGTEMPLATE pDialogTemplate, HWND hWndParent, HINSTANCE hInst);

    CString m_strTemplateName;
};

#endif
