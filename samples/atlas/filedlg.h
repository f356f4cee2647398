// CFileDlg: asks for the path of a file.
#ifndef KORVANE_SAMPLES_ATLAS_FILEDLG_H
#define KORVANE_SAMPLES_ATLAS_FILEDLG_H

#include "ids.h"
#include "tell.h"

class CFileDlg : public CDialog
{
public:
    CFileDlg(UINT caption, const CString& path, CWnd* parent)
        : CDialog(IDD_FILE, parent), m_strPath(path), m_nCaption(caption)
    {
    }

    CString m_strPath; // what the person entered, after IDOK

protected:
    BOOL OnInitDialog() override
    {
        CDialog::OnInitDialog();
        SetWindowText(Sentence(m_nCaption));
        return TRUE;
    }
    void DoDataExchange(CDataExchange* exchange) override
    {
        CDialog::DoDataExchange(exchange);
        DDX_Text(exchange, IDC_PATH, m_strPath);
    }

private:
    const UINT m_nCaption;
};

#endif
