#include "korvanedb/connection.h"

#include "base/errorutil.h"
#include "korvanedb/rowshared.h"

#include <algorithm>
#include <iterator>
#include <utility>
#include <vector>

namespace KorvaneDB {
namespace {

const wchar_t kSource[] = L"korvanedb/connection";
constexpr unsigned long kPropidMask = 0x00FFFFFF; // what counts of a "FieldID"

CFieldInfo Field(const wchar_t* pszName, CEPROPID propid)
{
    CFieldInfo field;
    field.m_sName = pszName;
    field.m_propid = propid;
    return field;
}

struct CCatalogueField
{
    const wchar_t* pszName;
    CEPROPID propid;
};

constexpr CCatalogueField kFieldsOfTables[] = {{L"TableName", 0x0000001F}, {L"TableID", 0x00010003}};
constexpr CCatalogueField kFieldsOfFields[] = {{L"TableID", 0x00000003},
                                               {L"FieldName", 0x0001001F},
                                               {L"FieldID", 0x00020003},
                                               {L"Len", 0x00030002},
                                               {L"ODBCType", 0x00040002}};
constexpr CCatalogueField kFieldsOfIndexes[] = {
    {L"TableID", 0x00000003}, {L"IndexName", 0x0001001F}, {L"FieldID", 0x00020003}, {L"IndexFlags", 0x00030003}};

// Values of catalogue records, by the fields' positions; what a record lacks is 0 or the empty text. The first reader
// takes them straight from the store: a row would make variants of them, only to be copied.
template <int nFields> class CStoreRecord
{
public:
    explicit CStoreRecord(const CCatalogueField (&fields)[nFields])
    {
        for (int i = 0; i < nFields; ++i) m_propids[i] = fields[i].propid;
    }
    enum EResult
    {
        kRead,
        kTooLarge, // for the buffer
        kFailed    // the last error tells why
    };
    EResult Read(HANDLE hDatabase, HANDLE hHeap)
    {
        WORD nProps = nFields;
        LPBYTE pBuffer = m_buffer;
        DWORD cb = sizeof m_buffer;
        if (::CeReadRecordPropsEx(hDatabase, 0, &nProps, m_propids, &pBuffer, &cb, hHeap)) return kRead;
        return cb > sizeof m_buffer ? kTooLarge : kFailed;
    }

    unsigned long Long(int nField) const { return Has(nField) ? Value(nField).val.ulVal : 0; }
    long Short(int nField) const { return Has(nField) ? Value(nField).val.iVal : 0; }
    CString Text(int nField) const
    {
        return Has(nField) && Value(nField).val.lpwstr ? CString(Value(nField).val.lpwstr) : CString();
    }

private:
    const CEPROPVAL& Value(int nField) const { return reinterpret_cast<const CEPROPVAL*>(m_buffer)[nField]; }
    bool Has(int nField) const { return !(Value(nField).wFlags & CEDB_PROPNOTFOUND); }

    CEPROPID m_propids[nFields];
    alignas(CEPROPVAL) BYTE m_buffer[1024];
};

class CRowRecord
{
public:
    explicit CRowRecord(CRow& row) : m_row(row) {}
    unsigned long Long(int nField) const
    {
        const _variant_t value = Value(nField);
        return V_VT(&value) == VT_I4 ? static_cast<unsigned long>(V_I4(&value)) : 0;
    }
    long Short(int nField) const
    {
        const _variant_t value = Value(nField);
        return V_VT(&value) == VT_I2 ? V_I2(&value) : 0;
    }
    CString Text(int nField) const
    {
        const _variant_t value = Value(nField);
        return V_VT(&value) == VT_BSTR && V_BSTR(&value) ? CString(V_BSTR(&value)) : CString();
    }

private:
    _variant_t Value(int nField) const
    {
        _variant_t value;
        m_row.getVal(nField, value);
        return value;
    }
    CRow& m_row;
};

// Calls each() for every record of a catalogue. A record that is too large is read by a row, whose table makeTable() makes.
template <int nFields, class MakeTable, class Each>
long ForEachRecord(HANDLE hDatabase, HANDLE hHeap, const CCatalogueField (&fields)[nFields], MakeTable makeTable,
                   Each each)
{
    CStoreRecord<nFields> record(fields);
    KORVANE_CHECK(0); // a parked error comes out before anything is read
    CEOID oid = ::CeSeekDatabase(hDatabase, CEDB_SEEK_BEGINNING, 0, nullptr);
    for (; oid; oid = ::CeSeekDatabase(hDatabase, CEDB_SEEK_CURRENT, 1, nullptr)) {
        const auto result = record.Read(hDatabase, hHeap);
        if (result == record.kFailed) return RaiseReadFailure(::GetLastError());
        if (result == record.kRead) {
            each(record);
            continue;
        }
        CFieldInfo infos[nFields];
        for (int i = 0; i < nFields; ++i) infos[i] = Field(fields[i].pszName, fields[i].propid);
        CRow row(makeTable(infos, nFields), hDatabase, 0);
        KORVANE_CHECK(row.ReadFromDB());
        each(CRowRecord(row));
    }
    return 0;
}

// Shows the system's text for an error. Without a display there is no box, and the debugger output gets the text.
void ShowSystemError(DWORD dwError)
{
    LPWSTR pszText = nullptr;
    ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS,
                     nullptr, dwError, 0, reinterpret_cast<LPWSTR>(&pszText), 0, nullptr);
    const wchar_t* const pszShown = pszText ? pszText : L"";
    if (::MessageBoxW(nullptr, pszShown, L"Error", MB_ICONINFORMATION) <= 0) ::OutputDebugStringW(pszShown);
    ::LocalFree(pszText);
}

} // namespace

