#include "check.h"

#include "value.h"

#include <map>
#include <set>

namespace kvol {

namespace {

// One catalogue under check.
struct Catalogue
{
    const wchar_t* pszName;
    const char* properties[5]; // in the order of the fields
};

constexpr Catalogue kTables = {CCatalogue::kTables, {"TableName", "TableID"}};
constexpr Catalogue kFields = {CCatalogue::kFields, {"TableID", "FieldName", "FieldID", "Len", "ODBCType"}};
constexpr Catalogue kIndexes = {CCatalogue::kIndexes, {"TableID", "IndexName", "FieldID", "IndexFlags"}};

std::string Place(const Catalogue& catalogue, const CatalogueRow& row)
{
    return ToUtf8(catalogue.pszName) + ", record " + std::to_string(row.oid);
}

std::string Hexadecimal(DWORD value)
{
    char text[16];
    std::snprintf(text, sizeof text, "0x%08lX", value);
    return text;
}

bool CheckComplete(const Catalogue& catalogue, const CatalogueRow& row, CReport& report)
{
    bool bComplete = true;
    for (size_t i = 0; i < row.values.size(); ++i) {
        if (V_VT(&row.values[i]) != VT_NULL) continue;
        report.Fault(Place(catalogue, row), std::string("the property ") + catalogue.properties[i] + " is missing");
        bComplete = false;
    }
    return bComplete;
}

std::vector<CatalogueRow> ReadRows(CVolume& volume, CCatalogue& reader, const Catalogue& catalogue, CReport& report)
{
    std::vector<CatalogueRow> rows = reader.Rows(catalogue.pszName);
    CEOID oid = 0;
    std::wstring name = catalogue.pszName;
    const CStoreHandle database(::CeOpenDatabaseEx(volume.Guid(), &oid, name.data(), 0, 0, nullptr));
    CEDBASEINFO info = {};
    if (!DescribeDatabase(volume, oid, info)) {
        report.Fault(ToUtf8(name), "the store does not describe the catalogue");
    } else if (info.wNumRecords != rows.size()) {
        report.Fault(ToUtf8(name), "the store counts " + Counted(info.wNumRecords, "record") + ", a walk finds " +
                                       Counted(rows.size()));
    }
    return rows;
}

DWORD NumberIn(const _variant_t& value)
{
    return static_cast<DWORD>(V_I4(&value));
}

std::wstring TextIn(const _variant_t& value)
{
    return std::wstring(V_BSTR(&value), ::SysStringLen(V_BSTR(&value)));
}

// Table names by database.
using Known = std::map<CEOID, std::wstring>;

Known CheckTables(CVolume& volume, CCatalogue& reader, CReport& report)
{
    const Catalogue& catalogue = kTables;
    Known known;
    std::set<std::wstring> names;
    for (const CatalogueRow& row : ReadRows(volume, reader, catalogue, report)) {
        if (!CheckComplete(catalogue, row, report)) continue;
        const std::wstring name = TextIn(row.values[0]);
        const CEOID oid = NumberIn(row.values[1]);
        const std::string place = Place(catalogue, row);
        if (name.empty()) report.Fault(place, "the table has no name");
        if (!names.insert(name).second) report.Fault(place, "the table " + Quoted(name) + " is listed twice");
        if (!known.emplace(oid, name).second) {
            report.Fault(place,
                         "the database " + std::to_string(oid) + " is the table " + Quoted(known[oid]) + " already");
        }
        CEDBASEINFO info = {};
        if (!DescribeDatabase(volume, oid, info)) {
            report.Fault(place, "the table " + Quoted(name) + " is the database " + std::to_string(oid) +
                                    ", which the volume does not have");
        } else if (name != info.szDbaseName) {
            report.Fault(place, "the table " + Quoted(name) + " is the database " + std::to_string(oid) +
                                    ", which is called " + Quoted(std::wstring_view(info.szDbaseName)));
        }
    }
    return known;
}

// The table of a row that refers to one, for messages; empty after a fault.
std::string TableOf(const Catalogue& catalogue, const CatalogueRow& row, const Known& known, CReport& report)
{
    const auto found = known.find(NumberIn(row.values[0]));
    if (found != known.end()) return "table " + Quoted(found->second);
    report.Fault(Place(catalogue, row), "TableID " + std::to_string(NumberIn(row.values[0])) + " is of no table");
    return std::string();
}

// Properties of the fields by table.
using Properties = std::map<CEOID, std::set<CEPROPID>>;

Properties CheckFields(CVolume& volume, CCatalogue& reader, const Known& known, CReport& report)
{
    const Catalogue& catalogue = kFields;
    Properties properties;
    std::set<std::pair<CEOID, std::wstring>> names;
    for (const CatalogueRow& row : ReadRows(volume, reader, catalogue, report)) {
        if (!CheckComplete(catalogue, row, report)) continue;
        const std::string table = TableOf(catalogue, row, known, report);
        if (table.empty()) continue;
        const CEOID oid = NumberIn(row.values[0]);
        const std::wstring name = TextIn(row.values[1]);
        const CEPROPID propid = NumberIn(row.values[2]) & CCatalogue::kPropertyMask;
        const std::string place = Place(catalogue, row) + " (" + table + ", field " + Quoted(name) + ")";
        if (name.empty()) report.Fault(place, "the field has no name");
        if (!names.emplace(oid, name).second) report.Fault(place, "the field is listed twice");
        if (!OdbcOf(TypeFromPropID(propid)) && TypeFromPropID(propid) != CEVT_BLOB) {
            report.Fault(place, "FieldID " + Hexadecimal(propid) + " has no type that there is");
        }
        if (!properties[oid].insert(propid).second) {
            report.Fault(place, "the property " + Hexadecimal(propid) + " is another field's already");
        }
    }
    for (const auto& [oid, name] : known) {
        if (!properties.count(oid)) report.Fault("table " + Quoted(name), "it has no fields");
    }
    return properties;
}

void CheckIndexes(CVolume& volume, CCatalogue& reader, const Known& known, const Properties& properties,
                  CReport& report)
{
    const Catalogue& catalogue = kIndexes;
    std::set<std::pair<CEOID, std::wstring>> names;
    std::map<CEOID, std::set<CEPROPID>> sorted;
    for (const CatalogueRow& row : ReadRows(volume, reader, catalogue, report)) {
        if (!CheckComplete(catalogue, row, report)) continue;
        const std::string table = TableOf(catalogue, row, known, report);
        if (table.empty()) continue;
        const CEOID oid = NumberIn(row.values[0]);
        const std::wstring name = TextIn(row.values[1]);
        const CEPROPID propid = NumberIn(row.values[2]) & CCatalogue::kPropertyMask;
        const DWORD dwFlags = NumberIn(row.values[3]);
        const std::string place = Place(catalogue, row) + " (" + table + ", index " + Quoted(name) + ")";
        if (name.empty()) report.Fault(place, "the index has no name");
        if (!names.emplace(oid, name).second) report.Fault(place, "the index is listed twice");
        const auto fields = properties.find(oid);
        if (fields == properties.end() || !fields->second.count(propid)) {
            report.Fault(place, "FieldID " + Hexadecimal(propid) + " is of no field of the table");
        }
        sorted[oid].insert(propid);
        CEDBASEINFO info = {};
        if (!DescribeDatabase(volume, oid, info)) continue; // said of the table already
        const SORTORDERSPEC* pSpec = nullptr;
        for (WORD i = 0; i < info.wNumSortOrder; ++i) {
            if (info.rgSortSpecs[i].propid == propid) pSpec = &info.rgSortSpecs[i];
        }
        if (!pSpec) {
            report.Fault(place, "the table's database has no sort order on the property " + Hexadecimal(propid));
        } else if (pSpec->dwFlags != dwFlags) {
            report.Fault(place, "IndexFlags is " + Hexadecimal(dwFlags) + ", the database sorts with " +
                                    Hexadecimal(pSpec->dwFlags));
        }
    }
    for (const auto& [oid, name] : known) {
        CEDBASEINFO info = {};
        if (!DescribeDatabase(volume, oid, info)) continue;
        for (WORD i = 0; i < info.wNumSortOrder; ++i) {
            if (sorted[oid].count(info.rgSortSpecs[i].propid)) continue;
            report.Note("table " + Quoted(name), "its database has a sort order on the property " +
                                                     Hexadecimal(info.rgSortSpecs[i].propid) + " that no index names");
        }
    }
}

void NoteOthers(CVolume& volume, const Known& known, CReport& report)
{
    CDatabases databases(volume);
    while (const CEOID oid = databases.Next()) {
        CEDBASEINFO info = {};
        if (known.count(oid)) continue;
        if (!DescribeDatabase(volume, oid, info)) {
            report.Fault("database " + std::to_string(oid), "the store lists it, but does not describe it");
            continue;
        }
        const std::wstring name = info.szDbaseName;
        bool bCatalogue = false;
        for (const wchar_t* pszName : {CCatalogue::kTables, CCatalogue::kFields, CCatalogue::kIndexes}) {
            bCatalogue = bCatalogue || ::_wcsicmp(name.c_str(), pszName) == 0;
        }
        if (!bCatalogue) report.Note("database " + Quoted(name), "no table is stored in it");
    }
}

} // namespace

void CheckCatalogues(CVolume& volume, CCatalogue& catalogue, CReport& report)
{
    const Known known = CheckTables(volume, catalogue, report);
    const Properties properties = CheckFields(volume, catalogue, known, report);
    CheckIndexes(volume, catalogue, known, properties, report);
    NoteOthers(volume, known, report);
}

} // namespace kvol
