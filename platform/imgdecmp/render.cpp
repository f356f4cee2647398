#include "render.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace {

// Bits a pixel of the bitmap. The desktop's bitmaps have no depth of 2.
int StoredDepth(int iBitDepth)
{
    return iBitDepth == 2 ? 4 : iBitDepth;
}

} // namespace

CImageRender::CImageRender(PixelSize original, PixelSize size, int iBitDepth, bool bPromised)
    : m_original(original), m_size(size), m_cbRow((size.width * StoredDepth(iBitDepth) + 31) / 32 * 4),
      m_bPromised(bPromised)
{
    m_info.header.biSize = sizeof(BITMAPINFOHEADER);
    m_info.header.biWidth = size.width;
    m_info.header.biHeight = size.height;
    m_info.header.biPlanes = 1;
    m_info.header.biBitCount = static_cast<WORD>(StoredDepth(iBitDepth));
    m_info.header.biCompression = BI_RGB;
    m_info.header.biSizeImage = m_cbRow * size.height;
}

CImageRender::~CImageRender()
{
    if (m_hBitmap) ::DeleteObject(m_hBitmap);
    if (m_hSecond) ::DeleteObject(m_hSecond);
}

HBITMAP CImageRender::MakeBitmap(BYTE** ppBits) const
{
    void* pBits = nullptr;
    const HBITMAP hBitmap =
        ::CreateDIBSection(nullptr, reinterpret_cast<const BITMAPINFO*>(&m_info), DIB_RGB_COLORS, &pBits, nullptr, 0);
    *ppBits = static_cast<BYTE*>(pBits);
    return hBitmap;
}

bool CImageRender::Create(const std::vector<RGBQUAD>& colours)
{
    std::copy(colours.begin(), colours.end(), m_info.colours);
    m_info.header.biClrUsed = colours.size();
    m_hBitmap = MakeBitmap(&m_pBits);
    if (!m_hBitmap) return false;
    if (m_info.header.biBitCount < 16) return true;
    const std::vector<BYTE> white(3 * m_size.width, 0xFF);
    for (unsigned int y = 0; y < m_size.height; ++y) SetRow(y, white.data());
    return true;
}

void CImageRender::SetRow(unsigned int y, const BYTE* pbRow)
{
    BYTE* const pbTo = m_pBits + m_cbRow * (m_size.height - 1 - y);
    const unsigned int width = m_size.width;
    switch (m_info.header.biBitCount) {
    case 1:
        std::memset(pbTo, 0, m_cbRow);
        for (unsigned int x = 0; x < width; ++x) pbTo[x / 8] |= static_cast<BYTE>(pbRow[x] << (7 - x % 8));
        break;
    case 4:
        std::memset(pbTo, 0, m_cbRow);
        for (unsigned int x = 0; x < width; ++x) pbTo[x / 2] |= static_cast<BYTE>(x % 2 ? pbRow[x] : pbRow[x] << 4);
        break;
    case 8:
        std::memcpy(pbTo, pbRow, width);
        break;
    case 16:
        for (unsigned int x = 0; x < width; ++x, pbRow += 3) {
            const unsigned int pixel = pbRow[0] >> 3 | pbRow[1] >> 3 << 5 | pbRow[2] >> 3 << 10;
            pbTo[2 * x] = static_cast<BYTE>(pixel);
            pbTo[2 * x + 1] = static_cast<BYTE>(pixel >> 8);
        }
        break;
    case 24:
        std::memcpy(pbTo, pbRow, 3 * width);
        break;
    case 32:
        for (unsigned int x = 0; x < width; ++x, pbRow += 3) {
            const DWORD pixel = pbRow[0] | pbRow[1] << 8 | pbRow[2] << 16;
            std::memcpy(pbTo + 4 * x, &pixel, sizeof(pixel));
        }
        break;
    }
}

void CImageRender::Fail()
{
    m_state = State::failed;
    if (m_hBitmap) ::DeleteObject(Take());
    if (m_hSecond) ::DeleteObject(std::exchange(m_hSecond, nullptr));
}

