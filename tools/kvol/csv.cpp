#include "failure.h"
#include "source.h"
#include "text.h"

namespace kvol {

namespace {

class CCsvReader
{
public:
    CCsvReader(Source& source, std::string_view text) : m_source(source), m_text(text) {}

    // Reads the next record; false at the end of the file.
    bool Next(Row& row)
    {
        if (m_pos == m_text.size()) return false;
        row.line = m_line;
        row.cells.clear();
        do {
            row.cells.push_back(TakeCell(row));
        } while (TakeComma());
        TakeLineEnd(row);
        return true;
    }

private:
    char At(size_t offset = 0) const { return m_pos + offset < m_text.size() ? m_text[m_pos + offset] : '\0'; }
    bool AtEnd() const { return m_pos == m_text.size(); }
    bool AtLineEnd() const { return AtEnd() || At() == '\n' || (At() == '\r' && At(1) == '\n'); }

    bool TakeComma()
    {
        if (AtEnd() || At() != ',') return false;
        ++m_pos;
        return true;
    }

    void TakeLineEnd(const Row& row)
    {
        if (AtEnd()) return;
        if (At() == '\r' && At(1) == '\n') ++m_pos;
        if (At() != '\n')
            Fail(row, row.cells.size(), "text follows the closing quote; a quote inside a quoted cell is doubled");
        ++m_pos;
        ++m_line;
    }

    Cell TakeCell(const Row& row)
    {
        Cell cell;
        const size_t column = row.cells.size() + 1;
        if (At() == '"' && !AtEnd()) {
            cell.kind = Cell::Kind::Text;
            TakeQuoted(row, column, cell.text);
        } else {
            const size_t start = m_pos;
            while (!AtLineEnd() && At() != ',') {
                if (At() == '"') Fail(row, column, "a quote stands inside a cell that does not begin with one");
                if (At() == '\r') Fail(row, column, "a carriage return without a line feed stands outside of quotes");
                ++m_pos;
            }
            cell.text = m_text.substr(start, m_pos - start);
            if (!cell.text.empty()) cell.kind = Cell::Kind::Text;
        }
        std::wstring wide;
        if (!ToWide(cell.text, wide))
            Fail(row, column, Quoted(cell.text) + " is not UTF-8 text; save the file as UTF-8");
        return cell;
    }

    void TakeQuoted(const Row& row, size_t column, std::string& text)
    {
        ++m_pos;
        for (;; ++m_pos) {
            if (AtEnd()) Fail(row, column, "the quote that opens this cell is never closed");
            if (At() == '"') {
                ++m_pos;
                if (AtEnd() || At() != '"') return;
            } else if (At() == '\n') {
                ++m_line;
            }
            text += At();
        }
    }

    // The row being read is not in the source yet: its place is worked out from what is.
    [[noreturn]] void Fail(const Row& row, size_t column, const std::string& what) const
    {
        std::string place = m_source.name + ": ";
        place += m_source.columns.empty() ? "header" : "row " + std::to_string(m_source.rows.size() + 1);
        place += " (line " + std::to_string(row.line) + "), column " + std::to_string(column);
        if (column <= m_source.columns.size()) place += " " + Quoted(m_source.columns[column - 1]);
        throw CFailure(place + ": " + what);
    }

    Source& m_source;
    std::string_view m_text;
    size_t m_pos = 0;
    size_t m_line = 1;
};

} // namespace

Source ReadCsv(const std::string& name, std::string_view bytes)
{
    constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
    if (bytes.substr(0, kByteOrderMark.size()) == kByteOrderMark) bytes.remove_prefix(kByteOrderMark.size());
    Source source;
    source.name = name;
    CCsvReader reader(source, bytes);
    Row row;
    if (!reader.Next(row)) throw CFailure(name + ": the file is empty; its first line has to name the columns");
    std::vector<std::string> columns;
    for (Cell& cell : row.cells) columns.push_back(std::move(cell.text));
    source.columns = std::move(columns);
    while (reader.Next(row)) {
        source.rows.push_back(std::move(row));
        const size_t number = source.rows.size();
        const std::vector<Cell>& cells = source.rows.back().cells;
        if (cells.size() != source.columns.size()) {
            const bool bShort = cells.size() < source.columns.size();
            throw CFailure(source.Place(number, bShort ? cells.size() + 1 : source.columns.size() + 1) +
                           ": the row has " + Counted(cells.size(), "cell") + ", the header " +
                           std::to_string(source.columns.size()));
        }
        if (number > kMostRecords) {
            throw CFailure(source.Place(number) + ": a table holds at most " + Counted(kMostRecords) + " records");
        }
    }
    return source;
}

std::string CsvCell(bool bAbsent, std::string_view text)
{
    if (bAbsent) return std::string();
    if (!text.empty() && text.find_first_of(",\"\r\n") == std::string_view::npos) return std::string(text);
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"') out += '"';
        out += c;
    }
    return out + "\"";
}

} // namespace kvol
