#include "inputstream.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace {

// Data without an end ends here. More would not fit in a 32-bit process beside the picture.
constexpr unsigned long long kMaxInput = 256u << 20;

} // namespace

CInputStream::CInputStream(const DecompressImageInfo& info)
    : m_info(info), m_bytes(info.pbBuffer, info.pbBuffer + info.dwBufferCurrent)
{
}

void CInputStream::FetchUpTo(unsigned long long cb)
{
    while (!m_bEnded && m_bytes.size() < std::min(cb, kMaxInput)) {
        const DWORD cbGot =
            m_info.pfnGetData(reinterpret_cast<char*>(m_info.pbBuffer), m_info.dwBufferMax, m_info.lParam);
        m_bOverrun = cbGot > m_info.dwBufferMax;
        m_bEnded = cbGot == 0 || m_bOverrun;
        if (!m_bEnded) m_bytes.insert(m_bytes.end(), m_info.pbBuffer, m_info.pbBuffer + cbGot);
    }
    if (m_bytes.size() >= kMaxInput) m_bEnded = true;
}

const BYTE* CInputStream::Peek(size_t at, size_t cb)
{
    FetchUpTo(static_cast<unsigned long long>(at) + cb);
    return at <= m_bytes.size() && cb <= m_bytes.size() - at ? m_bytes.data() + at : nullptr;
}

void CInputStream::EndAt(size_t cb, BYTE last)
{
    m_bytes.resize(cb);
    m_bytes.push_back(last);
    m_bEnded = true;
}

HRESULT CInputStream::QueryInterface(REFIID riid, void** ppv)
{
    if (!ppv) return E_POINTER;
    const bool bKnown = riid == IID_IUnknown || riid == IID_ISequentialStream || riid == IID_IStream;
    *ppv = bKnown ? static_cast<IStream*>(this) : nullptr;
    if (!bKnown) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

ULONG CInputStream::AddRef()
{
    return ::InterlockedIncrement(&m_nReferences);
}

ULONG CInputStream::Release()
{
    const ULONG nLeft = ::InterlockedDecrement(&m_nReferences);
    if (nLeft == 0) delete this;
    return nLeft;
}

HRESULT CInputStream::Read(void* pv, ULONG cb, ULONG* pcbRead)
try {
    if (pcbRead) *pcbRead = 0;
    if (!pv) return STG_E_INVALIDPOINTER;
    FetchUpTo(m_position + cb);
    if (m_position >= m_bytes.size()) return cb ? S_FALSE : S_OK;
    const ULONG cbRead = static_cast<ULONG>(std::min<unsigned long long>(cb, m_bytes.size() - m_position));
    std::memcpy(pv, m_bytes.data() + m_position, cbRead);
    m_position += cbRead;
    if (pcbRead) *pcbRead = cbRead;
    return cbRead == cb ? S_OK : S_FALSE;
} catch (const std::bad_alloc&) {
    m_bOutOfMemory = true;
    return E_OUTOFMEMORY;
}

HRESULT CInputStream::Seek(LARGE_INTEGER move, DWORD dwOrigin, ULARGE_INTEGER* pPosition)
try {
    unsigned long long origin = 0;
    if (dwOrigin == STREAM_SEEK_CUR) {
        origin = m_position;
    } else if (dwOrigin == STREAM_SEEK_END) {
        FetchUpTo(kMaxInput);
        origin = m_bytes.size();
    } else if (dwOrigin != STREAM_SEEK_SET) {
        return STG_E_INVALIDFUNCTION;
    }
    // In unsigned arithmetic, so that nothing can overflow in the undefined sense: a negative result is a huge one.
    const unsigned long long position = origin + static_cast<unsigned long long>(move.QuadPart);
    if (position > MAXLONG) return STG_E_INVALIDFUNCTION;
    m_position = position;
    if (pPosition) pPosition->QuadPart = position;
    return S_OK;
} catch (const std::bad_alloc&) {
    m_bOutOfMemory = true;
    return E_OUTOFMEMORY;
}

HRESULT CInputStream::Stat(STATSTG* pStat, DWORD)
try {
    if (!pStat) return STG_E_INVALIDPOINTER;
    FetchUpTo(kMaxInput);
    *pStat = {};
    pStat->type = STGTY_STREAM;
    pStat->cbSize.QuadPart = m_bytes.size();
    pStat->grfMode = STGM_READ;
    return S_OK;
} catch (const std::bad_alloc&) {
    m_bOutOfMemory = true;
    return E_OUTOFMEMORY;
}