HBITMAP CImageRender::Take()
{
    const HBITMAP hBitmap = m_hBitmap;
    m_hBitmap = nullptr;
    m_pBits = nullptr;
    return hBitmap;
}

void CImageRender::CopyBits(BYTE* pbTo) const
{
    // Whoever has the bitmap may have drawn on it.
    ::GdiFlush();
    std::memcpy(pbTo, m_pBits, m_cbRow * m_size.height);
}

bool CImageRender::PrepareToShare()
{
    m_hSecond = MakeBitmap(&m_pSecondBits);
    return m_hSecond != nullptr;
}

HBITMAP CImageRender::HandOver()
{
    m_bPromised = false;
    if (!m_hSecond) return Take();
    CopyBits(m_pSecondBits);
    return std::exchange(m_hSecond, nullptr);
}

HRESULT CImageRender::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv) return E_POINTER;
    const bool bKnown = riid == IID_IUnknown || riid == IID_IImageRender;
    *ppv = bKnown ? static_cast<IImageRender*>(this) : nullptr;
    if (!bKnown) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG CImageRender::AddRef()
{
    return ::InterlockedIncrement(&m_nReferences);
}

ULONG CImageRender::Release()
{
    const ULONG nLeft = ::InterlockedDecrement(&m_nReferences);
    if (nLeft == 0) delete this;
    return nLeft;
}

HRESULT CImageRender::Readiness() const
{
    if (m_state == State::decoding) return E_PENDING;
    return m_hBitmap ? S_OK : E_FAIL;
}

HRESULT CImageRender::Draw(HDC hdc, RECT* pRect)
{
    if (!m_hBitmap) return m_state == State::decoding ? S_FALSE : E_FAIL;
    const int width = static_cast<int>(m_size.width), height = static_cast<int>(m_size.height);
    const RECT to = pRect ? *pRect : RECT{0, 0, width, height};
    // From the bits, not through a memory context: the bitmap may be selected into one of the caller's.
    ::GdiFlush();
    const int nMode = ::SetStretchBltMode(hdc, COLORONCOLOR);
    const int nRows = ::StretchDIBits(hdc, to.left, to.top, to.right - to.left, to.bottom - to.top, 0, 0, width, height,
                                      m_pBits, reinterpret_cast<const BITMAPINFO*>(&m_info), DIB_RGB_COLORS, SRCCOPY);
    ::SetStretchBltMode(hdc, nMode);
    return nRows > 0 ? S_OK : E_FAIL;
}

HRESULT CImageRender::GetBitmap(HBITMAP* phBitmap, BOOL fTake)
{
    if (!phBitmap) return E_POINTER;
    *phBitmap = nullptr;
    const HRESULT hr = Readiness();
    if (FAILED(hr)) return hr;
    if (fTake && m_bPromised) {
        BYTE* pBits = nullptr;
        *phBitmap = MakeBitmap(&pBits);
        if (!*phBitmap) return E_OUTOFMEMORY;
        CopyBits(pBits);
    } else {
        *phBitmap = fTake ? Take() : m_hBitmap;
    }
    return S_OK;
}

HRESULT CImageRender::GetOrigWidth(int* pnWidth)
{
    if (!pnWidth) return E_POINTER;
    *pnWidth = static_cast<int>(m_original.width);
    return S_OK;
}

HRESULT CImageRender::GetOrigHeight(int* pnHeight)
{
    if (!pnHeight) return E_POINTER;
    *pnHeight = static_cast<int>(m_original.height);
    return S_OK;
}

HRESULT CImageRender::GetBits(unsigned char** ppBits)
{
    if (!ppBits) return E_POINTER;
    *ppBits = nullptr;
    const HRESULT hr = Readiness();
    if (SUCCEEDED(hr)) *ppBits = m_pBits;
    return hr;
}

HRESULT CImageRender::ImageFail(BOOL* pfFailed)
{
    if (!pfFailed) return E_POINTER;
    *pfFailed = m_state == State::failed;
    return S_OK;
}
