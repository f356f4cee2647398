#ifndef KORVANE_FUZZ_UNKNWN_H
#define KORVANE_FUZZ_UNKNWN_H

#include "windows.h"

struct IID
{
    DWORD a;
    WORD b, c;
    BYTE d[8];
    bool operator==(const IID& other) const { return std::memcmp(this, &other, sizeof *this) == 0; }
};
typedef const IID& REFIID;
inline constexpr IID IID_IUnknown = {0, 0, 0, {}};

struct IUnknown
{
    virtual HRESULT QueryInterface(REFIID, void**) = 0;
    virtual ULONG AddRef() = 0;
    virtual ULONG Release() = 0;
};

#endif
