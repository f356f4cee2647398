// target.h - what the readers under test are fed with: any bytes at all.
//
// A target reads its bytes as its reader reads a file, a stream or a text, and states what must hold whatever they were.
// Nothing but those bytes may be touched. The targets are built twice: natively, where libFuzzer looks for inputs that
// reach new code and AddressSanitizer watches (scripts/fuzz.sh), and for the device's platform in test_fuzz, which feeds
// the corpus and mutations of it from between guard pages.
//
// Threads    one.
// Errors     FUZZ_EXPECT: what does not hold ends the native run, and fails the test.
#ifndef KORVANE_FUZZ_TARGET_H
#define KORVANE_FUZZ_TARGET_H

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace fuzz {

void numbers(const uint8_t* data, size_t size);
void streams(const uint8_t* data, size_t size);
void paths(const uint8_t* data, size_t size);
void times(const uint8_t* data, size_t size);
void icons(const uint8_t* data, size_t size);
void pictures(const uint8_t* data, size_t size);
void templates(const uint8_t* data, size_t size);
void records(const uint8_t* data, size_t size);
void tables(const uint8_t* data, size_t size);
void volumes(const uint8_t* data, size_t size);

void Fail(const char* pszWhat);
#define FUZZ_EXPECT(condition) ((condition) ? (void)0 : ::fuzz::Fail(#condition))

// A file with these bytes, until the next call. The bytes must live as long.
const wchar_t* PutFile(const uint8_t* data, size_t size);

// Takes values off the front of an input; zeros once it is used up.
class CInput
{
public:
    CInput(const uint8_t* data, size_t size) : m_p(data), m_cb(size) {}

    uint8_t Byte()
    {
        if (m_cb == 0) return 0;
        --m_cb;
        return *m_p++;
    }
    uint32_t Word()
    {
        uint32_t value = 0;
        for (int shift = 0; shift < 32; shift += 8) value |= uint32_t(Byte()) << shift;
        return value;
    }
    // The rest as UTF-16; each text ends with the first zero, if there is one.
    std::wstring Text()
    {
        std::wstring text;
        while (m_cb >= 2) {
            const wchar_t ch = static_cast<wchar_t>(m_p[0] | m_p[1] << 8);
            m_p += 2;
            m_cb -= 2;
            if (ch == 0) break;
            text += ch;
        }
        return text;
    }
    const uint8_t* Rest() const { return m_p; }
    size_t Size() const { return m_cb; }

private:
    const uint8_t* m_p;
    size_t m_cb;
};

} // namespace fuzz

#endif
