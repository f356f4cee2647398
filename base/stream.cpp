#include "base/stream.h"

#include "base/bytestream.h"

// Bytewise parts stand outside the operators, so that whole values, which are most, do not pay for their registers.
namespace {

[[gnu::noinline]] COutputStream& WriteBytewise(COutputStream& stream, unsigned long value, int bits)
{
    for (int shift = 0; shift < bits; shift += 8) stream.WriteByte(static_cast<unsigned char>(value >> shift));
    return stream;
}

[[gnu::noinline]] unsigned long ReadBytewise(KorvaneIO::CInputStream& stream, int bits)
{
    unsigned long value = 0;
    for (int shift = 0; shift < bits; shift += 8) value |= static_cast<unsigned long>(stream.ReadByte()) << shift;
    return value;
}

// What goes through another type's slot.
template <class Slot, class T>
[[gnu::noinline]] KorvaneIO::CInputStream& ReadAs(KorvaneIO::CInputStream& stream, T& value)
{
    Slot slot = 0;
    stream >> slot;
    value = static_cast<T>(slot);
    return stream;
}

} // namespace

int COutputStream::operator<<(CSizedArray& array)
{
    const unsigned long size = array.getSize();
    *this << size;
    if (m_lError != 0) return 0;
    if (size == 0) return 1;
    if (array.isEmpty() && static_cast<long>(size) > 0) return 0;
    WriteBytes(array.getData(), static_cast<int>(size));
    return m_lError == 0;
}

COutputStream& COutputStream::operator<<(unsigned int value)
{
    return CByteOutputStream::Put(*this, value) ? *this : *this << static_cast<unsigned long>(value);
}

COutputStream& COutputStream::operator<<(int value)
{
    return CByteOutputStream::Put(*this, value) ? *this : *this << static_cast<long>(value);
}

COutputStream& COutputStream::operator<<(unsigned char value)
{
    return CByteOutputStream::Put(*this, value) ? *this : WriteBytewise(*this, value, 8);
}

COutputStream& COutputStream::operator<<(char value)
{
    return CByteOutputStream::Put(*this, value) ? *this : *this << static_cast<unsigned char>(value);
}

COutputStream& COutputStream::operator<<(unsigned short value)
{
    return CByteOutputStream::Put(*this, value) ? *this : WriteBytewise(*this, value, 16);
}

COutputStream& COutputStream::operator<<(short value)
{
    return CByteOutputStream::Put(*this, value) ? *this : *this << static_cast<unsigned short>(value);
}

COutputStream& COutputStream::operator<<(unsigned long value)
{
    return CByteOutputStream::Put(*this, value) ? *this : WriteBytewise(*this, value, 32);
}

COutputStream& COutputStream::operator<<(long value)
{
    return CByteOutputStream::Put(*this, value) ? *this : *this << static_cast<unsigned long>(value);
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
    int done = m_lError == STREAM_E_EOF ? 0 : static_cast<int>(CByteOutputStream::PutBytes(*this, bytes, count));
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
    return CByteInputStream::Get(*this, value) ? *this : ReadAs<unsigned long>(*this, value);
}

CInputStream& CInputStream::operator>>(int& value)
{
    return CByteInputStream::Get(*this, value) ? *this : ReadAs<long>(*this, value);
}

CInputStream& CInputStream::operator>>(unsigned char& value)
{
    if (!CByteInputStream::Get(*this, value)) value = static_cast<unsigned char>(ReadBytewise(*this, 8));
    return *this;
}

CInputStream& CInputStream::operator>>(char& value)
{
    return CByteInputStream::Get(*this, value) ? *this : ReadAs<unsigned char>(*this, value);
}

CInputStream& CInputStream::operator>>(unsigned short& value)
{
    if (!CByteInputStream::Get(*this, value)) value = static_cast<unsigned short>(ReadBytewise(*this, 16));
    return *this;
}

CInputStream& CInputStream::operator>>(short& value)
{
    return CByteInputStream::Get(*this, value) ? *this : ReadAs<unsigned short>(*this, value);
}

CInputStream& CInputStream::operator>>(unsigned long& value)
{
    if (!CByteInputStream::Get(*this, value)) value = static_cast<unsigned long>(ReadBytewise(*this, 32));
    return *this;
}

CInputStream& CInputStream::operator>>(long& value)
{
    return CByteInputStream::Get(*this, value) ? *this : ReadAs<unsigned long>(*this, value);
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
    unsigned long size = 0;
    *this >> size;
    if (m_lError != 0) return 0;
    if (!array.init(size) && static_cast<long>(size) > 0) return 0;
    if (size != 0) ReadBytes(array.getData(), static_cast<int>(size));
    return m_lError == 0;
}

} // namespace KorvaneIO
