// CByteOutputStream and KorvaneIO::CByteInputStream: streams over a block of memory of the caller's.
//
// Ownership  the block is the caller's, must outlive the stream, and is never freed. A copy of a stream shares the
//            block and goes on from the same position with the same error code.
// Threads    one stream on one thread at a time.
// Errors     as in base/stream.h. Reading past the end gives zeros, writing past the capacity loses the bytes but
//            counts them; both set STREAM_E_EOF.
//
// A stream of exactly one of these classes reads and writes whole values at once; where the caller knows it as what it
// is, and not as one of the interfaces, numbers do not even take a call. In a subclass everything goes byte by byte
// through the slots, whichever of them it overrides. Bytes, positions and errors are the same all three ways.
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

#include <cstring>
#include <type_traits>
#include <typeinfo>

namespace KorvaneIO {

template <class T, class... Types> constexpr bool kIsOneOf = (std::is_same_v<T, Types> || ...);
// The types of number that have a slot of their own.
template <class T>
constexpr bool kIsNumber = kIsOneOf<T, float, double, bool, unsigned int, int, unsigned char, char, unsigned short,
                                    short, unsigned long, long>;

} // namespace KorvaneIO

// Both classes leave the interface's operators as they are and have functions beside them that are preferred for an
// object whose static type is the class itself: these give back the class, so that a chain stays with it. A subclass, a
// temporary object and any type that would have to be converted go to the interface's operators.
class KORVANE_API CByteOutputStream : public COutputStream
{
public:
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

    template <class Stream, class T>
    friend std::enable_if_t<std::is_same_v<Stream, CByteOutputStream> && KorvaneIO::kIsNumber<T>, Stream&>
    operator<<(Stream& out, T value)
    {
        if (!Put(out, value)) static_cast<COutputStream&>(out) << value;
        return out;
    }
    template <class Stream, class T>
    friend std::enable_if_t<std::is_same_v<Stream, CByteOutputStream> && std::is_same_v<T, CString>, Stream&>
    operator<<(Stream& out, const T& text)
    {
        if (!PutText(out, text)) static_cast<COutputStream&>(out) << text;
        return out;
    }

private:
    friend class COutputStream;

    // Whether the stream is of exactly this class. A subclass may have overridden any slot, and then nothing but going
    // through the slots is right. Addresses of type records are compared, not the records: a second record of the class
    // could at worst cost speed. A host without such records goes through the slots, where the library finds out.
    static bool IsPlain([[maybe_unused]] const COutputStream& stream)
    {
#ifdef __cpp_rtti
        return &typeid(stream) == s_pType;
#else
        return false;
#endif
    }
    // Values at once: false, with nothing changed, when one has to go byte by byte, because it does not fit whole or
    // because the stream is not plain.
    template <class T> static bool Put(COutputStream& stream, T value)
    {
        if (!IsPlain(stream)) return false;
        CByteOutputStream& self = static_cast<CByteOutputStream&>(stream);
        const unsigned long position = self.m_cbPosition;
        if (position > self.m_cbCapacity || sizeof value > self.m_cbCapacity - position) return false;
        std::memcpy(self.m_pBuffer + position, &value, sizeof value);
        // Behind the value, which for all that the compiler knows might lie anywhere: so it need not read this again.
        self.m_cbPosition = position + sizeof value;
        return true;
    }
    static bool Put(COutputStream& stream, bool value)
    {
        return Put(stream, static_cast<unsigned short>(value));
    }
    static bool PutText(COutputStream& stream, const CString& text);
    static bool PutText(COutputStream& stream, const wchar_t* text);
    static bool PutText(COutputStream& stream, const char* text);
    static unsigned long PutBytes(COutputStream& stream, const unsigned char* data, unsigned long count);
    unsigned char* TakeText(size_t units, const void* text, size_t textBytes);

    static const std::type_info* const s_pType; // the class's own, where its objects find it

