// CByteOutputStream and KorvaneIO::CByteInputStream: streams over a block of memory of the caller's.
//
// Ownership  the block is the caller's, must outlive the stream, and is never freed. A copy of a stream shares the
//            block and goes on from the same position with the same error code.
// Threads    one stream on one thread at a time.
// Errors     as in base/stream.h. Reading past the end gives zeros, writing past the capacity loses the bytes but
//            counts them; both set STREAM_E_EOF.
//
// A stream of exactly one of these classes reads and writes whole values at once. In a subclass everything goes byte by
// byte through the slots, whichever of them it overrides.
//
//     unsigned char record[64];
//     CByteOutputStream out(record, sizeof record);
//     out << 1234 << 98.5 << true << L"Main Street";
//     if (out.getError() != 0) return;
//
//     KorvaneIO::CByteInputStream in(record, out.getDataSize());
//     int number = 0; double length = 0; bool paved = false; CString name;
//     in >> number >> length >> paved >> name;
//     if (in.eof()) return;
#ifndef KORVANE_BASE_BYTESTREAM_H
#define KORVANE_BASE_BYTESTREAM_H

#include "base/stream.h"

class KORVANE_API CByteOutputStream : public COutputStream
{
public:
    using COutputStream::operator<<;

    // `capacity` is in bytes. A null `buffer` with capacity 0 is allowed: such a stream only counts.
    CByteOutputStream(unsigned char* buffer, unsigned long capacity);

    // The position: after writing from the start, the bytes that the data needs, those that did not fit included.
    unsigned long getDataSize() override;
    int getCurrentStreamPosition(long& position) override;
    // Refused, with 0, unless `position`, taken as unsigned, is below the capacity. Changes the data size as well.
    int setCurrentPosition(long position) override;
    // Past the capacity stores nothing, sets STREAM_E_EOF, and still counts.
    void WriteByte(unsigned char value) override;
    // Formats the bytes from the start up to the position, as far as they are in the block, as "%X," each, into a text
    // of its own and drops that. It is there for a debugger to stop in; nothing is written to the log or elsewhere.
    void DUMP_CONTENT() override;

    COutputStream& operator<<(float value) override;
    COutputStream& operator<<(double value) override;
    COutputStream& operator<<(const CString& value) override;
    COutputStream& operator<<(const wchar_t* text) override;
    COutputStream& operator<<(const char* text) override;
    COutputStream& operator<<(bool value) override;
    COutputStream& operator<<(unsigned int value) override;
    COutputStream& operator<<(int value) override;
    COutputStream& operator<<(unsigned char value) override;
    COutputStream& operator<<(char value) override;
    COutputStream& operator<<(unsigned short value) override;
    COutputStream& operator<<(short value) override;
    COutputStream& operator<<(unsigned long value) override;
    COutputStream& operator<<(long value) override;

private:
    friend class COutputStream; // WriteBytes

    unsigned char* Take(unsigned long bytes);
    template <class T> bool Put(T value);
    unsigned char* TakeText(size_t units, const void* text, size_t textBytes);
    static unsigned long WriteAtOnce(COutputStream& stream, const unsigned char* data, unsigned long count);

    unsigned char* m_pBuffer;       // the caller's; may be null when the capacity is 0
    unsigned long m_cbCapacity;     // bytes in it
    unsigned long m_cbPosition = 0; // of the next byte; beyond the capacity it only counts
};

namespace KorvaneIO {

class KORVANE_API CByteInputStream : public CInputStream
{
public:
    using CInputStream::operator>>;

    // `size` is in bytes. A null `data` with size 0 is allowed.
    CByteInputStream(unsigned char* data, unsigned long size);

    // The only way to clear STREAM_E_EOF.
    void Restart() override;
    unsigned char ReadByte() override;
    int ReadBytes(void* data, int count) override;
    // Refused, with 0, unless `position`, taken as unsigned, is below the size. Does not change the error code.
    int setCurrentPosition(long position) override;
    int getCurrentStreamPosition(long& position) override;

    CInputStream& operator>>(float& value) override;
    CInputStream& operator>>(double& value) override;
    CInputStream& operator>>(CString& value) override;
    CInputStream& operator>>(bool& value) override;
    CInputStream& operator>>(unsigned int& value) override;
    CInputStream& operator>>(int& value) override;
    CInputStream& operator>>(unsigned char& value) override;
    CInputStream& operator>>(char& value) override;
    CInputStream& operator>>(unsigned short& value) override;
    CInputStream& operator>>(short& value) override;
    CInputStream& operator>>(unsigned long& value) override;
    CInputStream& operator>>(long& value) override;

private:
    bool IsPlain() const;
    template <class T> bool Get(T& value);

    unsigned char* m_pData;         // the caller's; may be null when the size is 0
    unsigned long m_cbSize;         // bytes in it
    unsigned long m_cbPosition = 0; // of the next byte, never beyond the size
};

} // namespace KorvaneIO

#endif
