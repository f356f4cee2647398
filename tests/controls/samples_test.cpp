// The samples in the comments of the controls' headers, compiled as they stand there and run on a dialog.
#include "controls/flatcombobox.h"
#include "controls/floatedit.h"
#include "controls/hyperlink.h"
#include "controls/lifeline.h"

#include "controls_fixture.h"
#include "support/log_capture.h"

#include <sstream>

// What the samples call the controls of their dialog.
#define IDC_WEIGHT IDC_NUMBER
#define IDC_CITY IDC_COMBO

namespace {

class CWeightDialog : public CControlsDialog
{
public:
    CFloatEdit m_editWeight; // a member of the dialog

protected:
    BOOL OnInitDialog() override
    {
        CControlsDialog::OnInitDialog();
        m_editWeight.Subclass(IDC_WEIGHT, this); // in OnInitDialog
        m_editWeight.SetBounds(0.0f, 250.0f);
        m_editWeight.SetValidateMode(true);
        return TRUE;
    }
};

class CLinkDialog : public CControlsDialog
{
public:
    CHyperLink m_link; // a member of the dialog

protected:
    BOOL OnInitDialog() override
    {
        CControlsDialog::OnInitDialog();
        m_link.SetURL(L"http://www.example.com"); // in OnInitDialog; else the control's text is the URL
        m_link.SubclassDlgItem(IDC_LINK, this);
        return TRUE;
    }
};

class CCityDialog : public CControlsDialog
{
public:
    CCJFlatComboBox m_combo; // a member of the dialog

protected:
    BOOL OnInitDialog() override
    {
        CControlsDialog::OnInitDialog();
        m_combo.SubclassDlgItem(IDC_CITY, this); // in OnInitDialog
        return TRUE;
    }
};

class CNotice
{
public:
    // after: what is left to do when the object is still there.
    void Show(const CString& strText, bool& after)
    {
        CLifelineGuard guard(m_lifeline);
        AfxMessageBox(strText);     // whatever a host does meanwhile
        if (guard.IsGone()) return; // not even "this" may be used any more
        after = true;
    }

private:
    CLifeline m_lifeline;
};

class ControlSamplesTest : public CControlsFixture
{
};

// The lines of code in a header's comments: those that are indented by four.
std::vector<std::string> SampleLines(const std::string& header)
{
    std::vector<std::string> lines;
    std::istringstream text(header);
    for (std::string line; std::getline(text, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        if (line.compare(0, 7, "//     ") == 0 && line.find_first_not_of(' ', 7) == 7) lines.push_back(line.substr(7));
    }
    return lines;
}

} // namespace

TEST_F(ControlSamplesTest, TheHeadersShowWhatIsCompiledHere)
{
    const std::wstring folder = KORVANE_CONTROLS;
    const std::string here = ReadBytes(folder + L"/../tests/controls/samples_test.cpp");
    ASSERT_FALSE(here.empty());
    size_t samples = 0;
    WIN32_FIND_DATAW found = {};
    const HANDLE search = ::FindFirstFileW((folder + L"/*.h").c_str(), &found);
    ASSERT_NE(INVALID_HANDLE_VALUE, search);
    do {
        for (const std::string& line : SampleLines(ReadBytes(folder + L"/" + found.cFileName))) {
            EXPECT_NE(std::string::npos, here.find("    " + line)) << ToNarrow(found.cFileName) << ": " << line;
            ++samples;
        }
    } while (::FindNextFileW(search, &found));
    ::FindClose(search);
    EXPECT_EQ(12u, samples);
}

TEST_F(ControlSamplesTest, AWeightIsHeldBetweenItsBounds)
{
    CWeightDialog dialog;
    ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
    const CMessageBoxes boxes;
    dialog.m_editWeight.SetWindowText(L"250");
    EXPECT_TRUE(dialog.m_editWeight.Validate(true));
    Focus(::GetDlgItem(dialog, IDOK)); // a box would take the focus from the field, and have it checked again
    dialog.m_editWeight.SetWindowText(L"251");
    EXPECT_FALSE(dialog.m_editWeight.Validate(true));
    EXPECT_EQ(L"The number must be smaller than 250.00", boxes.Texts());
    dialog.m_editWeight.SetValidateMode(false);
    dialog.DestroyWindow();
}

TEST_F(ControlSamplesTest, ALinkHasItsAddress)
{
    CLinkDialog dialog;
    ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
    EXPECT_EQ(L"http://www.example.com", dialog.m_link.GetURL());
    dialog.DestroyWindow();
}

TEST_F(ControlSamplesTest, ACityIsCompleted)
{
    CCityDialog dialog;
    ASSERT_TRUE(dialog.Make(IDD_CONTROLS));
    dialog.m_combo.AddString(L"Bern");
    ::SendMessageW(::GetWindow(dialog.m_combo, GW_CHILD), WM_CHAR, L'B', 1);
    EXPECT_EQ(4, dialog.m_combo.GetWindowTextLength());
    dialog.DestroyWindow();
}

TEST_F(ControlSamplesTest, AnObjectNoticesThatItIsGone)
{
    bool after = false;
    auto* const notice = new CNotice;
    {
        const CMessageBoxes boxes([&] { delete notice; });
        notice->Show(L"text", after);
        EXPECT_EQ(L"text", boxes.Texts());
    }
    EXPECT_FALSE(after);
    CNotice other;
    const CMessageBoxes boxes;
    other.Show(L"text", after);
    EXPECT_TRUE(after);
}
