// CIconLoader: reads an icon file (.ICO) and makes bitmaps and icons from its images.
//
// Ownership  the loader owns what it has read; bitmaps and icons that it makes are the caller's (DeleteObject,
//            DestroyIcon). Copies share one record: what happens to it is seen by all of them, and the first one that
//            reads again or is destroyed frees it, after which the others have nothing loaded.
// Threads    one thread at a time, for all copies together.
// Errors     return values only; two failures also show a message box, each said below, and the message loop of the box
//            runs inside the call.
//
// Files are not trusted. Reading accepts images whose own headers make no sense; making a bitmap then takes what bytes
// there are, never more, or gives null. An image of more than 2^26 pixels is refused, as the system would refuse it, so
// that a short file cannot take all memory. A read that fails keeps no memory, and making an icon keeps no device
// context: nothing is ever left behind.
//
//     CIconLoader loader;
//     if (!loader.ReadIconFromICOFile(L"\\windows\\city.ico")) return;
//     const HICON hIcon = loader.MakeIconFromResource(0);
#ifndef KORVANE_GRAPHICS_ICON_H
#define KORVANE_GRAPHICS_ICON_H

#include "base/api.h"

#include <windows.h>

// One image of an icon file. Where the image's bytes end before the place that a pointer is for, the pointer is at
// their end.
struct ICONIMAGE
{
    UINT Width;              // pixels, from the image's header; 0 when the image is shorter than a header (40 bytes)
    UINT Height;             // half the header's height
    UINT Colors;             // planes times bits a pixel
    BYTE Reserved[1024];     // not used by reading
    LPBYTE lpBits;           // the image's bytes as they are in the file; owned by the record
    DWORD dwNumBytes;        // how many
    LPBITMAPINFOHEADER lpbi; // at their start
    LPBYTE lpXOR;            // the colour bits, behind header and colour table
    LPBYTE lpAND;            // the mask, one bit a pixel, behind the colour bits
};

// A whole file: one block with as many images as it has, in file order.
struct ICONRESOURCE
{
    BOOL bHasChanged;                      // not read by the loader
    TCHAR szOriginalICOFileName[MAX_PATH]; // the path passed to the reader, cut at 259 characters
    TCHAR szOriginalDLLFileName[MAX_PATH]; // always empty
    UINT nNumImages;
    ICONIMAGE IconImages[1]; // nNumImages of them
};

class KORVANE_API CIconLoader
{
public:
    // Nothing is loaded.
    CIconLoader() = default;
    CIconLoader(const CIconLoader& other);
    CIconLoader& operator=(const CIconLoader& other);
    ~CIconLoader();

    // Reads a file with all its images; nothing is loaded afterwards when it fails, whatever was before. True for a
    // file of no images too. False: the file cannot be opened, is no icon file, ends inside its directory or an image,
    // an image's offset is 0x80000000 or more, memory is out, or the images together have more than 256 MB.
    bool ReadIconFromICOFile(const TCHAR* path);
    // How many images; 0 when nothing is loaded.
    unsigned int GetIconsCount() const;
    // Width and height of image `index` in pixels; 0 and 0 when there is none.
    void GetSize(unsigned int index, SIZE& size);
    // Whether something is loaded.
    bool IsValid() const;

    // The colour bits as a bitmap (a DIB section as the image's header says), the caller's. Null when there is no such
    // image, or none with a header. A header that the system refuses gives null too, shows the system's text for the
    // last error in a box titled "Error", and leaves the height in the image's header halved. (bits a pixel * height *
    // width) / 8 bytes are copied, or as many as there are: the padding of rows is not taken into account.
    HBITMAP MakeBitmapFromResource(unsigned int index);
    // The mask as a bitmap of one bit a pixel, 1 white; the caller's. height * 32 / 8 bytes of it are copied for a
    // width of 32, height * width * 2 / 8 for any other (right for 16, whose rows are padded); fewer, down to half,
    // when there are not as many. Null when there is no such image or not even half; when memory is out, with a message
    // box.
    HBITMAP MakeMaskBitmapFromResource(unsigned int index);
    // Colour bitmap and mask as an icon with the hot spot (16, 16); the caller's. Null when one of them is.
    HICON MakeIconFromResource(unsigned int index);

protected:
    // Frees what is loaded, for all copies.
    void cleanup();
    // The image count of the file, read from its present position, which is then behind the header; 0xFFFFFFFF when it
    // is no icon file.
    unsigned int ReadICOHeader(HANDLE file);
    // Sets everything in `image` that follows from its bytes. Always true.
    bool AdjustIconImagePointers(ICONIMAGE* image);
    // Where image `index` of `record` lies in a file: behind header, directory and the images before it. REQUIRES: the
    // record has `index` images or more.
    DWORD CalculateImageOffset(ICONRESOURCE* record, unsigned int index) const;
    // Bytes of one row of the colour bits, padded to 4; 0 for a negative width.
    static DWORD BytesPerLine(const BITMAPINFOHEADER* header);
    // The place behind header and colour table. It need not lie in the image.
    static LPBYTE FindDIBBits(LPBYTE header);
    // Bytes of the colour table.
    static DWORD PaletteSize(const BITMAPINFOHEADER* header);
    // Colours of the colour table: the low 16 bits of the header's field; when that field is 0, what 1, 4 or 8 bits a
    // pixel can show, and 0 for any other number of bits.
    static WORD DIBNumColors(const BITMAPINFOHEADER* header);

private:
    struct Shared;

    // Image `index`, or null when there is none or it has no header.
    ICONIMAGE* FindImage(unsigned int index) const;
    // Makes this loader one of those that share `pShared`, which may be null.
    void Share(Shared* pShared);
    // Copies when both sides have the bytes, else copies nothing and returns false.
    static bool memcpySave(void* destination, size_t cbDestination, const void* source, size_t cbSource, size_t count);

    Shared* m_pShared = nullptr; // counted by the loaders that share it; null means nothing loaded
};

#endif
