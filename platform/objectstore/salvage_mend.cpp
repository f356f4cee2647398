#include "salvage.h"

#include "resort.h"

#include <map>
#include <set>

namespace store {

namespace {

// What the entries say of one database.
struct CRemains
{
    bool bDescribed = false;    // a description that can be read
    std::wstring strName;       // from the description, else folded from the list of names, else empty
    DWORD nRecordsBefore = 0;   // as the description counts them
    std::set<WORD> shapes;      // lists of properties that can be read
    std::vector<CEOID> records; // all of them, then those that can be read
    size_t nUnread = 0;
};

class CMender
{
public:
    CMender(COpenVolume& volume, CFindings& findings) : m_volume(volume), m_findings(findings) {}

    DWORD Run(bool bRecordLost)
    {
        DWORD dwError = LookThrough();
        if (dwError == ERROR_SUCCESS && m_databases.empty()) return bRecordLost ? ERROR_FILE_CORRUPT : ERROR_SUCCESS;
        if (dwError == ERROR_SUCCESS) dwError = RemoveBroken();
        if (dwError == ERROR_SUCCESS) dwError = MendRecord(bRecordLost);
        for (auto& [oid, remains] : m_databases) {
            if (dwError == ERROR_SUCCESS) dwError = Mend(oid, remains);
        }
        return dwError;
    }

private:
    // Takes stock of all keys, and reads each record as far as its bytes go.
    DWORD LookThrough()
    {
        CReadAccess access(m_volume.Engine());
        DWORD dwError = m_volume.Sync(access);
        if (dwError != ERROR_SUCCESS) return dwError;
        CTreeCursor cursor(m_volume.Engine());
        std::map<CEOID, std::unique_ptr<CDatabase>> known;
        CRecordView record;
        CField field;
        const BYTE rgFirst[1] = {kDatabaseSpace};
        for (bool bOn = cursor.SeekAtLeast(access, {rgFirst, 1}); bOn; bOn = cursor.Next(access)) {
            const CBytes key = cursor.Key(), value = cursor.Value();
            if (key.p[0] == kNameSpace) {
                m_broken.emplace_back(key.p, key.p + key.cb); // all names are written anew
                if (value.cb == sizeof(CEOID)) NoteName(Load<CEOID>(value.p), key);
                continue;
            }
            const CEOID oid = GetBig32(key.p + 1);
            const bool bRecord = key.p[0] == kRecordSpace;
            const CEOID oidRecord = bRecord ? GetBig32(key.p + 5) : 0;
            if (oid == 0 || (bRecord && oidRecord == 0)) {
                m_broken.emplace_back(key.p, key.p + key.cb);
                continue;
            }
            m_oidHighest = std::max(m_oidHighest, std::max(oid, oidRecord));
            CRemains& remains = m_databases[oid];
            auto& pDatabase = known[oid];
            if (!pDatabase) pDatabase = std::make_unique<CDatabase>(oid);
            if (key.p[0] == kDatabaseSpace) {
                remains.bDescribed = pDatabase->Decode(value);
                if (remains.bDescribed) {
                    remains.strName = pDatabase->szName;
                    remains.nRecordsBefore = pDatabase->nRecords;
                }
            } else if (key.p[0] == kShapeSpace) {
                CShape shape;
                const WORD wShape = static_cast<WORD>(key.p[5] << 8 | key.p[6]);
                if (wShape < kMostShapes && shape.Assign(value))
                    remains.shapes.insert(wShape);
                else
                    m_broken.emplace_back(key.p, key.p + key.cb);
            } else {
                pDatabase->nShapes = kMostShapes;
                const CShape* const pShape = pDatabase->ShapeOf(access, value);
                bool bSound = pShape && record.Attach(value, *pShape);
                for (size_t i = 0; bSound && i < pShape->Count(); ++i) bSound = record.Get(i, field);
                if (bSound) {
                    remains.records.push_back(oidRecord);
                } else {
                    ++remains.nUnread;
                    m_broken.emplace_back(key.p, key.p + key.cb);
                }
            }
        }
        return access.Error();
    }

