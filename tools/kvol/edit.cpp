#include "commands.h"
#include "database.h"
#include "output.h"
#include "value.h"

#include <algorithm>

namespace kvol {

namespace {

[[noreturn]] void FailNotFound(const TableInfo& table, const IndexInfo& index, const std::string& text)
{
    const FieldInfo* pField = table.FieldOf(index.propid);
    throw CFailure("no record of the table " + Quoted(table.name) + " has " + Quoted(text) + " as " +
                   (pField ? Quoted(pField->name) : std::string("value")) + " (index " + Quoted(index.name) + ")");
}

// The OIDs of the records that have the value; there has to be one, and without --all no more than one.
std::vector<CEOID> FindRecords(CTableCursor& cursor, const TableInfo& table, const Options& options,
                               const char* pszVerb)
{
    const IndexInfo& index = table.Index(Wide(*options.index));
    const _variant_t key = KeyOf(table, index, options.value);
    cursor.UseIndex(index);
    std::vector<CEOID> found;
    for (bool bOn = cursor.Seek(key); bOn; bOn = cursor.SeekNext(key)) found.push_back(cursor.Row().getBookmark());
    if (found.empty()) FailNotFound(table, index, options.value);
    if (found.size() > 1 && !options.bAll) {
        throw CFailure(Counted(found.size(), "record") + " of the table " + Quoted(table.name) + " have " +
                       Quoted(options.value) + " in the index " + Quoted(index.name) + "; say --all to " + pszVerb +
                       " all of them");
    }
    return found;
}

struct Change
{
    int field = 0;
    _variant_t value;
};

// FIELD=VALUE. A field's name can have an equals sign itself: the longest name that fits is meant.
Change ParseChange(const TableInfo& table, const std::string& text)
{
    Change change;
    change.field = -1;
    size_t split = 0;
    for (size_t at = text.find('='); at != std::string::npos; at = text.find('=', at + 1)) {
        const int position = table.FieldPosition(Wide(text.substr(0, at)));
        if (position < 0) continue;
        change.field = position;
        split = at;
    }
    if (change.field < 0) {
        throw CFailure("the table " + Quoted(table.name) + " has no field " + Quoted(text.substr(0, text.find('='))) +
                       "; see \"kvol schema\"");
    }
    const std::string value = text.substr(split + 1);
    if (value.empty()) {
        change.value = Absent();
        return change;
    }
    const FieldInfo& field = table.fields[change.field];
    std::string why;
    if (!ParseValue(field.Type(), value == "\"\"" ? std::string() : value, change.value, why)) {
        throw CFailure("field " + Quoted(field.name) + ": " + Quoted(value) + " " + why);
    }
    return change;
}

} // namespace

void RunSeek(const Options& options)
{
    CVolume volume(options.volume, CVolume::Use::Existing);
    CCatalogue catalogue(volume);
    const TableInfo& table = catalogue.Table(options.table);
    const IndexInfo& index = table.Index(Wide(*options.index));
    const _variant_t key = KeyOf(table, index, options.value);
    CTableCursor cursor(volume, table);
    cursor.UseIndex(index);
    if (!cursor.Seek(key)) FailNotFound(table, index, options.value);
    cursor.Read();
    size_t width = 0;
    for (const FieldInfo& field : table.fields) width = std::max(width, CharacterCount(OneLine(ToUtf8(field.name))));
    for (size_t i = 0; i < table.fields.size(); ++i) {
        if (V_VT(&cursor.Value(i)) == VT_NULL) continue;
        const std::string name = OneLine(ToUtf8(table.fields[i].name));
        Out(name + std::string(width - CharacterCount(name) + 2, ' ') +
            OneLine(FormatValue(cursor.Value(i), table.fields[i].IsDays())) + "\n");
    }
}

void RunSet(const Options& options)
{
    CVolume volume(options.volume, CVolume::Use::Existing);
    CCatalogue catalogue(volume);
    const TableInfo& table = catalogue.Table(options.table);
    std::vector<Change> changes;
    for (const std::string& text : options.changes) changes.push_back(ParseChange(table, text));
    CBatch batch(volume);
    size_t nRecords = 0;
    {
        CTableCursor cursor(volume, table);
        const std::vector<CEOID> records = FindRecords(cursor, table, options, "change");
        for (const CEOID oid : records) {
            KorvaneDB::CRow& row = cursor.Row();
            const auto what = [&] { return cursor.Place() + ": cannot be changed"; };
            Call(what, [&] { return row.setBookmark(oid); });
            cursor.Read();
            std::vector<_variant_t> values;
            for (size_t i = 0; i < table.fields.size(); ++i) values.push_back(cursor.Value(i));
            for (const Change& change : changes) values[change.field] = change.value;
            bool bAny = false;
            for (int i = 0; i < static_cast<int>(values.size()); ++i) {
                Call(what, [&] { return row.setVal(i, values[i]); });
                bAny = bAny || V_VT(&values[i]) != VT_NULL;
            }
            if (!bAny) throw CFailure(cursor.Place() + ": no value would be left; a record needs one to be read again");
            Call(what, [&] { return row.WriteToDB(); });
        }
        nRecords = records.size();
    }
    const std::string line = Counted(nRecords, "record") + " changed\n";
    batch.Commit();
    Out(line);
}

void RunDelete(const Options& options)
{
    CVolume volume(options.volume, CVolume::Use::Existing);
    CCatalogue catalogue(volume);
    const TableInfo& table = catalogue.Table(options.table);
    CBatch batch(volume);
    size_t nRecords = 0;
    {
        CTableCursor cursor(volume, table);
        const std::vector<CEOID> records = FindRecords(cursor, table, options, "delete");
        for (const CEOID oid : records) {
            const auto what = [&] { return cursor.Place() + ": cannot be deleted"; };
            Call(what, [&] { return cursor.Row().setBookmark(oid); });
            Call(what, [&] { return cursor.Row().Delete(); });
        }
        nRecords = records.size();
    }
    const std::string line = Counted(nRecords, "record") + " deleted\n";
    batch.Commit();
    Out(line);
}

} // namespace kvol
