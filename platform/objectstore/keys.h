// keys.h - the key spaces of a volume's map. docs/volume-format.md describes them. Do not renumber: on disk.
#ifndef KORVANESTORE_KEYS_H
#define KORVANESTORE_KEYS_H

#include "bytes.h"

namespace store {

enum EKeySpace : BYTE
{
    kVolumeSpace = 0x01,   // the volume record
    kDatabaseSpace = 0x02, // + database: its descriptor
    kNameSpace = 0x03,     // + folded name: a database's OID
    kShapeSpace = 0x04,    // + database + shape: a list of properties
    kRecordSpace = 0x10,   // + database + record: a record
    kIndexSpace = 0x20,    // + database + order + sort key + record: an index entry
};

// A key of at most kCapacity bytes that is put together on the stack.
template <size_t kCapacity> class CSmallKey
{
public:
    explicit CSmallKey(EKeySpace space) { m_rgb[0] = space; }
    CSmallKey& Add8(BYTE b)
    {
        m_rgb[m_cb++] = b;
        return *this;
    }
    CSmallKey& Add16(WORD w) { return Add8(static_cast<BYTE>(w >> 8)).Add8(static_cast<BYTE>(w)); }
    CSmallKey& Add32(DWORD dw)
    {
        PutBig32(m_rgb + m_cb, dw);
        m_cb += 4;
        return *this;
    }
    operator CBytes() const { return {m_rgb, m_cb}; }

private:
    BYTE m_rgb[kCapacity];
    size_t m_cb = 1;
};

inline CSmallKey<1> VolumeKey()
{
    return CSmallKey<1>(kVolumeSpace);
}
inline CSmallKey<5> DatabaseKey(CEOID oidDatabase)
{
    return CSmallKey<5>(kDatabaseSpace).Add32(oidDatabase);
}
inline CSmallKey<5> ShapePrefix(CEOID oidDatabase)
{
    return CSmallKey<5>(kShapeSpace).Add32(oidDatabase);
}
inline CSmallKey<7> ShapeKey(CEOID oidDatabase, WORD wShape)
{
    return CSmallKey<7>(kShapeSpace).Add32(oidDatabase).Add16(wShape);
}
inline CSmallKey<5> RecordPrefix(CEOID oidDatabase)
{
    return CSmallKey<5>(kRecordSpace).Add32(oidDatabase);
}
inline CSmallKey<9> RecordKey(CEOID oidDatabase, CEOID oidRecord)
{
    return CSmallKey<9>(kRecordSpace).Add32(oidDatabase).Add32(oidRecord);
}
inline CSmallKey<6> IndexPrefix(CEOID oidDatabase, BYTE bOrder)
{
    return CSmallKey<6>(kIndexSpace).Add32(oidDatabase).Add8(bOrder);
}

} // namespace store

#endif