    void NoteName(CEOID oid, CBytes key)
    {
        std::wstring& strName = m_names[oid];
        for (size_t i = 1; i + 1 < key.cb; i += 2) strName += static_cast<wchar_t>(key.p[i] << 8 | key.p[i + 1]);
    }

    DWORD RemoveBroken()
    {
        for (size_t i = 0; i < m_broken.size();) {
            CWriteAccess access(m_volume.Engine());
            DWORD dwError = access.Error();
            for (size_t n = 0; dwError == ERROR_SUCCESS && n < 1000 && i < m_broken.size(); ++n, ++i)
                dwError = access.Delete({m_broken[i].data(), m_broken[i].size()});
            if (dwError == ERROR_SUCCESS) dwError = access.Commit();
            if (dwError != ERROR_SUCCESS) return dwError;
        }
        return ERROR_SUCCESS;
    }

    // A name that no other database has: its own, or one made up.
    std::wstring NameFor(CEOID oid, const CRemains& remains)
    {
        const auto listed = m_names.find(oid);
        std::wstring strName = !remains.strName.empty()  ? remains.strName
                               : listed != m_names.end() ? listed->second
                                                         : std::wstring();
        strName = strName.c_str(); // a damaged one may have a terminator within
        CByteBuffer key;
        for (DWORD n = oid;; ++n) {
            if (!strName.empty()) {
                key.Clear();
                AppendNameKey(key, strName.c_str());
                if (m_taken.emplace(key.Data(), key.Data() + key.Size()).second) return strName;
            }
            strName = L"Recovered " + std::to_wstring(n);
        }
    }

    DWORD Mend(CEOID oid, CRemains& remains)
    {
        const std::wstring strName = NameFor(oid, remains);
        DWORD dwError = Describe(oid, remains, strName);
        if (dwError != ERROR_SUCCESS) return dwError;
        ++m_findings.info.nDatabases;
        m_findings.info.nRecords += static_cast<DWORD>(remains.records.size());
        Tell(oid, remains, strName);
        return Sort(oid);
    }

    void Tell(CEOID oid, const CRemains& remains, const std::wstring& strName)
    {
        const std::wstring strWhere = L"database \"" + strName + L"\": ";
        if (!remains.bDescribed) {
            m_findings.Say(L"database " + std::to_wstring(oid) +
                           L": its description is lost, its type and its sort orders with it; it is called \"" +
                           strName + L"\" now");
        } else if (strName != remains.strName) {
            m_findings.Say(strWhere + L"it was called \"" + remains.strName + L"\", as another one is");
        }
        const size_t nFound = remains.records.size();
        if (remains.bDescribed && nFound < remains.nRecordsBefore) {
            m_findings.info.nLostRecords += static_cast<DWORD>(remains.nRecordsBefore - nFound);
            m_findings.Say(strWhere + std::to_wstring(nFound) + L" of " + std::to_wstring(remains.nRecordsBefore) +
                           L" records could be read");
        } else if (!remains.bDescribed) {
            m_findings.info.nLostRecords += static_cast<DWORD>(remains.nUnread);
            m_findings.Say(strWhere + std::to_wstring(nFound) + L" records could be read; how many it had is lost");
        } else if (nFound > remains.nRecordsBefore) {
            m_findings.Say(strWhere + std::to_wstring(nFound) + L" records, " +
                           std::to_wstring(remains.nRecordsBefore) + L" as it counted them");
        }
        if (remains.nUnread)
            m_findings.Say(strWhere + std::to_wstring(remains.nUnread) +
                           L" records are there, but what properties they have is lost, or they contradict themselves");
    }

