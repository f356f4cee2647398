#include "favouritesfile.h"
#include "ids.h"

#include <set>

namespace {

constexpr unsigned long kMagic = 0x466C7441; // "AtlF"
constexpr unsigned short kVersion = 1;
constexpr DWORD kLargestFile = 64 * 1024; // more than all countries need

void Encode(COutputStream& out, const std::vector<CFavourite>& favourites)
{
    out << kMagic << kVersion << static_cast<unsigned long>(favourites.size());
    for (const CFavourite& favourite : favourites) out << favourite.country << favourite.sum;
}

bool IsCode(const CString& text)
{
    return text.GetLength() == 2 && text.SpanIncluding(L"ABCDEFGHIJKLMNOPQRSTUVWXYZ") == text;
}

bool Decode(CSizedArray& bytes, std::vector<CFavourite>& favourites)
{
    KorvaneIO::CByteInputStream in(bytes.getData(), bytes.getSize());
    unsigned long magic = 0, count = 0;
    unsigned short version = 0;
    in >> magic >> version >> count;
    if (magic != kMagic || version != kVersion) return false;

    std::vector<CFavourite> read;
    std::set<CString> countries;
    for (; count > 0; --count) {
        CFavourite favourite;
        in >> favourite.country >> favourite.sum;
        // What is no number fails both comparisons. A stream that has run out gives zeros from there on.
        const bool isSum = favourite.sum >= 0 && favourite.sum <= kLargestSum;
        if (in.eof() || !isSum || !IsCode(favourite.country)) return false;
        if (!countries.insert(favourite.country).second) return false;
        read.push_back(favourite);
    }
    long end = 0;
    in.getCurrentStreamPosition(end);
    if (in.getError() != 0 || static_cast<unsigned long>(end) != bytes.getSize()) return false;
    favourites.swap(read);
    return true;
}

} // namespace

UINT ExportFavourites(const CString& path, const std::vector<CFavourite>& favourites)
{
    CByteOutputStream counting(nullptr, 0); // counts what does not fit
    Encode(counting, favourites);
    CSizedArray bytes;
    if (!bytes.init(counting.getDataSize())) return IDS_EXPORT_FAILED;
    CByteOutputStream out(bytes.getData(), bytes.getSize());
    Encode(out, favourites);
    try {
        CFile file(path, CFile::modeCreate | CFile::modeWrite);
        file.Write(bytes.getData(), bytes.getSize());
        file.Close();
        return 0;
    } catch (CFileException* failure) {
        failure->Delete();
        return IDS_EXPORT_FAILED;
    }
}

UINT ImportFavourites(const CString& path, std::vector<CFavourite>& favourites)
{
    CSizedArray bytes;
    try {
        CFile file(path, CFile::modeRead | CFile::shareDenyWrite);
        const DWORD size = file.GetLength();
        if (size > kLargestFile) return IDS_IMPORT_REFUSED;
        if (!bytes.init(size) || file.Read(bytes.getData(), size) != size) return IDS_IMPORT_UNREADABLE;
    } catch (CFileException* failure) {
        failure->Delete();
        return IDS_IMPORT_UNREADABLE;
    }
    return Decode(bytes, favourites) ? 0 : IDS_IMPORT_REFUSED;
}
