#include "commands.h"
#include "database.h"
#include "output.h"
#include "translated.h"

#include <korvanebatch.h>

namespace kvol {

namespace {

struct Content
{
    size_t nDatabases = 0;
    size_t nRecords = 0;
    ULONGLONG cbFile = 0;
};

ULONGLONG FileSize(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    if (!::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data)) {
        const DWORD dwError = ::GetLastError();
        throw CFailure("the size of " + Quoted(path) + " cannot be told: " + SystemText(dwError));
    }
    return static_cast<ULONGLONG>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

Content Count(const Options& options)
{
    Content content;
    {
        CVolume volume(options.volume, CVolume::Use::Existing);
        CDatabases databases(volume);
        while (const CEOID oid = databases.Next()) {
            CEDBASEINFO info = {};
            if (!DescribeDatabase(volume, oid, info)) continue;
            ++content.nDatabases;
            content.nRecords += info.wNumRecords;
        }
    }
    content.cbFile = FileSize(Wide(options.volume));
    return content;
}

std::string Described(const Content& content)
{
    return Counted(content.nDatabases, "database") + ", " + Counted(content.nRecords, "record") + ", " +
           Counted(content.cbFile, "byte");
}

} // namespace

void RunCompact(const Options& options)
{
    const std::string described = Described(Count(options));
    wchar_t problem[512] = L"";
    const std::wstring path = Wide(options.volume);
    if (!::CeCompactDBVol(path.c_str(), problem, ARRAYSIZE(problem))) {
        const DWORD dwError = ::GetLastError();
        const std::string what = "cannot compact the volume " + Quoted(options.volume) + ", which is as it was: ";
        switch (dwError) {
        case ERROR_FILE_CORRUPT:
            throw CFailure(what + "it is damaged" + (*problem ? " (" + ToUtf8(problem) + ")" : std::string()) +
                           "; \"kvol recover\" makes a new one of what can be read");
        case ERROR_SHARING_VIOLATION:
            throw CFailure(what + "a program has it open; close that first");
        case ERROR_INVALID_PARAMETER:
            throw CFailure(what + "its path is too long for a file beside it");
        default:
            throw CFailure(what + SystemText(dwError));
        }
    }
    std::string now;
    try {
        now = Described(Translated([&] { return Count(options); }));
    } catch (const std::bad_alloc&) {
        throw CFailure("the volume is compacted, but what it has now was not counted: out of memory");
    } catch (const CFailure& failure) {
        throw CFailure(std::string("the volume is compacted, but what it has now was not counted: ") + failure.what());
    }
    Out("before: ");
    Out(described);
    Out("\nnow:    ");
    Out(now);
    Out("\n");
}

} // namespace kvol
