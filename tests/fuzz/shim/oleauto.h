// Automation's texts, dates and variants.
#ifndef KORVANE_FUZZ_OLEAUTO_H
#define KORVANE_FUZZ_OLEAUTO_H

#include "windows.h"

typedef wchar_t* BSTR;
typedef double DATE;
typedef short VARIANT_BOOL;
typedef unsigned short VARTYPE;
#define VARIANT_TRUE static_cast<VARIANT_BOOL>(-1)
#define VARIANT_FALSE static_cast<VARIANT_BOOL>(0)
#define DISP_E_BADVARTYPE static_cast<HRESULT>(0x80020008)

enum VARENUM
{
    VT_EMPTY = 0,
    VT_NULL = 1,
    VT_I2 = 2,
    VT_I4 = 3,
    VT_R4 = 4,
    VT_R8 = 5,
    VT_DATE = 7,
    VT_BSTR = 8,
    VT_BOOL = 11,
    VT_I1 = 16,
    VT_UI1 = 17,
    VT_UI2 = 18,
    VT_UI4 = 19
};

struct VARIANT
{
    VARTYPE vt;
    WORD reserved1, reserved2, reserved3;
    union alignas(8) {
        short iVal;
        USHORT uiVal;
        LONG lVal;
        ULONG ulVal;
        float fltVal;
        double dblVal;
        DATE date;
        BSTR bstrVal;
        VARIANT_BOOL boolVal;
        char cVal;
        BYTE bVal;
    };
};
#define V_VT(p) ((p)->vt)
#define V_I2(p) ((p)->iVal)
#define V_UI2(p) ((p)->uiVal)
#define V_I4(p) ((p)->lVal)
#define V_UI4(p) ((p)->ulVal)
#define V_R8(p) ((p)->dblVal)
#define V_BOOL(p) ((p)->boolVal)
#define V_DATE(p) ((p)->date)
#define V_BSTR(p) ((p)->bstrVal)

struct UDATE
{
    SYSTEMTIME st;
    USHORT wDayOfYear;
};

BSTR SysAllocString(const wchar_t*);
BSTR SysAllocStringLen(const wchar_t*, UINT);
BOOL SysReAllocStringLen(BSTR*, const wchar_t*, UINT);
void SysFreeString(BSTR);
UINT SysStringLen(BSTR);
void VariantInit(VARIANT*);
HRESULT VariantClear(VARIANT*);
HRESULT VariantCopy(VARIANT*, const VARIANT*);
HRESULT VarDateFromUdate(UDATE*, ULONG, DATE*);
HRESULT VarUdateFromDate(DATE, ULONG, UDATE*);

#endif
