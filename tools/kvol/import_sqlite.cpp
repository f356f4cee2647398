#include "commands.h"
#include "output.h"
#include "records.h"
#include "source.h"
#include "sqlite_source.h"

namespace kvol {

namespace {

// A record's place in messages: cities.sqlite: table "t", row 3, column "name". Rows count from 1, in the table's order.
std::string Place(const Options& options, const SqlTable& source, size_t row)
{
    return options.file + ": table " + Quoted(source.name) + ", row " + Counted(row);
}

size_t WriteRecords(CVolume& volume, CSqliteSource& source, const SqlTable& from, const TableInfo& table,
                    const Options& options)
{
    CRecords records(volume, table);
    CStatement select(source.Db(), from.select);
    std::vector<StoredValue> stored(table.fields.size());
    std::vector<CEPROPVAL> values;
    CProgress progress("importing", from.nRows);
    size_t nRows = 0;
    while (select.Step()) {
        progress.Show(nRows++);
        if (nRows > kMostRecords)
            throw CFailure(Place(options, from, nRows) + ": a table holds at most " + Counted(kMostRecords) +
                           " records");
        values.clear();
        for (size_t i = 0; i < table.fields.size(); ++i) {
            const int column = static_cast<int>(i);
            if (select.IsNull(column)) continue;
            std::string why;
            if (!TakeValue(select, column, table.fields[i].propid, source.IsWide(), stored[i], why)) {
                throw CFailure(Place(options, from, nRows) + ", column " + Quoted(from.columns[i]) + ": the value " +
                               why);
            }
            values.push_back(stored[i].value);
        }
        if (values.empty() && !from.bOurs)
            throw CFailure(Place(options, from, nRows) +
                           ": no column has a value; a record needs one to be read again");
        const DWORD dwError = records.Add(values, table.fields[0].propid);
        if (dwError != ERROR_SUCCESS)
            throw CFailure(Place(options, from, nRows) + ": the record cannot be written: " + WriteReason(dwError));
    }
    return nRows;
}

} // namespace

void RunImportSqlite(const Options& options)
{
    CSqliteSource source(options.file);
    const std::vector<SqlTable> tables = source.Tables();
    if (tables.empty()) throw CFailure(options.file + ": there is no table in it");
    CVolume volume(options.volume, CVolume::Use::CreateIfMissing);
    CBatch batch(volume);
    std::string lines;
    {
        CCatalogue::CreateMissing(volume);
        CCatalogue catalogue(volume);
        for (const SqlTable& from : tables) {
            TableInfo table = from.info;
            if (const TableInfo* pExisting = catalogue.Find(from.name)) {
                if (!options.bReplace) {
                    throw CFailure("the volume " + Quoted(options.volume) + " has a table " + Quoted(from.name) +
                                   " already; say --replace to make it anew");
                }
                catalogue.Remove(TableInfo(*pExisting), "replace");
            }
            catalogue.Add(table);
            const size_t nRecords = WriteRecords(volume, source, from, table, options);
            lines += OneLine(from.name) + ": " + Counted(nRecords, "record") + " imported from " + options.file + "\n";
        }
    }
    for (const std::string& note : source.Notes()) lines += "note: " + note + "\n";
    batch.Commit();
    volume.Keep();
    Out(lines);
}

} // namespace kvol