// Keeps a connection from being deleted by the last reference that it handed out itself: on the stack it has no other.
class CConnection::CPin
{
public:
    explicit CPin(CConnection& connection) : m_connection(connection) { ++m_connection.m_lRefs; }
    ~CPin() { --m_connection.m_lRefs; }
    CPin(const CPin&) = delete;
    CPin& operator=(const CPin&) = delete;

private:
    CConnection& m_connection;
};

CConnection::CConnection() : m_guid(), m_bOpen(0), m_hHeap(nullptr) {}

CConnection::CConnection(const CConnection& rOther) = default;

CConnection& CConnection::operator=(const CConnection& rOther)
{
    if (this == &rOther) return *this;
    ReleaseTables(&rOther);
    CRefCntBase::operator=(rOther);
    m_sName = rOther.m_sName;
    std::copy(std::begin(rOther.m_slots), std::end(rOther.m_slots), m_slots);
    m_guid = rOther.m_guid;
    m_bOpen = rOther.m_bOpen;
    m_hHeap = rOther.m_hHeap;
    m_tables = rOther.m_tables;
    return *this;
}

CConnection::~CConnection()
{
    Close();
    ReleaseTables();
}

// Empties the table map. Tables that a row still holds forget the connection: it is about to be another one, or none.
// But for those that it is to have again, from pNext.
void CConnection::ReleaseTables(const CConnection* pNext)
{
    CPin pin(*this);
    for (auto& [name, pTable] : m_tables) {
        if (pTable->m_pConnection != this) continue;
        const auto next = pNext ? pNext->m_tables.find(name) : m_tables.end();
        const bool bStays = pNext && next != pNext->m_tables.end() && next->second == pTable;
        if (!bStays) pTable->m_pConnection = nullptr;
    }
    m_tables.clear();
}

void CConnection::Initialize()
{
    for (CCatalogueSlot& slot : m_slots) slot = CCatalogueSlot();
    m_bOpen = 0;
}

// Mounts the volume, or names the object store. The last error is the mount's.
bool CConnection::Mount(const TCHAR* sDBName)
{
    if (sDBName && *sDBName) return ::CeMountDBVol(&m_guid, const_cast<LPWSTR>(sDBName), OPEN_EXISTING);
    CREATE_SYSTEMGUID(&m_guid);
    return true;
}

bool CConnection::OpenCatalogue(int nSlot, const wchar_t* pszName)
{
    CCatalogueSlot& slot = m_slots[nSlot];
    slot.hDatabase = ::CeOpenDatabaseEx(&m_guid, &slot.oid, const_cast<LPWSTR>(pszName), 0, 0, nullptr);
    return slot.hDatabase != INVALID_HANDLE_VALUE;
}

