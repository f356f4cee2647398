// windows.h - as much of the platform as the readers under test name, for a native build of them: 32 bits, as the
// device, with a wchar_t of 16 bits. What is a function here is in platform.cpp.
#ifndef KORVANE_FUZZ_WINDOWS_H
#define KORVANE_FUZZ_WINDOWS_H

#include <assert.h>
#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>

static_assert(sizeof(long) == 4 && sizeof(wchar_t) == 2 && sizeof(void*) == 4, "as on the device");

#define WINAPI
#define CALLBACK
#define PASCAL
#define STDMETHODCALLTYPE
#define CONST const
#define VOID void
#define FALSE 0
#define TRUE 1
#define MAX_PATH 260
#define MAXLONG 0x7FFFFFFF
#define ARRAYSIZE(a) (sizeof(a) / sizeof(*(a)))
#define LOWORD(dw) ((WORD)((uintptr_t)(dw)&0xFFFF))
#define IS_INTRESOURCE(p) ((uintptr_t)(p) >> 16 == 0)
#define MAKEINTRESOURCE(n) ((LPCWSTR)(uintptr_t)(n))
#define MAKELANGID(p, s) ((s) << 10 | (p))
#define CopyMemory memcpy

typedef int BOOL, INT;
typedef unsigned char BYTE, *LPBYTE, UCHAR;
typedef unsigned short WORD, *LPWORD, USHORT;
typedef unsigned long DWORD, ULONG, *LPDWORD;
typedef unsigned int UINT;
typedef long LONG, LCID;
typedef long long INT64, LONGLONG;
typedef unsigned long long ULONGLONG;
typedef char CHAR;
typedef wchar_t WCHAR, TCHAR, *LPWSTR, *LPTSTR;
typedef const char* LPCSTR;
typedef char* LPSTR;
typedef const wchar_t *LPCWSTR, *LPCTSTR;
typedef void *LPVOID, *PVOID, *HANDLE, *HWND, *HDC, *HBITMAP, *HICON, *HINSTANCE, *HRSRC, *HGLOBAL, *HGDIOBJ, *HMODULE;
typedef long HRESULT;
typedef intptr_t LPARAM;
typedef uintptr_t WPARAM;
typedef DWORD COLORREF;
typedef DWORD* PDWORD;
#define _T(text) L##text
#define TEXT(text) L##text

typedef struct _FILETIME
{
    DWORD dwLowDateTime, dwHighDateTime;
} FILETIME;
typedef struct _SYSTEMTIME
{
    WORD wYear, wMonth, wDayOfWeek, wDay, wHour, wMinute, wSecond, wMilliseconds;
} SYSTEMTIME;
typedef struct
{
    LONG Bias;
    WCHAR StandardName[32];
    WCHAR DaylightName[32];
} TIME_ZONE_INFORMATION;
#define TIME_ZONE_ID_INVALID 0xFFFFFFFFu
typedef struct
{
    LONG cx, cy;
} SIZE;
typedef struct
{
    LONG left, top, right, bottom;
} RECT;
typedef struct
{
    DWORD biSize;
    LONG biWidth, biHeight;
    WORD biPlanes, biBitCount;
    DWORD biCompression, biSizeImage;
    LONG biXPelsPerMeter, biYPelsPerMeter;
    DWORD biClrUsed, biClrImportant;
} BITMAPINFOHEADER, *LPBITMAPINFOHEADER;
typedef struct
{
    BYTE rgbBlue, rgbGreen, rgbRed, rgbReserved;
} RGBQUAD;
typedef struct
{
    BITMAPINFOHEADER bmiHeader;
    RGBQUAD bmiColors[1];
} BITMAPINFO;
typedef struct
{
    LONG bmType, bmWidth, bmHeight, bmWidthBytes;
    WORD bmPlanes, bmBitsPixel;
    void* bmBits;
} BITMAP;
typedef struct
{
    BOOL fIcon;
    DWORD xHotspot, yHotspot;
    HBITMAP hbmMask, hbmColor;
} ICONINFO;
typedef struct DLGTEMPLATE DLGTEMPLATE;
typedef const DLGTEMPLATE* LPCDLGTEMPLATE;
typedef union {
    struct
    {
        DWORD LowPart;
        LONG HighPart;
    };
    LONGLONG QuadPart;
} LARGE_INTEGER;
typedef union {
    ULONGLONG QuadPart;
} ULARGE_INTEGER;

