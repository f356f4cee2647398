/* A DLL that imports the modules of the system that the library and its own DLLs import, and nothing else. */
#include <windows.h>
#include <commctrl.h>
#include <oleauto.h>
#include <shellapi.h>

__declspec(dllexport) void Use(HKEY key, HGDIOBJ object, HWND window, BSTR text, SHELLEXECUTEINFOW* info,
                               PROPSHEETHEADERW* sheet)
{
    RegCloseKey(key);
    DeleteObject(object);
    DestroyWindow(window);
    SysFreeString(text);
    CoUninitialize();
    ShellExecuteExW(info);
    PropertySheetW(sheet);
}
