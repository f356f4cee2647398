// value.h - the value types of a field: their names, and their values from and to text.
//
// What FormatValue writes, ParseValue reads back to the same value. Of the spellings that ParseValue takes (007, +5,
// 1e3, 2004-03-05T14:07) only one is the written one: IsWritten tells it, and a type is inferred only where every cell
// has it.
//
//   type      written                                    also read
//   I2 UI2    42, -7                                     +42, 042
//   I4 UI4
//   R8        1.5, 1e+22: the fewest digits that give    1.50, +1.5, 15e-1
//             the same number; fixed from 1e-6 to 1e21
//   BOOL      true, false                                TRUE, 1, 0
//   FILETIME  2004-03-05T14:07:09Z, UTC                  2004-03-05, 2004-03-05 14:07, no Z, .000
//   LPWSTR    the text                                   -
//
// A FILETIME has whole seconds: the library hands times over as VT_DATE, whose conversions round to them.
// A FILETIME field that holds days only (its ODBC type is DATE) writes midnight as 2004-03-05.
#ifndef KVOL_VALUE_H
#define KVOL_VALUE_H

#include <windbase.h>

#include <comdef.h>

#include <string>
#include <string_view>

namespace kvol {

// ODBC type codes of a field's catalogue row.
constexpr short kOdbcInteger = 4;
constexpr short kOdbcSmallInt = 5;
constexpr short kOdbcDouble = 8;
constexpr short kOdbcDate = 9;
constexpr short kOdbcTimestamp = 11;
constexpr short kOdbcVarchar = 12;
constexpr short kOdbcBit = -7;

// The longest text, in UTF-16 units: its terminator is not kept.
constexpr size_t kMostTextUnits = CEDB_MAXPROPDATASIZE / sizeof(wchar_t);

// The type's name without its prefix ("I4"); "BLOB" and "type 99" for what fields of this tool never have.
std::string TypeName(WORD wType);

// The CEVT_ type of a name, in any case; 0 for none of the eight.
WORD TypeFromName(std::string_view name);

// The ODBC code and the length in bytes (0 for texts: no limit of their own) that a field of the type is listed with.
short OdbcOf(WORD wType);
short LengthOf(WORD wType);

// Reads a value of the type. False when the text is none, with the reason in why: "is not an I4 ...".
bool ParseValue(WORD wType, std::string_view text, _variant_t& value, std::string& why);

// The value as text; "" for VT_NULL.
std::string FormatValue(const _variant_t& value, bool bDays);

// Whether the text is how a value of the type is written.
bool IsWritten(WORD wType, std::string_view text, bool bDays);

// The shortest text that reads back as the same number.
std::string FormatReal(double value);

} // namespace kvol

#endif
