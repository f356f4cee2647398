#include "picturereader.h"

#include "pictureheader.h"

#include <atomic>
#include <cstring>

namespace {

// Makes a factory by the component's own maker, which saves the look-up of a class in the registry. The component comes
// with the first picture, and stays: a host that shows none does not wait for it to load. Threads that meet here both
// load it, which does no harm.
HRESULT MakeFactory(IWICImagingFactory** ppFactory)
{
    using Maker = HRESULT(WINAPI*)(UINT sdkVersion, IWICImagingFactory * *ppFactory); // exported, but in no header
    static std::atomic<Maker> s_make{nullptr};
    Maker make = s_make;
    if (!make) {
        const HMODULE component = ::LoadLibraryW(L"windowscodecs.dll");
        const FARPROC found = component ? ::GetProcAddress(component, "WICCreateImagingFactory_Proxy") : nullptr;
        if (!found) return HRESULT_FROM_WIN32(::GetLastError());
        make = reinterpret_cast<Maker>(reinterpret_cast<INT_PTR>(found));
        s_make = make;
    }
    return make(WINCODEC_SDK_VERSION, ppFactory);
}

unsigned int Word(const BYTE* pb)
{
    return pb[0] | pb[1] << 8;
}

// From 16 bits to 8. Cut, as other programs do it, whose results are then the same.
BYTE ToByte(unsigned int value)
{
    return static_cast<BYTE>(value / 257);
}

// `value` with an opacity of `alpha` on `background`, all three of 16 bits. The sum stays below 65,535 times 65,535.
unsigned int Blend(unsigned int value, unsigned int alpha, unsigned int background)
{
    return (value * alpha + background * (65535 - alpha) + 32767) / 65535;
}

// The same for 8 bits, cut.
BYTE BlendBytes(unsigned int value, unsigned int alpha, unsigned int background)
{
    return static_cast<BYTE>((value * alpha + background * (255 - alpha)) / 255);
}

} // namespace

HRESULT CPictureReader::Open(CInputStream& input, COLORREF transparentOverride)
{
    const PictureKind kind = CheckHeader(input);
    if (kind == PictureKind::refused) return IMGDECOMP_E_NOIMAGE;
    if (kind == PictureKind::gif && transparentOverride != static_cast<COLORREF>(-1)) {
        m_background[0] = GetBValue(transparentOverride);
        m_background[1] = GetGValue(transparentOverride);
        m_background[2] = GetRValue(transparentOverride);
    }

    HRESULT hr = MakeFactory(m_factory.Receive());
    if (FAILED(hr)) return hr;
    hr = m_factory->CreateDecoderFromStream(&input, nullptr, WICDecodeMetadataCacheOnDemand, m_decoder.Receive());
    if (hr == WINCODEC_ERR_COMPONENTNOTFOUND || hr == WINCODEC_ERR_UNKNOWNIMAGEFORMAT) return IMGDECOMP_E_NOIMAGE;
    if (FAILED(hr)) return hr;
    hr = m_decoder->GetFrame(0, m_frame.Receive());
    if (FAILED(hr)) return hr;
    hr = m_frame->GetSize(&m_size.width, &m_size.height);
    if (FAILED(hr)) return hr;
    if (!IsWithinLimit(m_size)) return IMGDECOMP_E_NOIMAGE;

    GUID format;
    hr = m_frame->GetPixelFormat(&format);
    if (FAILED(hr)) return hr;
    if (format == GUID_WICPixelFormat24bppBGR)
        m_layout = Layout::bgr24;
    else if (format == GUID_WICPixelFormat16bppGray)
        m_layout = Layout::grey16;
    else if (format == GUID_WICPixelFormat48bppRGB)
        m_layout = Layout::rgb48;
    else if (format == GUID_WICPixelFormat64bppRGBA)
        m_layout = Layout::rgba64;
    else {
        m_layout = Layout::bgra32;
        hr = m_factory->CreateFormatConverter(m_converter.Receive());
        if (FAILED(hr)) return hr;
        hr = m_converter->Initialize(m_frame.Get(), GUID_WICPixelFormat32bppBGRA, WICBitmapDitherTypeNone, nullptr, 0,
                                     WICBitmapPaletteTypeCustom);
    }
    return hr;
}

HRESULT CPictureReader::ReadRows(unsigned int y, unsigned int nRows, BYTE* pbRows)
{
    static constexpr unsigned int kPixelSize[] = {3, 4, 2, 6, 8}; // bytes, in the order of Layout
    const WICRect rect = {0, static_cast<INT>(y), static_cast<INT>(m_size.width), static_cast<INT>(nRows)};
    const unsigned int cbTo = 3 * m_size.width;
    if (m_layout == Layout::bgr24) return m_frame->CopyPixels(&rect, cbTo, nRows * cbTo, pbRows);

    const unsigned int cbFrom = kPixelSize[static_cast<int>(m_layout)] * m_size.width;
    m_rows.resize(static_cast<size_t>(cbFrom) * nRows);
    IWICBitmapSource* const source =
        m_converter.Get() ? static_cast<IWICBitmapSource*>(m_converter.Get()) : m_frame.Get();
    const HRESULT hr = source->CopyPixels(&rect, cbFrom, m_rows.size(), m_rows.data());
    if (FAILED(hr)) return hr;
    for (unsigned int i = 0; i < nRows; ++i) WriteRow(m_rows.data() + i * cbFrom, pbRows + i * cbTo);
    return S_OK;
}

void CPictureReader::WriteRow(const BYTE* pbFrom, BYTE* pbTo) const
{
    for (const BYTE* const pbEnd = pbTo + 3 * m_size.width; pbTo < pbEnd; pbTo += 3) {
        switch (m_layout) {
        case Layout::bgr24:
            break; // never comes here
        case Layout::bgra32:
            if (pbFrom[3] == 255) {
                std::memcpy(pbTo, pbFrom, 3);
            } else {
                for (int i = 0; i < 3; ++i) {
                    pbTo[i] = BlendBytes(pbFrom[i], pbFrom[3], m_background[i]);
                }
            }
            pbFrom += 4;
            break;
        case Layout::grey16:
            pbTo[0] = pbTo[1] = pbTo[2] = ToByte(Word(pbFrom));
            pbFrom += 2;
            break;
        case Layout::rgb48:
            for (int i = 0; i < 3; ++i) pbTo[2 - i] = ToByte(Word(pbFrom + 2 * i));
            pbFrom += 6;
            break;
        case Layout::rgba64:
            for (int i = 0; i < 3; ++i) {
                pbTo[2 - i] = ToByte(Blend(Word(pbFrom + 2 * i), Word(pbFrom + 6), 257u * m_background[2 - i]));
            }
            pbFrom += 8;
            break;
        }
    }
}
