#include "commands.h"
#include "database.h"
#include "output.h"
#include "value.h"

#include <algorithm>
#include <functional>

namespace kvol {

namespace {

// A text as JSON. A lone surrogate, which UTF-8 cannot have, is written as an escape.
std::string JsonText(std::wstring_view text)
{
    std::string out = "\"";
    std::wstring run;
    const auto flush = [&] {
        for (const char c : ToUtf8(run)) {
            if (c == '"' || c == '\\') {
                out += {'\\', c};
            } else if (c == '\n') {
                out += "\\n";
            } else if (c == '\r') {
                out += "\\r";
            } else if (c == '\t') {
                out += "\\t";
            } else if (static_cast<unsigned char>(c) < 0x20) {
                char escape[8];
                std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
                out += escape;
            } else {
                out += c;
            }
        }
        run.clear();
    };
    for (size_t i = 0; i < text.size(); ++i) {
        const wchar_t unit = text[i];
        const bool bPair =
            unit >= 0xD800 && unit <= 0xDBFF && i + 1 < text.size() && text[i + 1] >= 0xDC00 && text[i + 1] <= 0xDFFF;
        if (unit >= 0xD800 && unit <= 0xDFFF && !bPair) {
            flush();
            char escape[8];
            std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(unit));
            out += escape;
        } else {
            run += unit;
            if (bPair) run += text[++i];
        }
    }
    flush();
    return out + "\"";
}

std::string JsonValue(const _variant_t& value, const FieldInfo& field)
{
    if (V_VT(&value) == VT_BSTR) return JsonText(std::wstring_view(V_BSTR(&value), ::SysStringLen(V_BSTR(&value))));
    const std::string text = FormatValue(value, field.IsDays());
    if (V_VT(&value) == VT_DATE) return "\"" + text + "\"";
    // JSON has no infinities and no NaN; a host can have stored one.
    if (V_VT(&value) == VT_R8 && text.find_first_of("in") != std::string::npos) return "null";
    return text;
}

// Calls visit with each record that was asked for, read.
void Walk(CTableCursor& cursor, const TableInfo& table, const Options& options, const std::function<void()>& visit)
{
    if (options.index) {
        const IndexInfo& index = table.Index(Wide(*options.index));
        cursor.UseIndex(index);
        if (options.equal) {
            cursor.UseFilter(KeyOf(table, index, *options.equal, "--equal: "));
        }
    }
    unsigned long left = options.limit.value_or(~0ul);
    for (bool bOn = left && cursor.First(); bOn; bOn = --left && cursor.Next()) {
        cursor.Read();
        visit();
    }
}

void DumpCsv(CTableCursor& cursor, const TableInfo& table, const Options& options)
{
    std::string line;
    for (const FieldInfo& field : table.fields) line += (line.empty() ? "" : ",") + CsvCell(false, ToUtf8(field.name));
    Out(line + "\n");
    Walk(cursor, table, options, [&] {
        line.clear();
        for (size_t i = 0; i < table.fields.size(); ++i) {
            const _variant_t& value = cursor.Value(i);
            if (i) line += ',';
            line += CsvCell(V_VT(&value) == VT_NULL, FormatValue(value, table.fields[i].IsDays()));
        }
        Out(line + "\n");
    });
}

void DumpJson(CTableCursor& cursor, const TableInfo& table, const Options& options)
{
    bool bFirst = true;
    Out("[");
    Walk(cursor, table, options, [&] {
        std::string line;
        for (size_t i = 0; i < table.fields.size(); ++i) {
            const _variant_t& value = cursor.Value(i);
            if (V_VT(&value) == VT_NULL) continue;
            line +=
                (line.empty() ? "" : ", ") + JsonText(table.fields[i].name) + ": " + JsonValue(value, table.fields[i]);
        }
        Out((bFirst ? "\n{" : ",\n{") + line + "}");
        bFirst = false;
    });
    Out("\n]\n");
}

bool IsNumber(WORD wType)
{
    return wType == CEVT_I2 || wType == CEVT_UI2 || wType == CEVT_I4 || wType == CEVT_UI4 || wType == CEVT_R8;
}

void DumpTable(CTableCursor& cursor, const TableInfo& table, const Options& options)
{
    constexpr size_t kWidest = 40; // characters; the rest of a longer value is cut off with "..."
    const size_t nFields = table.fields.size();
    std::vector<std::vector<std::string>> rows(1);
    for (const FieldInfo& field : table.fields) rows[0].push_back(OneLine(ToUtf8(field.name)));
    Walk(cursor, table, options, [&] {
        std::vector<std::string>& row = rows.emplace_back();
        for (size_t i = 0; i < nFields; ++i) {
            std::string text = OneLine(FormatValue(cursor.Value(i), table.fields[i].IsDays()));
            if (CharacterCount(text) > kWidest) {
                size_t end = 0;
                for (size_t count = 0; count <= kWidest - 3; ++end)
                    count += (static_cast<unsigned char>(text[end]) & 0xC0) != 0x80;
                text.resize(end - 1);
                text += "...";
            }
            row.push_back(std::move(text));
        }
    });
    std::vector<size_t> widths(nFields, 1);
    for (const auto& row : rows) {
        for (size_t i = 0; i < nFields; ++i) widths[i] = std::max(widths[i], CharacterCount(row[i]));
    }
    const auto print = [&](const std::vector<std::string>& row) {
        std::string line;
        for (size_t i = 0; i < nFields; ++i) {
            const std::string space(widths[i] - CharacterCount(row[i]), ' ');
            if (i) line += "  ";
            line += IsNumber(table.fields[i].Type()) ? space + row[i] : row[i] + space;
        }
        line.erase(line.find_last_not_of(' ') + 1);
        Out(line + "\n");
    };
    print(rows[0]);
    std::vector<std::string> rule;
    for (const size_t width : widths) rule.emplace_back(width, '-');
    print(rule);
    for (size_t i = 1; i < rows.size(); ++i) print(rows[i]);
}

} // namespace

void RunDump(const Options& options)
{
    CVolume volume(options.volume, CVolume::Use::Existing);
    CCatalogue catalogue(volume);
    const TableInfo& table = catalogue.Table(options.table);
    CTableCursor cursor(volume, table);
    switch (options.format) {
    case Format::Table:
        DumpTable(cursor, table, options);
        break;
    case Format::Csv:
        DumpCsv(cursor, table, options);
        break;
    case Format::Json:
        DumpJson(cursor, table, options);
        break;
    }
}

} // namespace kvol
