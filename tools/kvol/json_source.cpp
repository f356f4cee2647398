#include "failure.h"
#include "source.h"
#include "text.h"

#include <nlohmann/json.hpp>

#include <map>

namespace kvol {

namespace {

using json = nlohmann::json;

// Takes the parser's events straight into the rows, so that the order of the members and the digits of the numbers stay
// as the file has them.
class CJsonReader : public nlohmann::json_sax<json>
{
public:
    explicit CJsonReader(Source& source) : m_source(source) {}

    // REQUIRES: the parser has come to the end.
    void Finish() const
    {
        if (!m_bRows) throw CFailure(m_source.name + ": " + kShape);
    }

    bool null() override { return Take(Cell::Kind::Absent, std::string()); }
    bool boolean(bool b) override { return Take(Cell::Kind::Bool, b ? "true" : "false"); }
    bool number_integer(number_integer_t n) override { return Take(Cell::Kind::Number, std::to_string(n)); }
    bool number_unsigned(number_unsigned_t n) override { return Take(Cell::Kind::Number, std::to_string(n)); }
    bool number_float(number_float_t, const string_t& digits) override { return Take(Cell::Kind::Number, digits); }
    bool string(string_t& text) override { return Take(Cell::Kind::Text, text); }
    bool binary(binary_t&) override { return false; } // no such thing in JSON text

    bool start_object(std::size_t) override
    {
        if (m_skipped) {
            ++m_skipped;
        } else if (m_state == State::Start) {
            m_state = State::Wrapper;
        } else if (m_state == State::Wrapper) {
            m_skipped = 1;
        } else if (m_state == State::Rows) {
            m_state = State::Row;
            m_source.rows.emplace_back();
            if (m_source.rows.size() > kMostRecords) {
                throw CFailure(Where() + ": a table holds at most " + Counted(kMostRecords) + " records");
            }
        } else {
            throw CFailure(Where() +
                           ": an object stands inside the record; only texts, numbers, true, false and null can");
        }
        return true;
    }

    bool key(string_t& name) override
    {
        if (m_state != State::Row || m_skipped) return true;
        const auto [entry, bNew] = m_columns.emplace(name, m_source.columns.size());
        if (bNew) m_source.columns.push_back(name);
        m_column = entry->second;
        return true;
    }

    bool end_object() override
    {
        if (m_skipped) {
            --m_skipped;
        } else if (m_state == State::Row) {
            m_state = State::Rows;
            m_column = kNoColumn;
        }
        return true;
    }

    bool start_array(std::size_t) override
    {
        if (m_skipped) {
            ++m_skipped;
        } else if (m_state == State::Start || m_state == State::Wrapper) {
            if (m_bRows) throw CFailure(m_source.name + ": the object has more than one array; " + kShape);
            m_bRows = true;
            m_bWrapped = m_state == State::Wrapper;
            m_state = State::Rows;
        } else if (m_state == State::Row) {
            throw CFailure(Where() +
                           ": an array stands inside the record; only texts, numbers, true, false and null can");
        } else {
            throw CFailure(NextRow() + " is not an object; " + kShape);
        }
        return true;
    }

    bool end_array() override
    {
        if (m_skipped) {
            --m_skipped;
        } else {
            m_state = m_bWrapped ? State::Wrapper : State::End;
        }
        return true;
    }

    bool parse_error(std::size_t, const std::string&, const json::exception& error) override
    {
        std::string_view what = error.what();
        const size_t bracket = what.find("] ");
        if (bracket != std::string_view::npos) what.remove_prefix(bracket + 2);
        throw CFailure((m_state == State::Row ? Where() : m_source.name) + ": " + OneLine(what));
    }

private:
    enum class State
    {
        Start,
        Wrapper, // in the object around the array
        Rows,
        Row,
        End,
    };

    static constexpr size_t kNoColumn = ~size_t(0);
    static constexpr const char* kShape = "it has to be an array of flat objects, or an object with one such array";

    bool Take(Cell::Kind kind, std::string text)
    {
        if (m_skipped || m_state == State::Wrapper) return true;
        if (m_state == State::Rows) throw CFailure(NextRow() + " is not an object; " + kShape);
        if (m_state != State::Row) throw CFailure(m_source.name + ": " + kShape);
        std::vector<Cell>& cells = m_source.rows.back().cells;
        if (m_column >= cells.size()) cells.resize(m_column + 1);
        if (!m_seen.emplace(m_column, m_source.rows.size()).second) {
            if (m_seen[m_column] == m_source.rows.size())
                throw CFailure(Where() + ": the record has this member twice");
            m_seen[m_column] = m_source.rows.size();
        }
        cells[m_column] = Cell{kind, std::move(text)};
        return true;
    }

    std::string NextRow() const { return m_source.Place(m_source.rows.size() + 1); }
    std::string Where() const
    {
        const size_t row = m_source.rows.size();
        return m_column == kNoColumn ? m_source.Place(row) : m_source.Place(row, m_column + 1);
    }

    Source& m_source;
    State m_state = State::Start;
    bool m_bRows = false;
    bool m_bWrapped = false;
    size_t m_skipped = 0; // depth inside a member of the wrapper that is not the array
    size_t m_column = kNoColumn;
    std::map<std::string, size_t> m_columns;
    std::map<size_t, size_t> m_seen; // column to the last row that had it
};

} // namespace

Source ReadJson(const std::string& name, std::string_view bytes)
{
    Source source;
    source.name = name;
    source.bJson = true;
    CJsonReader reader(source);
    json::sax_parse(bytes.begin(), bytes.end(), &reader);
    reader.Finish();
    for (Row& row : source.rows) row.cells.resize(source.columns.size());
    return source;
}

} // namespace kvol
