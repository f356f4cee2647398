// What the tests of CFloatEdit share: a number field on the dialog.
#ifndef KORVANE_TESTS_CONTROLS_FLOATEDIT_FIXTURE_H
#define KORVANE_TESTS_CONTROLS_FLOATEDIT_FIXTURE_H

#include "controls/floatedit.h"

#include "controls_fixture.h"

class CSelection
{
public:
    explicit CSelection(HWND edit)
    {
        ::SendMessageW(edit, EM_GETSEL, reinterpret_cast<WPARAM>(&start), reinterpret_cast<LPARAM>(&end));
    }
    DWORD start = 0, end = 0;
};

class FloatEditTest : public CControlsFixture
{
protected:
    void SetUp() override
    {
        CControlsFixture::SetUp();
        ASSERT_TRUE(m_edit.Subclass(IDC_NUMBER, &m_dialog));
    }
    // A dialog that goes with a bad number in its focused field would ask once more.
    void TearDown() override
    {
        if (m_edit.m_hWnd) m_edit.SetValidateMode(false);
        CControlsFixture::TearDown();
    }
    // Between 0 and 10, checked.
    void CheckBounds()
    {
        m_edit.SetBounds(0, 10);
        m_edit.SetValidateMode(true);
    }
    void SetText(const wchar_t* text) { ::SetWindowTextW(m_edit, text); }
    void Select(int start, int end) { ::SendMessageW(m_edit, EM_SETSEL, start, end); }

    CNoting<CFloatEdit> m_edit;
};

#endif
