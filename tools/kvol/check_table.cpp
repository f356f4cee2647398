#include "check.h"

#include "output.h"
#include "value.h"

#include <set>

namespace kvol {

namespace {

std::string RecordPlace(const TableInfo& table, CEOID oid)
{
    return "table " + Quoted(table.name) + ", record " + std::to_string(oid);
}

std::string PropertyName(CEPROPID propid)
{
    char text[40];
    std::snprintf(text, sizeof text, "property 0x%08lX (", propid);
    return text + TypeName(TypeFromPropID(propid)) + ")";
}

// Whether the table has a field of the same number but another type: the usual way to a property without a field.
const FieldInfo* SameNumber(const TableInfo& table, CEPROPID propid)
{
    for (const FieldInfo& field : table.fields) {
        if (HIWORD(field.propid) == HIWORD(propid)) return &field;
    }
    return nullptr;
}

void CheckProperties(const TableInfo& table, CEOID oid, const CEPROPVAL* pValues, WORD nValues, CReport& report)
{
    for (WORD i = 0; i < nValues; ++i) {
        const CEPROPID propid = pValues[i].propid;
        if (table.FieldOf(propid)) continue;
        const FieldInfo* pField = SameNumber(table, propid);
        report.Fault(
            RecordPlace(table, oid),
            "it has the " + PropertyName(propid) + ", which is of no field" +
                (pField ? "; the field " + Quoted(pField->name) + " is " + TypeName(pField->Type()) : std::string()));
    }
}

// Walks the table by the store's own calls, in the order of creation. Returns the records' OIDs in that order.
std::vector<CEOID> CheckRecords(CVolume& volume, const TableInfo& table, CReport& report)
{
    std::vector<CEOID> records;
    CEOID oid = table.oid;
    const CStoreHandle database(::CeOpenDatabaseEx(volume.Guid(), &oid, nullptr, 0, 0, nullptr));
    const HANDLE h = database.Get();
    if (!database.IsValid()) {
        const DWORD dwError = ::GetLastError();
        throw CFailure("its database cannot be opened: " + SystemText(dwError));
    }
    struct CBuffer
    {
        ~CBuffer() { ::LocalFree(p); }
        LPBYTE p = nullptr;
        DWORD cb = 0;
    } buffer;
    std::set<CEOID> seen;
    CEOID current = ::CeSeekDatabase(h, CEDB_SEEK_BEGINNING, 0, nullptr);
    DWORD dwError = ::GetLastError();
    while (current) {
        if (!seen.insert(current).second) {
            report.Fault(RecordPlace(table, current), "a walk comes to it twice; the rest of the walk is not checked");
            dwError = ERROR_NO_MORE_ITEMS;
            break;
        }
        records.push_back(current);
        CEOIDINFO object = {};
        if (!::CeOidGetInfoEx(volume.Guid(), current, &object) || object.wObjType != OBJTYPE_RECORD ||
            object.infRecord.oidParent != table.oid) {
            report.Fault(RecordPlace(table, current), "the store does not know it as a record of this table");
        }
        WORD nValues = 0;
        const CEOID read =
            ::CeReadRecordPropsEx(h, CEDB_ALLOWREALLOC, &nValues, nullptr, &buffer.p, &buffer.cb, nullptr);
        dwError = ::GetLastError();
        if (read == current) {
            CheckProperties(table, current, reinterpret_cast<const CEPROPVAL*>(buffer.p), nValues, report);
        } else if (read) {
            report.Fault(RecordPlace(table, current), "reading it gives the record " + std::to_string(read));
        } else if (dwError != ERROR_NO_DATA) { // what a record without any value gives; the library's walk names it
            report.Fault(RecordPlace(table, current), "it cannot be read: " + SystemText(dwError));
        }
        current = ::CeSeekDatabase(h, CEDB_SEEK_CURRENT, 1, nullptr);
        dwError = ::GetLastError();
    }
    if (dwError != ERROR_NO_MORE_ITEMS) {
        report.Fault("table " + Quoted(table.name),
                     "the walk ends after " + Counted(records.size(), "record") + ": " + SystemText(dwError));
    }
    return records;
}

// -1, 0 or 1 as the one number comes before, with or behind the other; 0 for texts, whose order is the store's.
int CompareNumbers(WORD wType, const CEVALUNION& left, const CEVALUNION& right)
{
    const auto compare = [](auto a, auto b) { return a < b ? -1 : b < a ? 1 : 0; };
    switch (wType) {
    case CEVT_I2:
        return compare(left.iVal, right.iVal);
    case CEVT_UI2:
        return compare(left.uiVal, right.uiVal);
    case CEVT_I4:
        return compare(left.lVal, right.lVal);
    case CEVT_UI4:
        return compare(left.ulVal, right.ulVal);
    case CEVT_R8:
        return compare(left.dblVal, right.dblVal);
    case CEVT_BOOL:
        return compare(!!left.boolVal, !!right.boolVal);
    case CEVT_FILETIME:
        return ::CompareFileTime(&left.filetime, &right.filetime);
    default:
        return 0;
    }
}

// Walks an index. Each record of the table has to come once. The value of each record that begins a run of equal ones
// has to lead a seek to just that record, and a seek for something smaller to the one before it: that is what the order
// means. The walk is the library's; values go from the record into the seek by the store's calls, which keep them to
// the last bit.
class CIndexCheck
{
public:
    CIndexCheck(CVolume& volume, const TableInfo& table, const IndexInfo& index, CReport& report)
        : m_table(table), m_index(index), m_report(report), m_walk(volume, table)
    {
        m_walk.UseIndex(index);
        CEOID oid = table.oid;
        m_hSeek = ::CeOpenDatabaseEx(volume.Guid(), &oid, nullptr, index.propid, 0, nullptr);
        if (m_hSeek == INVALID_HANDLE_VALUE) {
            const DWORD dwError = ::GetLastError();
            throw CFailure("its database cannot be opened: " + SystemText(dwError));
        }
    }
    ~CIndexCheck()
    {
        if (m_pBuffer) ::LocalFree(m_pBuffer);
        ::CloseHandle(m_hSeek);
    }
    CIndexCheck(const CIndexCheck&) = delete;
    CIndexCheck& operator=(const CIndexCheck&) = delete;

