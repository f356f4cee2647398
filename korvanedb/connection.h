// CConnection: an application's handle on one database volume: mounts it, knows its tables, opens rows on them.
//
//     CSmartPtr<KorvaneDB::CConnection> connection(new KorvaneDB::CConnection);
//     CSmartPtr<KorvaneDB::CRow> row;
//     if (connection->Open(path) >= 0 && connection->OpenTable(L"Countries", row) >= 0) ...
//
// A volume describes its tables in three catalogue databases, which Open reads:
//   MSysTables   TableName 0x0000001F, TableID 0x00010003 (the OID of the table's database)
//   MSysFields   TableID 0x00000003, FieldName 0x0001001F, FieldID 0x00020003, Len 0x00030002, ODBCType 0x00040002
//   MSysIndexes  TableID 0x00000003, IndexName 0x0001001F, FieldID 0x00020003, IndexFlags 0x00030003
// A property that a catalogue record lacks counts as the empty text or 0. OpenFromDef takes the same knowledge from its
// caller instead. A connection never creates or deletes databases and never writes catalogues.
//
// Ownership  counted (CRefCntBase), or on the stack: opening and destroying hand out references to the connection
//            itself without ever deleting it. The connection holds its tables by name, and each table holds the
//            connection. This circle is by design: a connection held by counted pointers that has opened tables lives,
//            with its tables, to the end of the process; Close unmounts the volume but does not break the circle. A
//            connection that is destroyed (a stack object) lets its tables forget it: rows that outlive it can still
//            read and write, as their handles stay open, but SetIndex and getNumRows fail on them.
// Close      Close unmounts what the GUID names and does not clear it, and the destructor closes again. So each volume
//            gets one unmount too many when Close is called and the connection is then destroyed or closed once more:
//            it fails (line 236), or takes away the mount of another connection in this process that has the volume
//            open. Close once, or better let the destructor do it alone. A row that is still open does not make Close
//            fail; it goes on working, and the volume's file is let go with the last one.
// Threads    one thread at a time.
// Errors     results are 0 or a negative code. Raises are E_FAIL, source korvanedb/connection; failures of the rows
//            that read the catalogues are passed on as they are (row.h). The last-error record is looked at first,
//            everywhere. InitLib comes before everything: its writer gets the trace lines.
#ifndef KORVANE_KORVANEDB_CONNECTION_H
#define KORVANE_KORVANEDB_CONNECTION_H

#include "base/api.h"
#include "base/refcount.h"
#include "base/smartptr.h"
#include "korvanedb/row.h"
#include "korvanedb/table.h"

#include <afx.h>
#include <windows.h>
#include <windbase.h>

#include <list>
#include <map>
#include <utility>

namespace KorvaneDB {

// What OpenFromDef builds tables from. A field: its name and CEVT_ type; the n-th field, from 0, is stored under
// property number n. An index: its name, the CEPROPID that it sorts on, and its CEDB_SORT_ flags. A table: its name
// (that of its database too), its fields and its indexes.
using CFieldDefinition = std::pair<CString, unsigned short>;
using CIndexDefinition = std::pair<CString, std::pair<unsigned long, unsigned short>>;
using CTableDefinition = std::pair<CString, std::pair<std::list<CFieldDefinition>, std::list<CIndexDefinition>>>;

class KORVANE_API CConnection : public CRefCntBase
{
public:
    // Closed, without tables.
    CConnection();
    // Copies are member-wise, the count included. They share the volume's mount and the tables, whose connection stays
    // the original: rows opened through a copy work like rows that outlived their connection once the original is gone.
    // Each copy unmounts the volume when it is closed or destroyed (see Close above). The tables of an assigned
    // connection forget it first, as when it is destroyed.
    CConnection(const CConnection& rOther);
    CConnection& operator=(const CConnection& rOther);
    // Closes, whatever comes of it, and lets the tables go.
    ~CConnection() override;

