// Icon files for the tests: built from parts, and as ImageMagick makes them.
#ifndef KORVANE_TESTS_GRAPHICS_ICON_FILE_H
#define KORVANE_TESTS_GRAPHICS_ICON_FILE_H

#include <windows.h>

#include <string>
#include <vector>

using Bytes = std::vector<BYTE>;

// Bytes of a row of `bits` bits, padded to 4.
constexpr size_t RowBytes(size_t bits)
{
    return (bits + 31) / 32 * 4;
}

// One image: header (height doubled), a table of 2^bits colours for 8 bits and fewer, colour bits and mask. The bytes
// of bits and mask count upwards, so that each says where it comes from.
Bytes MakeImage(int width, int height, int bits);
// The parts of such an image.
size_t ColourBitsAt(int bits);
size_t ColourBitsSize(int width, int height, int bits);

// A file of images, one behind the other; their offsets and sizes in the directory.
Bytes MakeIconFile(const std::vector<Bytes>& images);
void Put16(Bytes& bytes, size_t at, WORD value);
void Put32(Bytes& bytes, size_t at, DWORD value);

void WriteFileTo(const std::wstring& path, const Bytes& bytes);

struct ReferenceIcon
{
    std::string name;
    int size, depth;
    std::wstring path;
    Bytes pixels; // rows from the top; blue, green, red
};
// Icons of a real program.
const std::vector<ReferenceIcon>& ReferenceIcons();

#endif
