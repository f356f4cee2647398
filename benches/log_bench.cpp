// Lines of the log beside the bare calls that they cannot do without.
#include "harness.h"

#include "base/errorutil.h"
#include "korvanelib.h"

#include <cstring>

namespace {

constexpr int kLines = 100; // in a pass

// What each piece of a trace line is on disk. A line feed is written as two and a carriage return, in text mode.
struct Piece
{
    const char* bytes;
    bool isWide; // closes the file and opens it again
};
constexpr Piece kTraceLine[] = {{"\r\n\r\n\r", false}, {"korvanedb/row", true}, {"(", false},   {"143", true},
                                {")", false},          {" : 'dt.st'", false},   {"value", true}};
constexpr Piece kText[] = {{"one line of a host's own\r\n\r\n\r", true}};

// A log file of the bare calls, kept open as the library's is.
class BareLog
{
public:
    explicit BareLog(const std::wstring& path) : m_strPath(path) { Open(); }
    ~BareLog() { ::CloseHandle(m_hFile); }
    BareLog(const BareLog&) = delete;
    BareLog& operator=(const BareLog&) = delete;

    template <size_t N> bool Write(const Piece (&line)[N])
    {
        bool right = true;
        for (const Piece& piece : line) {
            DWORD written = 0;
            right = ::WriteFile(m_hFile, piece.bytes, std::strlen(piece.bytes), &written, nullptr) && right;
            if (!piece.isWide) continue;
            right = ::CloseHandle(m_hFile) && right;
            Open();
        }
        return right;
    }

private:
    void Open()
    {
        m_hFile = ::CreateFileW(m_strPath.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
        if (m_hFile == INVALID_HANDLE_VALUE) bench::Fail("cannot open a log file");
        ::SetFilePointer(m_hFile, 0, nullptr, FILE_END);
    }

    std::wstring m_strPath;
    HANDLE m_hFile;
};

DWORD SizeOf(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    ::GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data);
    return data.nFileSizeLow;
}

template <size_t N> DWORD BytesOf(const Piece (&line)[N])
{
    size_t bytes = 0;
    for (const Piece& piece : line) bytes += std::strlen(piece.bytes);
    return bytes;
}

std::wstring LogPath(const wchar_t* name)
{
    wchar_t temp[MAX_PATH] = L"";
    ::GetTempPathW(MAX_PATH, temp);
    return std::wstring(temp) + L"korvane-bench-" + std::to_wstring(::GetCurrentProcessId()) + name;
}

} // namespace

int main(int argc, char** argv)
{
    bench::Start(argc, argv);
    bench::PrintText(
        "## Log\n\n"
        "After each UTF-16 piece of a line the log closes its file and opens it again, so that the line is "
        "there whatever comes\nnext: a trace line does so three times. Opening and closing are round trips "
        "to another process, and nearly all of the\ntime. Both files are kept open between lines; the size "
        "of each is checked after every pass.\n");
    const std::wstring ours = LogPath(L"-ours.log"), bare = LogPath(L"-bare.log");
    {
        char narrow[MAX_PATH] = "";
        ::WideCharToMultiByte(CP_ACP, 0, ours.c_str(), -1, narrow, sizeof narrow, nullptr, nullptr);
        CStreamWriter writer(narrow);
        theLogStream = &writer;
        BareLog bareLog(bare);

        const auto compare = [&](const char* title, const auto& line, const char* how, auto write) {
            const DWORD bytes = BytesOf(line) * kLines;
            bench::Comparison logging(title, "us a line", 1e6 / kLines);
            logging.Add("log", how, [&] {
                const DWORD before = SizeOf(ours);
                for (int i = 0; i < kLines; ++i) write();
                return SizeOf(ours) == before + bytes;
            });
            logging.Add("bare", "`WriteFile` for each piece, `CloseHandle` and `CreateFile` after the wide ones", [&] {
                const DWORD before = SizeOf(bare);
                bool right = true;
                for (int i = 0; i < kLines; ++i) right = bareLog.Write(line) && right;
                return right && SizeOf(bare) == before + bytes;
            });
            logging.Run();
            bench::Judge(logging.Results(), std::string("log: ") + title, "log", "bare", bench::AtMost(1.1));
        };
        compare("a trace line", kTraceLine, "`KORVANE_TRACE`",
                [] { KORVANE_TRACE(L"korvanedb/row", 143, "dt.st", L"value"); });
        compare("a text", kText, "`*theLogStream << text`", [] { *theLogStream << L"one line of a host's own\n"; });
        theLogStream = nullptr;
    }
    ::DeleteFileW(ours.c_str());
    ::DeleteFileW(bare.c_str());
}
