// The platform's functions for the native build, but for files: bitmaps are blocks of exactly the bytes that they
// have, so that the sanitizer sees every step beyond them.
#include "target.h"

#include <afx.h>
#include <comdef.h>

#include <ctype.h>
#include <strings.h>
#include <time.h>

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <new>
#include <string>
#include <vector>

// ---- Wide text: the C library's own functions take a wchar_t of 32 bits --------------------------------------------

extern "C" {
size_t wcslen(const wchar_t* p) noexcept
{
    size_t n = 0;
    while (p[n]) ++n;
    return n;
}
size_t wcsnlen(const wchar_t* p, size_t cch) noexcept
{
    size_t n = 0;
    while (n < cch && p[n]) ++n;
    return n;
}
int wcscmp(const wchar_t* a, const wchar_t* b) noexcept
{
    while (*a && *a == *b) ++a, ++b;
    return *a - *b;
}
wchar_t* wcsncpy(wchar_t* to, const wchar_t* from, size_t n) noexcept
{
    size_t i = 0;
    for (; i < n && from[i]; ++i) to[i] = from[i];
    for (; i < n; ++i) to[i] = 0;
    return to;
}
wchar_t* wmemcpy(wchar_t* to, const wchar_t* from, size_t n) noexcept
{
    return static_cast<wchar_t*>(memcpy(to, from, n * sizeof *to));
}
wchar_t* wmemmove(wchar_t* to, const wchar_t* from, size_t n) noexcept
{
    return static_cast<wchar_t*>(memmove(to, from, n * sizeof *to));
}
wchar_t* wmemset(wchar_t* to, wchar_t ch, size_t n) noexcept
{
    for (size_t i = 0; i < n; ++i) to[i] = ch;
    return to;
}
int wmemcmp(const wchar_t* a, const wchar_t* b, size_t n) noexcept
{
    for (size_t i = 0; i < n; ++i)
        if (a[i] != b[i]) return a[i] < b[i] ? -1 : 1;
    return 0;
}
}
// The headers declare these two as pairs of overloads over the C library's symbols.
extern "C" wchar_t* FuzzWcschr(const wchar_t* p, wchar_t ch) noexcept __asm__("wcschr");
wchar_t* FuzzWcschr(const wchar_t* p, wchar_t ch) noexcept
{
    for (; *p != ch; ++p)
        if (!*p) return nullptr;
    return const_cast<wchar_t*>(p);
}
extern "C" wchar_t* FuzzWmemchr(const wchar_t* p, wchar_t ch, size_t n) noexcept __asm__("wmemchr");
wchar_t* FuzzWmemchr(const wchar_t* p, wchar_t ch, size_t n) noexcept
{
    for (; n; ++p, --n)
        if (*p == ch) return const_cast<wchar_t*>(p);
    return nullptr;
}

int _isctype(int ch, int)
{
    return (ch >= 9 && ch <= 13) || ch == ' ' || ch == 0xA0;
}
int _stricmp(const char* a, const char* b)
{
    return strcasecmp(a, b);
}
// For the formats that the readers themselves use: numbers.
int _vscwprintf(const wchar_t* format, va_list args)
{
    return _vsnwprintf(nullptr, 0x7FFFFFFF, format, args);
}
int _vsnwprintf(wchar_t* to, size_t cch, const wchar_t* format, va_list args)
{
    std::string narrow;
    for (; *format; ++format) narrow += static_cast<char>(*format);
    char text[512];
    const int length = vsnprintf(text, sizeof text, narrow.c_str(), args);
    if (length < 0 || static_cast<size_t>(length) > cch) return -1;
    for (int i = 0; to && i < length; ++i) to[i] = static_cast<unsigned char>(text[i]);
    if (to && static_cast<size_t>(length) < cch) to[length] = 0;
    return length;
}
// std::to_wstring
extern "C" int vswprintf(wchar_t* to, size_t cch, const wchar_t* format, va_list args) noexcept
{
    return _vsnwprintf(to, cch, format, args);
}
DWORD CharLowerBuffW(LPWSTR p, DWORD n)
{
    for (DWORD i = 0; i < n; ++i)
        if (p[i] < 0x80) p[i] = tolower(p[i]);
    return n;
}
DWORD CharUpperBuffW(LPWSTR p, DWORD n)
{
    for (DWORD i = 0; i < n; ++i)
        if (p[i] < 0x80) p[i] = toupper(p[i]);
    return n;
}
int MultiByteToWideChar(UINT, DWORD, LPCSTR p, int cb, LPWSTR to, int cch)
{
    if (cb < 0) cb = static_cast<int>(strlen(p)) + 1;
    if (cch == 0) return cb;
    const int n = std::min(cb, cch);
    for (int i = 0; i < n; ++i) to[i] = static_cast<unsigned char>(p[i]);
    return n;
}
int CompareStringW(LCID, DWORD, LPCWSTR a, int, LPCWSTR b, int)
{
    const int n = wcscmp(a, b);
    return n < 0 ? 1 : n == 0 ? CSTR_EQUAL : 3;
}

