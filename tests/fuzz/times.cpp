// Time formats: a time, then the format.
#include "target.h"

#include <afx.h>

void fuzz::times(const uint8_t* data, size_t size)
{
    CInput input(data, size);
    const time_t time = static_cast<time_t>(input.Word());
    const std::wstring format = input.Text();
    wchar_t* const psz = new wchar_t[format.size() + 1];
    std::memcpy(psz, format.c_str(), (format.size() + 1) * sizeof *psz);
    // The longest code, of a zone's name, makes 32 characters of 2; the long forms of dates a few more.
    const CString text = CTime(time).FormatGmt(psz), local = CTime(time).Format(psz),
                  span = CTimeSpan(time).Format(psz);
    FUZZ_EXPECT(text.GetLength() <= static_cast<int>(40 * format.size()));
    FUZZ_EXPECT(local.GetLength() <= static_cast<int>(40 * format.size()));
    FUZZ_EXPECT(span.GetLength() <= static_cast<int>(12 * format.size()));
    delete[] psz;
}
