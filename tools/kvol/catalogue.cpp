#include "database.h"

#include "value.h"

#include <list>
#include <map>

namespace kvol {

namespace {

// The catalogues as definitions: numbered in this order, their fields get the properties that the library reads.
std::list<KorvaneDB::CTableDefinition> CatalogueDefinitions()
{
    using Fields = std::list<KorvaneDB::CFieldDefinition>;
    const auto table = [](const wchar_t* pszName, const Fields& fields) {
        return KorvaneDB::CTableDefinition(pszName, {fields, {}});
    };
    return {
        table(CCatalogue::kTables, {{L"TableName", CEVT_LPWSTR}, {L"TableID", CEVT_I4}}),
        table(CCatalogue::kFields, {{L"TableID", CEVT_I4},
                                    {L"FieldName", CEVT_LPWSTR},
                                    {L"FieldID", CEVT_I4},
                                    {L"Len", CEVT_I2},
                                    {L"ODBCType", CEVT_I2}}),
        table(CCatalogue::kIndexes,
              {{L"TableID", CEVT_I4}, {L"IndexName", CEVT_LPWSTR}, {L"FieldID", CEVT_I4}, {L"IndexFlags", CEVT_I4}}),
    };
}

std::wstring TextOf(const _variant_t& value)
{
    return V_VT(&value) == VT_BSTR ? std::wstring(V_BSTR(&value), ::SysStringLen(V_BSTR(&value))) : std::wstring();
}

long NumberOf(const _variant_t& value)
{
    return V_VT(&value) == VT_I4 ? V_I4(&value) : V_VT(&value) == VT_I2 ? V_I2(&value) : 0;
}

_variant_t I4(DWORD value)
{
    return _variant_t(static_cast<long>(value), VT_I4);
}

void CreateDatabase(CVolume& volume, CEDBASEINFO& info, const std::wstring& name, CEOID& oid)
{
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    name.copy(info.szDbaseName, CEDB_MAXDBASENAMELEN - 1);
    oid = ::CeCreateDatabaseEx(volume.Guid(), &info);
    if (oid) return;
    const DWORD dwError = ::GetLastError();
    throw CFailure("cannot create the database " + Quoted(name) + " in " + Quoted(volume.Path()) + ": " +
                   (dwError == ERROR_DUP_NAME
                        ? "the volume has one of that name already (names are compared without case)"
                        : SystemText(dwError)));
}

bool HasDatabase(CVolume& volume, const wchar_t* pszName)
{
    CEOID oid = 0;
    std::wstring name = pszName;
    const CStoreHandle database(::CeOpenDatabaseEx(volume.Guid(), &oid, name.data(), 0, 0, nullptr));
    const DWORD dwError = ::GetLastError();
    if (database.IsValid()) return true;
    if (dwError == ERROR_FILE_NOT_FOUND) return false;
    throw CFailure("cannot open the database " + Quoted(name) + " in " + Quoted(volume.Path()) + ": " +
                   SystemText(dwError));
}

} // namespace

bool FieldInfo::IsDays() const
{
    return Type() == CEVT_FILETIME && odbc == kOdbcDate;
}

int TableInfo::FieldPosition(std::wstring_view field) const
{
    for (size_t i = 0; i < fields.size(); ++i) {
        if (fields[i].name == field) return static_cast<int>(i);
    }
    return -1;
}

const FieldInfo* TableInfo::FieldOf(CEPROPID propid) const
{
    for (const FieldInfo& field : fields) {
        if (field.propid == propid) return &field;
    }
    return nullptr;
}

const IndexInfo* TableInfo::FindIndex(std::wstring_view index) const
{
    for (const IndexInfo& info : indexes) {
        if (info.name == index) return &info;
    }
    return nullptr;
}

const IndexInfo& TableInfo::Index(std::wstring_view index) const
{
    if (const IndexInfo* pIndex = FindIndex(index)) return *pIndex;
    std::string known;
    for (const IndexInfo& info : indexes) known += (known.empty() ? " " : ", ") + OneLine(ToUtf8(info.name));
    throw CFailure("the table " + Quoted(name) + " has no index " + Quoted(index) +
                   (known.empty() ? "; it has none at all" : "; its indexes are" + known));
}

void CCatalogue::CreateMissing(CVolume& volume)
{
    for (const wchar_t* pszName : {kTables, kFields, kIndexes}) {
        if (HasDatabase(volume, pszName)) continue;
        CEDBASEINFO info = {};
        CEOID oid = 0;
        CreateDatabase(volume, info, pszName, oid);
    }
}

CCatalogue::CCatalogue(CVolume& volume) : m_volume(volume)
{
    std::list<KorvaneDB::CTableDefinition> definitions = CatalogueDefinitions();
    Call("cannot open the volume " + Quoted(volume.Path()),
         [&] { return m_connection.OpenFromDef(volume.WidePath(), definitions); });
    for (const CatalogueRow& row : Rows(kTables)) {
        TableInfo table;
        table.name = TextOf(row.values[0]);
        table.oid = static_cast<CEOID>(NumberOf(row.values[1]));
        if (!Find(ToUtf8(table.name))) m_tables.push_back(std::move(table));
    }
    // By database: one that is listed under two names gives both its fields and indexes.
    std::map<long, std::vector<FieldInfo>> fields;
    for (const CatalogueRow& row : Rows(kFields)) {
        FieldInfo field;
        field.name = TextOf(row.values[1]);
        field.propid = static_cast<CEPROPID>(NumberOf(row.values[2])) & kPropertyMask;
        field.len = static_cast<short>(NumberOf(row.values[3]));
        field.odbc = static_cast<short>(NumberOf(row.values[4]));
        fields[NumberOf(row.values[0])].push_back(std::move(field));
    }
    std::map<long, std::vector<IndexInfo>> indexes;
    for (const CatalogueRow& row : Rows(kIndexes)) {
        IndexInfo index;
        index.name = TextOf(row.values[1]);
        index.propid = static_cast<CEPROPID>(NumberOf(row.values[2])) & kPropertyMask;
        index.dwFlags = static_cast<DWORD>(NumberOf(row.values[3]));
        indexes[NumberOf(row.values[0])].push_back(std::move(index));
    }
    for (TableInfo& table : m_tables) {
        table.fields = fields[static_cast<long>(table.oid)];
        table.indexes = indexes[static_cast<long>(table.oid)];
    }
}

const TableInfo* CCatalogue::Find(const std::string& name) const
{
    const std::wstring wide = Wide(name);
    for (const TableInfo& table : m_tables) {
        if (table.name == wide) return &table;
    }
    return nullptr;
}

const TableInfo& CCatalogue::Table(const std::string& name) const
{
    if (const TableInfo* pTable = Find(name)) return *pTable;
    std::string known;
    for (const TableInfo& table : m_tables) known += (known.empty() ? " " : ", ") + OneLine(ToUtf8(table.name));
    throw CFailure("the volume " + Quoted(m_volume.Path()) + " has no table " + Quoted(name) +
                   (known.empty() ? "; it has none at all" : "; its tables are" + known));
}

CSmartPtr<KorvaneDB::CRow> CCatalogue::OpenCatalogue(const wchar_t* pszCatalogue)
{
    CSmartPtr<KorvaneDB::CRow> row;
    Call("the volume " + Quoted(m_volume.Path()) + " has no catalogue of tables: " + ToUtf8(pszCatalogue) +
             " cannot be opened (\"kvol import\" makes what is missing)",
         [&] { return m_connection.OpenTable(CString(pszCatalogue), row); });
    return row;
}

std::vector<CatalogueRow> CCatalogue::Rows(const wchar_t* pszCatalogue)
{
    const CSmartPtr<KorvaneDB::CRow> row = OpenCatalogue(pszCatalogue);
    const int nFields = row->getTable()->m_nFields;
    const std::string what = "cannot read " + ToUtf8(pszCatalogue) + " of " + Quoted(m_volume.Path());
    std::vector<CatalogueRow> rows;
    for (bool bOn = Walk(what, *row, [&] { return row->MoveFirst(); }); bOn;
         bOn = Walk(what, *row, [&] { return row->MoveNext(); })) {
        CatalogueRow record;
        record.oid = row->getBookmark();
        const long hr = row->ReadFromDB();
        const DWORD dwError = ::GetLastError();
        record.values.assign(nFields, Absent());
        // A record with none of the catalogue's properties is one of nothing but absent values.
        if (hr >= 0) {
            for (int i = 0; i < nFields; ++i) Call(what, [&] { return row->getVal(i, record.values[i]); });
        } else if (dwError != ERROR_NO_DATA) {
            throw CFailure(what + ", record " + std::to_string(record.oid) + ": " + SystemText(dwError));
        }
        rows.push_back(std::move(record));
    }
    return rows;
}

void CCatalogue::Append(const wchar_t* pszCatalogue, std::vector<_variant_t> values)
{
    const CSmartPtr<KorvaneDB::CRow> row = OpenCatalogue(pszCatalogue);
    const std::string what = "cannot write to " + ToUtf8(pszCatalogue) + " of " + Quoted(m_volume.Path());
    Call(what, [&] { return row->AddNew(); });
    for (int i = 0; i < static_cast<int>(values.size()); ++i) Call(what, [&] { return row->setVal(i, values[i]); });
    Call(what, [&] { return row->WriteToDB(); });
}

void CCatalogue::Add(TableInfo& table)
{
    CEDBASEINFO info = {};
    for (const IndexInfo& index : table.indexes) {
        info.rgSortSpecs[info.wNumSortOrder++] = SORTORDERSPEC{index.propid, index.dwFlags};
    }
    CreateDatabase(m_volume, info, table.name, table.oid);
    Append(kTables, {_variant_t(table.name.c_str()), I4(table.oid)});
    for (const FieldInfo& field : table.fields) {
        Append(kFields, {I4(table.oid), _variant_t(field.name.c_str()), I4(field.propid), _variant_t(field.len),
                         _variant_t(field.odbc)});
    }
    for (const IndexInfo& index : table.indexes) {
        Append(kIndexes, {I4(table.oid), _variant_t(index.name.c_str()), I4(index.propid), I4(index.dwFlags)});
    }
    m_tables.push_back(table);
}

void CCatalogue::List(CEOID oid, const std::wstring& name)
{
    Append(kTables, {_variant_t(name.c_str()), I4(oid)});
}

void CCatalogue::RemoveRows(const wchar_t* pszCatalogue, int idField, CEOID oidTable)
{
    const CSmartPtr<KorvaneDB::CRow> row = OpenCatalogue(pszCatalogue);
    const std::string what = "cannot remove records of " + ToUtf8(pszCatalogue) + " in " + Quoted(m_volume.Path());
    for (const CatalogueRow& record : Rows(pszCatalogue)) {
        if (static_cast<CEOID>(NumberOf(record.values[idField])) != oidTable) continue;
        Call(what, [&] { return row->setBookmark(record.oid); });
        Call(what, [&] { return row->Delete(); });
    }
}

void CCatalogue::Remove(const TableInfo& table, const char* pszVerb)
{
    const CEOID oid = table.oid;
    // Only a damaged catalogue has a table that leads to a catalogue.
    CEDBASEINFO info = {};
    if (DescribeDatabase(m_volume, oid, info) && ::_wcsnicmp(info.szDbaseName, L"MSys", 4) == 0) {
        throw CFailure(std::string("cannot ") + pszVerb + " the table " + Quoted(table.name) +
                       ": its database is called " + Quoted(std::wstring_view(info.szDbaseName)) +
                       "; \"kvol check\" tells more");
    }
    if (!::CeDeleteDatabaseEx(m_volume.Guid(), oid)) {
        const DWORD dwError = ::GetLastError();
        // A table whose database is gone is removed all the same: that mends the volume.
        if (dwError != ERROR_INVALID_PARAMETER) {
            throw CFailure(
                std::string("cannot ") + pszVerb + " the table " + Quoted(table.name) + ": " +
                (dwError == ERROR_SHARING_VIOLATION ? "a program has it open; close that first" : SystemText(dwError)));
        }
    }
    RemoveRows(kTables, 1, oid);
    RemoveRows(kFields, 0, oid);
    RemoveRows(kIndexes, 0, oid);
    for (size_t i = 0; i < m_tables.size(); ++i) {
        if (m_tables[i].oid == oid) m_tables.erase(m_tables.begin() + i--);
    }
}

} // namespace kvol
