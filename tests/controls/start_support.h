// What the tests of links share: the browser is not started, but what it would have been started with is noted.
#ifndef KORVANE_TESTS_CONTROLS_START_SUPPORT_H
#define KORVANE_TESTS_CONTROLS_START_SUPPORT_H

#include "support/import_patch.h"

#include <string>
#include <vector>

// While it lives, the library starts nothing. One at a time.
class CNotedStarts
{
public:
    struct Start
    {
        std::wstring program, commandLine;
        bool onlyDefaults; // no security, nothing inherited, no flags, this program's environment and folder
    };

    CNotedStarts()
    {
        List().clear();
        SetResult(TRUE);
    }
    static std::vector<Start>& List()
    {
        static std::vector<Start> list;
        return list;
    }
    // What a start answers from now on.
    static void SetResult(BOOL result) { Result() = result; }

private:
    static BOOL& Result()
    {
        static BOOL result;
        return result;
    }
    static BOOL WINAPI Note(LPCWSTR program, LPCWSTR commandLine, LPSECURITY_ATTRIBUTES process,
                            LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment, LPCWSTR folder,
                            LPSTARTUPINFOW, LPPROCESS_INFORMATION)
    {
        List().push_back({program, commandLine ? commandLine : L"(null)",
                          !process && !thread && !inherit && !flags && !environment && !folder});
        ::SetLastError(ERROR_FILE_NOT_FOUND);
        return Result();
    }
    CImportPatch m_patch{L"korvaneLib.dll", "CeCreateProcessW@40", &CNotedStarts::Note};
};

#endif
