// output.h - standard output and error as UTF-8 bytes, and the progress bar.
#ifndef KVOL_OUTPUT_H
#define KVOL_OUTPUT_H

#include <string>
#include <string_view>

namespace kvol {

// Sets both streams up for UTF-8 without line end translation: in a pipe the bytes go as they are, on a console its
// code page is UTF-8 until the program ends. One object in main.
class CUtf8Streams
{
public:
    CUtf8Streams();
    ~CUtf8Streams();
    CUtf8Streams(const CUtf8Streams&) = delete;
    CUtf8Streams& operator=(const CUtf8Streams&) = delete;

private:
    unsigned int m_nOldCodePage = 0; // 0: no console
};

// Writes to standard output (buffered) and standard error.
void Out(std::string_view text);
void Err(std::string_view text);

// Hands everything written on. Throws CFailure when it could not be written (a full disk, a closed pipe).
void FlushOut();

// The bar and the counts behind it: `importing [##########..............................] 5 of 20`. A total that done has
// passed was wrong; done stands for it then.
std::string ProgressLine(const std::string& what, size_t done, size_t total);

// A bar on standard error while a long job runs, when that is a console; nothing otherwise. Gone when it is destroyed.
class CProgress
{
public:
    CProgress(const char* pszWhat, size_t total);
    ~CProgress();
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;

    // Draws at most ten times a second. Never fails: what cannot be drawn is not.
    void Show(size_t done) noexcept;

private:
    std::string m_what;
    size_t m_total;
    unsigned long m_dwNext = 0; // tick count of the next drawing
    bool m_bConsole;
    size_t m_cchDrawn = 0; // on the console's line at present
};

} // namespace kvol

#endif