    // Writes description, name, and an empty list for each list of properties that is lost.
    DWORD Describe(CEOID oid, const CRemains& remains, const std::wstring& strName)
    {
        CDatabase database(oid);
        CWriteAccess access(m_volume.Engine());
        if (access.Error() != ERROR_SUCCESS) return access.Error();
        CBytes value;
        if (remains.bDescribed && (!access.Get(DatabaseKey(oid), value) || !database.Decode(value)))
            return ERROR_FILE_CORRUPT;
        if (!remains.bDescribed) database.Touch();
        strName.copy(database.szName, CEDB_MAXDBASENAMELEN - 1);
        database.szName[strName.size()] = 0;
        // Numbers of orders lead to their entries: each once.
        BYTE bId = 0;
        for (COrder& order : database.orders) order.bId = ++bId;
        database.nRecords = static_cast<DWORD>(remains.records.size());
        database.cbRecords = 0;
        for (const CEOID oidRecord : remains.records) {
            if (!access.Get(RecordKey(oid, oidRecord), value)) return ERROR_FILE_CORRUPT;
            database.cbRecords += value.cb;
        }
        const WORD nShapes = remains.shapes.empty() ? 0 : static_cast<WORD>(*remains.shapes.rbegin() + 1);
        database.nShapes = std::max(database.nShapes, nShapes);
        DWORD dwError = ERROR_SUCCESS;
        for (WORD i = 0; dwError == ERROR_SUCCESS && i < database.nShapes; ++i) {
            if (!remains.shapes.count(i))
                dwError = access.Put(ShapeKey(oid, i), CBytes{reinterpret_cast<const BYTE*>(""), 0});
        }
        CByteBuffer scratch;
        if (dwError == ERROR_SUCCESS) dwError = database.Save(access, scratch);
        scratch.Clear();
        AppendNameKey(scratch, database.szName);
        BYTE rgOid[sizeof(CEOID)];
        Store(rgOid, oid);
        if (dwError == ERROR_SUCCESS) dwError = access.Put(scratch.Bytes(), {rgOid, sizeof rgOid});
        return dwError == ERROR_SUCCESS ? access.Commit() : dwError;
    }

    DWORD Sort(CEOID oid)
    {
        CWriteAccess access(m_volume.Engine());
        DWORD dwError = m_volume.Sync(access);
        CDatabase* pDatabase = nullptr;
        if (dwError == ERROR_SUCCESS) dwError = m_volume.Database(access, oid, pDatabase);
        if (dwError != ERROR_SUCCESS) return dwError;
        for (const COrder& order : pDatabase->orders) {
            COrderBuilder builder(order);
            dwError = builder.Collect(access, m_volume, *pDatabase, m_volume.Record().lcid, false);
            if (dwError == ERROR_SUCCESS) dwError = builder.Write(access, m_volume, oid);
            if (dwError != ERROR_SUCCESS) return dwError;
        }
        return access.Commit();
    }

    // No OID is given out twice, nor one that a lost record may have had.
    DWORD MendRecord(bool bRecordLost)
    {
        constexpr CEOID kMargin = 0x10000;
        CWriteAccess access(m_volume.Engine());
        DWORD dwError = m_volume.Sync(access);
        if (dwError != ERROR_SUCCESS) return dwError;
        CVolumeRecord record = m_volume.Record();
        const CEOID oidBehind = m_oidHighest + 1; // 0 when all are used
        if (bRecordLost) {
            record.oidNext = oidBehind && oidBehind < 0 - kMargin ? oidBehind + kMargin : 0;
        } else if (record.oidNext && record.oidNext <= m_oidHighest) {
            record.oidNext = oidBehind;
        }
        if (!::IsValidLocale(record.lcid, LCID_INSTALLED) && record.lcid != LOCALE_INVARIANT)
            record.lcid = LOCALE_INVARIANT;
        record.dwStamp = CollationStamp(record.lcid); // all orders are sorted anew
        dwError = m_volume.SaveRecord(access, record);
        return dwError == ERROR_SUCCESS ? access.Commit() : dwError;
    }

    static constexpr WORD kMostShapes = 4096;

    COpenVolume& m_volume;
    CFindings& m_findings;
    std::map<CEOID, CRemains> m_databases;
    std::map<CEOID, std::wstring> m_names;
    std::vector<std::vector<BYTE>> m_broken; // keys
    std::set<std::vector<BYTE>> m_taken;     // names, as keys
    CEOID m_oidHighest = 0;
};

} // namespace

DWORD MendVolume(COpenVolume& volume, bool bRecordLost, CFindings& findings)
{
    return CMender(volume, findings).Run(bRecordLost);
}

} // namespace store
