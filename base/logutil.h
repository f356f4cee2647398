// CStreamWriter: writes diagnostic text to a log file, or to the debugger output; theLogStream: the library's own one.
//
// Ownership  the writer owns its open file. Copies share the file, the last of them that goes closes it.
// Threads    one thread at a time.
// Errors     none are reported, and nothing is thrown: a file that cannot be opened or reopened, or that memory is out
//            for, turns the writer to the debugger output (OutputDebugStringW), text that cannot be written is lost.
//            GetLastError() is left as it was by every write.
//
// What reaches the file is plain 8-bit text in the process's ANSI code page; a character that the page lacks is "?".
// The file is open in text mode, so each line feed that is written becomes CR LF on disk.
#ifndef KORVANE_BASE_LOGUTIL_H
#define KORVANE_BASE_LOGUTIL_H

#include "base/api.h"
#include "base/smartptr.h"

#include <afx.h>

#include <cstddef>

class CLogFile;

class KORVANE_API CStreamWriter
{
public:
    // Opens fileName, an 8-bit path in the ANSI code page, with fopen(fileName, "wt"): created, or emptied.
    // The name without the white space at its ends is kept for reopening. Empty, blank or null: debugger output.
    explicit CStreamWriter(const char* fileName);
    // Member-wise: file, name and depth of the other one.
    CStreamWriter(const CStreamWriter& rOther);
    CStreamWriter& operator=(const CStreamWriter& rOther);
    virtual ~CStreamWriter();

    // Writes an 8-bit string and flushes the file. Bytes are widened with their sign, without a code page: from 0x80
    // on they become units 0xFF80..0xFFFF. A tab is followed by four blanks whatever the depth; a line feed becomes
    // LF LF CR. Null writes an empty text.
    CStreamWriter& operator<<(const char* text);
    // Writes a UTF-16 string, then closes the file and opens it again for appending under the trimmed name, so that
    // the text is on disk; that goes for an empty one too. A tab is followed by 4 x depth blanks; a line feed becomes
    // LF LF CR. Null writes an empty text.
    CStreamWriter& operator<<(const wchar_t* text);

    // Numbers are written in signed decimal through the UTF-16 operator: 4294967295ul comes out as -1. Characters are
    // written as the number of their code, char with its sign; a wchar_t as the unsigned short it is on the device.
    CStreamWriter& operator<<(long value);
    CStreamWriter& operator<<(int value);
    CStreamWriter& operator<<(unsigned int value);
    CStreamWriter& operator<<(unsigned long value);
    CStreamWriter& operator<<(short value);
    CStreamWriter& operator<<(unsigned short value);
    CStreamWriter& operator<<(char value);
    CStreamWriter& operator<<(unsigned char value);
    CStreamWriter& operator<<(wchar_t value);

    // The tab depth, 0 at first, one up and one down. It has no floor: below 0 it counts as 0 blanks.
    void IncTabs();
    void DecTabs();
    // Writes 4 x depth blanks and flushes the file.
    void WriteTabPrefix();

private:
    std::size_t TabBlanks() const;

    CSmartPtr<CLogFile> m_pFile; // null: debugger output
    CString m_strName;           // trimmed
    int m_nTabs = 0;
};

// The writer of all tracing in the library. Null before InitLib and after DeInitLib; nothing owns it (see InitLib).
extern KORVANE_API CStreamWriter* theLogStream;

#endif
