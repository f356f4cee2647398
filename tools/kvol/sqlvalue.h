// sqlvalue.h - a field's values in a SQLite file: the column's declared type, and each value there and back.
//
// docs/kvol.md has the mapping in a table. What SQLite cannot keep in the column's own form is a blob there: a text with
// a lone surrogate (its UTF-16 units), the numbers that are none and minus zero (the eight bytes).
#ifndef KVOL_SQLVALUE_H
#define KVOL_SQLVALUE_H

#include "sqlite.h"

#include <windbase.h>

#include <cstdint>
#include <vector>

namespace kvol {

// "SMALLINT"; days: a FILETIME field of days.
const char* DeclaredType(WORD wType, bool bDays);

// Binds a property's value to a parameter.
void BindValue(CStatement& statement, int n, const CEPROPVAL& value, bool bDays);

// A value on its way into a record: owns the bytes that the CEPROPVAL points at.
struct StoredValue
{
    CEPROPVAL value = {};
    std::wstring text;
    std::vector<BYTE> blob;
};

// Takes a column's value for a property of this type. False when it is none of the type, with the reason in why. The
// column is not null. bWide: the file's texts are UTF-16. After a move of stored call Point.
bool TakeValue(const CStatement& statement, int n, CEPROPID propid, bool bWide, StoredValue& stored, std::string& why);

// Lets value point at the text or blob where they are now.
void Point(StoredValue& stored);

// Times as ISO 8601 with as many decimals as are needed, at most 7; UTC. False: before 1601 or after 9999, or no time.
bool FormatTicks(uint64_t ticks, bool bDays, std::string& text);
bool ParseTicks(std::string_view text, uint64_t& ticks);

} // namespace kvol

#endif
