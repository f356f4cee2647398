#include "commands.h"
#include "output.h"
#include "records.h"
#include "sqlschema.h"
#include "sqlvalue.h"

#include <set>

namespace kvol {

namespace {

constexpr const char* kNewSuffix = ".exporting";

// SQLite takes the letters A to Z and a to z for the same in names.
std::string Folded(std::string name)
{
    for (char& c : name) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return name;
}

class CNames
{
public:
    // The name, or the name with a number behind it when there is one like it already.
    std::string Unique(const std::string& name)
    {
        std::string unique = name;
        for (int n = 2; !m_taken.insert(Folded(unique)).second; ++n) unique = name + "_" + std::to_string(n);
        return unique;
    }

private:
    std::set<std::string> m_taken;
};

std::string NameForSql(const std::wstring& name, const std::string& what)
{
    const std::string utf8 = ToUtf8(name);
    std::wstring back;
    if (!ToWide(utf8, back) || back != name)
        throw CFailure(what + " has a lone surrogate in its name, which no SQLite name can have");
    return utf8;
}

class CExport
{
public:
    CExport(CVolume& volume, CSqlite& db) : m_volume(volume), m_db(db)
    {
        m_db.Run(kCreateFieldsTable);
        m_db.Run(kCreateIndexesTable);
        m_names.Unique(kFieldsTable);
        m_names.Unique(kIndexesTable);
    }

    // For each table before the first is written: no index gets the name of a table that is still to come.
    void TakeName(const TableInfo& table)
    {
        const std::string what = What(table);
        const std::string name = NameForSql(table.name, what);
        if (name.empty() || Folded(name).compare(0, 7, "sqlite_") == 0 || m_names.Unique(name) != name)
            throw CFailure(what + " cannot be exported: SQLite, or the export itself, has its name for something else");
    }

    // Returns the number of records.
    size_t Table(const TableInfo& table)
    {
        const std::string what = What(table);
        const std::string name = NameForSql(table.name, what);
        if (table.fields.empty()) throw CFailure(what + " cannot be exported: it has no fields");
        const std::vector<std::string> columns = Columns(table, name);
        CreateTable(table, name, columns);
        const size_t nRecords = Records(table, name);
        Indexes(table, name, columns);
        return nRecords;
    }

    size_t Strays() const { return m_nStrays; }

private:
    static std::string What(const TableInfo& table) { return "the table " + Quoted(table.name); }

    std::vector<std::string> Columns(const TableInfo& table, const std::string& name)
    {
        std::vector<std::string> columns;
        CNames names;
        CStatement row(m_db, std::string("INSERT INTO ") + kFieldsTable + " VALUES(?,?,?,?,?,?)");
        for (const FieldInfo& field : table.fields) {
            const std::string fieldName =
                NameForSql(field.name, "the field " + Quoted(field.name) + " of the table " + Quoted(table.name));
            columns.push_back(names.Unique(fieldName.empty() ? "field" : fieldName));
            row.Bind(1, name);
            row.Bind(2, columns.back());
            row.Bind(3, fieldName);
            row.Bind(4, static_cast<sqlite3_int64>(field.propid));
            row.Bind(5, static_cast<sqlite3_int64>(field.len));
            row.Bind(6, static_cast<sqlite3_int64>(field.odbc));
            row.Step();
            row.Reset();
        }
        return columns;
    }

    void CreateTable(const TableInfo& table, const std::string& name, const std::vector<std::string>& columns)
    {
        std::string sql = "CREATE TABLE " + SqlName(name) + "(";
        for (size_t i = 0; i < columns.size(); ++i) {
            sql += (i ? ", " : "") + SqlName(columns[i]) + " " +
                   DeclaredType(table.fields[i].Type(), table.fields[i].IsDays());
        }
        m_db.Run(sql + ")");
    }

    size_t Records(const TableInfo& table, const std::string& name)
    {
        std::string sql = "INSERT INTO " + SqlName(name) + " VALUES(?";
        for (size_t i = 1; i < table.fields.size(); ++i) sql += ",?";
        CStatement insert(m_db, sql + ")");
        CRecords records(m_volume, table);
        CEDBASEINFO info = {};
        DescribeDatabase(m_volume, table.oid, info);
        CProgress progress("exporting", info.wNumRecords);
        size_t nRecords = 0;
        for (bool bOn = records.First(); bOn; bOn = records.Next()) {
            progress.Show(nRecords++);
            WORD nValues = 0;
            const CEPROPVAL* const pValues = records.Read(nValues);
            for (size_t i = 0; i < table.fields.size(); ++i) insert.BindNull(static_cast<int>(i + 1));
            for (WORD v = 0; v < nValues; ++v) {
                bool bField = false;
                for (size_t i = 0; i < table.fields.size(); ++i) {
                    if (table.fields[i].propid != pValues[v].propid) continue;
                    BindValue(insert, static_cast<int>(i + 1), pValues[v], table.fields[i].IsDays());
                    bField = true;
                }
                if (!bField) ++m_nStrays;
            }
            insert.Step();
            insert.Reset();
        }
        return nRecords;
    }

