// CImageRender: the bitmap while it is being made, and the object that callers see it through.
//
// Ownership  counted; owns the bitmap until it is taken.
// Threads    the decoding thread.
#ifndef KORVANE_IMGDECMP_RENDER_H
#define KORVANE_IMGDECMP_RENDER_H

#include "colourtable.h"

#include <imgrendr.h>

class CImageRender final : public IImageRender
{
public:
    // iBitDepth as in DecompressImageInfo. bPromised: the bitmap is the caller's through phBM, so that takers get
    // copies.
    CImageRender(PixelSize original, PixelSize size, int iBitDepth, bool bPromised);
    CImageRender(const CImageRender&) = delete;
    CImageRender& operator=(const CImageRender&) = delete;

    // Makes the bitmap, white; one of 8 bits or fewer only now that its colours are known. False when memory is out.
    bool Create(const std::vector<RGBQUAD>& colours);
    // Row `y` from the top: blue, green and red bytes, for 16 bits or more; indexes of colours for fewer.
    // REQUIRES: Create succeeded; y below the height.
    void SetRow(unsigned int y, const BYTE* pbRow);
    // Decoding has ended, with the whole picture in the bitmap.
    void Complete() { m_state = State::complete; }
    // Decoding has ended without it: the bitmap is gone.
    void Fail();
    // This object is returned beside phBM: makes room for a second bitmap. False when memory is out.
    bool PrepareToShare();
    // The bitmap for phBM: the second one after PrepareToShare, with what is in the first one now.
    HBITMAP HandOver();

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE Draw(HDC hdc, RECT* pRect) override;
    HRESULT STDMETHODCALLTYPE GetBitmap(HBITMAP* phBitmap, BOOL fTake) override;
    HRESULT STDMETHODCALLTYPE GetOrigWidth(int* pnWidth) override;
    HRESULT STDMETHODCALLTYPE GetOrigHeight(int* pnHeight) override;
    HRESULT STDMETHODCALLTYPE GetBits(unsigned char** ppBits) override;
    HRESULT STDMETHODCALLTYPE ImageFail(BOOL* pfFailed) override;

private:
    enum class State
    {
        decoding,
        complete,
        failed
    };
    struct Info // a BITMAPINFO with room for all colours
    {
        BITMAPINFOHEADER header;
        RGBQUAD colours[256];
    };

    ~CImageRender();
    // S_OK when there is a complete bitmap, else the reason why not.
    HRESULT Readiness() const;
    HBITMAP MakeBitmap(BYTE** ppBits) const;
    void CopyBits(BYTE* pbTo) const;
    HBITMAP Take();

    const PixelSize m_original;
    const PixelSize m_size;
    const size_t m_cbRow; // of the bitmap, with padding
    Info m_info = {};
    HBITMAP m_hBitmap = nullptr; // owned
    BYTE* m_pBits = nullptr;     // of m_hBitmap
    HBITMAP m_hSecond = nullptr; // owned
    BYTE* m_pSecondBits = nullptr;
    LONG m_nReferences = 1;
    State m_state = State::decoding;
    bool m_bPromised;
};

#endif
