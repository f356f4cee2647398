// Lines of the log beside the bare calls that they cannot do without: those of the C library, whose text mode and
// appending the log is documented to have. The system's own calls, which have neither, stand beside them.
#include "harness.h"

#include "base/errorutil.h"
#include "korvanelib.h"

#include <cstdio>
#include <cstring>

namespace {

constexpr int kLines = 40; // in a pass

// What each piece of a trace line is, a line feed written as two and a carriage return, and what it is on disk.
struct Piece
{
    const char* text;
    const char* bytes;
    bool isWide; // closes the file and opens it again
};
constexpr Piece kTraceLine[] = {{"\n\n\r", "\r\n\r\n\r", false},
                                {"korvanedb/row", "korvanedb/row", true},
                                {"(", "(", false},
                                {"143", "143", true},
                                {")", ")", false},
                                {" : 'dt.st'", " : 'dt.st'", false},
                                {"value", "value", true}};
constexpr Piece kText[] = {{"one line of a host's own\n\n\r", "one line of a host's own\r\n\r\n\r", true}};

// A log file of the C library's calls, kept open as the library's is.
class BareLog
{
public:
    explicit BareLog(const std::wstring& path) : m_strPath(path) { Open(L"wt"); }
    ~BareLog() { std::fclose(m_pFile); }
    BareLog(const BareLog&) = delete;
    BareLog& operator=(const BareLog&) = delete;

    template <size_t N> bool Write(const Piece (&line)[N])
    {
        bool right = true;
        for (const Piece& piece : line) {
            const size_t length = std::strlen(piece.text);
            right = std::fwrite(piece.text, 1, length, m_pFile) == length && right;
            if (!piece.isWide) {
                right = std::fflush(m_pFile) == 0 && right;
                continue;
            }
            right = std::fclose(m_pFile) == 0 && right;
            Open(L"at");
        }
        return right;
    }

private:
    void Open(const wchar_t* mode)
    {
        m_pFile = ::_wfopen(m_strPath.c_str(), mode);
        if (!m_pFile) bench::Fail("cannot open a log file");
    }

    std::wstring m_strPath;
    std::FILE* m_pFile;
};

// The same of the system's calls.
class SystemLog
{
public:
    explicit SystemLog(const std::wstring& path) : m_strPath(path) { Open(); }
    ~SystemLog() { ::CloseHandle(m_hFile); }
    SystemLog(const SystemLog&) = delete;
    SystemLog& operator=(const SystemLog&) = delete;

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
        "to another process, and nearly all of the\ntime. The files are kept open between lines; the size "
        "of each is checked after every pass.\n");
    const std::wstring ours = LogPath(L"-ours.log"), bare = LogPath(L"-bare.log"), system = LogPath(L"-system.log");
    {
        char narrow[MAX_PATH] = "";
        ::WideCharToMultiByte(CP_ACP, 0, ours.c_str(), -1, narrow, sizeof narrow, nullptr, nullptr);
        CStreamWriter writer(narrow);
        theLogStream = &writer;
        BareLog bareLog(bare);
        SystemLog systemLog(system);

        const auto compare = [&](const char* title, const auto& line, const char* how, auto write) {
            const DWORD bytes = BytesOf(line) * kLines;
            bench::Comparison logging(title, "us a line", 1e6 / kLines, bench::kShortRounds);
            logging.Add("log", how, [&] {
                const DWORD before = SizeOf(ours);
                for (int i = 0; i < kLines; ++i) write();
                return SizeOf(ours) == before + bytes;
            });
            const auto add = [&](const char* name, const char* means, auto& log, const std::wstring& path) {
                logging.Add(name, means, [&] {
                    const DWORD before = SizeOf(path);
                    bool right = true;
                    for (int i = 0; i < kLines; ++i) right = log.Write(line) && right;
                    return right && SizeOf(path) == before + bytes;
                });
            };
            add("bare", "`fwrite` and `fflush` for each piece, `fclose` and `_wfopen` after the wide ones", bareLog,
                bare);
            add("system",
                "`WriteFile` for each piece, `CloseHandle` and `CreateFile` after the wide ones: no text mode, "
                "and the end of the file is looked for only when it is opened",
                systemLog, system);
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
    ::DeleteFileW(system.c_str());
}
