// resort.h - sort orders built from a database's records: for new orders, and for texts under another collation.
//
// Ownership  a builder owns the keys that it collected.
// Threads    used only while an access to the volume is held; ResortTexts takes its own.
// Errors     Win32 codes; std::bad_alloc for keys beyond the memory there is.
#ifndef KORVANESTORE_RESORT_H
#define KORVANESTORE_RESORT_H

#include "index.h"
#include "openvolume.h"

namespace store {

class COrderBuilder
{
public:
    explicit COrderBuilder(const COrder& order) : m_order(order) {}

    // Takes the keys of all records and sorts them. bCheck: ERROR_DBPROP_NOT_FOUND for a record that lacks a required
    // property, ERROR_REPEATED_KEY for two with one key of a unique order.
    DWORD Collect(CAccess& access, COpenVolume& volume, CDatabase& database, LCID lcid, bool bCheck);
    size_t Size() const { return m_bytes.size() + m_entries.size() * 16; }
    // Writes the entries; the order has none yet.
    DWORD Write(CWriteAccess& access, COpenVolume& volume, CEOID oidDatabase) const;
    // Whether the order's entries in the map are these, and no others.
    bool Matches(CAccess& access, COpenVolume& volume, CEOID oidDatabase) const;

private:
    struct CEntry
    {
        size_t cbOffset, cb;
        CEOID oid;
    };
    CBytes KeyOf(const CEntry& entry) const { return {m_bytes.data() + entry.cbOffset, entry.cb}; }

    const COrder& m_order;
    std::vector<BYTE> m_bytes;
    std::vector<CEntry> m_entries;
};

// Sorts all text orders of the volume by this locale and notes it, with this system's collation stamp. A unique order
// whose keys are no longer so keeps them.
DWORD ResortTexts(COpenVolume& volume, LCID lcid);

} // namespace store

#endif