// ---- Errors, resources, messages ------------------------------------------------------------------------------------

static DWORD g_dwLastError;
DWORD GetLastError()
{
    return g_dwLastError;
}
void SetLastError(DWORD dwError)
{
    g_dwLastError = dwError;
}
LONG InterlockedIncrement(volatile LONG* p)
{
    return ++*p;
}
LONG InterlockedDecrement(volatile LONG* p)
{
    return --*p;
}
DWORD FormatMessageW(DWORD, const void*, DWORD, DWORD, LPWSTR, DWORD, va_list*)
{
    return 0;
}
HGLOBAL LocalFree(HGLOBAL p)
{
    free(p);
    return nullptr;
}
int MessageBoxW(HWND, LPCWSTR, LPCWSTR, UINT)
{
    return 1;
}
int AfxMessageBox(LPCWSTR)
{
    return 1;
}
HRSRC FindResourceW(HINSTANCE, LPCWSTR, LPCWSTR)
{
    return nullptr;
}
HGLOBAL LoadResource(HINSTANCE, HRSRC)
{
    return nullptr;
}
void* LockResource(HGLOBAL)
{
    return nullptr;
}
DWORD SizeofResource(HINSTANCE, HRSRC)
{
    return 0;
}
HINSTANCE AFXAPI AfxFindResourceHandle(LPCTSTR, LPCTSTR)
{
    return nullptr;
}
void AFXAPI AfxThrowMemoryException()
{
    throw std::bad_alloc();
}
void AFXAPI AfxThrowInvalidArgException()
{
    abort(); // nobody passes an index out of range
}
void AFXAPI AfxAssertFailedLine(LPCSTR pszFile, int nLine)
{
    fprintf(stderr, "assertion failed: %s(%d)\n", pszFile, nLine);
    abort();
}
void AFXAPI AfxTraceText(LPCTSTR) {}
void __iRecordErr(long) {}

const CRuntimeClass CObject::classCObject = {"CObject", sizeof(CObject), 0xFFFF, nullptr, nullptr, nullptr};
CObject::~CObject() {}
CRuntimeClass* CObject::GetRuntimeClass() const
{
    return const_cast<CRuntimeClass*>(&classCObject);
}
void CObject::Serialize(CArchive&) {}

// ---- Bitmaps --------------------------------------------------------------------------------------------------------

namespace {
struct CSection
{
    BITMAP bitmap;
    std::vector<BYTE> bits;
};
volatile BYTE g_bSink;
} // namespace

