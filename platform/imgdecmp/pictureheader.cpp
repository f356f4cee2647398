#include "pictureheader.h"

#include "outputsize.h"

#include <cstring>

namespace {

constexpr size_t kMaxDirectory = 4096; // entries of a TIFF directory, far more than there are tags

bool StartsWith(CInputStream& input, size_t at, const char* pszMagic, size_t cb)
{
    const BYTE* pb = input.Peek(at, cb);
    return pb && std::memcmp(pb, pszMagic, cb) == 0;
}

unsigned int Little16(const BYTE* pb)
{
    return pb[0] | pb[1] << 8;
}

unsigned int Little32(const BYTE* pb)
{
    return Little16(pb) | Little16(pb + 2) << 16;
}

unsigned int Big16(const BYTE* pb)
{
    return pb[0] << 8 | pb[1];
}

unsigned int Big32(const BYTE* pb)
{
    return Big16(pb) << 16 | Big16(pb + 2);
}

constexpr char kPngMagic[] = "\x89PNG\r\n\x1A\n";

bool IsPngSound(CInputStream& input, size_t at)
{
    const BYTE* pb = input.Peek(at, 24);
    return pb && std::memcmp(pb + 12, "IHDR", 4) == 0 && IsWithinLimit({Big32(pb + 16), Big32(pb + 20)});
}

bool IsJpegSound(CInputStream& input)
{
    for (size_t at = 2;;) {
        const BYTE* pb = input.Peek(at, 2);
        if (!pb) return false;
        const BYTE marker = pb[1];
        // Between segments everything up to the next 0xFF is skipped, as decoders do; 0xFF itself may repeat.
        if (pb[0] != 0xFF || marker == 0xFF || marker == 0) {
            ++at;
            continue;
        }
        at += 2;
        if (marker == 0x01 || (marker >= 0xD0 && marker <= 0xD8)) continue; // stand alone
        const bool bFrame = marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
        pb = input.Peek(at, bFrame ? 7 : 2);
        if (!pb || marker == 0xD9 || marker == 0xDA || Big16(pb) < 2) return false; // no frame before the data
        if (bFrame) return IsWithinLimit({Big16(pb + 5), Big16(pb + 3)});
        at += Big16(pb);
    }
}

// Behind a row of GIF sub-blocks; 0 when the data ends inside.
size_t SkipSubBlocks(CInputStream& input, size_t at)
{
    for (;;) {
        const BYTE* pb = input.Peek(at, 1);
        if (!pb) return 0;
        at += 1 + *pb;
        if (*pb == 0) return at;
    }
}

size_t ColourTableSize(BYTE flags)
{
    return flags & 0x80 ? 3u << ((flags & 7) + 1) : 0;
}

bool IsGifSound(CInputStream& input)
{
    const BYTE* pb = input.Peek(0, 13);
    if (!pb) return false;
    for (size_t at = 13 + ColourTableSize(pb[10]); at != 0;) {
        pb = input.Peek(at, 2);
        if (pb && pb[0] == 0x21) { // an extension
            at = SkipSubBlocks(input, at + 2);
            continue;
        }
        pb = input.Peek(at, 10);
        if (!pb || pb[0] != 0x2C || !IsWithinLimit({Little16(pb + 5), Little16(pb + 7)})) return false;
        at = SkipSubBlocks(input, at + 10 + ColourTableSize(pb[9]) + 1);
        if (at) input.EndAt(at, 0x3B);
        return at != 0;
    }
    return false;
}

// The header of a bitmap at `at`; in an icon it counts the rows of both masks.
bool IsBitmapSound(CInputStream& input, size_t at, bool bIcon)
{
    const BYTE* pb = input.Peek(at, 16);
    if (!pb) return false;
    const unsigned int size = Little32(pb);
    if (size < 16) return size == 12 && !bIcon && IsWithinLimit({Little16(pb + 4), Little16(pb + 6)});
    const int width = static_cast<int>(Little32(pb + 4));
    const int height = static_cast<int>(Little32(pb + 8));
    const unsigned int bits = Little16(pb + 14);
    pb = input.Peek(at, 36);
    // A colour table longer than the depth can use: its claimed size is what decoders allocate.
    if (!pb || (bits <= 8 && Little32(pb + 32) > 256)) return false;
    const unsigned int rows = height < 0 ? 0u - static_cast<unsigned int>(height) : static_cast<unsigned int>(height);
    return width > 0 && IsWithinLimit({static_cast<unsigned int>(width), bIcon ? rows / 2 : rows});
}

bool IsIconSound(CInputStream& input)
{
    const BYTE* pb = input.Peek(0, 22);
    if (!pb) return false;
    const unsigned int nCount = Little16(pb + 4);
    // Any of the pictures may be looked at, so each of them must be sound.
    for (unsigned int i = 0; i < nCount; ++i) {
        pb = input.Peek(6 + 16 * i, 16);
        if (!pb) return false;
        const size_t at = Little32(pb + 12);
        if (StartsWith(input, at, kPngMagic, 8) ? !IsPngSound(input, at) : !IsBitmapSound(input, at, true))
            return false;
    }
    return nCount > 0;
}

bool IsTiffSound(CInputStream& input, bool bLittle)
{
    const auto word = [&](const BYTE* pb) { return bLittle ? Little16(pb) : Big16(pb); };
    const auto dword = [&](const BYTE* pb) { return bLittle ? Little32(pb) : Big32(pb); };
    const BYTE* pb = input.Peek(4, 4);
    if (!pb) return false;
    const size_t directory = dword(pb);
    pb = input.Peek(directory, 2);
    if (!pb) return false;
    const unsigned int nEntries = word(pb);
    if (nEntries > kMaxDirectory) return false;
    unsigned int width = 0, height = 0, tileWidth = 1, tileHeight = 1, samples = 1;
    for (unsigned int i = 0; i < nEntries; ++i) {
        pb = input.Peek(directory + 2 + 12 * i, 12);
        if (!pb) return false;
        const unsigned int value = word(pb + 2) == 3 ? word(pb + 8) : dword(pb + 8);
        switch (word(pb)) {
        case 256:
            width = value;
            break;
        case 257:
            height = value;
            break;
        case 277:
            samples = value;
            break;
        case 322:
            tileWidth = value;
            break;
        case 323:
            tileHeight = value;
            break;
        }
    }
    return IsWithinLimit({width, height}) && IsWithinLimit({tileWidth, tileHeight}) && samples <= 16;
}

} // namespace

PictureKind CheckHeader(CInputStream& input)
{
    bool bSound = true;
    if (StartsWith(input, 0, "GIF8", 4)) return IsGifSound(input) ? PictureKind::gif : PictureKind::refused;
    if (StartsWith(input, 0, kPngMagic, 8))
        bSound = IsPngSound(input, 0);
    else if (StartsWith(input, 0, "\xFF\xD8", 2))
        bSound = IsJpegSound(input);
    else if (StartsWith(input, 0, "BM", 2))
        bSound = IsBitmapSound(input, 14, false);
    else if (StartsWith(input, 0, "II*\0", 4))
        bSound = IsTiffSound(input, true);
    else if (StartsWith(input, 0, "MM\0*", 4))
        bSound = IsTiffSound(input, false);
    else if (StartsWith(input, 0, "\0\0\1\0", 4))
        bSound = IsIconSound(input);
    return bSound ? PictureKind::other : PictureKind::refused;
}
