// sqlite_source.h - the tables of a SQLite file as tables of a volume: names, fields with types, indexes.
//
// Of a file that kvol wrote, korvane_fields and korvane_indexes say what each column was. Columns of any other get the
// type that all their values have. docs/kvol.md has the rules.
//
// Errors     CFailure with table and column.
#ifndef KVOL_SQLITE_SOURCE_H
#define KVOL_SQLITE_SOURCE_H

#include "database.h"
#include "sqlvalue.h"

#include <map>

namespace kvol {

struct SqlTable
{
    std::string name;
    std::vector<std::string> columns;
    std::vector<std::string> declared; // the columns' types, in capitals
    std::string select;                // all rows, the columns in order
    size_t nRows = 0;
    bool bOurs = false; // described by korvane_fields
    TableInfo info;     // without OID
};

class CSqliteSource
{
public:
    explicit CSqliteSource(const std::string& path);

    // All ordinary tables. What is left out is told in Notes.
    std::vector<SqlTable> Tables();
    const std::vector<std::string>& Notes() const { return m_notes; }
    CSqlite& Db() { return m_db; }
    bool IsWide() const { return m_bWide; }

private:
    bool HasTable(const char* pszName);
    void ReadColumns(SqlTable& table);
    void ReadOurFields(SqlTable& table);
    void CountRows(SqlTable& table);
    void InferFields(SqlTable& table); // counts them too
    void ReadIndexes(SqlTable& table);
    void AddIndex(SqlTable& table, const std::string& sqlIndex, const std::string& origin, bool bPartial);
    void Leave(const SqlTable& table, const std::string& index, const std::string& why);

    std::string m_path;
    CSqlite m_db;
    bool m_bWide = false; // the file's texts are UTF-16
    bool m_bOurs = false; // kvol wrote it
    std::vector<std::string> m_notes;
};

} // namespace kvol

#endif
