#ifndef KORVANE_FUZZ_OBJIDL_H
#define KORVANE_FUZZ_OBJIDL_H

#include "unknwn.h"

#define STG_E_INVALIDFUNCTION static_cast<HRESULT>(0x80030001)
#define STG_E_ACCESSDENIED static_cast<HRESULT>(0x80030005)
#define STG_E_INVALIDPOINTER static_cast<HRESULT>(0x80030009)
#define STREAM_SEEK_SET 0
#define STREAM_SEEK_CUR 1
#define STREAM_SEEK_END 2
#define STGTY_STREAM 2
#define STGM_READ 0

inline constexpr IID IID_ISequentialStream = {1, 0, 0, {}}, IID_IStream = {2, 0, 0, {}};

struct STATSTG
{
    DWORD type, grfMode;
    ULARGE_INTEGER cbSize;
};

struct IStream : IUnknown
{
    virtual HRESULT Read(void*, ULONG, ULONG*) = 0;
    virtual HRESULT Write(const void*, ULONG, ULONG*) = 0;
    virtual HRESULT Seek(LARGE_INTEGER, DWORD, ULARGE_INTEGER*) = 0;
    virtual HRESULT SetSize(ULARGE_INTEGER) = 0;
    virtual HRESULT CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) = 0;
    virtual HRESULT Commit(DWORD) = 0;
    virtual HRESULT Revert() = 0;
    virtual HRESULT LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) = 0;
    virtual HRESULT UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) = 0;
    virtual HRESULT Stat(STATSTG*, DWORD) = 0;
    virtual HRESULT Clone(IStream**) = 0;
};

#endif
