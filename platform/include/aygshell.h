// aygshell.h - the device's shell: starting programs as it does.
//
// The device looks a program up by its name and hands it the command line as it is given: the arguments, without the
// program's name in front. A desktop's CreateProcess does neither. CreateProcessW is CeCreateProcessW for whoever
// includes this header (after windows.h), so that code written for the device starts programs as it always did.
//
// Ownership  the caller closes the handles in *pInfo.
// Threads    any.
// Errors     FALSE, and the last error as the system sets it.
#ifndef KORVANE_PLATFORM_AYGSHELL_H
#define KORVANE_PLATFORM_AYGSHELL_H

#include <windows.h>

#ifdef AYGSHELL_BUILDING
#define AYGSHELL_API extern "C" __declspec(dllexport)
#else
#define AYGSHELL_API extern "C" __declspec(dllimport)
#endif

// Starts pszImageName, which has a path or is looked for in the program's own folder, the system's folders and those of
// PATH, but never in the current folder. Its command line is its name, quoted, a blank, and pszCommandLine, which may
// be NULL and is not written to. pSecurity..., bInherit, pEnvironment, pszFolder and pStartup are as the system takes
// them (the device wants NULL and FALSE); a NULL pStartup is the default one. *pInfo may be NULL.
//
// "iexplore.exe", the device's browser, is most likely absent on a desktop. If it is, the desktop's default browser, or
// mail program for a command line that begins with "mailto:", opens pszCommandLine as an address: one that begins with
// neither "mailto:", "http://", "https://" nor "ftp://" gets "http://" in front, so that nothing but a browser can be
// started. *pInfo may then hold no handles and identifiers.
//
// ERROR_INVALID_PARAMETER: no name. ERROR_FILE_NOT_FOUND: no such program, and it is not the browser.
AYGSHELL_API BOOL WINAPI CeCreateProcessW(LPCWSTR pszImageName, LPCWSTR pszCommandLine,
                                          LPSECURITY_ATTRIBUTES pSecurityProcess, LPSECURITY_ATTRIBUTES pSecurityThread,
                                          BOOL bInherit, DWORD dwFlags, LPVOID pEnvironment, LPCWSTR pszFolder,
                                          LPSTARTUPINFOW pStartup, LPPROCESS_INFORMATION pInfo);

#ifndef AYGSHELL_BUILDING
#define CreateProcessW(...) CeCreateProcessW(__VA_ARGS__)
#endif

#endif
