// index.h - the entries of one sort order: finding, putting in, taking out.
//
// An entry's key is the order's prefix, the sort key, the record's OID. The map takes keys of 511 bytes, a sort key can
// have 200,000: one of kCutAt bytes or more is cut there, followed by an 8-byte number that orders the entries whose
// first kCutAt bytes are the same, and its rest is the entry's value.
//
// Ownership  keys are the caller's; a cursor is left on the entry found.
// Threads    used only while an access to the volume is held.
// Errors     Win32 codes.
#ifndef KORVANESTORE_INDEX_H
#define KORVANESTORE_INDEX_H

#include "keys.h"

namespace store {

constexpr size_t kCutAt = 480;

// An order's place in the map.
struct CIndexName
{
    CEOID oidDatabase;
    BYTE bOrder;
};

// An entry taken apart. The sort key is head followed by rest.
struct CIndexEntry
{
    CBytes head;
    CBytes rest;
    CEOID oidRecord = 0;

    // False: the entry is none of this order's (or none at all).
    bool Read(const CIndexName& index, CBytes key, CBytes value);
    bool StartsWith(CBytes sortKey) const;
    void AppendSortKey(CByteBuffer& key) const;
};

// Stands on the first entry that is not before (sortKey, oidRecord), be it the order's or beyond its end; or on the
// last one before it. False: there is none in the map.
bool SeekEntryAtLeast(CAccess& access, CTreeCursor& cursor, const CIndexName& index, CBytes sortKey, CEOID oidRecord);
bool SeekEntryBefore(CAccess& access, CTreeCursor& cursor, const CIndexName& index, CBytes sortKey, CEOID oidRecord);

// Whether an entry's sort key begins with these bytes.
bool HasEntry(CAccess& access, CTreeCursor& cursor, const CIndexName& index, CBytes sortKey, CEOID oidExcept);

// DeleteEntry: ERROR_FILE_CORRUPT when the entry is not there.
DWORD InsertEntry(CWriteAccess& access, CVolume& volume, const CIndexName& index, CBytes sortKey, CEOID oidRecord);
DWORD DeleteEntry(CWriteAccess& access, CVolume& volume, const CIndexName& index, CBytes sortKey, CEOID oidRecord);

// Removes every key that begins with the prefix.
DWORD DeletePrefix(CWriteAccess& access, CVolume& volume, CBytes prefix);

} // namespace store

#endif
