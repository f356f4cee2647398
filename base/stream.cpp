#include "base/stream.h"

#include "base/bytestream.h"

int COutputStream::operator<<(CSizedArray& array)
{
    const unsigned long size = array.getSize();
    *this << size;
    if (m_lError != 0) return 0;
    if (size == 0) return 1;
    if (array.isEmpty()) return 0;
    WriteBytes(array.getData(), static_cast<int>(size));
    return m_lError == 0;
}

COutputStream& COutputStream::operator<<(unsigned int value)
{
    return *this << static_cast<unsigned long>(value);
}

COutputStream& COutputStream::operator<<(int value)
{
    return *this << static_cast<long>(value);
}

COutputStream& COutputStream::operator<<(unsigned char value)
{
    WriteByte(value);
    return *this;
}

COutputStream& COutputStream::operator<<(char value)
{
    return *this << static_cast<unsigned char>(value);
}

COutputStream& COutputStream::operator<<(unsigned short value)
{
    WriteByte(static_cast<unsigned char>(value));
    WriteByte(static_cast<unsigned char>(value >> 8));
    return *this;
}

COutputStream& COutputStream::operator<<(short value)
{
    return *this << static_cast<unsigned short>(value);
}

COutputStream& COutputStream::operator<<(unsigned long value)
{
    for (int shift = 0; shift < 32; shift += 8) WriteByte(static_cast<unsigned char>(value >> shift));
    return *this;
}

COutputStream& COutputStream::operator<<(long value)
{
    return *this << static_cast<unsigned long>(value);
}

void COutputStream::setError(long code)
{
    m_lError = code;
}

int COutputStream::WriteBytes(void* data, int count)
{
    if (count < 1 || data == nullptr) return 0;
    const unsigned char* bytes = static_cast<const unsigned char*>(data);
    // This operation has no slot that a memory stream could override, so it is asked here.
    int done = m_lError == STREAM_E_EOF ? 0 : static_cast<int>(CByteOutputStream::WriteAtOnce(*this, bytes, count));
    for (; done < count && m_lError != STREAM_E_EOF; ++done) *this << bytes[done];
    return done;
}

namespace KorvaneIO {

int CInputStream::eof()
{
    return m_lError == STREAM_E_EOF;
}

CInputStream& CInputStream::operator>>(unsigned int& value)
{
    unsigned long wide = 0;
    *this >> wide;
    value = wide;
    return *this;
}

CInputStream& CInputStream::operator>>(int& value)
{
    long wide = 0;
    *this >> wide;
    value = wide;
    return *this;
}

CInputStream& CInputStream::operator>>(unsigned char& value)
{
    value = ReadByte();
    return *this;
}

CInputStream& CInputStream::operator>>(char& value)
{
    unsigned char byte = 0;
    *this >> byte;
    value = static_cast<char>(byte);
    return *this;
}

CInputStream& CInputStream::operator>>(unsigned short& value)
{
    const unsigned low = ReadByte();
    const unsigned high = ReadByte();
    value = static_cast<unsigned short>(high << 8 | low);
    return *this;
}

CInputStream& CInputStream::operator>>(short& value)
{
    unsigned short bits = 0;
    *this >> bits;
    value = static_cast<short>(bits);
    return *this;
}

CInputStream& CInputStream::operator>>(unsigned long& value)
{
    unsigned long bits = 0;
    for (int shift = 0; shift < 32; shift += 8) bits |= static_cast<unsigned long>(ReadByte()) << shift;
    value = bits;
    return *this;
}

CInputStream& CInputStream::operator>>(long& value)
{
    unsigned long bits = 0;
    *this >> bits;
    value = static_cast<long>(bits);
    return *this;
}

int CInputStream::ReadBytes(void* data, int count)
{
    if (count < 1 || data == nullptr) return 0;
    unsigned char* bytes = static_cast<unsigned char*>(data);
    int done = 0;
    for (; done < count && m_lError != STREAM_E_EOF; ++done) *this >> bytes[done];
    return done;
}

int CInputStream::readArray(CSizedArray& array)
{
    constexpr unsigned long kNoCount = 0xFFFFFFFF;
    unsigned long size = 0;
    *this >> size;
    if (m_lError != 0) return 0;
    if (!array.init(size) && size != kNoCount) return 0;
    if (size != 0) ReadBytes(array.getData(), static_cast<int>(size));
    return m_lError == 0;
}

} // namespace KorvaneIO
