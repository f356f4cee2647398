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

// The text in lines that a box on the device's screen has room for, broken behind blanks where there are any.
CString InLines(LPCTSTR text)
{
    constexpr int kLongest = 26; // characters
    CString lines, line;
    for (; *text; ++text) {
        if (line.GetLength() >= kLongest) {
            const int blank = line.ReverseFind(L' ');
            const int end = blank < 0 ? line.GetLength() : blank + 1;
            lines += line.Left(end) + L"\n";
            line = line.Mid(end);
        }
        line += *text;
        if (*text != L'\n') continue;
        lines += line;
        line.Empty();
    }
    return lines + line;
}

class CAtlasApp : public CWinApp
{
public:
    // The device breaks the lines of its boxes itself; a desktop's boxes become as wide as the text.
    int DoMessageBox(LPCTSTR prompt, UINT type, UINT help) override
    {
        return CWinApp::DoMessageBox(InLines(prompt), type, help);
    }

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
