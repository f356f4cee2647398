// imgrendr.h - IImageRender: a picture that DecompressImageIndirect is making or has made.
//
// Ownership  an ordinary COM object. It owns its bitmap until GetBitmap hands it over.
// Threads    the one that decodes.
// Errors     E_POINTER for a null out-parameter. E_PENDING: the picture is still being decoded. E_FAIL: the picture
//            could not be decoded, or its bitmap has been handed over.
#ifndef IMGRENDR_H
#define IMGRENDR_H

#include <windows.h>
#include <unknwn.h>

// {59032090-154B-11D1-A9BF-006097DE299B}
inline constexpr IID IID_IImageRender = {0x59032090, 0x154B, 0x11D1, {0xA9, 0xBF, 0x00, 0x60, 0x97, 0xDE, 0x29, 0x9B}};

struct IImageRender : public IUnknown
{
    // Draws the picture, stretched to *pRect (logical units of hdc); at the origin in its own size when pRect is null.
    // Works while the picture is being decoded too and then draws what there is, the rest white; S_FALSE when that is
    // nothing, because a picture of 8 bits or fewer gets its colours at the end.
    virtual HRESULT STDMETHODCALLTYPE Draw(HDC hdc, RECT* pRect) = 0;
    // The bitmap, once it is complete. fTake: the caller owns it (DeleteObject) and this object is without one from
    // then on; during a call that also returns the bitmap through phBM, the caller gets a copy instead. Otherwise it
    // stays this object's and lives as long as it. *phBitmap is NULL after a failure.
    virtual HRESULT STDMETHODCALLTYPE GetBitmap(HBITMAP* phBitmap, BOOL fTake) = 0;
    // The size that the picture has in its file, in pixels, whatever it was scaled to. Known from the first progress
    // call.
    virtual HRESULT STDMETHODCALLTYPE GetOrigWidth(int* pnWidth) = 0;
    virtual HRESULT STDMETHODCALLTYPE GetOrigHeight(int* pnHeight) = 0;
    // The bitmap's bits: rows of a multiple of 4 bytes, the lowest row first. They live as long as the bitmap.
    virtual HRESULT STDMETHODCALLTYPE GetBits(unsigned char** ppBits) = 0;
    // *pfFailed: whether decoding has ended without a picture.
    virtual HRESULT STDMETHODCALLTYPE ImageFail(BOOL* pfFailed) = 0;
};

#endif
