#include "picturereader.h"
#include "render.h"
#include "scaler.h"

#include <imgdecmp.h>

#include <algorithm>
#include <new>

namespace {

constexpr unsigned int kStripBytes = 64 << 10; // of rows read at a time
constexpr unsigned int kMostReports = 16;      // of progress while decoding

// COM for as long as it lives: the calling thread's own if it has one.
class CComScope
{
public:
    CComScope() : m_hr(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~CComScope()
    {
        if (SUCCEEDED(m_hr)) ::CoUninitialize();
    }
    CComScope(const CComScope&) = delete;
    CComScope& operator=(const CComScope&) = delete;

private:
    const HRESULT m_hr;
};

bool IsDepth(int iBitDepth)
{
    static constexpr int kDepths[] = {1, 2, 4, 8, 16, 24, 32};
    return std::find(std::begin(kDepths), std::end(kDepths), iBitDepth) != std::end(kDepths);
}

bool IsValid(const DecompressImageInfo& info)
{
    return info.pbBuffer && info.dwBufferMax && info.dwBufferCurrent <= info.dwBufferMax && info.pfnGetData &&
           (info.phBM || info.ppImageRender || info.pfnImageProgress) && IsDepth(info.iBitDepth) && info.iScale >= 1 &&
           info.iMaxWidth >= 1 && info.iMaxHeight >= 1;
}

// Reads the picture, strip by strip, and hands every row of the bitmap to `sink(y, row)`.
template <class Sink>
HRESULT ReadScaled(CPictureReader& reader, PixelSize size, const DecompressImageInfo& info, CImageRender& render,
                   Sink sink)
{
    const PixelSize from = reader.Size();
    const unsigned int cbRow = 3 * from.width;
    const unsigned int nStrip = std::clamp(kStripBytes / cbRow, 1u, from.height);
    const unsigned int nReport = std::max(nStrip, from.height / kMostReports); // rows from one report to the next
    CScaler scaler(from, size);
    std::vector<BYTE> strip(static_cast<size_t>(cbRow) * nStrip);
    unsigned int nextReport = 0;
    for (unsigned int y = 0; y < from.height;) {
        const unsigned int nRows = std::min(nStrip, from.height - y);
        const HRESULT hr = reader.ReadRows(y, nRows, strip.data());
        if (FAILED(hr)) return hr;
        for (unsigned int i = 0; i < nRows; ++i) scaler.AddRow(strip.data() + i * cbRow, sink);
        y += nRows;
        if (y < nextReport || !info.pfnImageProgress) continue;
        info.pfnImageProgress(&render, FALSE, info.lParam);
        nextReport = y + nReport;
    }
    return S_OK;
}

HRESULT Decode(CPictureReader& reader, PixelSize size, const DecompressImageInfo& info, CImageRender& render)
{
    if (info.iBitDepth >= 16) {
        if (!render.Create({})) return E_OUTOFMEMORY;
        return ReadScaled(reader, size, info, render, [&](unsigned int y, const BYTE* pb) { render.SetRow(y, pb); });
    }
    // The colours depend on the whole picture.
    const size_t cbRow = 3 * size.width;
    std::vector<BYTE> pixels(cbRow * size.height);
    const HRESULT hr = ReadScaled(reader, size, info, render, [&](unsigned int y, const BYTE* pb) {
        std::copy(pb, pb + cbRow, pixels.data() + cbRow * y);
    });
    if (FAILED(hr)) return hr;
    const ColourTable table = MakeColourTable(reader.Factory(), size, pixels.data(), 1u << info.iBitDepth);
    const std::vector<BYTE> indexes = MapToTable(table, size, pixels.data());
    if (!render.Create(table.colours)) return E_OUTOFMEMORY;
    for (unsigned int y = 0; y < size.height; ++y)
        render.SetRow(y, indexes.data() + static_cast<size_t>(size.width) * y);
    return S_OK;
}

// The picture as an object; empty with a failure.
HRESULT MakePicture(const DecompressImageInfo& info, CInputStream& input, CComRef<CImageRender>& render)
{
    CPictureReader reader;
    HRESULT hr = reader.Open(input, info.crTransparentOverride);
    if (FAILED(hr)) return hr;
    const PixelSize size = OutputSize(reader.Size(), info);
    if (!IsWithinLimit(size)) return IMGDECOMP_E_NOIMAGE;
    *render.Receive() = new CImageRender(reader.Size(), size, info.iBitDepth, info.phBM != nullptr);
    hr = Decode(reader, size, info, *render.Get());
    if (FAILED(hr)) return hr;
    return info.phBM && info.ppImageRender && !render->PrepareToShare() ? E_OUTOFMEMORY : S_OK;
}

HRESULT Decompress(const DecompressImageInfo& info)
{
    const CComScope com;
    CComRef<CInputStream> input(new CInputStream(info));
    CComRef<CImageRender> render;
    HRESULT hr;
    try {
        hr = MakePicture(info, *input.Get(), render);
    } catch (const std::bad_alloc&) {
        hr = E_OUTOFMEMORY;
    }
    // The component takes a stream that fails for a picture that is cut off.
    if (FAILED(hr) && input->IsOutOfMemory()) hr = E_OUTOFMEMORY;
    if (input->HasOverrun()) hr = E_UNEXPECTED;
    if (FAILED(hr)) {
        // A callback may have kept a reference.
        if (render.Get()) render->Fail();
        return hr;
    }
    render->Complete();
    // Nothing fails any more.
    if (info.pfnImageProgress) info.pfnImageProgress(render.Get(), TRUE, info.lParam);
    if (info.phBM) *info.phBM = render->HandOver();
    if (info.ppImageRender) *info.ppImageRender = render.Detach();
    return S_OK;
}

} // namespace

extern "C" HRESULT DecompressImageIndirect(DecompressImageInfo* pParams)
try {
    if (!pParams) return E_POINTER;
    if (pParams->dwSize < sizeof(DecompressImageInfo)) return E_INVALIDARG;
    if (pParams->phBM) *pParams->phBM = nullptr;
    if (pParams->ppImageRender) *pParams->ppImageRender = nullptr;
    // A copy: callbacks may change the caller's record.
    const DecompressImageInfo info = *pParams;
    return IsValid(info) ? Decompress(info) : E_INVALIDARG;
} catch (const std::bad_alloc&) {
    return E_OUTOFMEMORY;
}
