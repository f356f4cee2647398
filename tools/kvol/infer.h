// infer.h - the type of a column whose type was not given.
//
// A type is chosen only when dump writes every value of the column back as the file has it, byte for byte:
//   BOOL      every cell is true or false
//   I4        every cell is a whole number as I4 writes it (so not 007, +5, -0 or 1e3)
//   UI4       the same, for numbers up to 4,294,967,295
//   R8        every cell is a number as R8 writes it (so not 1.50)
//   FILETIME  every cell is a day, or every cell is a time, as FILETIME writes them
//   LPWSTR    all else, and columns without a value
// In JSON a quoted text is never a number or a truth value, and a number's spelling does not count, only its value.
#ifndef KVOL_INFER_H
#define KVOL_INFER_H

#include "source.h"

#include <windows.h>

namespace kvol {

struct ColumnType
{
    WORD wType = 0;
    short odbc = 0;
};

// REQUIRES: column < source.columns.size().
ColumnType InferType(const Source& source, size_t column);

} // namespace kvol

#endif
