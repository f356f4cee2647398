// Pictures: the look at the header that decides whether the imaging component may have the file. The bytes come through
// a caller's function that gives pieces of any size, nothing, or the claim of more than there is room for.
#include "target.h"

#include "pictureheader.h"

namespace {

struct CSource
{
    fuzz::CInput data;
    uint32_t dwPieces; // two bits a piece: how much of the buffer it fills
    uint8_t nLieAt;    // the piece that claims too much
    uint8_t nPiece;
};

DWORD CALLBACK GetData(LPSTR pszBuffer, DWORD dwBufferMax, LPARAM lParam)
{
    CSource& source = *reinterpret_cast<CSource*>(lParam);
    if (++source.nPiece == source.nLieAt) return dwBufferMax + 1 + source.nLieAt;
    DWORD cb = dwBufferMax >> (source.dwPieces & 3);
    source.dwPieces = source.dwPieces >> 2 | source.dwPieces << 30;
    if (cb > source.data.Size()) cb = static_cast<DWORD>(source.data.Size());
    for (DWORD i = 0; i < cb; ++i) pszBuffer[i] = static_cast<char>(source.data.Byte());
    return cb;
}

} // namespace

void fuzz::pictures(const uint8_t* data, size_t size)
{
    CInput input(data, size);
    const DWORD cbBuffer = 1 + input.Byte() % 64;
    CSource source = {input, 0, 0, 0};
    source.dwPieces = source.data.Word();
    source.nLieAt = source.data.Byte();
    BYTE* const pBuffer = new BYTE[cbBuffer];
    DecompressImageInfo info = {};
    info.dwSize = sizeof info;
    info.pbBuffer = pBuffer;
    info.dwBufferMax = cbBuffer;
    info.pfnGetData = GetData;
    info.lParam = reinterpret_cast<LPARAM>(&source);
    CInputStream* const pStream = new CInputStream(info);
    const PictureKind kind = CheckHeader(*pStream);
    FUZZ_EXPECT(kind == PictureKind::refused || kind == PictureKind::gif || kind == PictureKind::other);
    // And as the imaging component reads it.
    STATSTG stat = {};
    FUZZ_EXPECT(pStream->Stat(&stat, 0) == S_OK);
    LARGE_INTEGER move = {};
    move.QuadPart = static_cast<LONGLONG>(stat.cbSize.QuadPart) - 3;
    pStream->Seek(move, STREAM_SEEK_SET, nullptr);
    BYTE tail[16];
    ULONG cbRead = 0;
    pStream->Read(tail, sizeof tail, &cbRead);
    FUZZ_EXPECT(cbRead <= sizeof tail);
    pStream->Release();
    delete[] pBuffer;
}
