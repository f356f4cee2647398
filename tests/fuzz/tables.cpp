// Imports: the bytes as CSV and as JSON, the columns' types worked out, every cell read as its type.
#include "target.h"

#include "failure.h"
#include "infer.h"
#include "source.h"
#include "value.h"

namespace {

void Read(kvol::Source (*pfnRead)(const std::string&, std::string_view), std::string_view bytes)
{
    kvol::Source source;
    try {
        source = pfnRead("input", bytes);
    } catch (const kvol::CFailure&) {
        return;
    }
    for (size_t column = 0; column < source.columns.size(); ++column) {
        const kvol::ColumnType type = kvol::InferType(source, column);
        for (const kvol::Row& row : source.rows) {
            FUZZ_EXPECT(row.cells.size() == source.columns.size());
            const kvol::Cell& cell = row.cells[column];
            if (cell.kind == kvol::Cell::Kind::Absent) continue;
            _variant_t value;
            std::string why;
            const bool bRead = kvol::ParseValue(type.wType, cell.text, value, why);
            // What a column's type was worked out from is of that type. A text may hold what a volume cannot.
            FUZZ_EXPECT(bRead || (type.wType == CEVT_LPWSTR && !why.empty()));
            kvol::FormatValue(value, false);
            kvol::CsvCell(false, cell.text);
        }
    }
}

} // namespace

void fuzz::tables(const uint8_t* data, size_t size)
{
    const std::string_view bytes(reinterpret_cast<const char*>(data), size);
    Read(kvol::ReadCsv, bytes);
    Read(kvol::ReadJson, bytes);
}
