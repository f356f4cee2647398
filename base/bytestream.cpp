#include "base/bytestream.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <exception>
#include <string>

namespace {

bool Overlap(const void* first, size_t firstBytes, const void* second, size_t secondBytes)
{
    const auto a = reinterpret_cast<uintptr_t>(first);
    const auto b = reinterpret_cast<uintptr_t>(second);
    return a < b + secondBytes && b < a + firstBytes;
}

constexpr size_t kBlock = 8; // units, which compilers copy and compare at once

// Copies so many blocks from the beginning and so many up to the end, which may overlap.
template <size_t blocks> inline void CopyEnds(unsigned char* to, const unsigned char* from, size_t bytes)
{
    constexpr size_t kBytes = 2 * kBlock;
    for (size_t i = 0; i < blocks; ++i) std::memcpy(to + i * kBytes, from + i * kBytes, kBytes);
    to += bytes, from += bytes;
    for (size_t i = 1; i <= blocks; ++i) std::memcpy(to - i * kBytes, from - i * kBytes, kBytes);
}

// Copies texts of a usual length without a call of the C library, which takes as long as the copying.
inline void CopyUnits(void* target, const void* source, size_t units)
{
    auto* const to = static_cast<unsigned char*>(target);
    auto* const from = static_cast<const unsigned char*>(source);
    if (units < kBlock || units > 8 * kBlock) {
        std::memcpy(to, from, 2 * units);
    } else if (units <= 2 * kBlock) {
        CopyEnds<1>(to, from, 2 * units);
    } else if (units <= 4 * kBlock) {
        CopyEnds<2>(to, from, 2 * units);
    } else {
        CopyEnds<4>(to, from, 2 * units);
    }
}

// Whether any of the units is zero.
inline bool HasZero(const wchar_t* text, size_t units)
{
    unsigned short zeros[kBlock] = {};
    const auto look = [&](const wchar_t* block) {
        for (size_t i = 0; i < kBlock; ++i) zeros[i] |= block[i] == 0 ? 0xFFFF : 0;
    };
    if (units < kBlock) return std::wmemchr(text, 0, units) != nullptr;
    const size_t last = units - kBlock;
    for (size_t done = 0; done < last; done += kBlock) look(text + done);
    look(text + last);
    uint64_t halves[2];
    static_assert(sizeof halves == sizeof zeros);
    std::memcpy(halves, zeros, sizeof halves);
    return (halves[0] | halves[1]) != 0;
}

} // namespace

const std::type_info* const CByteOutputStream::s_pType = &typeid(CByteOutputStream);

CByteOutputStream::CByteOutputStream(unsigned char* buffer, unsigned long capacity)
    : m_pBuffer(buffer), m_cbCapacity(capacity)
{
}

unsigned long CByteOutputStream::getDataSize()
{
    return m_cbPosition;
}

int CByteOutputStream::getCurrentStreamPosition(long& position)
{
    position = static_cast<long>(m_cbPosition);
    return 1;
}

int CByteOutputStream::setCurrentPosition(long position)
{
    if (static_cast<unsigned long>(position) >= m_cbCapacity) return 0;
    m_cbPosition = static_cast<unsigned long>(position);
    return 1;
}

void CByteOutputStream::WriteByte(unsigned char value)
{
    if (m_cbPosition < m_cbCapacity) {
        m_pBuffer[m_cbPosition] = value;
    } else {
        m_lError = STREAM_E_EOF;
    }
    ++m_cbPosition;
}

void CByteOutputStream::DUMP_CONTENT()
{
    try {
        std::wstring text;
        const unsigned long end = std::min(m_cbPosition, m_cbCapacity);
        for (unsigned long i = 0; i < end; ++i) {
            constexpr const wchar_t* kDigits = L"0123456789ABCDEF";
            if (m_pBuffer[i] > 0xF) text += kDigits[m_pBuffer[i] >> 4];
            text += kDigits[m_pBuffer[i] & 0xF];
            text += L',';
        }
    } catch (const std::exception&) {
        // A block too large for its text: there is nobody to tell.
    }
}

