// CPictureReader: the first picture of the input as rows of blue, green and red bytes, through the imaging component.
//
// Threads    the decoding thread, with COM initialised.
// Errors     HRESULTs; std::bad_alloc.
#ifndef KORVANE_IMGDECMP_PICTUREREADER_H
#define KORVANE_IMGDECMP_PICTUREREADER_H

#include "comref.h"
#include "inputstream.h"
#include "outputsize.h"

#include <wincodec.h>

#include <vector>

class CPictureReader
{
public:
    // IMGDECOMP_E_NOIMAGE when the input is no picture or one beyond the pixel limit; the component's code when it is a
    // damaged one. `transparentOverride`: see DecompressImageInfo.
    HRESULT Open(CInputStream& input, COLORREF transparentOverride);
    // Rows from `y` on, without padding: 3 * width bytes each. REQUIRES: Open succeeded; the rows exist.
    HRESULT ReadRows(unsigned int y, unsigned int nRows, BYTE* pbRows);

    PixelSize Size() const { return m_size; }
    IWICImagingFactory* Factory() const { return m_factory.Get(); }

private:
    enum class Layout
    {
        bgr24,  // as it is
        bgra32, // through the component's converter
        grey16, // 16 bits a channel: not converted by the component, which scales them otherwise than 8 bits
        rgb48,
        rgba64,
    };

    void WriteRow(const BYTE* pbFrom, BYTE* pbTo) const;

    CComRef<IWICImagingFactory> m_factory;
    CComRef<IWICBitmapDecoder> m_decoder;
    CComRef<IWICBitmapFrameDecode> m_frame;
    CComRef<IWICFormatConverter> m_converter; // for Layout::bgra32 only
    PixelSize m_size = {};
    Layout m_layout = Layout::bgra32;
    BYTE m_background[3] = {255, 255, 255}; // blue, green, red behind what is transparent
    std::vector<BYTE> m_rows;               // as the component delivers them
};

#endif
