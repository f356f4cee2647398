// modalflag.h - a window's object knows that it is modal.
#ifndef KORVANEAFX_MODALFLAG_H
#define KORVANEAFX_MODALFLAG_H

#include "wndhook.h"

// From before the window is there, so that OnInitDialog can end the dialog, and no longer than this lives, however it ends:
// an object that took itself for modal would never let EndDialog close a window that it gets later.
class CModalFlag
{
public:
    explicit CModalFlag(UINT& nFlags) : m_nFlags(nFlags) { m_nFlags |= kContinueModal; }
    ~CModalFlag() { m_nFlags &= ~kContinueModal; }
    CModalFlag(const CModalFlag&) = delete;
    CModalFlag& operator=(const CModalFlag&) = delete;

private:
    UINT& m_nFlags;
};

#endif