    void Run(const std::set<CEOID>& records)
    {
        std::set<CEOID> seen;
        for (bool bOn = m_walk.First(); bOn; bOn = m_walk.Next()) {
            const CEOID oid = m_walk.Row().getBookmark();
            if (!seen.insert(oid).second) {
                Fault(oid, "it comes twice; the rest of the index is not checked");
                return;
            }
            if (records.count(oid)) {
                CheckEntry(oid);
            } else {
                Fault(oid, "the table has no such record");
            }
        }
        for (const CEOID oid : records) {
            if (!seen.count(oid)) Fault(oid, "the index lacks it");
        }
    }

private:
    void Fault(CEOID oid, const std::string& what)
    {
        m_report.Fault("table " + Quoted(m_table.name) + ", index " + Quoted(m_index.name) + ", record " +
                           std::to_string(oid),
                       what);
    }

    void CheckEntry(CEOID oid)
    {
        WORD nValues = 1;
        CEPROPID propid = m_index.propid;
        const CEOID found = ::CeSeekDatabase(m_hSeek, CEDB_SEEK_CEOID, oid, nullptr);
        const CEOID read =
            ::CeReadRecordPropsEx(m_hSeek, CEDB_ALLOWREALLOC, &nValues, &propid, &m_pBuffer, &m_cbBuffer, nullptr);
        const DWORD dwError = ::GetLastError();
        if (found != oid || (read != oid && dwError != ERROR_NO_DATA)) {
            Fault(oid, "it cannot be read in this order: " + SystemText(dwError));
            return;
        }
        const bool bFirst = (m_index.dwFlags & CEDB_SORT_UNKNOWNFIRST) != 0; // those without a value come first
        if (!read) {
            if (bFirst && m_last) Fault(oid, "it has no value, and comes behind one that has");
            m_bLacking = true;
            return;
        }
        if (m_bLacking && !bFirst) Fault(oid, "it has a value, and comes behind one that has none");
        CEPROPVAL value = *reinterpret_cast<const CEPROPVAL*>(m_pBuffer);
        CheckSeeks(oid, value);
        if (m_last) {
            const int order = CompareNumbers(TypeFromPropID(propid), m_lastValue, value.val);
            if (m_index.dwFlags & CEDB_SORT_DESCENDING ? order < 0 : order > 0) {
                Fault(oid, "it is out of order: it comes behind the record " + std::to_string(m_last));
            }
        }
        m_last = oid;
        m_lastValue = value.val;
    }

