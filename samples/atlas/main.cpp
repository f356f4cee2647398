// atlas.exe [VOLUME]: the countries of the world on a screen of 240 x 320 pixels.
//
// VOLUME is what scripts/import_iso.sh makes; without it, iso.vol in the program's folder. The log is beside it, under
// the same name with .log behind it.
#include "atlasdlg.h"
#include "ids.h"
#include "tell.h"

namespace {

CString FolderOf(LPCTSTR path)
{
    TCHAR drive[3], folder[256];
    _tsplitpath(path, drive, folder, nullptr, nullptr);
    return CString(drive) + folder;
}

CString VolumePath(LPCTSTR commandLine)
{
    CString path = commandLine;
    path.TrimLeft(L" \"");
    path.TrimRight(L" \"");
    if (!path.IsEmpty()) return path;
    TCHAR program[MAX_PATH] = L"";
    ::GetModuleFileNameW(nullptr, program, MAX_PATH);
    return FolderOf(program) + L"iso.vol";
}

class CAtlasApp : public CWinApp
{
public:
    BOOL InitInstance() override
    {
        const CString volume = VolumePath(m_lpCmdLine);
        char log[MAX_PATH * 2] = ""; // a path that the code page does not have: to the debugger's output
        ::WideCharToMultiByte(CP_ACP, 0, volume + L".log", -1, log, sizeof log, nullptr, nullptr);
        InitLib(log);

        CWorld world;
        if (const UINT failure = world.Open(volume)) {
            Tell(failure, volume);
            return FALSE;
        }
        CSettings settings;
        settings.file = FolderOf(volume) + L"atlas.fav";
        settings.Load(m_pszAppName);
        CAtlasDlg window(world, settings, volume);
        m_pMainWnd = &window;
        if (window.DoModal() == -1) Tell(IDS_NO_WINDOW);
        if (settings.Save(m_pszAppName) < 0) Tell(IDS_SETTINGS_FAILED);
        return FALSE; // the window was all there is
    }
};

CAtlasApp g_app;

} // namespace
