// CSettings: what Atlas remembers between two starts, in the registry under
// HKEY_CURRENT_USER\Software\korvaneLib\PROGRAM. What is missing there, or is of another type, has its default.
#ifndef KORVANE_SAMPLES_ATLAS_SETTINGS_H
#define KORVANE_SAMPLES_ATLAS_SETTINGS_H

#include "korvanelib.h"

struct CSettings
{
    CString country = L"IS"; // code of the one shown last
    CString file;            // of favourites, used last
    CPoint position{0, 0};   // of the window's top left corner on the screen, in pixels

    void Load(LPCTSTR program);
    // 0, or the registry's failure as an HRESULT.
    long Save(LPCTSTR program) const;
};

#endif
