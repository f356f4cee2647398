// check.h - what kvol check is made of: the report, the catalogues, the tables.
#ifndef KVOL_CHECK_H
#define KVOL_CHECK_H

#include "database.h"

namespace kvol {

// Prints each fault as it is found: where, then what. A note is worth knowing, but no fault.
class CReport
{
public:
    void Fault(const std::string& where, const std::string& what);
    void Note(const std::string& where, const std::string& what);
    size_t Faults() const { return m_nFaults; }

private:
    size_t m_nFaults = 0;
};

// Each row of the catalogues: its properties, what it refers to, names that come twice; each table's database and sort
// orders; the catalogues' counts.
void CheckCatalogues(CVolume& volume, CCatalogue& catalogue, CReport& report);

// Each record through the store's calls and through KorvaneDB, each entry of each index, the counts. Returns the number
// of records. A fault that keeps it from going on with the table is reported like the others.
size_t CheckTable(CVolume& volume, const TableInfo& table, CReport& report);

} // namespace kvol

#endif
