// What the tests of the streams share: bytes as text, and blocks whose neighbours cannot be touched.
#ifndef KORVANE_TESTS_BASE_STREAM_SUPPORT_H
#define KORVANE_TESTS_BASE_STREAM_SUPPORT_H

#include "base/bytestream.h"

#include <cstdio>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

// "05 00 FF", the way the documentation writes bytes.
inline std::string Hex(const unsigned char* data, size_t size)
{
    std::string text;
    for (size_t i = 0; i < size; ++i) {
        char byte[4];
        std::snprintf(byte, sizeof byte, i ? " %02X" : "%02X", data[i]);
        text += byte;
    }
    return text;
}

inline std::string Hex(const Bytes& bytes)
{
    return Hex(bytes.data(), bytes.size());
}

inline Bytes FromHex(const std::string& text)
{
    Bytes bytes;
    for (size_t i = 0; i < text.size(); i += 3)
        bytes.push_back(static_cast<unsigned char>(std::stoi(text.substr(i, 2), nullptr, 16)));
    return bytes;
}

// What `write` writes, as text; "(error ...)" when it left an error code.
template <class Write> std::string Encode(Write&& write)
{
    unsigned char block[4096];
    CByteOutputStream out(block, sizeof block);
    write(static_cast<COutputStream&>(out));
    std::string text = Hex(block, out.getDataSize());
    if (out.getError() != 0) text += " (error)";
    return text;
}

template <class T> std::string EncodeValue(const T& value)
{
    return Encode([&](COutputStream& out) { out << value; });
}

// A block of committed memory between two pages that cannot be touched. Data is put against the rear page or behind the
// front one, so that one byte too far on that side is an access violation.
class CGuardedBlock
{
public:
    explicit CGuardedBlock(size_t capacity) : m_cbCapacity((capacity + kPage - 1) / kPage * kPage)
    {
        m_pReserved =
            static_cast<unsigned char*>(::VirtualAlloc(nullptr, m_cbCapacity + 2 * kPage, MEM_RESERVE, PAGE_NOACCESS));
        if (m_pReserved == nullptr || !::VirtualAlloc(m_pReserved + kPage, m_cbCapacity, MEM_COMMIT, PAGE_READWRITE))
            std::abort();
    }
    ~CGuardedBlock() { ::VirtualFree(m_pReserved, 0, MEM_RELEASE); }
    CGuardedBlock(const CGuardedBlock&) = delete;
    CGuardedBlock& operator=(const CGuardedBlock&) = delete;

    unsigned char* AtFront() { return m_pReserved + kPage; }
    unsigned char* AtRear(size_t size) { return m_pReserved + kPage + m_cbCapacity - size; }

private:
    static constexpr size_t kPage = 4096;

    size_t m_cbCapacity;
    unsigned char* m_pReserved = nullptr; // owned
};

// Memory streams that go byte by byte, because they are subclasses; otherwise they must behave as those of the library.
class CBytewiseOutput : public CByteOutputStream
{
public:
    using CByteOutputStream::CByteOutputStream;
};

class CBytewiseInput : public KorvaneIO::CByteInputStream
{
public:
    using KorvaneIO::CByteInputStream::CByteInputStream;
};

#endif
