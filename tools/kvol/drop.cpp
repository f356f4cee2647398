#include "commands.h"
#include "database.h"
#include "output.h"

namespace kvol {

void RunDrop(const Options& options)
{
    CVolume volume(options.volume, CVolume::Use::Existing);
    CBatch batch(volume);
    TableInfo table;
    CEDBASEINFO info = {};
    {
        CCatalogue catalogue(volume);
        table = catalogue.Table(options.table);
        DescribeDatabase(volume, table.oid, info); // a table without its database has no records
        catalogue.Remove(table, "drop");
    }
    const std::string line = OneLine(options.table) + ": dropped with " + Counted(info.wNumRecords, "record") +
                             " and " + Counted(table.indexes.size(), "index") + "\n";
    batch.Commit();
    Out(line);
}

} // namespace kvol
