// source.h - the records of an input file, read but not yet given types.
//
// Errors     the readers throw CFailure, which names row and column.
#ifndef KVOL_SOURCE_H
#define KVOL_SOURCE_H

#include <string>
#include <string_view>
#include <vector>

namespace kvol {

struct Cell
{
    enum class Kind : char
    {
        Absent,
        Text,
        Number, // a JSON number; a CSV cell is always a text
        Bool,   // a JSON true or false
    };
    Kind kind = Kind::Absent;
    std::string text; // UTF-8
};

struct Row
{
    size_t line = 0; // where the row begins in the file, counted from 1; 0 in JSON, which has no lines to speak of
    std::vector<Cell> cells;
};

struct Source
{
    std::string name; // the file, for messages
    bool bJson = false;
    std::vector<std::string> columns;
    std::vector<Row> rows; // each with a cell for every column

    // Where a cell is: `cities.csv: row 3 (line 4), column 2 "population"`. Rows and columns count from 1; the first
    // row is the one behind the header.
    std::string Place(size_t row) const;
    std::string Place(size_t row, size_t column) const;
};

// Most records of a table; a reader stops with an error at the row that is one too many.
constexpr size_t kMostRecords = 65535;

// RFC 4180: a header and records of as many cells; LF or CRLF; quoted cells with line ends and doubled quotes; a byte
// order mark is passed over. An empty cell is absent, a quoted empty cell is an empty text.
Source ReadCsv(const std::string& name, std::string_view bytes);

// An array of flat objects, or an object whose only array member is one. The columns are the members in the order in
// which they first come. A null is absent.
Source ReadJson(const std::string& name, std::string_view bytes);

// Reads a file as the one or the other: by its extension (.csv, .json), else as JSON when it begins with [ or {.
Source ReadSource(const std::string& path);

// One cell as CSV: quoted where it has to be. An absent value is empty, an empty text is "".
std::string CsvCell(bool bAbsent, std::string_view text);

} // namespace kvol

#endif
