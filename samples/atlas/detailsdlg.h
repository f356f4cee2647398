// CDetailsDlg: all that is known of a country. What does not fit on the screen is scrolled, with the stylus or the keys.
#ifndef KORVANE_SAMPLES_ATLAS_DETAILSDLG_H
#define KORVANE_SAMPLES_ATLAS_DETAILSDLG_H

#include "world.h"

#include <list>

class CDetailsDlg : public CScrollDialog
{
public:
    // Both must live as long as the dialog.
    CDetailsDlg(const CCountry& country, const std::vector<CSubdivision>& subdivisions, CWnd* parent);

    BOOL PreTranslateMessage(MSG* message) override;

protected:
    BOOL OnInitDialog() override;
    afx_msg HBRUSH OnCtlColor(CDC* dc, CWnd* control, UINT type);
    afx_msg void OnGetMinMaxInfo(MINMAXINFO* info);
    afx_msg BOOL OnMouseWheel(UINT flags, short delta, CPoint point);
    DECLARE_MESSAGE_MAP()

private:
    void AddSections();
    void AddSection(const CString& heading, const CString& text);
    void AddText(const CString& text, CFont& font, int indent);

    const CCountry& m_country;
    const std::vector<CSubdivision>& m_subdivisions;
    std::list<CStatic> m_texts;
    CFont m_bold;
    int m_nTextWidth = 0; // pixels
    int m_nBottom = 0;    // of what has been added so far, in pixels of the client area
};

#endif