long CConnection::Open(const TCHAR* sDBName)
{
    if (m_bOpen) KORVANE_RAISE(kSource, 143, E_FAIL, L"Already Open");
    CPin pin(*this);
    Initialize();
    if (!Mount(sDBName)) KORVANE_RAISE(kSource, 153, E_FAIL, L"Unable to mount database");

    static constexpr struct
    {
        const wchar_t* pszName;
        unsigned long ulLine;
    } kCatalogues[] = {{L"MSysTables", 159}, {L"MSysFields", 163}, {L"MSysIndexes", 166}};
    for (int nSlot = kTables; nSlot <= kIndexes; ++nSlot) {
        if (OpenCatalogue(nSlot, kCatalogues[nSlot].pszName)) continue;
        Close();
        KORVANE_RAISE(kSource, kCatalogues[nSlot].ulLine, E_FAIL, L"CEOpenDatabaseEx failed");
    }
    m_hHeap = ::GetProcessHeap();
    if (!m_hHeap) KORVANE_RAISE(kSource, 170, E_FAIL, L"Call to GetProcessHeap(...) failed");

    std::map<unsigned long, std::list<CFieldInfo>> fieldsOfTables;
    std::map<CString, unsigned long> tables;
    std::map<unsigned long, std::list<CIndexInfo>> indexesOfTables;
    KORVANE_CHECK(FillFields(fieldsOfTables));
    KORVANE_CHECK(FillTables(tables));
    KORVANE_CHECK(FillIndexes(indexesOfTables));

    // Several names of one database share its descriptions: then no table takes them away from the others.
    std::vector<unsigned long> oids;
    oids.reserve(tables.size());
    for (const auto& entry : tables) oids.push_back(entry.second);
    std::sort(oids.begin(), oids.end());
    const bool bShared = std::adjacent_find(oids.begin(), oids.end()) != oids.end();
    for (const auto& entry : tables) {
        // A table without records in one of the two has no fields, respectively no indexes.
        auto& fields = fieldsOfTables[entry.second];
        auto& indexes = indexesOfTables[entry.second];
        const CSmartPtr<CConnection> pThis(this);
        const CSmartPtr<CTable> pTable(bShared ? new CTable(entry.first, fields, indexes, pThis)
                                               : new CTable(entry.first, std::move(fields), std::move(indexes), pThis));
        pTable->m_oid = entry.second;
        m_tables.emplace_hint(m_tables.end(), entry.first, pTable);
    }
    KORVANE_CHECK(ReleaseSystemTables());
    m_bOpen = 1;
    m_sName = sDBName;
    return 0;
}

// A table with the fields of a catalogue, to read that with.
CSmartPtr<CTable> CConnection::CatalogueTable(CFieldInfo* pFields, int nFields)
{
    return CSmartPtr<CTable>(new CTable(CString(), pFields, nFields, CSmartPtr<CConnection>(this)));
}

long CConnection::FillTables(std::map<CString, unsigned long>& tables)
{
    CPin pin(*this);
    const auto makeTable = [&](CFieldInfo* pFields, int nFields) { return CatalogueTable(pFields, nFields); };
    return ForEachRecord(m_slots[kTables].hDatabase, m_hHeap, kFieldsOfTables, makeTable,
                         [&](const auto& record) { tables.emplace(record.Text(0), record.Long(1)); });
}

long CConnection::FillFields(std::map<unsigned long, std::list<CFieldInfo>>& fieldsOfTables)
{
    CPin pin(*this);
    const auto makeTable = [&](CFieldInfo* pFields, int nFields) { return CatalogueTable(pFields, nFields); };
    return ForEachRecord(m_slots[kFields].hDatabase, m_hHeap, kFieldsOfFields, makeTable, [&](const auto& record) {
        CFieldInfo field;
        field.m_sName = record.Text(1);
        field.m_propid = record.Long(2) & kPropidMask;
        field.m_lLen = record.Short(3);
        field.m_lType = record.Short(4);
        fieldsOfTables[record.Long(0)].push_back(field);
    });
}

long CConnection::FillIndexes(std::map<unsigned long, std::list<CIndexInfo>>& indexesOfTables)
{
    CPin pin(*this);
    const auto makeTable = [&](CFieldInfo* pFields, int nFields) { return CatalogueTable(pFields, nFields); };
    return ForEachRecord(m_slots[kIndexes].hDatabase, m_hHeap, kFieldsOfIndexes, makeTable, [&](const auto& record) {
        CIndexInfo index;
        index.m_sName = record.Text(1);
        index.m_propid = record.Long(2) & kPropidMask;
        index.m_dwFlags = record.Long(3);
        indexesOfTables[record.Long(0)].push_back(index);
    });
}

