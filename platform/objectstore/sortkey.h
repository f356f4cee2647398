// sortkey.h - values as bytes that compare (memcmp) as the values do in a sort order.
//
// A part of a key is one property's value: a leading byte that says whether the record has the property, then, when it
// has, the value's bytes, inverted in a descending order. No part is the beginning of another, so parts can be put one
// behind the other. docs/volume-format.md lists the bytes.
//
// Texts are ordered by the system's sort keys in the volume's locale (LCMapStringW), which is CompareStringW's order
// except that a text of nothing but ignorable characters equals the empty one. Sort keys take some different texts for
// the same (a soft hyphen more or less, a letter composed or in two characters): an order without an ignoring flag
// tells those apart too, by their code units. CEDB_SORT_GENERICORDER compares code units and nothing else.
//
// Ownership  keys are appended to the caller's buffer.
// Threads    any.
// Errors     a value that is missing is a key of its own, not an error; std::bad_alloc.
#ifndef KORVANESTORE_SORTKEY_H
#define KORVANESTORE_SORTKEY_H

#include "bytes.h"

namespace store {

// A property's value on its way into a key or a record. Numbers stand in ullBits as they do in a CEVALUNION, texts and
// blobs at p.
struct CField
{
    // Where the value is. kNarrow: a text at p, one byte a character; kWide: two bytes a character; kNarrowing: the
    // same, and as all of them are below 0x100 it will be stored as a narrow one.
    enum EForm : BYTE
    {
        kNumber,
        kNarrow,
        kWide,
        kNarrowing,
        kBlob
    };

    CEPROPID propid = 0;
    EForm form = kNumber;
    ULONGLONG ullBits = 0;
    const BYTE* p = nullptr;
    DWORD cch = 0; // characters, or bytes of a blob
};

constexpr BYTE kPartLacking = 0x00;     // first byte of a part: no such property, UNKNOWNFIRST
constexpr BYTE kPartPresent = 0x80;     // the value follows
constexpr BYTE kPartLackingLast = 0xFF; // no such property, after all others

constexpr DWORD kSortTextFlags = CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_GENERICORDER | CEDB_SORT_IGNORENONSPACE |
                                 CEDB_SORT_IGNORESYMBOLS | CEDB_SORT_IGNOREKANATYPE | CEDB_SORT_IGNOREWIDTH |
                                 CEDB_SORT_STRINGSORT;

// Appends the part of a property with a value, or of one that a record lacks.
void AppendKeyPart(CByteBuffer& key, const CField& field, DWORD dwSortFlags, LCID lcid);
void AppendLackingPart(CByteBuffer& key, DWORD dwSortFlags);

// A number that differs between systems whose sort keys differ in this locale: an order sorted under another one must
// be sorted anew.
DWORD CollationStamp(LCID lcid);

} // namespace store

#endif
