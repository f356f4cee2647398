// Numbers: a text of any characters.
#include "target.h"

#include "base/numparse.h"

#include <cmath>

void fuzz::numbers(const uint8_t* data, size_t size)
{
    CInput input(data, size);
    const std::wstring text = input.Text();
    // A block of its own, so that one character too far is seen.
    wchar_t* const psz = new wchar_t[text.size() + 1];
    std::memcpy(psz, text.c_str(), (text.size() + 1) * sizeof *psz);
    double number = -1;
    float single = -1;
    const CONVERTION_ERRORS errorDouble = _ttod(psz, number), errorSingle = _ttof(psz, single);
    FUZZ_EXPECT(errorDouble >= CONV_BAD_CHAR && errorDouble <= CONV_EMPTY);
    FUZZ_EXPECT(errorSingle >= CONV_OK && errorSingle <= CONV_EMPTY);
    FUZZ_EXPECT(number >= 0 && single >= 0); // signs are passed over, and not-a-number is neither
    if (errorSingle != CONV_OK) FUZZ_EXPECT(single == 0);
    if (errorDouble != CONV_EMPTY) FUZZ_EXPECT(number == 0);
    delete[] psz;
}
