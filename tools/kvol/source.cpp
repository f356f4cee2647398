#include "source.h"

#include "failure.h"
#include "text.h"

#include <windows.h>

namespace kvol {

namespace {

// Larger files have more than 65,535 records of any sensible size, or records larger than a volume takes.
constexpr unsigned long long kMostBytes = 512ull << 20;

// Closes a file at the end, also when memory runs out for what is in it.
class CClosing
{
public:
    explicit CClosing(HANDLE h) : m_h(h) {}
    ~CClosing() { ::CloseHandle(m_h); }
    CClosing(const CClosing&) = delete;
    CClosing& operator=(const CClosing&) = delete;

private:
    const HANDLE m_h;
};

std::string ReadWhole(const std::string& path)
{
    const HANDLE h = ::CreateFileW(Wide(path).c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_DELETE, nullptr,
                                   OPEN_EXISTING, FILE_FLAG_SEQUENTIAL_SCAN, nullptr);
    if (h == INVALID_HANDLE_VALUE) {
        const DWORD dwError = ::GetLastError();
        throw CFailure("cannot read " + Quoted(path) + ": " + SystemText(dwError));
    }
    const CClosing closing(h);
    LARGE_INTEGER size = {};
    std::string bytes;
    DWORD dwError = ::GetFileSizeEx(h, &size) ? ERROR_SUCCESS : ::GetLastError();
    if (!dwError && static_cast<unsigned long long>(size.QuadPart) > kMostBytes) dwError = ERROR_FILE_TOO_LARGE;
    if (!dwError) {
        bytes.resize(static_cast<size_t>(size.QuadPart));
        DWORD cbRead = 0;
        if (!::ReadFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &cbRead, nullptr))
            dwError = ::GetLastError();
        bytes.resize(cbRead);
    }
    if (dwError) throw CFailure("cannot read " + Quoted(path) + ": " + SystemText(dwError));
    return bytes;
}

bool EndsWith(const std::string& path, const char* pszExtension)
{
    const size_t cch = ::strlen(pszExtension);
    return path.size() >= cch && ::_stricmp(path.c_str() + path.size() - cch, pszExtension) == 0;
}

} // namespace

std::string Source::Place(size_t row) const
{
    std::string place = name + ": row " + std::to_string(row);
    if (row <= rows.size() && rows[row - 1].line) place += " (line " + std::to_string(rows[row - 1].line) + ")";
    return place;
}

std::string Source::Place(size_t row, size_t column) const
{
    std::string place = Place(row) + ", column " + std::to_string(column);
    if (column <= columns.size()) place += " " + Quoted(columns[column - 1]);
    return place;
}

Source ReadSource(const std::string& path)
{
    const std::string bytes = ReadWhole(path);
    const std::string name = path.substr(path.find_last_of("/\\") + 1);
    bool bJson = EndsWith(path, ".json");
    if (!bJson && !EndsWith(path, ".csv")) {
        const size_t first = bytes.find_first_not_of(" \t\r\n\xEF\xBB\xBF");
        bJson = first != std::string::npos && (bytes[first] == '[' || bytes[first] == '{');
    }
    return bJson ? ReadJson(name, bytes) : ReadCsv(name, bytes);
}

} // namespace kvol
