#include "sqlite_source.h"

#include "sqlschema.h"
#include "value.h"

#include <algorithm>
#include <cstdint>

namespace kvol {

namespace {

constexpr short kOdbcLongVarBinary = -4;
constexpr size_t kMostNameUnits = 255;
constexpr int64_t kMostExact = int64_t{1} << 53; // whole numbers up to here are exact as R8

void RefuseName(const std::string& what, const std::string& name, size_t cchMost)
{
    std::wstring wide;
    if (name.empty()) throw CFailure(what + ": the name is empty");
    if (!ToWide(name, wide)) throw CFailure(what + ": the name is not well-formed UTF-8");
    for (const wchar_t c : wide) {
        if (c < 0x20) throw CFailure(what + ": the name has a control character");
    }
    if (wide.size() > cchMost)
        throw CFailure(what + ": the name is too long: it may have " + std::to_string(cchMost) + " UTF-16 units");
}

// What the values of a column are.
struct Seen
{
    size_t nIntegers = 0, nReals = 0, nTexts = 0, nBlobs = 0;
    int64_t min = INT64_MAX, max = INT64_MIN;
    bool bTimes = true; // all texts are times
    bool bDays = true;  // and all of these days

    void Add(const CStatement& row, int n)
    {
        switch (row.Type(n)) {
        case SQLITE_INTEGER:
            ++nIntegers;
            min = std::min<int64_t>(min, row.Integer(n));
            max = std::max<int64_t>(max, row.Integer(n));
            break;
        case SQLITE_FLOAT:
            ++nReals;
            break;
        case SQLITE_TEXT: {
            ++nTexts;
            uint64_t ticks;
            const std::string_view text = row.Text(n);
            bTimes = bTimes && ParseTicks(text, ticks);
            bDays = bDays && text.size() == 10;
            break;
        }
        case SQLITE_BLOB:
            ++nBlobs;
            break;
        default:
            break;
        }
    }
    bool Within(int64_t low, int64_t high) const { return min >= low && max <= high; }
    bool OnlyIntegers() const { return !nReals && !nTexts && !nBlobs; }
    bool IsEmpty() const { return OnlyIntegers() && !nIntegers; }
};

bool Has(const std::string& text, const char* pszPart)
{
    return text.find(pszPart) != std::string::npos;
}

// The type of a column that has no values, by SQLite's own rules for a declared type.
WORD TypeOfNothing(const std::string& declared)
{
    if (Has(declared, "UNSIGNED SMALLINT")) return CEVT_UI2;
    if (Has(declared, "SMALLINT") || Has(declared, "INT2")) return CEVT_I2;
    if (Has(declared, "UNSIGNED") && Has(declared, "INT")) return CEVT_UI4;
    if (Has(declared, "INT")) return CEVT_I4;
    if (Has(declared, "BOOL")) return CEVT_BOOL;
    if (Has(declared, "DATE") || Has(declared, "TIME")) return CEVT_FILETIME;
    if (Has(declared, "REAL") || Has(declared, "FLOA") || Has(declared, "DOUB")) return CEVT_R8;
    if (Has(declared, "BLOB")) return CEVT_BLOB;
    return CEVT_LPWSTR;
}

WORD TypeOf(const std::string& declared, const Seen& seen)
{
    const WORD wNamed = TypeOfNothing(declared);
    if (seen.IsEmpty()) return wNamed;
    if (seen.nBlobs) return CEVT_BLOB;
    if (seen.nTexts) {
        const bool bTimes = wNamed == CEVT_FILETIME && seen.bTimes && !seen.nIntegers && !seen.nReals;
        return bTimes ? CEVT_FILETIME : CEVT_LPWSTR;
    }
    if (seen.OnlyIntegers()) {
        if (wNamed == CEVT_BOOL && seen.Within(0, 1)) return CEVT_BOOL;
        if (wNamed == CEVT_I2 && seen.Within(INT16_MIN, INT16_MAX)) return CEVT_I2;
        if (wNamed == CEVT_UI2 && seen.Within(0, UINT16_MAX)) return CEVT_UI2;
        if (wNamed == CEVT_UI4 && seen.Within(0, UINT32_MAX)) return CEVT_UI4;
        if (wNamed != CEVT_R8 && seen.Within(INT32_MIN, INT32_MAX)) return CEVT_I4;
        if (wNamed != CEVT_R8 && seen.Within(0, UINT32_MAX)) return CEVT_UI4;
    }
    // Real numbers, and whole ones beyond 32 bits; those that a real number would round stay what they are as texts.
    return !seen.nIntegers || seen.Within(-kMostExact, kMostExact) ? CEVT_R8 : CEVT_LPWSTR;
}

} // namespace

CSqliteSource::CSqliteSource(const std::string& path) : m_path(path), m_db(path, CSqlite::Use::Read)
{
    // One state of the file, whoever writes to it meanwhile.
    m_db.Run("PRAGMA cell_size_check=ON; BEGIN");
    CStatement encoding(m_db, "PRAGMA encoding");
    m_bWide = encoding.Step() && encoding.Text(0) != "UTF-8";
    m_bOurs = HasTable(kFieldsTable) && HasTable(kIndexesTable);
}

bool CSqliteSource::HasTable(const char* pszName)
{
    CStatement found(m_db, "SELECT 1 FROM sqlite_schema WHERE type='table' AND name=?");
    found.Bind(1, std::string_view(pszName));
    return found.Step();
}

std::vector<SqlTable> CSqliteSource::Tables()
{
    std::vector<SqlTable> tables;
    std::map<std::string, std::string> kinds;
    {
        CStatement list(m_db, "SELECT name, type FROM pragma_table_list WHERE schema='main'");
        while (list.Step()) kinds[std::string(list.Text(0))] = list.Text(1);
    }
    CStatement names(m_db, "SELECT type, name FROM sqlite_schema WHERE type<>'index' ORDER BY rowid");
    while (names.Step()) {
        const std::string type(names.Text(0));
        SqlTable table;
        table.name = names.Text(1);
        if (table.name.compare(0, 7, "sqlite_") == 0) continue;
        if (m_bOurs && (table.name == kFieldsTable || table.name == kIndexesTable)) continue;
        const std::string kind = type == "table" ? kinds[table.name] : type;
        if (kind != "table") {
            m_notes.push_back(kind + (type == "table" ? " table " : " ") + Quoted(table.name) + " was left out");
            continue;
        }
        const std::string what = m_path + ": table " + Quoted(table.name);
        RefuseName(what, table.name, CEDB_MAXDBASENAMELEN - 1);
        if (::_strnicmp(table.name.c_str(), "MSys", 4) == 0)
            throw CFailure(what + ": names that begin with MSys belong to the catalogues");
        table.info.name = Wide(table.name);
        ReadColumns(table);
        ReadOurFields(table);
        if (table.bOurs) {
            CountRows(table);
        } else {
            InferFields(table);
        }
        ReadIndexes(table);
        tables.push_back(std::move(table));
    }
    return tables;
}

void CSqliteSource::ReadColumns(SqlTable& table)
{
    const std::string what = m_path + ": table " + Quoted(table.name);
    CStatement columns(m_db, "SELECT name, type FROM pragma_table_xinfo(?) WHERE hidden<>1");
    columns.Bind(1, table.name);
    while (columns.Step()) {
        table.columns.emplace_back(columns.Text(0));
        std::string declared(columns.Text(1));
        for (char& c : declared) c = static_cast<char>(c >= 'a' && c <= 'z' ? c - 'a' + 'A' : c);
        table.declared.push_back(std::move(declared));
        RefuseName(what + ", column " + std::to_string(table.columns.size()), table.columns.back(), kMostNameUnits);
    }
    if (table.columns.size() > CCatalogue::kMostFields) {
        throw CFailure(what + ": it has " + Counted(table.columns.size()) + " columns; a table has at most " +
                       std::to_string(CCatalogue::kMostFields) + " fields");
    }
    if (table.columns.empty()) throw CFailure(what + ": it has no columns");
    for (const std::string& column : table.columns)
        table.select += (table.select.empty() ? "SELECT " : ", ") + SqlName(column);
    // An index that has all the columns would be read instead, in another order.
    table.select += " FROM " + SqlName(table.name) + " NOT INDEXED";
}

// What korvane_fields says of the table, when that is about these columns.
void CSqliteSource::ReadOurFields(SqlTable& table)
{
    if (!m_bOurs) return;
    CStatement rows(m_db, std::string("SELECT \"column\", field, property, length, odbc FROM ") + kFieldsTable +
                              " WHERE \"table\"=? ORDER BY rowid");
    rows.Bind(1, table.name);
    bool bSame = true;
    while (bSame && rows.Step()) {
        const size_t position = table.info.fields.size();
        FieldInfo field;
        bSame = position < table.columns.size() && rows.Text(0) == table.columns[position] &&
                ToWide(rows.Text(1), field.name);
        field.propid = static_cast<CEPROPID>(rows.Integer(2)) & CCatalogue::kPropertyMask;
        field.len = static_cast<short>(rows.Integer(3));
        field.odbc = static_cast<short>(rows.Integer(4));
        bSame = bSame && (OdbcOf(field.Type()) || field.Type() == CEVT_BLOB);
        table.info.fields.push_back(std::move(field));
    }
    table.bOurs = bSame && table.info.fields.size() == table.columns.size();
    if (!table.bOurs) table.info.fields.clear(); // the table was changed since: it is one as any
}

void CSqliteSource::CountRows(SqlTable& table)
{
    // As it will be read: a damaged index is none of the import's business.
    CStatement count(m_db, "SELECT count(*) FROM " + SqlName(table.name) + " NOT INDEXED");
    if (count.Step()) table.nRows = static_cast<size_t>(count.Integer(0));
}

void CSqliteSource::InferFields(SqlTable& table)
{
    std::vector<Seen> seen(table.columns.size());
    CStatement rows(m_db, table.select);
    while (rows.Step()) {
        ++table.nRows;
        for (size_t i = 0; i < seen.size(); ++i) seen[i].Add(rows, static_cast<int>(i));
    }
    for (size_t i = 0; i < seen.size(); ++i) {
        const std::string what = m_path + ": table " + Quoted(table.name) + ", column " + Quoted(table.columns[i]);
        const WORD wType = TypeOf(table.declared[i], seen[i]);
        if (wType == CEVT_BLOB && (seen[i].nTexts || seen[i].nIntegers || seen[i].nReals))
            throw CFailure(what + ": it has blobs and other values; a field has values of one type");
        FieldInfo field;
        field.name = Wide(table.columns[i]);
        field.propid = MAKELONG(wType, i);
        field.len = wType == CEVT_BLOB ? 0 : LengthOf(wType);
        field.odbc = wType == CEVT_BLOB ? kOdbcLongVarBinary : OdbcOf(wType);
        if (wType == CEVT_FILETIME && seen[i].bDays && (seen[i].nTexts || table.declared[i] == "DATE"))
            field.odbc = kOdbcDate;
        if (wType == CEVT_BLOB)
            m_notes.push_back("table " + Quoted(table.name) + ", column " + Quoted(table.columns[i]) +
                              ": it is a BLOB, which KorvaneDB's rows cannot read; the store's calls can");
        table.info.fields.push_back(std::move(field));
    }
}

void CSqliteSource::Leave(const SqlTable& table, const std::string& index, const std::string& why)
{
    m_notes.push_back("table " + Quoted(table.name) + ", index " + Quoted(index) + ": " + why + "; it was left out");
}

void CSqliteSource::ReadIndexes(SqlTable& table)
{
    if (table.bOurs) {
        CStatement rows(m_db, std::string("SELECT \"index\", property, flags FROM ") + kIndexesTable +
                                  " WHERE \"table\"=? ORDER BY rowid");
        rows.Bind(1, table.name);
        while (rows.Step()) {
            IndexInfo index;
            index.propid = static_cast<CEPROPID>(rows.Integer(1)) & CCatalogue::kPropertyMask;
            index.dwFlags = static_cast<DWORD>(rows.Integer(2));
            const std::string name(rows.Text(0));
            if (!ToWide(name, index.name) || !table.info.FieldOf(index.propid) ||
                table.info.indexes.size() == CEDB_MAXSORTORDER) {
                Leave(table, name, "it does not fit the table");
                continue;
            }
            table.info.indexes.push_back(std::move(index));
        }
        return;
    }
    // The list has the newest first.
    CStatement list(m_db, "SELECT name, origin, partial FROM pragma_index_list(?) ORDER BY seq DESC");
    list.Bind(1, table.name);
    while (list.Step()) AddIndex(table, std::string(list.Text(0)), std::string(list.Text(1)), list.Integer(2) != 0);
}

void CSqliteSource::AddIndex(SqlTable& table, const std::string& sqlIndex, const std::string& origin, bool bPartial)
{
    CStatement columns(m_db, "SELECT name, \"desc\", coll FROM pragma_index_xinfo(?) WHERE key");
    columns.Bind(1, sqlIndex);
    if (!columns.Step()) return;
    const std::string column(columns.Text(0));
    const bool bExpression = columns.IsNull(0);
    DWORD dwFlags = columns.Integer(1) ? CEDB_SORT_DESCENDING : 0;
    const bool bNoCase = columns.Text(2) == "NOCASE";
    if (columns.Step()) return Leave(table, sqlIndex, "it is on several columns");
    if (bExpression) return Leave(table, sqlIndex, "it is on an expression");
    if (bPartial) return Leave(table, sqlIndex, "it is on a part of the rows");
    const int position = table.info.FieldPosition(Wide(column));
    if (position < 0) return Leave(table, sqlIndex, "it is on no column of the table");
    const FieldInfo& field = table.info.fields[position];
    if (field.Type() == CEVT_BLOB) return Leave(table, sqlIndex, "it is on a BLOB");
    for (const IndexInfo& other : table.info.indexes) {
        if (other.propid == field.propid) return Leave(table, sqlIndex, "the column has an index already");
    }
    if (table.info.indexes.size() == CEDB_MAXSORTORDER)
        return Leave(table, sqlIndex, "a table has at most " + std::to_string(CEDB_MAXSORTORDER));
    if (bNoCase && field.Type() == CEVT_LPWSTR) dwFlags |= CEDB_SORT_CASEINSENSITIVE;
    // Those of PRIMARY KEY and UNIQUE have names of SQLite's own.
    const std::wstring name = origin == "c" ? Wide(sqlIndex) : L"Key " + field.name;
    if (name.size() > kMostNameUnits || table.info.FindIndex(name))
        return Leave(table, sqlIndex, "its name is too long, or another's");
    table.info.indexes.push_back(IndexInfo{name, field.propid, dwFlags});
}

} // namespace kvol