long CConnection::ReleaseSystemTables()
{
    static constexpr unsigned long kLines[] = {221, 223, 225};
    for (int nSlot = kTables; nSlot <= kIndexes; ++nSlot) {
        const HANDLE hDatabase = m_slots[nSlot].hDatabase;
        if (hDatabase != INVALID_HANDLE_VALUE && !::CloseHandle(hDatabase))
            KORVANE_RAISE(kSource, kLines[nSlot], E_FAIL, L"General error");
    }
    for (int nSlot = kTables; nSlot <= kIndexes; ++nSlot) m_slots[nSlot].hDatabase = INVALID_HANDLE_VALUE;
    return 0;
}

long CConnection::OpenFromDef(const TCHAR* sDBName, std::list<CTableDefinition>& definitions)
{
    if (m_bOpen) KORVANE_RAISE(kSource, 55, E_FAIL, L"Already Open");
    CPin pin(*this);
    Initialize();
    const bool bMounted = Mount(sDBName);
    if (sDBName && *sDBName) {
        const DWORD dwError = ::GetLastError(); // before the trace, which changes it
        KORVANE_TRACE(kSource, 64, "sDBName", sDBName);
        if (!bMounted && dwError != 0) ShowSystemError(dwError);
        KORVANE_TRACE(kSource, 88, "GetLastError()", dwError);
    }
    if (!bMounted) KORVANE_RAISE(kSource, 90, E_FAIL, L"Unable to mount database");
    m_hHeap = ::GetProcessHeap();
    if (!m_hHeap) KORVANE_RAISE(kSource, 95, E_FAIL, L"Call to GetProcessHeap(...) failed");

    for (const CTableDefinition& definition : definitions) {
        std::list<CFieldInfo> fields;
        unsigned long ulNumber = 0;
        for (const CFieldDefinition& field : definition.second.first) {
            CFieldInfo info = Field(field.first, (ulNumber++ << 16) + field.second);
            info.m_lType = field.second;
            info.m_lLen = 0;
            fields.push_back(info);
        }
        std::list<CIndexInfo> indexes;
        for (const CIndexDefinition& index : definition.second.second) {
            CIndexInfo info;
            info.m_sName = index.first;
            info.m_propid = index.second.first;
            info.m_dwFlags = index.second.second;
            indexes.push_back(info);
        }
        const CSmartPtr<CTable> pTable(new CTable(definition.first, fields, indexes, CSmartPtr<CConnection>(this)));
        m_tables.emplace(definition.first, pTable);
    }
    m_bOpen = 1;
    m_sName = sDBName;
    return 0;
}

long CConnection::Close()
{
    if (!CHECK_SYSTEMGUID(&m_guid) && !::CeUnmountDBVol(&m_guid)) KORVANE_RAISE(kSource, 236, E_FAIL, L"General error");
    Initialize();
    return 0;
}

std::map<CString, unsigned long> CConnection::GetTableNames()
{
    std::map<CString, unsigned long> names;
    for (auto& entry : m_tables) {
        CTable& table = *entry.second;
        if (table.m_oid == 0) {
            const HANDLE hDatabase = ::CeOpenDatabaseEx(
                &m_guid, &table.m_oid, const_cast<LPWSTR>(static_cast<LPCWSTR>(entry.first)), 0, 0, nullptr);
            if (hDatabase != INVALID_HANDLE_VALUE) ::CloseHandle(hDatabase);
        }
        names.emplace(entry.first, table.m_oid);
    }
    return names;
}

long CConnection::OpenTable(CString sName, CSmartPtr<CRow>& row)
{
    const auto found = m_tables.find(sName);
    if (found == m_tables.end()) KORVANE_RAISE(kSource, 431, E_FAIL, L"Table not found");
    const CSmartPtr<CTable> pTable = found->second;

    wchar_t szNoName[255] = {};
    CEOID oid = pTable->m_oid;
    LPWSTR pszName = oid ? szNoName : const_cast<LPWSTR>(static_cast<LPCWSTR>(pTable->m_sName));
    const HANDLE hDatabase = ::CeOpenDatabaseEx2(&m_guid, &oid, pszName, nullptr, 0, nullptr);
    if (hDatabase == INVALID_HANDLE_VALUE)
        KORVANE_RAISE(kSource, 449, E_FAIL, L"Call to function CeOpenDatabase(...) failed");
    pTable->m_oid = oid;
    try {
        row = new CRow(pTable, hDatabase, 1);
    } catch (...) {
        // Memory is out, and no row owns the handle.
        ::CloseHandle(hDatabase);
        throw;
    }
    return 0;
}

CEGUID* CConnection::GetVolGUID()
{
    return &m_guid;
}

} // namespace KorvaneDB
