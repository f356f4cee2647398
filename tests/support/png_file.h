// Writes a picture file, for people.
#ifndef KORVANE_TESTS_SUPPORT_PNG_FILE_H
#define KORVANE_TESTS_SUPPORT_PNG_FILE_H

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace png_file_detail {

constexpr std::size_t kMostInBlock = 65535; // bytes of a block that is not compressed

inline void AppendNumber(std::string& bytes, std::uint32_t value)
{
    for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(value >> shift);
}

inline std::uint32_t Crc(const std::string& bytes)
{
    std::uint32_t crc = 0xFFFFFFFF;
    for (const char c : bytes) {
        crc ^= static_cast<std::uint8_t>(c);
        for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ (crc & 1 ? 0xEDB88320 : 0);
    }
    return ~crc;
}

inline std::uint32_t Adler(const std::string& bytes)
{
    std::uint32_t low = 1, high = 0;
    for (const char c : bytes) {
        low = (low + static_cast<std::uint8_t>(c)) % 65521;
        high = (high + low) % 65521;
    }
    return high << 16 | low;
}

// A stream of stored blocks: larger than a compressed one, and no library's business.
inline std::string Stored(const std::string& bytes)
{
    std::string stream("\x78\x01", 2);
    std::size_t at = 0;
    do {
        const std::size_t length = std::min(kMostInBlock, bytes.size() - at);
        const bool last = at + length == bytes.size();
        for (const std::size_t part :
             {std::size_t(last), length & 0xFF, length >> 8, ~length & 0xFF, ~length >> 8 & 0xFF})
            stream += static_cast<char>(part);
        stream.append(bytes, at, length);
        at += length;
    } while (at < bytes.size());
    AppendNumber(stream, Adler(bytes));
    return stream;
}

inline void AppendChunk(std::string& file, const char* type, const std::string& data)
{
    AppendNumber(file, static_cast<std::uint32_t>(data.size()));
    const std::string body = type + data;
    file += body;
    AppendNumber(file, Crc(body));
}

} // namespace png_file_detail

// pixels: 0x00RRGGBB, row by row from the top. False if the file could not be written.
inline bool WritePng(const std::wstring& path, int width, int height, const std::vector<DWORD>& pixels)
{
    using namespace png_file_detail;
    std::string rows;
    for (int y = 0; y < height; ++y) {
        rows += '\0'; // the row is as it is, without a filter
        for (int x = 0; x < width; ++x) {
            const DWORD pixel = pixels.at(static_cast<std::size_t>(y) * width + x);
            for (const int shift : {16, 8, 0}) rows += static_cast<char>(pixel >> shift);
        }
    }
    std::string header;
    AppendNumber(header, static_cast<std::uint32_t>(width));
    AppendNumber(header, static_cast<std::uint32_t>(height));
    header.append("\x08\x02\0\0\0", 5); // 8 bits each of red, green and blue
    std::string bytes("\x89PNG\r\n\x1A\n");
    AppendChunk(bytes, "IHDR", header);
    AppendChunk(bytes, "IDAT", Stored(rows));
    AppendChunk(bytes, "IEND", "");

    const HANDLE file = ::CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    if (file == INVALID_HANDLE_VALUE) return false;
    DWORD written = 0;
    const bool saved =
        ::WriteFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) && written == bytes.size();
    ::CloseHandle(file);
    return saved;
}

#endif
