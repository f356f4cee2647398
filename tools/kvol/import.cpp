#include "commands.h"
#include "database.h"
#include "infer.h"
#include "output.h"
#include "records.h"
#include "value.h"

#include <algorithm>
#include <set>

namespace kvol {

namespace {

void RefuseName(const char* pszWhat, const std::string& name, size_t cchMost)
{
    const std::string what = std::string("the ") + pszWhat + " name " + Quoted(name);
    if (name.empty()) throw CFailure(what + " is empty");
    for (const char c : name) {
        if (static_cast<unsigned char>(c) < 0x20) throw CFailure(what + " has a control character");
    }
    if (Wide(name).size() > cchMost) {
        throw CFailure(what + " is too long: it may have " + std::to_string(cchMost) + " UTF-16 units");
    }
}

// Names of fields and indexes have no limit but a property's own; this one keeps them readable.
constexpr size_t kMostNameUnits = 255;

void RefuseTableName(const std::string& name)
{
    RefuseName("table", name, CEDB_MAXDBASENAMELEN - 1);
    if (::_strnicmp(name.c_str(), "MSys", 4) == 0) {
        throw CFailure("the table name " + Quoted(name) + " begins with MSys: such names belong to the catalogues");
    }
}

size_t ColumnOf(const Source& source, const std::string& name, const char* pszOption)
{
    for (size_t i = 0; i < source.columns.size(); ++i) {
        if (source.columns[i] == name) return i;
    }
    std::string known;
    for (const std::string& column : source.columns) known += (known.empty() ? " " : ", ") + OneLine(column);
    throw CFailure(std::string(pszOption) + ": " + source.name + " has no column " + Quoted(name) +
                   "; its columns are" + known);
}

void RefuseColumns(const Source& source)
{
    const std::string header = source.name + ": " + (source.bJson ? "" : "header (line 1), ") + "column ";
    if (source.columns.empty()) throw CFailure(source.name + ": there is no record with a member, and so no column");
    std::set<std::string> seen;
    for (size_t i = 0; i < source.columns.size(); ++i) {
        const std::string place = header + std::to_string(i + 1);
        if (source.columns[i].empty()) throw CFailure(place + ": the column has no name");
        if (!seen.insert(source.columns[i]).second) {
            throw CFailure(place + ": the name " + Quoted(source.columns[i]) + " comes twice");
        }
        try {
            RefuseName("column", source.columns[i], kMostNameUnits);
        } catch (const CFailure& failure) {
            throw CFailure(place + ": " + failure.what());
        }
    }
    if (source.columns.size() > CCatalogue::kMostFields) {
        throw CFailure(header + std::to_string(CCatalogue::kMostFields + 1) + ": a table has at most " +
                       std::to_string(CCatalogue::kMostFields) + " fields");
    }
}

bool TakeSuffix(std::string& text, std::string_view suffix)
{
    if (text.size() < suffix.size() || text.compare(text.size() - suffix.size(), suffix.size(), suffix) != 0)
        return false;
    text.resize(text.size() - suffix.size());
    return true;
}

// FIELD[,desc][,nocase]: the column that is meant, and the CEDB_SORT_ flags. The longest name of a column wins.
size_t ParseIndexField(const Source& source, std::string text, DWORD& dwFlags)
{
    for (dwFlags = 0;;) {
        if (std::find(source.columns.begin(), source.columns.end(), text) != source.columns.end()) break;
        if (TakeSuffix(text, ",desc")) {
            dwFlags |= CEDB_SORT_DESCENDING;
        } else if (TakeSuffix(text, ",nocase")) {
            dwFlags |= CEDB_SORT_CASEINSENSITIVE;
        } else {
            break;
        }
    }
    return ColumnOf(source, text, "--index");
}

// A new table for the columns of the source, with the types and indexes that were asked for.
TableInfo DesignTable(const Options& options, const Source& source)
{
    std::vector<ColumnType> types(source.columns.size());
    for (const FieldOption& option : options.fields) {
        ColumnType& type = types[ColumnOf(source, option.name, "--field")];
        if (type.wType) throw CFailure("--field: the type of " + Quoted(option.name) + " is given twice");
        type = ColumnType{option.wType, OdbcOf(option.wType)};
    }
    TableInfo table;
    table.name = Wide(options.table);
    for (size_t i = 0; i < types.size(); ++i) {
        // A column of days stays one, also when it was called FILETIME and not found to be.
        const ColumnType inferred = InferType(source, i);
        if (!types[i].wType || types[i].wType == inferred.wType) types[i] = inferred;
        FieldInfo field;
        field.name = Wide(source.columns[i]);
        field.propid = MAKELONG(types[i].wType, i);
        field.len = LengthOf(types[i].wType);
        field.odbc = types[i].odbc;
        table.fields.push_back(std::move(field));
    }
    if (options.indexes.size() > CEDB_MAXSORTORDER) {
        throw CFailure("--index: " + std::to_string(options.indexes.size()) +
                       " indexes are asked for; a table has at most " + std::to_string(CEDB_MAXSORTORDER));
    }
    for (const IndexOption& option : options.indexes) {
        RefuseName("index", option.name, kMostNameUnits);
        DWORD dwFlags = 0;
        const FieldInfo& field = table.fields[ParseIndexField(source, option.field, dwFlags)];
        if (table.FindIndex(Wide(option.name)))
            throw CFailure("--index: the name " + Quoted(option.name) + " comes twice");
        for (const IndexInfo& other : table.indexes) {
            if (other.propid == field.propid) {
                throw CFailure("--index: " + Quoted(other.name) + " and " + Quoted(option.name) +
                               " are both on the field " + Quoted(field.name) + "; a field has at most one index");
            }
        }
        if ((dwFlags & CEDB_SORT_CASEINSENSITIVE) && field.Type() != CEVT_LPWSTR) {
            throw CFailure("--index: " + Quoted(option.name) + " cannot be nocase: the field " + Quoted(field.name) +
                           " is " + TypeName(field.Type()) + ", not LPWSTR");
        }
        table.indexes.push_back(IndexInfo{Wide(option.name), field.propid, dwFlags});
    }
    return table;
}

// For each field of the table the source's column, or -1 for a field that the file does not have.
std::vector<int> MapColumns(const TableInfo& table, const Source& source)
{
    std::vector<int> map(table.fields.size(), -1);
    for (size_t i = 0; i < source.columns.size(); ++i) {
        const int position = table.FieldPosition(Wide(source.columns[i]));
        if (position < 0) {
            throw CFailure(source.name + ": column " + std::to_string(i + 1) + " " + Quoted(source.columns[i]) +
                           ": the table " + Quoted(table.name) + " has no such field; see \"kvol schema\"");
        }
        map[position] = static_cast<int>(i);
    }
    return map;
}

void WriteRecords(CVolume& volume, const TableInfo& table, const Source& source)
{
    const std::vector<int> columns = MapColumns(table, source);
    CTableCursor cursor(volume, table);
    KorvaneDB::CRow& row = cursor.Row();
    const std::string what = "cannot write to the table " + Quoted(table.name);
    unsigned long nBefore = 0;
    Call(what, [&] { return row.getNumRows(nBefore); });
    if (nBefore + source.rows.size() > kMostRecords) {
        throw CFailure(source.Place(kMostRecords - nBefore + 1) + ": a table holds at most " + Counted(kMostRecords) +
                       " records; " + Quoted(table.name) + " has " + Counted(nBefore) + " already");
    }
    CProgress progress("importing", source.rows.size());
    for (size_t r = 0; r < source.rows.size(); ++r) {
        progress.Show(r);
        bool bAny = false;
        Call(what, [&] { return row.AddNew(); });
        for (int i = 0; i < static_cast<int>(columns.size()); ++i) {
            static const Cell kAbsent;
            const Cell& cell = columns[i] < 0 ? kAbsent : source.rows[r].cells[columns[i]];
            _variant_t value = Absent();
            if (cell.kind != Cell::Kind::Absent) {
                std::string why;
                if (!ParseValue(table.fields[i].Type(), cell.text, value, why)) {
                    throw CFailure(source.Place(r + 1, columns[i] + 1) + ": " + Quoted(cell.text) + " " + why);
                }
                bAny = true;
            }
            Call(what, [&] { return row.setVal(i, value); });
        }
        if (!bAny) {
            throw CFailure(source.Place(r + 1, 1) +
                           ": no cell of the row has a value; a record needs one to be read again");
        }
        ::SetLastError(ERROR_SUCCESS);
        if (row.WriteToDB() < 0) {
            const DWORD dwError = ::GetLastError();
            throw CFailure(source.Place(r + 1) + ": the record cannot be written: " + WriteReason(dwError));
        }
    }
}

} // namespace

void RunImport(const Options& options)
{
    RefuseTableName(options.table);
    const Source source = ReadSource(options.file);
    RefuseColumns(source);
    CVolume volume(options.volume, CVolume::Use::CreateIfMissing);
    CBatch batch(volume);
    CCatalogue::CreateMissing(volume);
    CCatalogue catalogue(volume);
    const TableInfo* pExisting = catalogue.Find(options.table);
    TableInfo table;
    if (pExisting && options.bAppend) {
        table = *pExisting;
    } else {
        if (pExisting && !options.bReplace) {
            throw CFailure("the volume " + Quoted(options.volume) + " has a table " + Quoted(options.table) +
                           " already; say --append to add to it or --replace to make it anew");
        }
        table = DesignTable(options, source);
        if (pExisting) catalogue.Remove(TableInfo(*pExisting), "replace");
        catalogue.Add(table);
    }
    WriteRecords(volume, table, source);
    // Before the end: what memory is out for is not to be done and yet reported as failed.
    const std::string line =
        OneLine(options.table) + ": " + Counted(source.rows.size(), "record") + " imported from " + source.name + "\n";
    batch.Commit();
    volume.Keep();
    Out(line);
}

} // namespace kvol
