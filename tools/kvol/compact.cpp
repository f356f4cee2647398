#include "commands.h"
#include "database.h"
#include "output.h"

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
    ::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
    return static_cast<ULONGLONG>(data.nFileSizeHigh) << 32 | data.nFileSizeLow;
}

Content Count(const Options& options)
{
    Content content;
    {
        CVolume volume(options.volume, CVolume::Use::Existing);
        const HANDLE hEnum = ::CeFindFirstDatabaseEx(volume.Guid(), 0);
        while (const CEOID oid = ::CeFindNextDatabaseEx(hEnum, nullptr)) {
            CEDBASEINFO info = {};
            if (!DescribeDatabase(volume, oid, info)) continue;
            ++content.nDatabases;
            content.nRecords += info.wNumRecords;
        }
        ::CloseHandle(hEnum);
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
    const Content before = Count(options);
    wchar_t problem[512] = L"";
    if (!::CeCompactDBVol(Wide(options.volume).c_str(), problem, ARRAYSIZE(problem))) {
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
    const Content after = Count(options);
    Out("before: " + Described(before) + "\nnow:    " + Described(after) + "\n");
}

} // namespace kvol
