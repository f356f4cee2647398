// CToolTip: a small bordered child window that shows one line of text, centred on pale yellow.
//
// Ownership  the object owns its window, as every CWnd does: destroying either ends the window.
// Threads    the window's.
// Errors     Create gives 0, and there is no window: it could not be made, or the text not be measured.
//
// It is a plain window, not the system's tooltip control: it is there from Create on until it is hidden or destroyed.
#ifndef KORVANE_CONTROLS_TOOLTIP_H
#define KORVANE_CONTROLS_TOOLTIP_H

#include "base/api.h"

#include <afxwin.h>

class KORVANE_API CToolTip : public CWnd
{
public:
    CToolTip() = default;

    // Makes the window, visible, as a child of parent under the identifier id. All lengths are pixels of the parent's
    // client area: the window begins at top, is exactly as tall as the text, its border included, and as wide as the
    // text and a margin, centred between 0 and availableWidth; a text that is wider than that gets a window from 0 to
    // availableWidth, and is clipped at both of its ends. The text is measured in the font of a fresh device context,
    // whatever the parent's font is. A null text is an empty one. Nonzero when the window was made.
    int Create(const TCHAR* text, CWnd* parent, unsigned int top, unsigned int availableWidth, unsigned int id);

protected:
    afx_msg BOOL OnEraseBkgnd(CDC* dc);
    afx_msg void OnPaint();
    DECLARE_MESSAGE_MAP()

private:
    COLORREF m_crText = RGB(0, 0, 0);
    COLORREF m_crBackground = RGB(255, 255, 128);
    unsigned int m_nMargin = 6; // pixels, of both sides together
};

#endif