HDC CreateCompatibleDC(HDC)
{
    static char s_context;
    return &s_context;
}
BOOL DeleteDC(HDC)
{
    return TRUE;
}
HBITMAP CreateDIBSection(HDC, const BITMAPINFO* pInfo, UINT, void** ppBits, HANDLE, DWORD)
{
    const BITMAPINFOHEADER& header = pInfo->bmiHeader;
    const WORD bits = header.biBitCount;
    const bool bDepth = bits == 1 || bits == 4 || bits == 8 || bits == 16 || bits == 24 || bits == 32;
    if (!bDepth || header.biWidth <= 0 || header.biHeight == 0) return nullptr;
    // The system reads the colours that the header claims, behind the header as long as it claims to be.
    if (bits <= 8) {
        const size_t nMost = size_t(1) << bits;
        const size_t nColours = header.biClrUsed && header.biClrUsed < nMost ? header.biClrUsed : nMost;
        const BYTE* const pColours = reinterpret_cast<const BYTE*>(pInfo) + header.biSize;
        for (size_t i = 0; i < nColours * sizeof(RGBQUAD); ++i) g_bSink = pColours[i];
    }
    const unsigned long long width = header.biWidth, height = llabs(static_cast<long long>(header.biHeight));
    const unsigned long long line = (width * bits + 31) / 32 * 4;
    if (line * height > 16u << 20) return nullptr; // as if memory were out
    CSection* const pSection = new CSection;
    pSection->bits.resize(static_cast<size_t>(line * height));
    pSection->bitmap = {0, header.biWidth, static_cast<LONG>(height), static_cast<LONG>(line),
                        1, bits,           pSection->bits.data()};
    *ppBits = pSection->bits.data();
    return pSection;
}
int GetObjectW(HGDIOBJ h, int, void* pv)
{
    *static_cast<BITMAP*>(pv) = static_cast<CSection*>(h)->bitmap;
    return sizeof(BITMAP);
}
BOOL DeleteObject(HGDIOBJ h)
{
    delete static_cast<CSection*>(h);
    return TRUE;
}
HICON CreateIconIndirect(ICONINFO*)
{
    return new char;
}
BOOL DestroyIcon(HICON h)
{
    delete static_cast<char*>(h);
    return TRUE;
}

// ---- Times ----------------------------------------------------------------------------------------------------------

static constexpr long long kSecondsTo1970 = 11644473600LL;

static long long DaysFromDate(int nYear, int nMonth, int nDay)
{
    nYear -= nMonth <= 2;
    const int era = (nYear >= 0 ? nYear : nYear - 399) / 400;
    const int yearOfEra = nYear - era * 400;
    const int dayOfYear = (153 * (nMonth + (nMonth > 2 ? -3 : 9)) + 2) / 5 + nDay - 1;
    return era * 146097LL + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}
