#include "base/bytestream.h"

#include <algorithm>
#include <cstring>
#include <cwchar>
#include <exception>
#include <string>
#include <typeinfo>

// A subclass may have overridden any slot, and then nothing but going byte by byte through the slots is right. So
// values are done at once only when the dynamic type is the class itself. Addresses of type records are compared, not
// the records: two records of one class could at worst cost speed.
namespace {

bool Overlap(const void* first, size_t firstBytes, const void* second, size_t secondBytes)
{
    const auto a = reinterpret_cast<uintptr_t>(first);
    const auto b = reinterpret_cast<uintptr_t>(second);
    return a < b + secondBytes && b < a + firstBytes;
}

constexpr size_t kBlock = 8; // units, which compilers copy and compare at once

// Copies texts of a usual length without a call of the C library, which takes as long as the copying.
inline void CopyUnits(void* target, const void* source, size_t units)
{
    constexpr size_t kUsual = 64;
    auto* const to = static_cast<unsigned char*>(target);
    auto* const from = static_cast<const unsigned char*>(source);
    if (units < kBlock || units > kUsual) {
        std::memcpy(to, from, 2 * units);
        return;
    }
    const size_t last = units - kBlock;
    for (size_t done = 0; done < last; done += kBlock) std::memcpy(to + 2 * done, from + 2 * done, 2 * kBlock);
    std::memcpy(to + 2 * last, from + 2 * last, 2 * kBlock);
}

inline bool HasZero(const wchar_t* block)
{
    unsigned short zeros = 0;
    for (size_t i = 0; i < kBlock; ++i) zeros |= block[i] == 0 ? 0xFFFF : 0;
    return zeros != 0;
}

// Copies a text of `units` as far as its first zero; returns the units copied. Nothing is written behind them.
inline size_t CopyUntilZero(unsigned char* place, const wchar_t* text, size_t units)
{
    size_t done = 0;
    while (done + kBlock <= units && !HasZero(text + done)) {
        std::memcpy(place + 2 * done, text + done, 2 * kBlock);
        done += kBlock;
        // What is left is less than a block: the last one begins within what is already copied.
        if (done < units && done + kBlock > units) done = units - kBlock;
    }
    for (; done < units && text[done] != 0; ++done) std::memcpy(place + 2 * done, text + done, sizeof *text);
    return done;
}

} // namespace

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

// Room for `bytes` at the position, which moves behind them; null, with nothing changed, when a value has to go byte by
// byte: because it does not fit whole or because this is a subclass.
inline unsigned char* CByteOutputStream::Take(unsigned long bytes)
{
    if (&typeid(*this) != &typeid(CByteOutputStream)) return nullptr;
    if (m_cbPosition > m_cbCapacity || bytes > m_cbCapacity - m_cbPosition) return nullptr;
    unsigned char* const place = m_pBuffer + m_cbPosition;
    m_cbPosition += bytes;
    return place;
}

template <class T> inline bool CByteOutputStream::Put(T value)
{
    unsigned char* const place = Take(sizeof value);
    if (place == nullptr) return false;
    std::memcpy(place, &value, sizeof value);
    return true;
}

// Takes room for a text of `units` and writes their number; returns where the units go. A text that lies in the block
// itself goes byte by byte, as it changes while it is being written.
inline unsigned char* CByteOutputStream::TakeText(size_t units, const void* text, size_t textBytes)
{
    const unsigned long count = static_cast<unsigned long>(units);
    if (count > m_cbCapacity / 2 || Overlap(text, textBytes, m_pBuffer, m_cbCapacity)) return nullptr;
    unsigned char* const place = Take(sizeof count + 2 * count);
    if (place == nullptr) return nullptr;
    std::memcpy(place, &count, sizeof count);
    return place + sizeof count;
}

unsigned long CByteOutputStream::WriteAtOnce(COutputStream& stream, const unsigned char* data, unsigned long count)
{
    if (&typeid(stream) != &typeid(CByteOutputStream)) return 0;
    CByteOutputStream& self = static_cast<CByteOutputStream&>(stream);
    if (self.m_cbPosition >= self.m_cbCapacity || Overlap(data, count, self.m_pBuffer, self.m_cbCapacity)) return 0;
    const unsigned long fits = std::min(count, self.m_cbCapacity - self.m_cbPosition);
    std::memcpy(self.m_pBuffer + self.m_cbPosition, data, fits);
    self.m_cbPosition += fits;
    return fits;
}

