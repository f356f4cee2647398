// gdidc_both.h - CDC::OnBoth, for the sources that define CDC's members.
#ifndef KORVANEAFX_GDIDC_BOTH_H
#define KORVANEAFX_GDIDC_BOTH_H

#include "afx_dc.h"

// Calls function for the context that is drawn on, then for the one that is asked if that is another one, and returns
// the last result; the function's result for no context if there is none.
template <class Function> auto CDC::OnBoth(Function function)
{
    auto result = function(m_hDC);
    if (m_hAttribDC && m_hAttribDC != m_hDC) result = function(m_hAttribDC);
    return result;
}

#endif
