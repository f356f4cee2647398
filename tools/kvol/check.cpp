#include "check.h"

#include "commands.h"
#include "output.h"

#include <korvanebatch.h>

namespace kvol {

void CReport::Fault(const std::string& where, const std::string& what)
{
    ++m_nFaults;
    Out(where + ": " + what + "\n");
}

void CReport::Note(const std::string& where, const std::string& what)
{
    Out("note: " + where + ": " + what + "\n");
}

namespace {

// What the store itself finds: pages, keys, entries and counts below what its calls and the library show.
void CheckStore(CVolume& volume, CReport& report)
{
    wchar_t problem[512] = L"";
    if (::CeCheckDBVol(volume.Guid(), problem, ARRAYSIZE(problem))) return;
    const DWORD dwError = ::GetLastError();
    report.Fault("volume", *problem ? ToUtf8(problem) : "the store cannot check it: " + SystemText(dwError));
}

struct Checked
{
    size_t nTables = 0;
    size_t nRecords = 0;
    size_t nIndexes = 0;
};

void CheckContent(CVolume& volume, CReport& report, Checked& checked)
{
    CCatalogue catalogue(volume);
    CheckCatalogues(volume, catalogue, report);
    for (const TableInfo& table : catalogue.Tables()) {
        ++checked.nTables;
        checked.nRecords += CheckTable(volume, table, report);
        checked.nIndexes += table.indexes.size();
    }
}

} // namespace

bool RunCheck(const Options& options)
{
    CReport report;
    Checked checked;
    CVolume volume(options.volume, CVolume::Use::Existing);
    CheckStore(volume, report);
    try {
        CheckContent(volume, report, checked);
    } catch (const CFailure& failure) {
        report.Fault("volume", failure.what());
    }
    const std::string counts = Counted(checked.nTables, "table") + ", " + Counted(checked.nRecords, "record") + ", " +
                               Counted(checked.nIndexes, "index");
    if (report.Faults()) {
        Out(options.volume + ": " + Counted(report.Faults(), "fault") + " found (" + counts + ")\n");
        return false;
    }
    Out(options.volume + ": no fault found (" + counts + ")\n");
    return true;
}

} // namespace kvol
