// CStarButton: a button that is a star, golden when it is lit.
#ifndef KORVANE_SAMPLES_ATLAS_STARBUTTON_H
#define KORVANE_SAMPLES_ATLAS_STARBUTTON_H

#include <afxwin.h>

class CStarButton : public CButton
{
public:
    bool IsLit() const { return m_bLit; }
    void Light(bool bLit);

protected:
    void DrawItem(LPDRAWITEMSTRUCT item) override;

private:
    bool m_bLit = false;
};

#endif