    void CheckSeeks(CEOID oid, CEPROPVAL& value)
    {
        const auto seek = [&](DWORD dwType) {
            return ::CeSeekDatabase(m_hSeek, dwType, reinterpret_cast<DWORD>(&value), nullptr);
        };
        const CEOID first = seek(CEDB_SEEK_VALUEFIRSTEQUAL);
        if (!first) {
            Fault(oid, "a seek for its value finds nothing");
            return;
        }
        if (first != oid) {
            if (first != m_runFirst) Fault(oid, "a seek for its value finds the record " + std::to_string(first));
            return;
        }
        m_runFirst = oid;
        const CEOID smaller = seek(CEDB_SEEK_VALUESMALLER);
        if (smaller == m_last) return;
        const auto record = [](CEOID other) {
            return other ? "the record " + std::to_string(other) : std::string("none");
        };
        Fault(oid, "it is out of order: a seek finds " + record(smaller) + " before its value, the walk comes from " +
                       record(m_last));
    }

    const TableInfo& m_table;
    const IndexInfo& m_index;
    CReport& m_report;
    CTableCursor m_walk;
    HANDLE m_hSeek;
    LPBYTE m_pBuffer = nullptr; // of the value read last
    DWORD m_cbBuffer = 0;
    bool m_bLacking = false; // a record without the value has come
    CEOID m_last = 0;        // the last record with a value, and its value (a text's pointer is not used)
    CEVALUNION m_lastValue = {};
    CEOID m_runFirst = 0; // the first of the records with the value of m_last
};

// Walks the table by the library: each record reads, and they are those that the store has.
void CheckThroughLibrary(CVolume& volume, const TableInfo& table, const std::vector<CEOID>& records, CReport& report)
{
    CTableCursor cursor(volume, table);
    unsigned long nCounted = 0;
    Call("its records cannot be counted", [&] { return cursor.Row().getNumRows(nCounted); });
    if (nCounted != records.size()) {
        report.Fault("table " + Quoted(table.name),
                     "the store counts " + Counted(nCounted, "record") + ", a walk finds " + Counted(records.size()));
    }
    // The library's rows read no blobs; the records have been read by the store's calls.
    bool bBlobs = false;
    for (const FieldInfo& field : table.fields) bBlobs = bBlobs || field.Type() == CEVT_BLOB;
    if (bBlobs) report.Note("table " + Quoted(table.name), "it has a BLOB field: KorvaneDB's rows cannot read it");
    CProgress progress(ToUtf8(table.name).c_str(), records.size());
    size_t position = 0;
    for (bool bOn = cursor.First(); bOn; bOn = cursor.Next(), ++position) {
        progress.Show(position);
        const CEOID oid = cursor.Row().getBookmark();
        if (position >= records.size() || records[position] != oid) {
            report.Fault(RecordPlace(table, oid),
                         "the library's walk comes to it out of turn; the rest is not checked");
            return;
        }
        if (bBlobs) continue;
        try {
            if (!cursor.Read()) report.Fault(RecordPlace(table, oid), "it has no value in any field of the table");
        } catch (const CFailure& failure) {
            report.Fault(RecordPlace(table, oid), failure.what());
        }
    }
    if (position != records.size()) {
        report.Fault("table " + Quoted(table.name), "the library's walk ends after " + Counted(position, "record"));
    }
}

} // namespace

size_t CheckTable(CVolume& volume, const TableInfo& table, CReport& report)
{
    const std::string where = "table " + Quoted(table.name);
    std::vector<CEOID> records;
    try {
        records = CheckRecords(volume, table, report);
        CheckThroughLibrary(volume, table, records, report);
    } catch (const CFailure& failure) {
        report.Fault(where, failure.what());
        return records.size();
    }
    const std::set<CEOID> set(records.begin(), records.end());
    for (const IndexInfo& index : table.indexes) {
        if (!table.FieldOf(index.propid)) continue; // said of the catalogue already
        try {
            CIndexCheck(volume, table, index, report).Run(set);
        } catch (const CFailure& failure) {
            report.Fault(where + ", index " + Quoted(index.name), failure.what());
        }
    }
    return records.size();
}

} // namespace kvol
