/* The least DLL: what every loading costs. */
#include <windows.h>

BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, void* reserved)
{
    (void)instance, (void)reason, (void)reserved;
    return TRUE;
}
