#include "commands.h"
#include "database.h"
#include "output.h"
#include "value.h"

#include <algorithm>

namespace kvol {

namespace {

unsigned long RecordCount(CVolume& volume, const TableInfo& table)
{
    CTableCursor cursor(volume, table);
    unsigned long nRecords = 0;
    Call("cannot count the records of " + Quoted(table.name), [&] { return cursor.Row().getNumRows(nRecords); });
    return nRecords;
}

std::string IndexFlagNames(DWORD dwFlags)
{
    std::string names = dwFlags & CEDB_SORT_DESCENDING ? "descending" : "ascending";
    static constexpr struct
    {
        DWORD dwFlag;
        const char* pszName;
    } kNames[] = {
        {CEDB_SORT_CASEINSENSITIVE, "nocase"},         {CEDB_SORT_UNKNOWNFIRST, "absent first"},
        {CEDB_SORT_IGNORENONSPACE, "ignore nonspace"}, {CEDB_SORT_IGNORESYMBOLS, "ignore symbols"},
        {CEDB_SORT_IGNOREKANATYPE, "ignore kanatype"}, {CEDB_SORT_IGNOREWIDTH, "ignore width"},
        {CEDB_SORT_STRINGSORT, "stringsort"},          {CEDB_SORT_UNIQUE, "unique"},
        {CEDB_SORT_NONNULL, "never absent"},
    };
    for (const auto& name : kNames) {
        if (dwFlags & name.dwFlag) names += std::string(", ") + name.pszName;
    }
    return names;
}

std::string Padded(const std::string& text, size_t width)
{
    const size_t count = CharacterCount(text);
    return text + std::string(width > count ? width - count : 0, ' ');
}

void PrintTable(CVolume& volume, const TableInfo& table)
{
    Out(OneLine(ToUtf8(table.name)) + ": " + Counted(table.fields.size(), "field") + ", " +
        Counted(table.indexes.size(), "index") + ", " + Counted(RecordCount(volume, table), "record") + "\n");
    size_t width = 1;
    for (const FieldInfo& field : table.fields) width = std::max(width, CharacterCount(OneLine(ToUtf8(field.name))));
    for (const IndexInfo& index : table.indexes) width = std::max(width, CharacterCount(OneLine(ToUtf8(index.name))));
    for (const FieldInfo& field : table.fields) {
        char propid[16];
        std::snprintf(propid, sizeof propid, "0x%08lX", field.propid);
        Out("  field  " + Padded(OneLine(ToUtf8(field.name)), width) + "  " + Padded(TypeName(field.Type()), 8) +
            "  property " + propid + (field.IsDays() ? ", days\n" : "\n"));
    }
    for (const IndexInfo& index : table.indexes) {
        const FieldInfo* pField = table.FieldOf(index.propid);
        Out("  index  " + Padded(OneLine(ToUtf8(index.name)), width) + "  on " +
            (pField ? OneLine(ToUtf8(pField->name)) : std::string("no field")) + ", " + IndexFlagNames(index.dwFlags) +
            "\n");
    }
}

} // namespace

void RunTables(const Options& options)
{
    CVolume volume(options.volume, CVolume::Use::Existing);
    CCatalogue catalogue(volume);
    for (const TableInfo& table : catalogue.Tables()) {
        Out(OneLine(ToUtf8(table.name)) + "\t" + std::to_string(table.fields.size()) + "\t" +
            std::to_string(table.indexes.size()) + "\t" + std::to_string(RecordCount(volume, table)) + "\n");
    }
}

void RunSchema(const Options& options)
{
    CVolume volume(options.volume, CVolume::Use::Existing);
    CCatalogue catalogue(volume);
    if (!options.table.empty()) {
        PrintTable(volume, catalogue.Table(options.table));
        return;
    }
    bool bFirst = true;
    for (const TableInfo& table : catalogue.Tables()) {
        if (!bFirst) Out("\n");
        bFirst = false;
        PrintTable(volume, table);
    }
}

} // namespace kvol
