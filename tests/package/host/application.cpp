// A framework application: its WinMain comes with the package.
#include <korvanelib.h>

class CApplication : public CWinApp
{
public:
    BOOL InitInstance() override { return FALSE; }
    int ExitInstance() override { return 7; }
};

CApplication theApp;
