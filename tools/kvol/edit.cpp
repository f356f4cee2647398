#include "commands.h"
#include "database.h"
#include "output.h"
#include "records.h"
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

// The changes that are asked for; of several of one field the last one counts.
std::vector<Change> ParseChanges(const TableInfo& table, const std::vector<std::string>& texts)
{
    std::vector<Change> changes;
    for (const std::string& text : texts) {
        Change change = ParseChange(table, text);
        const auto same = [&](const Change& other) { return other.field == change.field; };
        changes.erase(std::remove_if(changes.begin(), changes.end(), same), changes.end());
        changes.push_back(std::move(change));
    }
    return changes;
}

// The changes as the store takes them. Texts stay those of the changes.
std::vector<CEPROPVAL> PropertiesOf(const TableInfo& table, const std::vector<Change>& changes)
{
    std::vector<CEPROPVAL> properties;
    for (const Change& change : changes) {
        const FieldInfo& field = table.fields[change.field];
        CEPROPVAL property = {};
        property.propid = field.propid;
        Call([&] { return "field " + Quoted(field.name) + ": the value cannot be written"; },
             [&] { return KorvaneDB::CRow::getPropvalFromVariant(&property, change.value); });
        static wchar_t s_empty[1] = L"";
        const bool bText = V_VT(&change.value) == VT_BSTR && V_BSTR(&change.value);
        if (field.Type() == CEVT_LPWSTR) property.val.lpwstr = bText ? V_BSTR(&change.value) : s_empty;
        properties.push_back(property);
    }
    return properties;
}

// Whether the record that the cursor has read keeps a value.
bool KeepsValue(const CTableCursor& cursor, const TableInfo& table, const std::vector<Change>& changes)
{
    std::vector<bool> has(table.fields.size());
    for (size_t i = 0; i < has.size(); ++i) has[i] = V_VT(&cursor.Value(i)) != VT_NULL;
    for (const Change& change : changes) has[change.field] = V_VT(&change.value) != VT_NULL;
    return std::find(has.begin(), has.end(), true) != has.end();
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
    const std::vector<Change> changes = ParseChanges(table, options.changes);
    std::vector<CEPROPVAL> properties = PropertiesOf(table, changes);
    CBatch batch(volume);
    size_t nRecords = 0;
    {
        CTableCursor cursor(volume, table);
        const std::vector<CEOID> found = FindRecords(cursor, table, options, "change");
        CRecords records(volume, table);
        for (const CEOID oid : found) {
            const auto what = [&] { return cursor.Place() + ": cannot be changed"; };
            Call(what, [&] { return cursor.Row().setBookmark(oid); });
            cursor.Read();
            if (!KeepsValue(cursor, table, changes))
                throw CFailure(cursor.Place() + ": no value would be left; a record needs one to be read again");
            // The library's row would write the other fields too: times of whole seconds, truth values of 0 and 1.
            Call(what, [&] { return records.Change(oid, properties) ? S_OK : E_FAIL; });
        }
        nRecords = found.size();
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