// Takes room for a text of `units` and writes their number; returns where the units go. Null, with nothing changed, when
// the text does not fit whole, or lies in the block itself, where it changes while it is being written.
inline unsigned char* CByteOutputStream::TakeText(size_t units, const void* text, size_t textBytes)
{
    const unsigned long count = static_cast<unsigned long>(units), position = m_cbPosition;
    if (position > m_cbCapacity || sizeof count > m_cbCapacity - position ||
        count > (m_cbCapacity - position - sizeof count) / 2 || Overlap(text, textBytes, m_pBuffer, m_cbCapacity)) {
        return nullptr;
    }
    unsigned char* const place = m_pBuffer + position;
    std::memcpy(place, &count, sizeof count);
    m_cbPosition = position + sizeof count + 2 * count;
    return place + sizeof count;
}

// A text with a zero in it ends there.
bool CByteOutputStream::PutText(COutputStream& stream, const CString& text)
{
    if (!IsPlain(stream)) return false;
    size_t units = text.GetLength();
    if (HasZero(text, units)) units = std::wcslen(text);
    unsigned char* const place = static_cast<CByteOutputStream&>(stream).TakeText(units, text, 2 * units);
    if (place == nullptr) return false;
    CopyUnits(place, text, units);
    return true;
}

bool CByteOutputStream::PutText(COutputStream& stream, const wchar_t* text)
{
    if (!IsPlain(stream)) return false;
    const size_t units = std::wcslen(text);
    unsigned char* const place = static_cast<CByteOutputStream&>(stream).TakeText(units, text, 2 * units);
    if (place == nullptr) return false;
    CopyUnits(place, text, units);
    return true;
}

bool CByteOutputStream::PutText(COutputStream& stream, const char* text)
{
    if (!IsPlain(stream)) return false;
    const size_t units = std::strlen(text);
    unsigned char* place = static_cast<CByteOutputStream&>(stream).TakeText(units, text, units);
    if (place == nullptr) return false;
    for (size_t i = 0; i < units; ++i) {
        *place++ = static_cast<unsigned char>(text[i]);
        *place++ = 0;
    }
    return true;
}

unsigned long CByteOutputStream::PutBytes(COutputStream& stream, const unsigned char* data, unsigned long count)
{
    if (!IsPlain(stream)) return 0;
    CByteOutputStream& self = static_cast<CByteOutputStream&>(stream);
    if (self.m_cbPosition >= self.m_cbCapacity || Overlap(data, count, self.m_pBuffer, self.m_cbCapacity)) return 0;
    const unsigned long fits = std::min(count, self.m_cbCapacity - self.m_cbPosition);
    std::memcpy(self.m_pBuffer + self.m_cbPosition, data, fits);
    self.m_cbPosition += fits;
    return fits;
}

namespace KorvaneIO {

const std::type_info* const CByteInputStream::s_pType = &typeid(CByteInputStream);

CByteInputStream::CByteInputStream(unsigned char* data, unsigned long size) : m_pData(data), m_cbSize(size) {}

void CByteInputStream::Restart()
{
    m_cbPosition = 0;
    m_lError = 0;
}

unsigned char CByteInputStream::ReadByte()
{
    if (m_cbPosition < m_cbSize) return m_pData[m_cbPosition++];
    m_lError = STREAM_E_EOF;
    return 0;
}

int CByteInputStream::ReadBytes(void* data, int count)
{
    if (count < 1 || data == nullptr || m_lError == STREAM_E_EOF || !IsPlain(*this) ||
        Overlap(data, count, m_pData, m_cbSize)) {
        return CInputStream::ReadBytes(data, count);
    }
    const unsigned long there = std::min<unsigned long>(count, m_cbSize - m_cbPosition);
    if (there != 0) std::memcpy(data, m_pData + m_cbPosition, there);
    m_cbPosition += there;
    const int done = static_cast<int>(there);
    return done + CInputStream::ReadBytes(static_cast<unsigned char*>(data) + done, count - done);
}

int CByteInputStream::setCurrentPosition(long position)
{
    if (static_cast<unsigned long>(position) >= m_cbSize) return 0;
    m_cbPosition = static_cast<unsigned long>(position);
    return 1;
}

int CByteInputStream::getCurrentStreamPosition(long& position)
{
    position = static_cast<long>(m_cbPosition);
    return 1;
}

void CByteInputStream::CopyUnits(wchar_t* target, const unsigned char* source, size_t units)
{
    ::CopyUnits(target, source, units);
}

} // namespace KorvaneIO
