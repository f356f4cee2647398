// imgdecmp.h - DecompressImageIndirect: turns a compressed picture into a bitmap.
//
// Formats    what the system's imaging component decodes: PNG, JPEG, GIF and other files of several pictures (the first
//            one), BMP (with its file header), TIFF, ICO and more.
// Ownership  the caller owns the bitmap stored through phBM (DeleteObject) and the reference stored through
// ppImageRender
//            (Release). With both, they are independent of each other.
// Threads    any, several at once; both callbacks come on the calling thread, during the call. The thread need not have
//            initialised COM.
// Errors     the HRESULT; *phBM and *ppImageRender are null after a failure.
#ifndef IMGDECMP_H
#define IMGDECMP_H

#include "imgrendr.h"

// There is no picture in the data.
#define IMGDECOMP_E_NOIMAGE ((HRESULT)0x800B0100L)

// Stores up to dwBufferMax bytes of the compressed picture, the next ones, at szBuffer, which is always the caller's
// own pbBuffer. Returns how many; 0 at the end of the data. It is not asked again after a 0, and never for more than it
// takes to decode the picture. A result above dwBufferMax fails the call.
typedef DWORD(CALLBACK* GETDATAFUNC)(LPSTR szBuffer, DWORD dwBufferMax, LPARAM lParam);
// bComplete FALSE: more of the picture is there. TRUE: all of it; comes once, last, and not at all after a failure.
// pRender is borrowed; AddRef keeps it beyond the call.
typedef void(CALLBACK* PROGRESSFUNC)(IImageRender* pRender, BOOL bComplete, LPARAM lParam);

typedef struct tagDecompressImageInfo
{
    DWORD dwSize;                   // sizeof(DecompressImageInfo) or more
    LPBYTE pbBuffer;                // work buffer for compressed data; not null
    DWORD dwBufferMax;              // its size in bytes; not 0
    DWORD dwBufferCurrent;          // bytes of it that hold the beginning of the picture already
    HBITMAP* phBM;                  // receives the bitmap; may be null
    IImageRender** ppImageRender;   // receives the picture as an object; may be null
    int iBitDepth;                  // bits a pixel of the bitmap: 1, 2, 4, 8, 16, 24 or 32; see below
    LPARAM lParam;                  // handed to both callbacks
    HDC hdc;                        // not looked at: every bitmap has its own colour table
    int iScale;                     // percent of the picture's size, 1 or more; 100 keeps it
    int iMaxWidth;                  // largest width in pixels, 1 or more; applied after the scale,
    int iMaxHeight;                 // and largest height: a larger picture is shrunk and keeps its proportions
    GETDATAFUNC pfnGetData;         // not null
    PROGRESSFUNC pfnImageProgress;  // may be null
    COLORREF crTransparentOverride; // what the transparent pixels of a GIF become; (COLORREF)-1: white
} DecompressImageInfo;

// Decodes the picture that pParams describes. The bitmap is a DIB section, its lowest row first, without transparency:
// what is transparent in the picture lies on white. Width and height are never below 1 pixel.
//
//   iBitDepth  the bitmap
//   32, 24     exact colours; the fourth byte of 32 is 0
//   16         5 bits each of red, green and blue; the top bit is 0
//   8, 4       exact when the picture has at most 256 or 16 colours, else with a colour table made for it, dithered
//   2          4 bits a pixel, since the desktop has no bitmaps of two, but 4 colours at most: exact, or dithered greys
//   1          exact when the picture has at most 2 colours, else dithered black and white
//
// S_OK; E_POINTER (pParams null); E_INVALIDARG (a field out of its range, no way at all to return the picture, more in
// the buffer than its size); IMGDECOMP_E_NOIMAGE (not a picture of a known format, damaged headers, or more than 2^26
// pixels before or after scaling); E_UNEXPECTED (pfnGetData returned more than it was asked for); E_OUTOFMEMORY; else
// the imaging component's code: the picture is cut off or damaged.
//
// Exported by name and at ordinal 1.
extern "C" HRESULT DecompressImageIndirect(DecompressImageInfo* pParams);

// Palettes for a program's own use, each of 256 colours: the decoder gives every bitmap a colour table made for it. The
// array is the decoder's and lasts as long as the DLL is loaded; any thread may ask. Exported by name.
//
// The one whose index is the colour: bits 7 to 5 red, 4 to 2 green, 1 and 0 blue, each spread over 0 to 255.
extern "C" COLORREF* Get332Palette();
// The colours of the system's halftone palette; null when memory is out.
extern "C" COLORREF* GetHalftonePalette();

static_assert(sizeof(DecompressImageInfo) == 60, "the record's size is fixed by the platform");

#endif
