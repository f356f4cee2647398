// Pictures through CVOImage beside the bare imaging component, and an icon file through CIconLoader.
#include "harness.h"

#include "korvanelib.h"

#include <wincodec.h>

namespace {

constexpr UINT kSide = 1024; // of the pictures, in pixels: 2^20 of them
constexpr UINT kRow = 3 * kSide;
using Bytes = std::vector<BYTE>;
using Pixels = std::vector<DWORD>; // blue, green, red and a byte that says nothing

// The one reference to an object of the component; gone with it.
template <class T> class Reference
{
public:
    Reference() = default;
    ~Reference()
    {
        if (m_p) m_p->Release();
    }
    Reference(const Reference&) = delete;
    Reference& operator=(const Reference&) = delete;

    T* operator->() const { return m_p; }
    T* Get() const { return m_p; }
    T** Receive() { return &m_p; }

private:
    T* m_p = nullptr;
};

void Check(HRESULT hr, const char* what)
{
    if (FAILED(hr)) bench::Fail(what);
}

// A folder of this process's own, gone with its files afterwards.
class OwnFolder
{
public:
    OwnFolder()
    {
        wchar_t temp[MAX_PATH] = L"";
        ::GetTempPathW(MAX_PATH, temp);
        m_strPath.Format(L"%lskorvane-bench-%lu", temp, ::GetCurrentProcessId());
        if (!::CreateDirectoryW(m_strPath, nullptr)) bench::Fail("cannot make a folder for temporary files");
    }
    ~OwnFolder()
    {
        for (const CString& file : m_files) ::DeleteFileW(file);
        ::RemoveDirectoryW(m_strPath);
    }
    CString File(const wchar_t* name)
    {
        m_files.push_back(m_strPath + L"\\" + name);
        return m_files.back();
    }

private:
    CString m_strPath;
    std::vector<CString> m_files;
};

// A bitmap of 32 bits a pixel; height negative: rows from the top.
HBITMAP MakeSection(int width, int height, DWORD** bits)
{
    BITMAPINFO info = {};
    info.bmiHeader = {sizeof(info.bmiHeader), width, height, 1, 32, BI_RGB, 0, 0, 0, 0, 0};
    void* pv = nullptr;
    const HBITMAP bitmap = ::CreateDIBSection(nullptr, &info, DIB_RGB_COLORS, &pv, nullptr, 0);
    if (!bitmap) bench::Fail("cannot make a bitmap");
    *bits = static_cast<DWORD*>(pv);
    return bitmap;
}

// Soft colours with some grain, as photographs have; rows from the top.
Bytes MakePixels()
{
    Bytes pixels(kRow * kSide);
    unsigned int seed = 1;
    for (UINT y = 0; y < kSide; ++y) {
        for (UINT x = 0; x < kSide; ++x) {
            seed = seed * 1664525 + 1013904223;
            const UINT grain = seed >> 29;
            BYTE* const pixel = &pixels[kRow * y + 3 * x];
            pixel[0] = static_cast<BYTE>(x * 240 / kSide + grain);
            pixel[1] = static_cast<BYTE>(y * 240 / kSide + grain);
            pixel[2] = static_cast<BYTE>((x + y) * 120 / kSide + grain);
        }
    }
    return pixels;
}

void WritePicture(IWICImagingFactory* factory, REFGUID format, const CString& path, const Bytes& pixels)
{
    Reference<IWICStream> stream;
    Reference<IWICBitmapEncoder> encoder;
    Reference<IWICBitmapFrameEncode> frame;
    WICPixelFormatGUID layout = GUID_WICPixelFormat24bppBGR;
    Check(factory->CreateStream(stream.Receive()), "no stream");
    Check(stream->InitializeFromFilename(path, GENERIC_WRITE), "cannot write a picture");
    Check(factory->CreateEncoder(format, nullptr, encoder.Receive()), "no encoder");
    Check(encoder->Initialize(stream.Get(), WICBitmapEncoderNoCache), "no encoding");
    Check(encoder->CreateNewFrame(frame.Receive(), nullptr), "no frame");
    Check(frame->Initialize(nullptr), "no frame");
    Check(frame->SetSize(kSide, kSide), "no size");
    Check(frame->SetPixelFormat(&layout), "no pixel format");
    if (layout != GUID_WICPixelFormat24bppBGR) bench::Fail("another pixel format");
    Check(frame->WritePixels(kSide, kRow, pixels.size(), const_cast<BYTE*>(pixels.data())), "no pixels");
    Check(frame->Commit(), "no end of the frame");
    Check(encoder->Commit(), "no end of the picture");
}

// The least that a program does without the library: the component's rows, copied into a bitmap.
HBITMAP DecodeBare(IWICImagingFactory* factory, const CString& path, DWORD** bits)
{
    Reference<IWICBitmapDecoder> decoder;
    Reference<IWICBitmapFrameDecode> frame;
    Reference<IWICFormatConverter> converter;
    UINT width = 0, height = 0;
    Check(factory->CreateDecoderFromFilename(path, nullptr, GENERIC_READ, WICDecodeMetadataCacheOnDemand,
                                             decoder.Receive()),
          "no decoder");
    Check(decoder->GetFrame(0, frame.Receive()), "no picture");
    Check(frame->GetSize(&width, &height), "no size");
    Check(factory->CreateFormatConverter(converter.Receive()), "no converter");
    Check(converter->Initialize(frame.Get(), GUID_WICPixelFormat32bppBGR, WICBitmapDitherTypeNone, nullptr, 0,
                                WICBitmapPaletteTypeCustom),
          "no conversion");
    const HBITMAP bitmap = MakeSection(width, -static_cast<int>(height), bits);
    Check(converter->CopyPixels(nullptr, 4 * width, 4 * width * height, reinterpret_cast<BYTE*>(*bits)), "no pixels");
    return bitmap;
}

bool IsSameRow(const DWORD* left, const DWORD* right)
{
    DWORD difference = 0;
    for (UINT x = 0; x < kSide; ++x) difference |= left[x] ^ right[x];
    return (difference & 0xFFFFFF) == 0;
}

// Whether an image has these pixels, given from the top; its own rows begin with the lowest.
bool HasPixels(const CVOImage& image, const Pixels& pixels)
{
    BITMAP record = {};
    if (!::GetObjectW(image.GetBitmap(), sizeof record, &record) || record.bmBitsPixel != 32 || !record.bmBits ||
        record.bmWidth != kSide || record.bmHeight != kSide) {
        return false;
    }
    const DWORD* const bits = static_cast<const DWORD*>(record.bmBits);
    bool same = true;
    for (UINT y = 0; y < kSide; ++y) same = IsSameRow(bits + kSide * (kSide - 1 - y), &pixels[kSide * y]) && same;
    return same;
}

void CompareDecoding(const char* title, IWICImagingFactory* factory, HDC dc, const CString& path)
{
    DWORD* bits = nullptr;
    const HBITMAP bitmap = DecodeBare(factory, path, &bits);
    const Pixels expected(bits, bits + kSide * kSide);
    ::DeleteObject(bitmap);

    bench::Comparison decoding(title, "ms a picture", 1e3);
    decoding.Add("`CVOImage`", "`image.Load(dc, path)`: the file in pieces of 1,024 bytes, rows by rows", [&] {
        CVOImage image;
        return image.Load(dc, path) == 1 && HasPixels(image, expected);
    });
    decoding.Add("bare", "the component's decoder on the file, `CopyPixels` into a bitmap; its factory is there", [&] {
        DWORD* rows = nullptr;
        const HBITMAP decoded = DecodeBare(factory, path, &rows);
        bool right = true;
        for (UINT y = 0; y < kSide; ++y) right = IsSameRow(rows + kSide * y, &expected[kSide * y]) && right;
        ::DeleteObject(decoded);
        return right;
    });
    decoding.Run();
    bench::Judge(decoding.Results(), std::string("images: ") + title, "`CVOImage`", "bare", bench::AtMost(1.15));
}

// 16, 32 and 48 pixels, each in 16 colours, 256 and all; the bits count upwards.
Bytes MakeIcon()
{
    struct Header
    {
        WORD reserved, type, count;
    } header = {0, 1, 9};
    struct Entry
    {
        BYTE width, height, colours, reserved;
        WORD planes, bits;
        DWORD size, offset;
    };
    Bytes file(reinterpret_cast<BYTE*>(&header), reinterpret_cast<BYTE*>(&header + 1)), images;
    for (const BYTE side : {16, 32, 48}) {
        for (const WORD bits : {4, 8, 32}) {
            const DWORD table = bits <= 8 ? 4u << bits : 0, maskRow = (side + 31) / 32 * 4;
            BITMAPINFOHEADER info = {sizeof info, side, 2 * side, 1, bits, BI_RGB, 0, 0, 0, 0, 0};
            Bytes image(reinterpret_cast<BYTE*>(&info), reinterpret_cast<BYTE*>(&info + 1));
            image.resize(image.size() + table + side * side * bits / 8 + side * maskRow);
            for (size_t i = sizeof info; i < image.size(); ++i) image[i] = static_cast<BYTE>(i);
            const DWORD offset = sizeof header + header.count * sizeof(Entry) + images.size();
            Entry entry = {side, side, 0, 0, 1, bits, static_cast<DWORD>(image.size()), offset};
            file.insert(file.end(), reinterpret_cast<BYTE*>(&entry), reinterpret_cast<BYTE*>(&entry + 1));
            images.insert(images.end(), image.begin(), image.end());
        }
    }
    file.insert(file.end(), images.begin(), images.end());
    return file;
}

void CompareReading(const CString& path)
{
    const Bytes icon = MakeIcon();
    FILE* const written = ::_wfopen(path, L"wb");
    if (!written || std::fwrite(icon.data(), 1, icon.size(), written) != icon.size() || std::fclose(written) != 0) {
        bench::Fail("cannot write an icon file");
    }
    bench::Comparison reading("Reading an icon file of 9 images", "us a file", 1e6);
    reading.Add("`CIconLoader`", "`loader.ReadIconFromICOFile(path)`: each image by itself", [&] {
        CIconLoader loader;
        SIZE size = {};
        if (!loader.ReadIconFromICOFile(path) || loader.GetIconsCount() != 9) return false;
        loader.GetSize(8, size);
        return size.cx == 48 && size.cy == 48;
    });
    reading.Add("bare", "the whole file with one `ReadFile`, and nothing made of it", [&] {
        const HANDLE file =
            ::CreateFileW(path, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (file == INVALID_HANDLE_VALUE) return false;
        Bytes bytes(::GetFileSize(file, nullptr));
        DWORD got = 0;
        const BOOL read = ::ReadFile(file, bytes.data(), bytes.size(), &got, nullptr);
        ::CloseHandle(file);
        return read && got == icon.size() && bytes[4] == 9;
    });
    reading.Run();
}

} // namespace

int main(int argc, char** argv)
{
    bench::Start(argc, argv);
    static OwnFolder folder; // goes at exit, however the program ends
    bench::PrintText("## Images\n\n"
                     "A picture of 1,024 by 1,024 pixels in a file, decoded into a bitmap of 32 bits a pixel; every "
                     "pixel is compared with\n"
                     "the first decoding. An icon file of 16, 32 and 48 pixels, each in 16 colours, in 256 and in "
                     "32 bits.\n");
    Check(::CoInitializeEx(nullptr, COINIT_MULTITHREADED), "no COM");
    {
        Reference<IWICImagingFactory> factory;
        Check(::CoCreateInstance(CLSID_WICImagingFactory, nullptr, CLSCTX_INPROC_SERVER, IID_IWICImagingFactory,
                                 reinterpret_cast<void**>(factory.Receive())),
              "no imaging component");
        const Bytes pixels = MakePixels();
        const CString jpeg = folder.File(L"picture.jpg"), png = folder.File(L"picture.png");
        WritePicture(factory.Get(), GUID_ContainerFormatJpeg, jpeg, pixels);
        WritePicture(factory.Get(), GUID_ContainerFormatPng, png, pixels);

        const HDC dc = ::CreateCompatibleDC(nullptr);
        if (::GetDeviceCaps(dc, BITSPIXEL) != 32) bench::Fail("the screen has not 32 bits a pixel");
        CompareDecoding("Decoding a JPEG of a megapixel", factory.Get(), dc, jpeg);
        CompareDecoding("Decoding a PNG of a megapixel", factory.Get(), dc, png);
        ::DeleteDC(dc);
    }
    ::CoUninitialize();
    CompareReading(folder.File(L"nine.ico"));
}
