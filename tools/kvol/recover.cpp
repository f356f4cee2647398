#include "commands.h"
#include "database.h"
#include "output.h"
#include "translated.h"

#include <korvanebatch.h>

#include <set>

namespace kvol {

namespace {

// A line of the report for each. No exception may pass the store's frames: what could not be told is counted.
VOID CALLBACK Found(LPCWSTR lpFinding, LPVOID lpUntold)
{
    try {
        Out(ToUtf8(lpFinding) + "\n");
    } catch (const std::bad_alloc&) {
        ++*static_cast<size_t*>(lpUntold);
    }
}

bool IsMadeUp(const CEDBASEINFO& info)
{
    return std::wstring_view(info.szDbaseName).substr(0, 10) == L"Recovered ";
}

// Databases that have fields, but no row in the list of tables: listed again, under the database's name.
size_t ListTables(CVolume& volume, CCatalogue& catalogue)
{
    std::set<CEOID> known;
    for (const CatalogueRow& row : catalogue.Rows(CCatalogue::kTables)) {
        if (V_VT(&row.values[1]) == VT_I4) known.insert(static_cast<CEOID>(V_I4(&row.values[1])));
    }
    size_t nListed = 0;
    for (const CatalogueRow& row : catalogue.Rows(CCatalogue::kFields)) {
        CEDBASEINFO info = {};
        if (V_VT(&row.values[0]) != VT_I4) continue;
        const CEOID oid = static_cast<CEOID>(V_I4(&row.values[0]));
        if (!known.insert(oid).second || !DescribeDatabase(volume, oid, info)) continue;
        catalogue.List(oid, info.szDbaseName);
        Out("table " + Quoted(std::wstring_view(info.szDbaseName)) + ": it was no longer listed; it is again\n");
        ++nListed;
    }
    return nListed;
}

// The table's database has the name and the sort orders that the catalogues tell.
void GiveBack(CVolume& volume, const TableInfo& table)
{
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    table.name.copy(info.szDbaseName, CEDB_MAXDBASENAMELEN - 1);
    for (const IndexInfo& index : table.indexes) {
        if (info.wNumSortOrder < CEDB_MAXSORTORDER)
            info.rgSortSpecs[info.wNumSortOrder++] = SORTORDERSPEC{index.propid, index.dwFlags};
    }
    if (::CeSetDatabaseInfoEx(volume.Guid(), table.oid, &info)) {
        Out("table " + Quoted(table.name) + ": its name and its indexes are back, from the catalogues\n");
        return;
    }
    const DWORD dwError = ::GetLastError();
    Out("table " + Quoted(table.name) + ": its database keeps a made-up name: " + SystemText(dwError) + "\n");
}

// Brings the catalogues and the databases together again. Returns the number of tables that lost all their records.
size_t MendCatalogues(CVolume& volume)
{
    CBatch batch(volume);
    size_t nEmpty = 0;
    {
        CCatalogue::CreateMissing(volume);
        CCatalogue unlisted(volume);
        ListTables(volume, unlisted);
        CCatalogue catalogue(volume);
        const std::vector<TableInfo> tables = catalogue.Tables();
        for (const TableInfo& table : tables) {
            CEDBASEINFO info = {};
            if (!DescribeDatabase(volume, table.oid, info)) {
                TableInfo empty = table;
                catalogue.Remove(table, "restore");
                if (table.fields.empty() || table.name.empty()) continue;
                catalogue.Add(empty);
                Out("table " + Quoted(table.name) + ": all its records are lost; it is there, empty\n");
                ++nEmpty;
            } else if (IsMadeUp(info) && table.name != info.szDbaseName) {
                GiveBack(volume, table);
            }
        }
    }
    batch.Commit();
    return nEmpty;
}

} // namespace

bool RunRecover(const Options& options)
{
    if (options.file.empty() || options.volume.empty()) throw CUsageError("the path of a volume is empty");
    CESALVAGEINFO info = {};
    size_t nUntold = 0;
    const std::wstring from = Wide(options.file), to = Wide(options.volume);
    if (!::CeSalvageDBVol(from.c_str(), to.c_str(), &info, Found, &nUntold)) {
        const DWORD dwError = ::GetLastError();
        const std::string what = "cannot recover " + Quoted(options.file) + " into " + Quoted(options.volume) + ": ";
        switch (dwError) {
        case ERROR_FILE_CORRUPT:
            throw CFailure(what + "nothing of a volume can be found in it");
        case ERROR_FILE_EXISTS:
            throw CFailure(what + "the new volume is to be a new file, and this one is there already");
        case ERROR_INVALID_PARAMETER:
            throw CFailure(what + "a path is too long");
        default:
            throw CFailure(what + SystemText(dwError));
        }
    }
    size_t nEmpty = 0;
    bool bCatalogues = true;
    try {
        nEmpty = Translated([&] {
            CVolume volume(options.volume, CVolume::Use::Existing);
            return MendCatalogues(volume);
        });
    } catch (const CFailure& failure) {
        bCatalogues = false;
        Out("the catalogues could not be mended: ");
        Out(failure.what());
        Out("\n");
    } catch (const std::bad_alloc&) {
        bCatalogues = false;
        Out("the catalogues could not be mended: out of memory\n");
    }
    if (nUntold) Out("not everything that was found is told here: out of memory\n");
    try {
        Out(options.volume + ": " + Counted(info.nDatabases, "database") + " with " + Counted(info.nRecords, "record") +
            "; " + Counted(info.nDamagedPages) + " of " + Counted(info.nPages, "page") + " damaged or missing, " +
            Counted(info.nLostRecords, "record") + " known to be lost\n");
    } catch (const std::bad_alloc&) {
        Out("the new volume is there, but what it has is not told here: out of memory\n");
        return false;
    }
    return !info.nDamagedPages && !info.nLostRecords && !nEmpty && bCatalogues;
}

} // namespace kvol
