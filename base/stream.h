// COutputStream and KorvaneIO::CInputStream: the interfaces through which values are written and read as bytes.
//
// Both know every value type; the bytes of each are fixed and written down in docs/stream-format.md. Where the bytes go
// to or come from is a subclass's business: it implements the pure operations and may override any other. Memory
// streams are in base/bytestream.h.
//
// Ownership  a stream owns nothing; what it is given to read or write stays the caller's. There are no virtual
//            destructors: delete a stream as what it is.
// Threads    one stream on one thread at a time.
// Errors     each stream keeps one error code, 0 while all is well: STREAM_E_EOF when it has run out, 0x80020008
//            (DISP_E_BADVARTYPE) after a variant of an unsupported type. Operators never raise; a value that is cut
//            short reads its missing bytes as 0, so a record can be read whole and the code tested once. Automation
//            calls that fail inside the variant operators are parked with __iRecordErr. Memory that runs out while a
//            CString grows is CString's matter.
//
// Every value travels one byte at a time through WriteByte or ReadByte, and what forwards to another operation does so
// through its virtual slot, so an override is always honoured:
//   char -> unsigned char, short -> unsigned short, long -> unsigned long, int -> long, unsigned int -> unsigned long,
//   bool -> unsigned short, wchar_t -> unsigned short
//   float, double, and the bytes of ReadBytes, WriteBytes and arrays -> unsigned char, byte by byte
//   unsigned char -> one WriteByte or ReadByte; unsigned short and unsigned long -> two and four of them
//   texts -> unsigned long for the count, then unsigned short for each unit; CString -> the UTF-16 text when written
//   variants -> unsigned short for the tag, then the slot of the payload's type
// Only a stream whose class is exactly one of the library's memory streams may do a whole value at once.
//
// A subclass that overrides one operator hides the others of that name; a using-declaration brings them back:
//
//     class CCountingStream : public CByteOutputStream
//     {
//     public:
//         using CByteOutputStream::CByteOutputStream;
//         using CByteOutputStream::operator<<;
//         COutputStream& operator<<(double value) override
//         {
//             ++m_nDoubles;
//             return CByteOutputStream::operator<<(value);
//         }
//         int m_nDoubles = 0;
//     };
#ifndef KORVANE_BASE_STREAM_H
#define KORVANE_BASE_STREAM_H

#include "base/sizedarray.h"

#include <windows.h>
#include <comdef.h>

#include <afx.h>

#include <type_traits>

// The error code of a stream that was read or written past its end.
constexpr long STREAM_E_EOF = static_cast<long>(0x80045000);

class KORVANE_API COutputStream
{
public:
    COutputStream() = default;

    // The size (4 bytes), then the bytes. 1, or 0 when the stream's error code is not 0 behind the size or behind the
    // bytes, or when the array has a size but no data (after an init that failed; the size is written then). A size of
    // 2^31 and more is a negative count: only the size is written, data or not, and the result is 1.
    virtual int operator<<(CSizedArray& array);

    // The others return the stream. Sizes are those of the bytes written.
    virtual COutputStream& operator<<(float value);          // 4 bytes
    virtual COutputStream& operator<<(double value);         // 8 bytes
    virtual COutputStream& operator<<(const CString& value); // as the UTF-16 text: up to its first zero
    virtual COutputStream& operator<<(const wchar_t* text);  // 4 + 2 a unit; null is the empty text
    virtual COutputStream& operator<<(const char* text);     // 4 + 2 a byte, each zero-extended; null is the empty text
    virtual COutputStream& operator<<(bool value);           // 2 bytes, 0 or 1
    virtual COutputStream& operator<<(unsigned int value);   // 4 bytes
    virtual COutputStream& operator<<(int value);            // 4 bytes
    virtual COutputStream& operator<<(unsigned char value);  // 1 byte
    virtual COutputStream& operator<<(char value);           // 1 byte
    virtual COutputStream& operator<<(unsigned short value); // 2 bytes
    virtual COutputStream& operator<<(short value);          // 2 bytes
    virtual COutputStream& operator<<(unsigned long value);  // 4 bytes
    virtual COutputStream& operator<<(long value);           // 4 bytes

    // The number of bytes written so far.
    virtual unsigned long getDataSize() = 0;
    // Where the next byte goes; 1 when `position` was set, else 0.
    virtual int getCurrentStreamPosition(long& position) = 0;
    // 1 when the next byte goes to `position`, 0 when that is refused and nothing has changed.
    virtual int setCurrentPosition(long position) = 0;
    // Stores `code`; 0 clears the error.
    virtual void setError(long code);
    virtual void WriteByte(unsigned char value) = 0;
    // For a debugger; see the subclass.
    virtual void DUMP_CONTENT() = 0;

