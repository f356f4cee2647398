// The entry point of hosts that are framework applications: linked into the program, not into korvaneafx.dll.
#include <afxwin.h>

namespace {

// The command line behind the program's name, which may be quoted.
LPTSTR Arguments()
{
    LPTSTR psz = ::GetCommandLineW();
    const TCHAR chEnd = *psz == L'"' ? *psz++ : L' ';
    while (*psz && *psz != chEnd && !(chEnd == L' ' && *psz == L'\t')) ++psz;
    if (*psz) ++psz;
    while (*psz == L' ' || *psz == L'\t') ++psz;
    return psz;
}

} // namespace

int WINAPI WinMain(HINSTANCE hInstance, HINSTANCE hPrevInstance, LPSTR, int nCmdShow)
{
    return AfxWinMain(hInstance, hPrevInstance, Arguments(), nCmdShow);
}
