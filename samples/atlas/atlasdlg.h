// CAtlasDlg: the window of Atlas, which shows one country.
//
// Ownership  world and settings stay the caller's.
// Threads    the program's only one.
// Errors     told to the person in a box; the window stays as it was.
#ifndef KORVANE_SAMPLES_ATLAS_ATLASDLG_H
#define KORVANE_SAMPLES_ATLAS_ATLASDLG_H

#include "settings.h"
#include "starbutton.h"
#include "world.h"

class CAtlasDlg : public CDialog
{
public:
    // volume: the path of the world's, for sentences.
    CAtlasDlg(CWorld& world, CSettings& settings, const CString& volume);
    ~CAtlasDlg() override;

    BOOL PreTranslateMessage(MSG* message) override;

protected:
    BOOL OnInitDialog() override;
    void DoDataExchange(CDataExchange* exchange) override;
    void OnOK() override {}
    void OnCancel() override {} // Esc; the window is closed by OnClose
    afx_msg void OnClose();
    afx_msg HBRUSH OnCtlColor(CDC* dc, CWnd* control, UINT type);
    afx_msg void OnTimer(UINT id);
    afx_msg void OnCountryEntered();
    afx_msg LRESULT OnSelectCountry(WPARAM, LPARAM);
    afx_msg void OnCountryPicked();
    afx_msg void OnCountryTyped();
    afx_msg void OnCountryLeft();
    afx_msg void OnStar();
    afx_msg void OnSumLeft();
    afx_msg void OnDetails();
    afx_msg void OnMenu();
    DECLARE_MESSAGE_MAP()

private:
    void LoadIcons();
    void PlaceControls();
    void Show(const CString& code);
    void ShowFlag();
    void ShowTexts();
    void ShowRows(const std::vector<std::vector<CString>>& lists, int y);
    CString FitList(const std::vector<CString>& items, int most);
    int HeightOf(const CString& text, CFont& font, int width);
    void ShowFavourite();
    void ShowTip(bool bShow);
    bool ReadSum(double& sum) const;
    void StoreSum();
    bool Store(const CFavourite& favourite);
    void Export();
    void Import();
    void About();

    CWorld& m_world;
    CSettings& m_settings;
    const CString m_strVolume;
    std::vector<std::pair<CString, CString>> m_countries; // code and name, in the order of the combo box
    CCountry m_country;                                   // the one shown; without a code: none
    std::vector<CSubdivision> m_subdivisions;
    CFavourite m_favourite; // of that country; without a code: it is none

    CCJFlatComboBox m_combo;
    CStarButton m_star;
    CStatic m_flag;
    CFloatEdit m_sum;
    CHyperLink m_link;
    CToolTip m_tip;
    CFont m_bold;
    bool m_bOverStar = false;
    HICON m_hIcon = nullptr, m_hSmallIcon = nullptr; // owned
};

#endif
