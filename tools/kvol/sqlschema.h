// sqlschema.h - what both directions know of a SQLite file that kvol wrote: beside the tables themselves two more say
// what SQLite's own schema cannot.
#ifndef KVOL_SQLSCHEMA_H
#define KVOL_SQLSCHEMA_H

namespace kvol {

// A row for each field, in order: the table, the column, the field's own name, its property, length and ODBC type.
constexpr const char* kFieldsTable = "korvane_fields";
constexpr const char* kCreateFieldsTable =
    "CREATE TABLE korvane_fields(\"table\" TEXT, \"column\" TEXT, field TEXT, property INTEGER, length INTEGER, "
    "odbc INTEGER)";

// A row for each index, in order: the table, SQLite's index, the index's own name, its property and flags.
constexpr const char* kIndexesTable = "korvane_indexes";
constexpr const char* kCreateIndexesTable =
    "CREATE TABLE korvane_indexes(\"table\" TEXT, sqlite_index TEXT, \"index\" TEXT, property INTEGER, flags INTEGER)";

} // namespace kvol

#endif
