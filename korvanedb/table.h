// CTable: one table of a volume as the library knows it: name, OID of its database, fields, indexes. CFieldInfo,
// CIndexInfo.
//
// Ownership  counted (CRefCntBase): held by the connection's table map and by every row on the table. A table holds its
//            connection in turn, so a connection and its tables keep each other alive (see connection.h). The field and
//            index arrays belong to the table and live as long as it does.
// Threads    one thread at a time.
// Errors     only GetFieldName raises, as korvanedb/table. Nothing here touches the database.
//
// The members are open to read; rows and the connection work on them directly. Only m_oid changes after construction.
#ifndef KORVANE_KORVANEDB_TABLE_H
#define KORVANE_KORVANEDB_TABLE_H

#include "base/api.h"
#include "base/refcount.h"
#include "base/smartptr.h"

#include <afx.h>
#include <windows.h>
#include <windbase.h>

#include <list>
#include <map>
#include <memory>

namespace KorvaneDB {

class CConnection;

// A field of a table. Default-constructed: no name, all numbers -1.
struct KORVANE_API CFieldInfo
{
    CString m_sName;
    long m_lType = -1; // "ODBCType" of the catalogue; the CEVT_ type in a table from definitions
    long m_lLen = -1;  // "Len" of the catalogue; 0 in a table from definitions
    CEPROPID m_propid = static_cast<CEPROPID>(-1); // what the field is stored under in the table's records
};

// An index of a table. Default-constructed: no name, all numbers -1.
struct KORVANE_API CIndexInfo
{
    CString m_sName;
    CEPROPID m_propid = static_cast<CEPROPID>(-1);    // the property that the index sorts on
    unsigned long m_dwFlags = static_cast<DWORD>(-1); // CEDB_SORT_ flags, as the catalogue or the definition has them
};

class KORVANE_API CTable : public CRefCntBase
{
public:
    // A table of these fields and indexes, in list order. connection may be null: rows on such a table can be read and
    // written, but SetIndex and getNumRows fail.
    CTable(CString name, std::list<CFieldInfo> fields, std::list<CIndexInfo> indexes,
           CSmartPtr<CConnection> connection);
    // A table of the first count records of an array, which stays the caller's; no indexes. A null array or a negative
    // count gives a table without fields.
    CTable(CString name, CFieldInfo* fields, int count, CSmartPtr<CConnection> connection);
    // An empty table that rOther is then assigned to: without the other's indexes, and with a count of its own.
    CTable(const CTable& rOther);
    // Takes over name, fields, OID and connection. The table keeps its own indexes and its own count. Rows that exist
    // on it keep the properties that they were made for.
    CTable& operator=(const CTable& rOther);
    ~CTable() override;

    // The name of the field at a position into sName, which is left alone on failure.
    // The position after the last field is admitted and has an empty name.
    // Raises DISP_E_BADINDEX, line 92, "Index out of bounds" for a negative index or one above the field count.
    long GetFieldName(int nIdx, CString& sName);
    // The names of all fields, in field order.
    std::list<CString> GetFieldNames();
    // The OID of the table's database; 0 until a table from definitions has been opened (or listed) once.
    unsigned long GetOID() const { return m_oid; }

    // Names compare exactly, by their UTF-16 units. Of two fields (indexes) with one name the first has the key; both
    // are in the array.
    CString m_sName;                         // also the name of the database; empty in the definition of a catalogue
    CEOID m_oid = 0;                         // 0: not known yet
    std::map<CString, int> m_mapFields;      // field name to position
    std::unique_ptr<CFieldInfo[]> m_pFields; // m_nFields fields and one empty one; null in a table without content
    int m_nFields = 0;
    std::map<CString, int> m_mapIndexes;      // index name to position
    std::unique_ptr<CIndexInfo[]> m_pIndexes; // m_nIndexes indexes; null if there are none
    int m_nIndexes = 0;
    CSmartPtr<CConnection> m_pConnection; // null: the connection is gone, or there never was one

protected:
    // No name, no fields, no indexes, no connection.
    CTable();

private:
    template <class Iterator> void SetFields(const Iterator& first, int nCount);
};

} // namespace KorvaneDB

#endif
