/* A DLL that imports the system's automation and nothing else. */
#include <windows.h>
#include <oleauto.h>

__declspec(dllexport) void Use(BSTR text)
{
    SysFreeString(text);
}
