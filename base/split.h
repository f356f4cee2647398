// Split: cuts a text into the pieces between separators.
//
// Ownership  the pieces are the caller's.
// Threads    any; there is no state.
// Errors     none: an empty vector is an answer. Only memory that runs out raises, as in CString and std::vector.
//
//     std::vector<CString> fields = Split(L"a,,b,", L",", 0, -1); // "a", "", "b", ""
#ifndef KORVANE_BASE_SPLIT_H
#define KORVANE_BASE_SPLIT_H

#include "base/api.h"

#include <afx.h>

#include <vector>

// The pieces of `source` from character `start` on, empty ones included: a separator at the end leaves an empty last
// piece, and an empty `source` is one empty piece. What lies before `start` is never returned; a `start` below 0 is 0,
// one behind the end gives one empty piece.
//
// `count` -1 or any value above 0: the whole text is split, however large or small the number. Any other: no piece.
//
// The search goes on one character behind the *beginning* of the separator found, so behind a separator of several
// characters the next piece begins with the rest of it: "a::b" at "::" is "a" and ":b". An empty separator is found at
// every position, the end included: all pieces are empty then.
KORVANE_API std::vector<CString> Split(CString source, CString separator, int start, int count);

#endif
