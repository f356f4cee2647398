// For tests of what is logged: the bytes of a log file, and the texts sent to the debugger output.
#ifndef KORVANE_TESTS_SUPPORT_LOG_CAPTURE_H
#define KORVANE_TESTS_SUPPORT_LOG_CAPTURE_H

#include "base/logutil.h"
#include "support/import_patch.h"
#include "support/temp_folder.h"

#include <windows.h>

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

// The bytes of a file; empty when it cannot be opened.
inline std::string ReadBytes(const std::wstring& path)
{
    std::string bytes;
    FILE* const file = ::_wfopen(path.c_str(), L"rb");
    if (!file) return bytes;
    char part[4096];
    while (const std::size_t cb = std::fread(part, 1, sizeof(part), file)) bytes.append(part, cb);
    std::fclose(file);
    return bytes;
}

inline bool FileExists(const std::wstring& path)
{
    return ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

// A path as an 8-bit string of the ANSI code page.
inline std::string ToNarrow(const std::wstring& text)
{
    std::string bytes(::WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, nullptr, 0, nullptr, nullptr), '\0');
    ::WideCharToMultiByte(CP_ACP, 0, text.c_str(), -1, &bytes[0], static_cast<int>(bytes.size()), nullptr, nullptr);
    bytes.pop_back();
    return bytes;
}

// What text becomes on disk: the writer makes LF LF CR of a line feed, the text mode CR LF of each of those line feeds.
inline std::string OnDisk(const std::string& text)
{
    std::string bytes;
    for (char c : text) {
        if (c == '\n') {
            bytes += "\r\n\r\n\r";
        } else {
            bytes += c;
        }
    }
    return bytes;
}

// While it lives, theLogStream is a writer on a file of the test's own.
class CLogToFile
{
public:
    CLogToFile()
        : m_path(m_folder.File(L"log.txt")), m_pWriter(new CStreamWriter(ToNarrow(m_path).c_str())),
          m_pOld(std::exchange(theLogStream, m_pWriter))
    {
    }
    ~CLogToFile()
    {
        theLogStream = m_pOld;
        delete m_pWriter;
    }
    CLogToFile(const CLogToFile&) = delete;
    CLogToFile& operator=(const CLogToFile&) = delete;

    CStreamWriter& Writer() { return *m_pWriter; }
    // What is on disk now.
    std::string Bytes() const { return ReadBytes(m_path); }

private:
    CTempFolder m_folder;
    std::wstring m_path;
    CStreamWriter* m_pWriter;
    CStreamWriter* m_pOld;
};

// While it lives, takes what korvaneLib.dll sends to the debugger output: each OutputDebugStringW is one text.
class CDebugOutput
{
public:
    CDebugOutput() { Texts().clear(); }

    static std::vector<std::wstring>& Texts()
    {
        static std::vector<std::wstring> texts;
        return texts;
    }

private:
    static void WINAPI Take(LPCWSTR text)
    {
        Texts().emplace_back(text);
        ::SetLastError(ERROR_INVALID_FUNCTION); // the system's own changes it too
    }

    CImportPatch m_patch{L"korvaneLib.dll", "OutputDebugStringW", &CDebugOutput::Take};
};

#endif