static void DateFromDays(long long nDays, SYSTEMTIME& st)
{
    nDays += 719468;
    const long long era = (nDays >= 0 ? nDays : nDays - 146096) / 146097;
    const int day = static_cast<int>(nDays - era * 146097);
    const int year = (day - day / 1460 + day / 36524 - day / 146096) / 365;
    const int dayOfYear = day - (365 * year + year / 4 - year / 100);
    const int month = (5 * dayOfYear + 2) / 153;
    st.wDay = static_cast<WORD>(dayOfYear - (153 * month + 2) / 5 + 1);
    st.wMonth = static_cast<WORD>(month < 10 ? month + 3 : month - 9);
    st.wYear = static_cast<WORD>(year + era * 400 + (st.wMonth <= 2));
}
BOOL SystemTimeToFileTime(const SYSTEMTIME* p, FILETIME* pft)
{
    if (p->wYear < 1601 || p->wMonth < 1 || p->wMonth > 12 || p->wDay < 1 || p->wDay > 31 || p->wHour > 23 ||
        p->wMinute > 59 || p->wSecond > 59)
        return FALSE;
    const long long seconds =
        DaysFromDate(p->wYear, p->wMonth, p->wDay) * 86400 + p->wHour * 3600 + p->wMinute * 60 + p->wSecond;
    const unsigned long long ticks = static_cast<unsigned long long>(seconds + kSecondsTo1970) * 10000000;
    *pft = {static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    return TRUE;
}
BOOL FileTimeToSystemTime(const FILETIME* pft, SYSTEMTIME* p)
{
    const unsigned long long ticks = static_cast<unsigned long long>(pft->dwHighDateTime) << 32 | pft->dwLowDateTime;
    if (ticks >> 63) return FALSE;
    const long long seconds = static_cast<long long>(ticks / 10000000);
    *p = {};
    DateFromDays(seconds / 86400 - kSecondsTo1970 / 86400, *p);
    p->wHour = static_cast<WORD>(seconds % 86400 / 3600);
    p->wMinute = static_cast<WORD>(seconds % 3600 / 60);
    p->wSecond = static_cast<WORD>(seconds % 60);
    return TRUE;
}
DWORD GetTimeZoneInformation(TIME_ZONE_INFORMATION* p)
{
    *p = {};
    std::fill_n(p->StandardName, 32, L'Z'); // a name that fills its array
    return 0;
}
struct tm* CTime::GetGmtTm(struct tm* ptm) const
{
    const time_t time = m_time;
    return time < 0 ? nullptr : gmtime_r(&time, ptm);
}
struct tm* CTime::GetLocalTm(struct tm* ptm) const
{
    return GetGmtTm(ptm);
}

// ---- Automation -----------------------------------------------------------------------------------------------------

BSTR SysAllocStringLen(const wchar_t* p, UINT cch)
{
    UINT* const block = static_cast<UINT*>(malloc(sizeof(UINT) + (size_t(cch) + 1) * sizeof(wchar_t)));
    if (!block) return nullptr;
    *block = cch * sizeof(wchar_t);
    const BSTR bstr = reinterpret_cast<BSTR>(block + 1);
    if (p) memcpy(bstr, p, cch * sizeof(wchar_t));
    bstr[cch] = 0;
    return bstr;
}
BSTR SysAllocString(const wchar_t* psz)
{
    return psz ? SysAllocStringLen(psz, wcslen(psz)) : nullptr;
}
BOOL SysReAllocStringLen(BSTR* pbstr, const wchar_t* p, UINT cch)
{
    const BSTR old = *pbstr;
    *pbstr = SysAllocStringLen(p, cch);
    SysFreeString(old);
    return TRUE;
}
void SysFreeString(BSTR bstr)
{
    if (bstr) free(reinterpret_cast<UINT*>(bstr) - 1);
}
UINT SysStringLen(BSTR bstr)
{
    return bstr ? reinterpret_cast<UINT*>(bstr)[-1] / sizeof(wchar_t) : 0;
}
void VariantInit(VARIANT* p)
{
    p->vt = VT_EMPTY;
}
HRESULT VariantClear(VARIANT* p)
{
    if (p->vt == VT_BSTR) SysFreeString(p->bstrVal);
    p->vt = VT_EMPTY;
    return S_OK;
}
HRESULT VariantCopy(VARIANT* to, const VARIANT* from)
{
    if (to == from) return S_OK;
    VariantClear(to);
    *to = *from;
    if (from->vt == VT_BSTR) to->bstrVal = SysAllocStringLen(from->bstrVal, SysStringLen(from->bstrVal));
    return S_OK;
}
static constexpr int kDaysFrom1899To1970 = 25569;
HRESULT VarDateFromUdate(UDATE* p, ULONG, DATE* pDate)
{
    const SYSTEMTIME& st = p->st;
    const double time = (st.wHour * 3600 + st.wMinute * 60 + st.wSecond) / 86400.0;
    const double days = static_cast<double>(DaysFromDate(st.wYear, st.wMonth, st.wDay) + kDaysFrom1899To1970);
    *pDate = days < 0 ? days - time : days + time;
    return S_OK;
}
HRESULT VarUdateFromDate(DATE date, ULONG, UDATE* p)
{
    if (!(date > -657435 && date < 2958466)) return E_FAIL;
    const double whole = date < 0 ? -static_cast<double>(static_cast<long long>(-date))
                                  : static_cast<double>(static_cast<long long>(date));
    long long days = static_cast<long long>(whole);
    long long seconds = static_cast<long long>((date < 0 ? whole - date : date - whole) * 86400 + 0.5);
    days += seconds / 86400;
    seconds %= 86400;
    *p = {};
    DateFromDays(days - kDaysFrom1899To1970, p->st);
    p->st.wHour = static_cast<WORD>(seconds / 3600);
    p->st.wMinute = static_cast<WORD>(seconds % 3600 / 60);
    p->st.wSecond = static_cast<WORD>(seconds % 60);
    return S_OK;
}
