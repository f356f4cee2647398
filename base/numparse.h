// Text to number: _ttod and _ttof, which say through CONVERTION_ERRORS why a text is not a number.
//
// Both read: blanks, one sign, digits with at most one "." among them, and then the end of the text. Nothing else is a
// number: no exponent, no blank behind the digits, no grouping. Three habits that callers rely on:
//   - the sign is read and forgotten, so the result is never negative ("-7" gives 7);
//   - _ttod answers CONV_EMPTY, not CONV_OK, for a text that it read completely;
//   - ".", "5." and ".5" are complete numbers (0, 5 and 0.5).
// A digit before the point makes the result ten times itself plus the digit, one behind the point adds digit times
// weight, where the weight begins at 0.1 and is multiplied by 0.1 from digit to digit; every step is rounded in the
// precision of the result. The last bit can therefore differ from the nearest value of the whole text.
//
// Ownership  none: the text is only read, up to its terminating zero.
// Threads    any; there is no state.
// Errors     the result code, with the result set to 0 for every code but CONV_OK and _ttod's CONV_EMPTY. Never raises.
//
//     float price = 0;
//     if (_ttof(L" 12.50", price) != CONV_OK) price = -1;
//
//     double exact = 0;
//     const bool isNumber = _ttod(L"0.000123", exact) == CONV_EMPTY && exact != 0;
#ifndef KORVANE_BASE_NUMPARSE_H
#define KORVANE_BASE_NUMPARSE_H

#include "base/api.h"

// Some C libraries have _ttof as a macro of their own. Theirs is read first, so that it cannot come back later, and
// then gives way to the functions below; theirs is still to be had under its real name, _wtof.
#include <tchar.h>
#undef _ttod
#undef _ttof

enum CONVERTION_ERRORS
{
    CONV_OK = 0,        // _ttof only: the whole text was read as a number
    CONV_BAD_CHAR = 1,  // neither a digit nor the one decimal point
    CONV_OVERFLOW = 2,  // the part before the point has grown too large for the type
    CONV_UNDERFLOW = 3, // more digits behind the point than the type holds: 36 and more for float, 306 for double
    CONV_EMPTY = 4      // nothing follows the blanks and the sign; or, from _ttod, the whole text was read
};

// Reads `text` in double precision. A null `text` is an empty one.
KORVANE_API CONVERTION_ERRORS _ttod(const TCHAR* text, double& result);

// Reads `text` in single precision. A null `text` is an empty one.
KORVANE_API CONVERTION_ERRORS _ttof(const TCHAR* text, float& result);

#endif