    // Mounts the volume file (it has to exist) and reads its catalogues. An empty path opens the object store itself,
    // and mounts nothing. Of several tables with one name the first counts; tables of an earlier opening stay known. A
    // field's and an index's property is the catalogue's "FieldID" without its top 8 bits. On failure the connection is
    // closed. When the mount or a catalogue was missing it has been unmounted again; when reading a catalogue failed
    // the volume stays mounted until Close, and the catalogues' handles stay open. Raises: 143 "Already Open", 153
    // "Unable to mount database" (GetLastError() has the reason), "CEOpenDatabaseEx failed" at 159 (MSysTables), 163
    // (MSysFields), 166 (MSysIndexes), 170 "Call to GetProcessHeap(...) failed", and at 221, 223, 225 "General error"
    // (a catalogue's handle cannot be closed).
    long Open(const TCHAR* sDBName);
    // The same without catalogues: the tables are those of the definitions, which are not checked. Their databases are
    // looked for by name when first needed.
    // Writes a trace line with the path, shows a box "Error" with the system's text when the mount failed (where no box
    // can be shown the text goes to the debugger output; modal: it returns when somebody has pressed OK), and writes a
    // trace line with the error number, 0 when all went well. Raises: 55 "Already Open", 90 "Unable to mount database",
    // 95 "Call to GetProcessHeap(...) failed".
    long OpenFromDef(const TCHAR* sDBName, std::list<CTableDefinition>& definitions);
    // Unmounts the volume, if one was ever mounted; the connection is closed then, and its tables stay known. See above
    // for calling it twice. Raises: 236 "General error" (not mounted any more, or never: nothing has changed).
    long Close();

    // The tables' names and OIDs. Looks up the OIDs that are not known yet; 0 stands for a table without a database.
    std::map<CString, unsigned long> GetTableNames();
    // Opens a table, by its exact name, as a new row that owns its handle and has no current record. What row held is
    // released; on failure row is left alone.
    // Raises: 431 "Table not found", 449 "Call to function CeOpenDatabase(...) failed" (GetLastError() has the reason).
    long OpenTable(CString sName, CSmartPtr<CRow>& row);

    // The volume's GUID, all zeros for the object store and before the first opening. Valid while the connection lives.
    CEGUID* GetVolGUID();

protected:
    // Empties the catalogue slots and sets the connection closed; nothing is unmounted or closed.
    void Initialize();
    // Read one catalogue each from its open slot, and add to the map. A failure is returned at once, what was read so
    // far stays in the map.
    long FillTables(std::map<CString, unsigned long>& tables);                         // name to OID
    long FillFields(std::map<unsigned long, std::list<CFieldInfo>>& fieldsOfTables);   // by OID
    long FillIndexes(std::map<unsigned long, std::list<CIndexInfo>>& indexesOfTables); // by OID
    // Closes the catalogues' handles. After a failure all slots are as before.
    long ReleaseSystemTables();

    struct CCatalogueSlot
    {
        CEOID oid = 0;
        HANDLE hDatabase = INVALID_HANDLE_VALUE;
    };
    enum
    {
        kTables,
        kFields,
        kIndexes,
        kReserved,
        kSlots
    };

    CString m_sName;                // path of the volume, set by a successful opening
    CCatalogueSlot m_slots[kSlots]; // handles are open only inside Open, and after it failed reading
    CEGUID m_guid;
    int m_bOpen;
    HANDLE m_hHeap; // the process heap, from the first opening on: rows allocate from it
    std::map<CString, CSmartPtr<CTable>> m_tables;

private:
    friend class CRow;
    class CPin;
    void ReleaseTables(const CConnection* pNext = nullptr);
    bool Mount(const TCHAR* sDBName);
    bool OpenCatalogue(int nSlot, const wchar_t* pszName);
    CSmartPtr<CTable> CatalogueTable(CFieldInfo* pFields, int nFields);
};

} // namespace KorvaneDB

#endif
