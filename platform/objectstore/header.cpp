#include "header.h"

#include <cstring>
#include <vector>

namespace store {

namespace {

constexpr char kMagic[8] = {'K', 'O', 'R', 'V', 'A', 'N', 'E', 'V'};
constexpr DWORD kFirstHeaderPage = 2;
constexpr DWORD kNewVolumePages = 16;

DWORD Checksum(const CVolumeHeader& header)
{
    DWORD dwHash = 0x811c9dc5;
    const BYTE* p = reinterpret_cast<const BYTE*>(&header);
    for (size_t i = 0; i < offsetof(CVolumeHeader, dwChecksum); i++) dwHash = (dwHash ^ p[i]) * 0x01000193;
    return dwHash;
}

} // namespace

DWORD GetSize(HANDLE file, DWORD& cb)
{
    LARGE_INTEGER cbFile;
    if (!::GetFileSizeEx(file, &cbFile)) return ::GetLastError();
    cb = cbFile.HighPart ? 0xFFFFFFFF : cbFile.LowPart;
    return ERROR_SUCCESS;
}

DWORD ReadAt(HANDLE file, DWORD dwOffset, void* p, DWORD cb)
{
    DWORD cbRead = 0;
    if (::SetFilePointer(file, static_cast<LONG>(dwOffset), nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER ||
        !::ReadFile(file, p, cb, &cbRead, nullptr)) {
        return ::GetLastError();
    }
    return cbRead == cb ? ERROR_SUCCESS : ERROR_HANDLE_EOF;
}

DWORD WriteAt(HANDLE file, DWORD dwOffset, const void* p, DWORD cb)
{
    DWORD cbWritten = 0;
    if (::SetFilePointer(file, static_cast<LONG>(dwOffset), nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER ||
        !::WriteFile(file, p, cb, &cbWritten, nullptr)) {
        return ::GetLastError();
    }
    return cbWritten == cb ? ERROR_SUCCESS : ERROR_DISK_FULL;
}

DWORD ReadHeader(const BYTE* pPages, CVolumeHeader& header)
{
    bool bFound = false, bOtherVersion = false;
    for (int i = 0; i < 2; i++) {
        CVolumeHeader copy;
        std::memcpy(&copy, pPages + i * kPageBytes, sizeof copy);
        if (std::memcmp(copy.rgMagic, kMagic, sizeof kMagic) != 0) continue;
        if (copy.dwVersion != kFormatVersion) {
            bOtherVersion = true;
        } else if (copy.dwChecksum == Checksum(copy) && copy.dwPageBytes == kPageBytes) {
            // The difference, not the numbers: they may have come round.
            if (!bFound || static_cast<LONG>(copy.dwSequence - header.dwSequence) > 0) header = copy;
            bFound = true;
        }
    }
    return bFound ? ERROR_SUCCESS : bOtherVersion ? ERROR_REVISION_MISMATCH : ERROR_FILE_CORRUPT;
}

DWORD WriteHeader(HANDLE file, CVolumeHeader& header)
{
    header.dwSequence++;
    header.dwChecksum = Checksum(header);
    const DWORD dwPage = kFirstHeaderPage + (header.dwSequence & 1);
    const DWORD dwError = WriteAt(file, dwPage * kPageBytes, &header, sizeof header);
    if (dwError != ERROR_SUCCESS) return dwError;
    return ::FlushFileBuffers(file) ? ERROR_SUCCESS : ::GetLastError();
}

DWORD FormatVolume(HANDLE file)
{
    if (::SetFilePointer(file, 0, nullptr, FILE_BEGIN) == INVALID_SET_FILE_POINTER || !::SetEndOfFile(file)) {
        return ::GetLastError();
    }
    CVolumeHeader header = {};
    std::memcpy(header.rgMagic, kMagic, sizeof kMagic);
    header.dwVersion = kFormatVersion;
    header.dwPageBytes = kPageBytes;
    kv_empty_state(&header.flushed);

    std::vector<BYTE> image(kNewVolumePages * kPageBytes);
    kv_build_metas(&header.flushed, static_cast<DWORD>(image.size()), image.data());
    DWORD dwError = WriteAt(file, 0, image.data(), static_cast<DWORD>(image.size()));
    // Two headers, so that the next one never replaces the only one.
    if (dwError == ERROR_SUCCESS) dwError = WriteHeader(file, header);
    if (dwError == ERROR_SUCCESS) dwError = WriteHeader(file, header);
    return dwError;
}

DWORD RestoreFlushed(HANDLE file, const CVolumeHeader& header)
{
    DWORD cbFile = 0;
    DWORD dwError = GetSize(file, cbFile);
    if (dwError != ERROR_SUCCESS) return dwError;
    std::vector<BYTE> metas(2 * kPageBytes);
    kv_build_metas(&header.flushed, cbFile, metas.data());
    dwError = WriteAt(file, 0, metas.data(), static_cast<DWORD>(metas.size()));
    if (dwError != ERROR_SUCCESS) return dwError;
    return ::FlushFileBuffers(file) ? ERROR_SUCCESS : ::GetLastError();
}

} // namespace store