    // The tag (2 bytes), then the payload: the types EMPTY, NULL, I2, UI2, I4, UI4, R4, R8, DATE, BSTR, BOOL, I1 and
    // UI1. Of any other type the tag alone is written, and the error code becomes 0x80020008. The argument is a copy,
    // which is cleared; making that copy, in the caller, is the one thing here that can throw (_com_error).
    COutputStream& operator<<(_variant_t value);
    // As an unsigned short. Without it a single character would be written as an int.
    COutputStream& operator<<(wchar_t value) { return *this << static_cast<unsigned short>(value); }
    // Pointers to anything but text, counted pointers included, would be written as a bool.
    template <class T>
    std::enable_if_t<(std::is_pointer_v<T> || std::is_member_pointer_v<T> ||
                      (std::is_class_v<T> && std::is_convertible_v<const T&, const volatile void*>)) &&
                         !std::is_convertible_v<const T&, const wchar_t*> &&
                         !std::is_convertible_v<const T&, const char*>,
                     COutputStream&>
    operator<<(T) = delete;

    // Writes bytes until `count` are done or the error code is STREAM_E_EOF, which is looked at before each byte: the
    // one that does not fit is counted too. Returns how many were attempted; 0 when `count` is below 1 or `data` null.
    int WriteBytes(void* data, int count);
    long getError() const { return m_lError; }

protected:
    long m_lError = 0; // for subclasses: WriteByte sets STREAM_E_EOF when there is no room
};

namespace KorvaneIO {

class KORVANE_API CInputStream
{
public:
    CInputStream() = default;

    // 1 when the error code is STREAM_E_EOF, else 0.
    virtual int eof();

    // Each returns the stream. Types and sizes are those that COutputStream writes.
    //
    // A variant with tag 0 or 1 only sets the target's type field: clear a target that holds a text first. A supported
    // tag replaces the target by a value of that type. Any other tag sets the error code 0x80020008 (also over
    // STREAM_E_EOF) and leaves the target untouched.
    virtual CInputStream& operator>>(_variant_t& value);
    virtual CInputStream& operator>>(float& value);
    virtual CInputStream& operator>>(double& value);
    // Zeros within the text are kept. Unchanged when the count itself is cut short; a count of 2^31 or more is an empty
    // text. A text that is cut short is what was there, and one unit from the missing bytes.
    virtual CInputStream& operator>>(CString& value);
    virtual CInputStream& operator>>(bool& value); // true when the first of the two bytes is not 0
    virtual CInputStream& operator>>(unsigned int& value);
    virtual CInputStream& operator>>(int& value);
    virtual CInputStream& operator>>(unsigned char& value);
    virtual CInputStream& operator>>(char& value);
    virtual CInputStream& operator>>(unsigned short& value);
    virtual CInputStream& operator>>(short& value);
    virtual CInputStream& operator>>(unsigned long& value);
    virtual CInputStream& operator>>(long& value);

    // Back to the beginning, with the error code 0.
    virtual void Restart() = 0;
    // The next byte; 0 and the error code STREAM_E_EOF when there is none.
    virtual unsigned char ReadByte() = 0;
    // Reads bytes until `count` are done or the error code is STREAM_E_EOF, which is looked at before each byte: the
    // one that hits the end is stored (as 0) and counted too. Returns how many were attempted; 0 when `count` is below
    // 1 or `data` null.
    virtual int ReadBytes(void* data, int count);
    // 1 when the next byte comes from `position`, 0 when that is refused and nothing has changed.
    virtual int setCurrentPosition(long position) = 0;
    // Where the next byte comes from; 1 when `position` was set, else 0.
    virtual int getCurrentStreamPosition(long& position) = 0;
    // Reads a size (4 bytes) and that many bytes into `array`, whose content is replaced once the size was read. 1, or
    // 0 when the error code is not 0 behind the size or behind the bytes, or when memory is out. A size of 2^31 and more
    // is a negative count: no byte is read, the array has that size and no data unless there is memory for it, and the
    // result is 1.
    virtual int readArray(CSizedArray& array);

    // As an unsigned short.
    CInputStream& operator>>(wchar_t& value)
    {
        unsigned short unit = 0;
        *this >> unit;
        value = unit;
        return *this;
    }
    long getError() const { return m_lError; }

protected:
    long m_lError = 0; // for subclasses: ReadByte sets STREAM_E_EOF at the end, Restart sets 0
};

} // namespace KorvaneIO

#endif