    void Indexes(const TableInfo& table, const std::string& name, const std::vector<std::string>& columns)
    {
        CStatement row(m_db, std::string("INSERT INTO ") + kIndexesTable + " VALUES(?,?,?,?,?)");
        for (const IndexInfo& index : table.indexes) {
            const std::string indexName =
                NameForSql(index.name, "the index " + Quoted(index.name) + " of the table " + Quoted(table.name));
            // Names of indexes are the file's there, not the table's.
            const std::string sqlName = m_names.Unique(name + "." + indexName);
            row.Bind(1, name);
            row.Bind(2, sqlName);
            row.Bind(3, indexName);
            row.Bind(4, static_cast<sqlite3_int64>(index.propid));
            row.Bind(5, static_cast<sqlite3_int64>(index.dwFlags));
            row.Step();
            row.Reset();
            for (size_t i = 0; i < columns.size(); ++i) {
                if (table.fields[i].propid != index.propid) continue;
                m_db.Run("CREATE INDEX " + SqlName(sqlName) + " ON " + SqlName(name) + "(" + SqlName(columns[i]) +
                         (index.dwFlags & CEDB_SORT_CASEINSENSITIVE ? " COLLATE NOCASE" : "") +
                         (index.dwFlags & CEDB_SORT_DESCENDING ? " DESC" : "") + ")");
                break;
            }
        }
    }

    CVolume& m_volume;
    CSqlite& m_db;
    CNames m_names; // of tables and indexes: they share them
    size_t m_nStrays = 0;
};

// Databases that no table is in: SQLite has no place for them.
std::string NotesOnOthers(CVolume& volume, const CCatalogue& catalogue)
{
    std::set<CEOID> known;
    for (const TableInfo& table : catalogue.Tables()) known.insert(table.oid);
    std::string notes;
    CDatabases databases(volume);
    while (const CEOID oid = databases.Next()) {
        CEDBASEINFO info = {};
        if (known.count(oid) || !DescribeDatabase(volume, oid, info) || ::_wcsnicmp(info.szDbaseName, L"MSys", 4) == 0)
            continue;
        notes += "note: database " + Quoted(std::wstring_view(info.szDbaseName)) +
                 ": no table is stored in it; it was left out\n";
    }
    return notes;
}

// Removes the new file unless it was moved to its place.
class CNewFile
{
public:
    explicit CNewFile(std::wstring path) : m_path(std::move(path)), m_journal(m_path + L"-journal")
    {
        ::DeleteFileW(m_path.c_str());
        ::DeleteFileW(m_journal.c_str());
    }
    // SQLite makes a journal all the same, and leaves it, when memory is out while it ends.
    ~CNewFile()
    {
        if (!m_bMoved) ::DeleteFileW(m_path.c_str());
        ::DeleteFileW(m_journal.c_str());
    }
    CNewFile(const CNewFile&) = delete;
    CNewFile& operator=(const CNewFile&) = delete;
    bool MoveTo(const std::wstring& path, bool bReplace)
    {
        m_bMoved = ::MoveFileExW(m_path.c_str(), path.c_str(),
                                 MOVEFILE_WRITE_THROUGH | (bReplace ? MOVEFILE_REPLACE_EXISTING : 0)) != FALSE;
        return m_bMoved;
    }

private:
    std::wstring m_path, m_journal;
    bool m_bMoved = false;
};

} // namespace

void RunExport(const Options& options)
{
    if (options.file.empty()) throw CUsageError("the path of the SQLite file is empty");
    const std::wstring path = Wide(options.file);
    if (!options.bReplace && ::GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
        throw CFailure("there is a file " + Quoted(options.file) + " already; say --replace to replace it");
    }
    CVolume volume(options.volume, CVolume::Use::Existing);
    CCatalogue catalogue(volume);
    CNewFile file(Wide(options.file + kNewSuffix));
    std::string lines;
    size_t nStrays = 0;
    {
        CSqlite db(options.file + kNewSuffix, CSqlite::Use::Create);
        // The file is nobody's before it is complete: a journal would be of no use.
        db.Run("PRAGMA journal_mode=OFF; PRAGMA locking_mode=EXCLUSIVE; BEGIN");
        CExport output(volume, db);
        for (const TableInfo& table : catalogue.Tables()) output.TakeName(table);
        for (const TableInfo& table : catalogue.Tables()) {
            const size_t nRecords = output.Table(table);
            lines += OneLine(ToUtf8(table.name)) + ": " + Counted(nRecords, "record") + " exported\n";
        }
        nStrays = output.Strays();
        db.Run("COMMIT");
        db.Close();
    }
    if (nStrays) {
        lines += "note: " + Counted(nStrays, "property") +
                 " of no field of their table were left out; \"kvol check\" names them\n";
    }
    lines += NotesOnOthers(volume, catalogue);
    if (!file.MoveTo(path, options.bReplace)) {
        const DWORD dwError = ::GetLastError();
        throw CFailure("cannot put the new file in the place of " + Quoted(options.file) + ": " + SystemText(dwError));
    }
    Out(lines);
}

} // namespace kvol