COutputStream& CByteOutputStream::operator<<(float value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(double value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(const CString& value)
{
    const unsigned long length = value.GetLength();
    unsigned char* const place = TakeText(length, value, length * sizeof(wchar_t));
    if (place == nullptr) return COutputStream::operator<<(value);
    const unsigned long units = CopyUntilZero(place, value, length);
    if (units != length) {
        // The text has a zero in it and ends there.
        std::memcpy(place - sizeof units, &units, sizeof units);
        m_cbPosition -= 2 * (length - units);
    }
    return *this;
}

COutputStream& CByteOutputStream::operator<<(const wchar_t* text)
{
    if (text == nullptr) text = L"";
    const size_t units = std::wcslen(text);
    unsigned char* const place = TakeText(units, text, units * sizeof *text);
    if (place == nullptr) return COutputStream::operator<<(text);
    CopyUnits(place, text, units);
    return *this;
}

COutputStream& CByteOutputStream::operator<<(const char* text)
{
    if (text == nullptr) text = "";
    const size_t units = std::strlen(text);
    unsigned char* place = TakeText(units, text, units);
    if (place == nullptr) return COutputStream::operator<<(text);
    for (size_t i = 0; i < units; ++i) {
        *place++ = static_cast<unsigned char>(text[i]);
        *place++ = 0;
    }
    return *this;
}

COutputStream& CByteOutputStream::operator<<(bool value)
{
    return Put(static_cast<unsigned short>(value)) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(unsigned int value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(int value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(unsigned char value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(char value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(unsigned short value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(short value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(unsigned long value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

COutputStream& CByteOutputStream::operator<<(long value)
{
    return Put(value) ? *this : COutputStream::operator<<(value);
}

namespace KorvaneIO {

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

inline bool CByteInputStream::IsPlain() const
{
    return &typeid(*this) == &typeid(CByteInputStream);
}

template <class T> inline bool CByteInputStream::Get(T& value)
{
    if (!IsPlain() || sizeof value > m_cbSize - m_cbPosition) return false;
    std::memcpy(&value, m_pData + m_cbPosition, sizeof value);
    m_cbPosition += sizeof value;
    return true;
}

int CByteInputStream::ReadBytes(void* data, int count)
{
    if (count < 1 || data == nullptr || m_lError == STREAM_E_EOF || !IsPlain() ||
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

CInputStream& CByteInputStream::operator>>(float& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(double& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(CString& value)
{
    if (!IsPlain()) return CInputStream::operator>>(value);
    unsigned long count = 0;
    if (!Get(count)) CInputStream::operator>>(count);
    if (m_lError == STREAM_E_EOF) return *this;
    if (static_cast<long>(count) <= 0) {
        value.Empty();
        return *this;
    }

    // The units that are there at once; when the text is cut short, one more from the bytes that are missing.
    const unsigned long there = std::min(count, (m_cbSize - m_cbPosition) / 2);
    const int length = static_cast<int>(there < count ? there + 1 : there);
    // The old text's buffer will do when it is large enough and not so large that a short text would hold on to much.
    constexpr int kSpare = 64;
    if (value.GetAllocLength() < length || value.GetAllocLength() - length > kSpare) value.Empty();
    wchar_t* const text = value.GetBufferSetLength(length);
    CopyUnits(text, m_pData + m_cbPosition, there);
    m_cbPosition += there * 2;
    if (there < count) {
        unsigned short cut = 0;
        CByteInputStream::operator>>(cut);
        text[there] = cut;
    }
    return *this;
}

CInputStream& CByteInputStream::operator>>(bool& value)
{
    unsigned short bits;
    if (!Get(bits)) return CInputStream::operator>>(value);
    value = (bits & 0xFF) != 0;
    return *this;
}

CInputStream& CByteInputStream::operator>>(unsigned int& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(int& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(unsigned char& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(char& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(unsigned short& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(short& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(unsigned long& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

CInputStream& CByteInputStream::operator>>(long& value)
{
    return Get(value) ? *this : CInputStream::operator>>(value);
}

} // namespace KorvaneIO
