// What the tests of the decoder share: pictures, a caller of DecompressImageIndirect, and the pixels of a bitmap.
#ifndef KORVANE_TESTS_IMGDECMP_DECODER_H
#define KORVANE_TESTS_IMGDECMP_DECODER_H

#include <imgdecmp.h>

#include <iosfwd>
#include <string>
#include <vector>

using Bytes = std::vector<BYTE>;

// A file of the folder with the pictures; ends the program when there is none.
Bytes PictureFile(const std::string& name);

struct ReferencePicture
{
    std::string name;
    int width, height;
    int tolerance; // levels
    Bytes pixels;  // rows from the top; blue, green, red
};

void PrintTo(const ReferencePicture& picture, std::ostream* pStream);

// All pictures, with what they decode to.
const std::vector<ReferencePicture>& ReferencePictures();
const ReferencePicture& Reference(const std::string& name);

// A 24-bit picture file with the given rows (from the top; blue, green, red).
Bytes MakeBitmapFile(int width, int height, const Bytes& pixels);

// The largest difference of a channel; 256 when the sizes differ.
int LargestDifference(const Bytes& left, const Bytes& right);

// The average one; 256 when the sizes differ.
double AverageDifference(const Bytes& left, const Bytes& right);

// A call with all its parameters, and what came of it. Decode may be called again and again.
class CDecoder
{
public:
    explicit CDecoder(Bytes data, size_t cbBuffer = 1024);
    ~CDecoder();
    CDecoder(const CDecoder&) = delete;
    CDecoder& operator=(const CDecoder&) = delete;

    HRESULT Decode();
    // Size and pixels of the bitmap (rows from the top; blue, green, red), and its own depth.
    int Width() const { return m_section.dsBm.bmWidth; }
    int Height() const { return m_section.dsBm.bmHeight; }
    int Depth() const { return m_section.dsBm.bmBitsPixel; }
    Bytes Pixels() const;
    BYTE* Bits() const { return static_cast<BYTE*>(m_section.dsBm.bmBits); }
    size_t BytesPerRow() const { return m_section.dsBm.bmWidthBytes; }

    DecompressImageInfo info = {}; // change before Decode
    HBITMAP hBitmap = nullptr;     // phBM's, owned
    std::vector<DWORD> pieces;     // results of pfnGetData
    std::vector<const void*> buffers;
    std::vector<DWORD> asked;
    size_t taken = 0; // bytes of the data

private:
    static DWORD CALLBACK GetData(LPSTR pszBuffer, DWORD dwBufferMax, LPARAM lParam);

    const Bytes m_data;
    Bytes m_buffer;
    DIBSECTION m_section = {};
};

// Objects of this process that GDI counts, and handles.
struct Counts
{
    int gdi, handles;
};
Counts CountObjects();

#endif