    unsigned char* m_pBuffer;       // the caller's; may be null when the capacity is 0
    unsigned long m_cbCapacity;     // bytes in it
    unsigned long m_cbPosition = 0; // of the next byte; beyond the capacity it only counts
};

namespace KorvaneIO {

class KORVANE_API CByteInputStream : public CInputStream
{
public:
    // `size` is in bytes. A null `data` with size 0 is allowed.
    CByteInputStream(unsigned char* data, unsigned long size);

    // The only way to clear STREAM_E_EOF.
    void Restart() override;
    unsigned char ReadByte() override;
    int ReadBytes(void* data, int count) override;
    // Refused, with 0, unless `position`, taken as unsigned, is below the size. Does not change the error code.
    int setCurrentPosition(long position) override;
    int getCurrentStreamPosition(long& position) override;

    template <class Stream, class T>
    friend std::enable_if_t<std::is_same_v<Stream, CByteInputStream> && kIsNumber<T>, Stream&> operator>>(Stream& in,
                                                                                                          T& value)
    {
        if (!Get(in, value)) static_cast<CInputStream&>(in) >> value;
        return in;
    }
    template <class Stream, class T>
    friend std::enable_if_t<std::is_same_v<Stream, CByteInputStream> && std::is_same_v<T, CString>, Stream&>
    operator>>(Stream& in, T& text)
    {
        unsigned long count = 0;
        if (const unsigned char* const units = TakeText(in, count)) {
            SetText(text, units, count);
        } else {
            static_cast<CInputStream&>(in) >> text;
        }
        return in;
    }

private:
    friend class CInputStream;

    // As the output stream's.
    static bool IsPlain([[maybe_unused]] const CInputStream& stream)
    {
#ifdef __cpp_rtti
        return &typeid(stream) == s_pType;
#else
        return false;
#endif
    }
    template <class T> static bool Get(CInputStream& stream, T& value)
    {
        if (!IsPlain(stream)) return false;
        CByteInputStream& self = static_cast<CByteInputStream&>(stream);
        const unsigned long position = self.m_cbPosition;
        if (sizeof value > self.m_cbSize - position) return false;
        std::memcpy(&value, self.m_pData + position, sizeof value);
        self.m_cbPosition = position + sizeof value;
        return true;
    }
    static bool Get(CInputStream& stream, bool& value)
    {
        unsigned short bits = 0;
        if (!Get(stream, bits)) return false;
        value = (bits & 0xFF) != 0;
        return true;
    }
    // The units of a text that is there as a whole, as nearly all are, and their number; else null.
    static const unsigned char* TakeText(CInputStream& stream, unsigned long& count)
    {
        if (!IsPlain(stream) || stream.getError() == STREAM_E_EOF) return nullptr;
        CByteInputStream& self = static_cast<CByteInputStream&>(stream);
        const unsigned long position = self.m_cbPosition, left = self.m_cbSize - position;
        if (left < sizeof count) return nullptr;
        std::memcpy(&count, self.m_pData + position, sizeof count);
        if (count > (left - sizeof count) / 2) return nullptr;
        self.m_cbPosition = position + sizeof count + 2 * count;
        return self.m_pData + position + sizeof count;
    }
    static void SetText(CString& text, const unsigned char* units, unsigned long count)
    {
        // The old text's buffer will do when it is large enough and not so large that a short text would hold on to
        // much.
        constexpr unsigned long kSpare = 64;
        if (count == 0 || text.GetAllocLength() - count > kSpare) text.Empty();
        if (count != 0) CopyUnits(text.GetBufferSetLength(count), units, count);
    }
    static void CopyUnits(wchar_t* target, const unsigned char* source, size_t units);

    static const std::type_info* const s_pType; // the class's own, where its objects find it

    unsigned char* m_pData;         // the caller's; may be null when the size is 0
    unsigned long m_cbSize;         // bytes in it
    unsigned long m_cbPosition = 0; // of the next byte, never beyond the size
};

} // namespace KorvaneIO

#endif
