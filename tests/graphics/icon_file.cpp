#include "icon_file.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace {

Bytes ReadWholeFile(const std::wstring& path)
{
    FILE* const file = ::_wfopen(path.c_str(), L"rb");
    if (!file) {
        std::fprintf(stderr, "no file %ls\n", path.c_str());
        std::exit(1);
    }
    Bytes data;
    BYTE part[4096];
    while (const size_t cb = std::fread(part, 1, sizeof(part), file)) data.insert(data.end(), part, part + cb);
    std::fclose(file);
    return data;
}

} // namespace

size_t ColourBitsAt(int bits)
{
    return sizeof(BITMAPINFOHEADER) + (bits <= 8 ? sizeof(RGBQUAD) << bits : 0);
}

size_t ColourBitsSize(int width, int height, int bits)
{
    return RowBytes(width * bits) * height;
}

Bytes MakeImage(int width, int height, int bits)
{
    Bytes image(ColourBitsAt(bits) + ColourBitsSize(width, height, bits) + RowBytes(width) * height);
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof(header);
    header.biWidth = width;
    header.biHeight = 2 * height;
    header.biPlanes = 1;
    header.biBitCount = static_cast<WORD>(bits);
    std::memcpy(image.data(), &header, sizeof(header));
    for (size_t i = sizeof(header); i < ColourBitsAt(bits); ++i) {
        image[i] = static_cast<BYTE>(i % 4 == 3 ? 0 : i * 37); // the fourth byte of a colour is 0
    }
    for (size_t i = ColourBitsAt(bits); i < image.size(); ++i) image[i] = static_cast<BYTE>(i * 7 + i / 256);
    return image;
}

void Put16(Bytes& bytes, size_t at, WORD value)
{
    std::memcpy(&bytes[at], &value, sizeof(value));
}

void Put32(Bytes& bytes, size_t at, DWORD value)
{
    std::memcpy(&bytes[at], &value, sizeof(value));
}

Bytes MakeIconFile(const std::vector<Bytes>& images)
{
    Bytes file(6 + 16 * images.size());
    Put16(file, 2, 1);
    Put16(file, 4, static_cast<WORD>(images.size()));
    for (size_t i = 0; i < images.size(); ++i) {
        Put32(file, 6 + 16 * i + 8, images[i].size());
        Put32(file, 6 + 16 * i + 12, file.size());
        file.insert(file.end(), images[i].begin(), images[i].end());
    }
    return file;
}

void WriteFileTo(const std::wstring& path, const Bytes& bytes)
{
    FILE* const file = ::_wfopen(path.c_str(), L"wb");
    if (!file || (!bytes.empty() && std::fwrite(bytes.data(), 1, bytes.size(), file) != bytes.size())) {
        std::fprintf(stderr, "cannot write %ls\n", path.c_str());
        std::exit(1);
    }
    std::fclose(file);
}

const std::vector<ReferenceIcon>& ReferenceIcons()
{
    static const std::vector<ReferenceIcon> all = [] {
        const std::wstring folder = KORVANE_ICONS;
        const Bytes list = ReadWholeFile(folder + L"icons.txt");
        std::istringstream lines(std::string(list.begin(), list.end()));
        std::vector<ReferenceIcon> icons;
        ReferenceIcon icon;
        while (lines >> icon.name >> icon.size >> icon.depth) {
            const std::wstring path = folder + std::wstring(icon.name.begin(), icon.name.end());
            icon.path = path + L".ico";
            icon.pixels = ReadWholeFile(path + L".bgr");
            icons.push_back(icon);
        }
        return icons;
    }();
    return all;
}
