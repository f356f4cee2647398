// bytes.h - small helpers for keys and values: big-endian numbers, short copies without a call, a growing byte buffer.
//
// Ownership  CByteBuffer owns its bytes; pointers into it are good until it grows.
// Threads    none of their own.
// Errors     CByteBuffer throws std::bad_alloc; the API's edge turns that into ERROR_NOT_ENOUGH_MEMORY.
#ifndef KORVANESTORE_BYTES_H
#define KORVANESTORE_BYTES_H

#include "engine.h"

#include <emmintrin.h>
#include <memory>
#include <string.h>

namespace store {

inline void PutBig32(BYTE* p, DWORD dw)
{
    dw = __builtin_bswap32(dw);
    __builtin_memcpy(p, &dw, 4);
}

inline DWORD GetBig32(const BYTE* p)
{
    DWORD dw;
    __builtin_memcpy(&dw, p, 4);
    return __builtin_bswap32(dw);
}

inline void PutBig64(BYTE* p, ULONGLONG ull)
{
    PutBig32(p, static_cast<DWORD>(ull >> 32));
    PutBig32(p + 4, static_cast<DWORD>(ull));
}

inline ULONGLONG GetBig64(const BYTE* p)
{
    return static_cast<ULONGLONG>(GetBig32(p)) << 32 | GetBig32(p + 4);
}

template <class T> inline T Load(const void* p)
{
    T value;
    __builtin_memcpy(&value, p, sizeof value);
    return value;
}

template <class T> inline void Store(void* p, T value)
{
    __builtin_memcpy(p, &value, sizeof value);
}

// Keys and texts are short: a call of the C library's memcpy costs more than the copy.
inline void CopyBytes(BYTE* pTo, const BYTE* pFrom, size_t cb)
{
    if (cb > 256) {
        memcpy(pTo, pFrom, cb);
        return;
    }
    for (; cb >= 16; cb -= 16, pTo += 16, pFrom += 16)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTo), _mm_loadu_si128(reinterpret_cast<const __m128i*>(pFrom)));
    if (cb & 8) {
        Store(pTo, Load<ULONGLONG>(pFrom));
        pTo += 8, pFrom += 8;
    }
    if (cb & 4) {
        Store(pTo, Load<DWORD>(pFrom));
        pTo += 4, pFrom += 4;
    }
    if (cb & 2) {
        Store(pTo, Load<WORD>(pFrom));
        pTo += 2, pFrom += 2;
    }
    if (cb & 1) *pTo = *pFrom;
}

// Characters of one byte as such of two.
inline void WidenBytes(wchar_t* pTo, const BYTE* pFrom, size_t cch)
{
    const __m128i zero = _mm_setzero_si128();
    const auto widen8 = [&](size_t i) {
        const __m128i bytes = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(pFrom + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTo + i), _mm_unpacklo_epi8(bytes, zero));
    };
    const auto widen16 = [&](size_t i) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(pFrom + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTo + i), _mm_unpacklo_epi8(bytes, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTo + i + 8), _mm_unpackhi_epi8(bytes, zero));
    };
    // The last step does the rest, and some of it a second time.
    if (cch >= 16) {
        for (size_t i = 0; i + 16 < cch; i += 16) widen16(i);
        widen16(cch - 16);
    } else if (cch >= 8) {
        widen8(0);
        widen8(cch - 8);
    } else {
        for (size_t i = 0; i < cch; ++i) pTo[i] = pFrom[i];
    }
}

// Bytes as the map orders them: memcmp, then the shorter first. No bytes may be at no address, which is undefined for
// memcmp.
inline int CompareBytes(CBytes left, CBytes right)
{
    const size_t cb = left.cb < right.cb ? left.cb : right.cb;
    const int n = cb ? memcmp(left.p, right.p, cb) : 0;
    return n != 0 ? n : left.cb < right.cb ? -1 : left.cb > right.cb;
}

inline bool StartsWith(CBytes bytes, CBytes prefix)
{
    return bytes.cb >= prefix.cb && (!prefix.cb || memcmp(bytes.p, prefix.p, prefix.cb) == 0);
}

inline bool SameBytes(CBytes left, CBytes right)
{
    return left.cb == right.cb && (!left.cb || memcmp(left.p, right.p, left.cb) == 0);
}

// A growing run of bytes whose first kilobyte needs no allocation.
class CByteBuffer
{
public:
    CByteBuffer() = default;
    CByteBuffer(const CByteBuffer&) = delete;
    CByteBuffer& operator=(const CByteBuffer&) = delete;

    void Clear() { m_cb = 0; }
    BYTE* Data() { return m_p; }
    size_t Size() const { return m_cb; }
    CBytes Bytes() const { return {m_p, m_cb}; }

    // Room for cb bytes in all: as many can then be put in without an exception.
    void Reserve(size_t cb)
    {
        if (m_cbRoom < cb) Grow(cb - m_cb);
    }
    // Room for cb more bytes behind the last one; Commit says how many of them were filled.
    BYTE* Room(size_t cb)
    {
        if (m_cbRoom - m_cb < cb) Grow(cb);
        return m_p + m_cb;
    }
    void Commit(size_t cb) { m_cb += cb; }
    void Append(BYTE b)
    {
        *Room(1) = b;
        ++m_cb;
    }
    void Append(CBytes bytes)
    {
        CopyBytes(Room(bytes.cb), bytes.p, bytes.cb);
        m_cb += bytes.cb;
    }
    // Where there is no memory for them, the old bytes stay.
    void Assign(CBytes bytes)
    {
        Reserve(bytes.cb);
        Clear();
        Append(bytes);
    }

private:
    void Grow(size_t cb)
    {
        const size_t cbRoom = (m_cb + cb) * 2;
        std::unique_ptr<BYTE[]> pNew(new BYTE[cbRoom]);
        memcpy(pNew.get(), m_p, m_cb);
        m_pHeap = std::move(pNew);
        m_p = m_pHeap.get();
        m_cbRoom = cbRoom;
    }

    BYTE m_rgInline[1024];
    std::unique_ptr<BYTE[]> m_pHeap;
    BYTE* m_p = m_rgInline;
    size_t m_cb = 0;
    size_t m_cbRoom = sizeof m_rgInline;
};

} // namespace store

#endif
