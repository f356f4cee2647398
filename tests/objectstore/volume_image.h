// volume_image.h - the bytes of a volume file, as docs/volume-format.md describes them, for tests that change them.
#ifndef KORVANE_TESTS_OBJECTSTORE_VOLUME_IMAGE_H
#define KORVANE_TESTS_OBJECTSTORE_VOLUME_IMAGE_H

#include <windows.h>

#include <cstring>
#include <vector>

constexpr size_t kPageBytes = 4096;
constexpr size_t kHeaderPages[] = {2, 3};
constexpr size_t kHeaderVersion = 8, kHeaderSequence = 16, kHeaderInUse = 20, kHeaderBootMark = 24,
                 kHeaderBootMarkBytes = 16, kHeaderChecksum = 104;

using CImage = std::vector<BYTE>;

inline DWORD ImageWord(const CImage& image, size_t nPage, size_t nOffset)
{
    DWORD dwValue = 0;
    std::memcpy(&dwValue, &image[nPage * kPageBytes + nOffset], sizeof dwValue);
    return dwValue;
}

inline DWORD ImageHalf(const CImage& image, size_t nPage, size_t nOffset)
{
    return ImageWord(image, nPage, nOffset) & 0xFFFF;
}

inline void SetImageWord(CImage& image, size_t nPage, size_t nOffset, DWORD dwValue)
{
    std::memcpy(&image[nPage * kPageBytes + nOffset], &dwValue, sizeof dwValue);
}

// After a change in a header copy.
inline void FixChecksum(CImage& image, size_t nPage)
{
    DWORD dwHash = 0x811C9DC5;
    for (size_t i = 0; i < kHeaderChecksum; ++i) dwHash = (dwHash ^ image[nPage * kPageBytes + i]) * 0x01000193;
    SetImageWord(image, nPage, kHeaderChecksum, dwHash);
}

// What the file looks like to the next run of the operating system.
inline void ChangeBootMark(CImage& image)
{
    for (const size_t nPage : kHeaderPages) {
        for (size_t i = 0; i < kHeaderBootMarkBytes; ++i) image[nPage * kPageBytes + kHeaderBootMark + i] ^= 0x5A;
        FixChecksum(image, nPage);
    }
}

#endif