#define S_OK 0L
#define S_FALSE 1L
#define E_NOTIMPL static_cast<HRESULT>(0x80004001)
#define E_NOINTERFACE static_cast<HRESULT>(0x80004002)
#define E_POINTER static_cast<HRESULT>(0x80004003)
#define E_FAIL static_cast<HRESULT>(0x80004005)
#define E_OUTOFMEMORY static_cast<HRESULT>(0x8007000E)
#define FAILED(hr) ((hr) < 0)
#define SUCCEEDED(hr) ((hr) >= 0)
#define ERROR_SUCCESS 0
#define ERROR_ACCESS_DENIED 5
#define ERROR_NOT_ENOUGH_MEMORY 8
#define ERROR_INVALID_PARAMETER 87
#define ERROR_FILE_TOO_LARGE 223
#define WM_USER 0x400
#define MB_OK 0
#define MB_ICONINFORMATION 0x40
#define DS_SETFONT 0x40
#define RT_DIALOG MAKEINTRESOURCE(5)
#define RT_STRING MAKEINTRESOURCE(6)
#define LANG_NEUTRAL 0
#define SUBLANG_DEFAULT 1
#define CP_ACP 0
#define LOCALE_USER_DEFAULT 0x400
#define NORM_IGNORECASE 1
#define CSTR_EQUAL 2
#define GENERIC_READ 0x80000000u
#define FILE_SHARE_READ 1
#define FILE_SHARE_DELETE 4
#define OPEN_EXISTING 3
#define FILE_ATTRIBUTE_NORMAL 0x80
#define FILE_FLAG_SEQUENTIAL_SCAN 0x08000000
#define FILE_BEGIN 0
#define INVALID_HANDLE_VALUE ((HANDLE)(intptr_t)-1)
#define INVALID_SET_FILE_POINTER 0xFFFFFFFFu
#define DIB_RGB_COLORS 0
#define FORMAT_MESSAGE_ALLOCATE_BUFFER 0x100
#define FORMAT_MESSAGE_IGNORE_INSERTS 0x200
#define FORMAT_MESSAGE_FROM_STRING 0x400
#define FORMAT_MESSAGE_FROM_SYSTEM 0x1000

#ifdef __cplusplus
extern "C" {
#endif
DWORD GetLastError(void);
void SetLastError(DWORD);
LONG InterlockedIncrement(volatile LONG*);
LONG InterlockedDecrement(volatile LONG*);
int MultiByteToWideChar(UINT, DWORD, LPCSTR, int, LPWSTR, int);
int CompareStringW(LCID, DWORD, LPCWSTR, int, LPCWSTR, int);
DWORD CharLowerBuffW(LPWSTR, DWORD);
DWORD CharUpperBuffW(LPWSTR, DWORD);
DWORD FormatMessageW(DWORD, const void*, DWORD, DWORD, LPWSTR, DWORD, va_list*);
HGLOBAL LocalFree(HGLOBAL);
int MessageBoxW(HWND, LPCWSTR, LPCWSTR, UINT);
int AfxMessageBox(LPCWSTR);
HRSRC FindResourceW(HINSTANCE, LPCWSTR, LPCWSTR);
HGLOBAL LoadResource(HINSTANCE, HRSRC);
void* LockResource(HGLOBAL);
DWORD SizeofResource(HINSTANCE, HRSRC);
HANDLE CreateFileW(LPCWSTR, DWORD, DWORD, void*, DWORD, DWORD, HANDLE);
BOOL ReadFile(HANDLE, void*, DWORD, DWORD*, void*);
DWORD SetFilePointer(HANDLE, LONG, LONG*, DWORD);
DWORD GetFileSize(HANDLE, DWORD*);
BOOL GetFileSizeEx(HANDLE, LARGE_INTEGER*);
BOOL CloseHandle(HANDLE);
HDC CreateCompatibleDC(HDC);
BOOL DeleteDC(HDC);
HBITMAP CreateDIBSection(HDC, const BITMAPINFO*, UINT, void**, HANDLE, DWORD);
int GetObjectW(HGDIOBJ, int, void*);
BOOL DeleteObject(HGDIOBJ);
HICON CreateIconIndirect(ICONINFO*);
BOOL DestroyIcon(HICON);
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION*);
BOOL SystemTimeToFileTime(const SYSTEMTIME*, FILETIME*);
BOOL FileTimeToSystemTime(const FILETIME*, SYSTEMTIME*);

#ifdef __cplusplus
}
#endif

#ifdef __cplusplus
#define _SPACE 8
int _isctype(int, int);
int _stricmp(const char*, const char*);
int _vsnwprintf(wchar_t*, size_t, const wchar_t*, va_list);
int _vscwprintf(const wchar_t*, va_list);
extern "C" size_t wcsnlen(const wchar_t*, size_t) noexcept;
#endif

#include "windows_store.h"

#endif
