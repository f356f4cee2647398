#include "resort.h"

#include <algorithm>

namespace store {

DWORD COrderBuilder::Collect(CAccess& access, COpenVolume& volume, CDatabase& database, LCID lcid, bool bCheck)
{
    CTreeCursor cursor(volume.Engine());
    CByteBuffer key;
    CRecordView record;
    const CSmallKey<5> prefix = RecordPrefix(database.Oid());
    for (bool bOn = cursor.SeekAtLeast(access, prefix); bOn && cursor.Key().cb == 9 && StartsWith(cursor.Key(), prefix);
         bOn = cursor.Next(access)) {
        const CShape* pShape = database.ShapeOf(access, cursor.Value());
        if (!pShape || !record.Attach(cursor.Value(), *pShape)) return ERROR_FILE_CORRUPT;
        for (WORD i = 0; bCheck && i < m_order.spec.wNumProps; ++i)
            if (m_order.Requires(i) && pShape->Find(m_order.spec.rgPropID[i]) == pShape->Count())
                return ERROR_DBPROP_NOT_FOUND;
        key.Clear();
        if (!m_order.AppendKey(key, record, lcid)) return ERROR_FILE_CORRUPT;
        m_entries.push_back({m_bytes.size(), key.Size(), GetBig32(cursor.Key().p + 5)});
        m_bytes.insert(m_bytes.end(), key.Data(), key.Data() + key.Size());
    }
    if (access.Error() != ERROR_SUCCESS) return access.Error();
    std::sort(m_entries.begin(), m_entries.end(), [this](const CEntry& left, const CEntry& right) {
        const int n = CompareBytes(KeyOf(left), KeyOf(right));
        return n != 0 ? n < 0 : left.oid < right.oid;
    });
    if (bCheck && m_order.IsUnique())
        for (size_t i = 1; i < m_entries.size(); ++i)
            if (SameBytes(KeyOf(m_entries[i - 1]), KeyOf(m_entries[i]))) return ERROR_REPEATED_KEY;
    return ERROR_SUCCESS;
}

DWORD COrderBuilder::Write(CWriteAccess& access, COpenVolume& volume, CEOID oidDatabase) const
{
    const CIndexName index = {oidDatabase, m_order.bId};
    for (const CEntry& entry : m_entries) {
        const DWORD dwError = InsertEntry(access, volume.Engine(), index, KeyOf(entry), entry.oid);
        if (dwError != ERROR_SUCCESS) return dwError;
    }
    return ERROR_SUCCESS;
}

bool COrderBuilder::Matches(CAccess& access, COpenVolume& volume, CEOID oidDatabase) const
{
    const CIndexName index = {oidDatabase, m_order.bId};
    CTreeCursor cursor(volume.Engine());
    CByteBuffer key;
    CIndexEntry found;
    bool bOn = cursor.SeekAtLeast(access, IndexPrefix(oidDatabase, m_order.bId));
    for (const CEntry& entry : m_entries) {
        if (!bOn || !found.Read(index, cursor.Key(), cursor.Value()) || found.oidRecord != entry.oid) return false;
        key.Clear();
        found.AppendSortKey(key);
        if (!SameBytes(key.Bytes(), KeyOf(entry))) return false;
        bOn = cursor.Next(access);
    }
    return !bOn || !found.Read(index, cursor.Key(), cursor.Value());
}

DWORD ResortTexts(COpenVolume& volume, LCID lcid)
{
    CChange change(volume);
    DWORD dwError = change.Error();
    if (dwError != ERROR_SUCCESS) return dwError;
    CWriteAccess& access = change.Access();
    if (volume.Engine().IsDatabaseOpen(access, 0)) return ERROR_SHARING_VIOLATION;
    CVolumeRecord record = volume.Record();
    record.lcid = lcid;
    record.dwStamp = CollationStamp(lcid);
    dwError = change.Begin(64);
    CEOID oid = 0;
    while (dwError == ERROR_SUCCESS && (oid = volume.NextDatabase(access, oid)) != 0) {
        CDatabase* pDatabase = nullptr;
        dwError = volume.Database(access, oid, pDatabase);
        if (dwError != ERROR_SUCCESS) break;
        for (const COrder& order : pDatabase->orders) {
            if (!order.HasText()) continue;
            COrderBuilder builder(order);
            dwError = builder.Collect(access, volume, *pDatabase, lcid, false);
            if (dwError == ERROR_SUCCESS) dwError = access.Reserve(2 * builder.Size());
            if (dwError == ERROR_SUCCESS) dwError = DeletePrefix(access, volume.Engine(), IndexPrefix(oid, order.bId));
            if (dwError == ERROR_SUCCESS) dwError = builder.Write(access, volume, oid);
            if (dwError != ERROR_SUCCESS) break;
        }
    }
    if (dwError == ERROR_SUCCESS) dwError = volume.SaveRecord(access, record);
    return dwError == ERROR_SUCCESS ? change.Commit() : dwError;
}

} // namespace store
