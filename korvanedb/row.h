// CRow: a cursor over the records of one table, and the field values of the record that it read last.
//
//     KorvaneDB::SeekEnum, KorvaneDB::CRow
//
// A row is got from CConnection::OpenTable. Move it, load the record with ReadFromDB, take values with getVal; or
// change values with setVal and store them with WriteToDB. Moving alone reads no values, and the values stay what they
// were.
//
//     for (hr = row->MoveFirst(); hr >= 0 && !row->IsEOF(); hr = row->MoveNext())
//         if (row->ReadFromDB() >= 0) row->getVal(L"Name", value);
//
// Ownership  counted (CRefCntBase). A row holds its table, and the table its connection. Copies (copy construction,
//            assignment) are cursors that share database handle, record buffer and values with the original: what one
//            reads, the others have too, and a move of one moves the handle under all. OID, flags, index and filter are
//            each one's own. The last of them that goes frees what they share. As with every counted object the count
//            is copied along, so copies made with new and given to a counted pointer are never deleted: keep them on
//            the stack.
// Threads    one thread at a time.
// Errors     results are 0 or a negative code; Seek alone also gives 1. Raises are of the source korvanedb/row and,
//            where nothing else is said, carry E_FAIL. A failure that was parked in the last-error record is returned
//            by the next operation that raises or calls another one; plain moves leave it there. A VARIANT that the
//            system cannot copy or clear (one of no known type) ends in _com_issue_error: a _com_error, the only
//            exception. The destructor parks E_FAIL, line 37, when the handle or the buffer cannot be let go.
#ifndef KORVANE_KORVANEDB_ROW_H
#define KORVANE_KORVANEDB_ROW_H

#include "base/api.h"
#include "base/refcount.h"
#include "base/smartptr.h"
#include "korvanedb/table.h"

#include <comdef.h>

namespace KorvaneDB {

struct CRowShared;

// How Seek looks for its value: the seek types of the object store, handed on unchanged. "Smaller" and "greater" follow
// the order of the index, in a descending one the greater value comes first.
enum SeekEnum : unsigned long
{
    SeekValueSmaller = CEDB_SEEK_VALUESMALLER,       // the last record with a smaller value
    SeekValueFirstEqual = CEDB_SEEK_VALUEFIRSTEQUAL, // the first record with the value
    SeekValueGreater = CEDB_SEEK_VALUEGREATER,       // the first record with the value or a greater one
    SeekValueNextEqual = CEDB_SEEK_VALUENEXTEQUAL    // the next record, if it has the value
};

class KORVANE_API CRow : public CRefCntBase
{
public:
    // A row on an open handle of the table's database: no current record, EOF and BOF both 1, all values VT_NULL, no
    // index, no filter. With owns non-zero the row closes the handle when it (the last copy) is destroyed and when
    // SetIndex replaces it. The handle's own position is left alone: MoveNext on a new row reaches the second record.
    CRow(CSmartPtr<CTable> table, void* handle, int owns);
    CRow(const CRow& rOther);
    CRow& operator=(const CRow& rOther);
    ~CRow() override;

    // ---- Moving. A move that reaches no record returns 0 and leaves no current record. -----------------------------
    // With a filter set MoveFirst and MoveNext visit the records that have the filter's value in the current index:
    // they need SetIndex before (raises as Seek does), and the other two are refused.

    // The first record. EOF = BOF = 1 if there is none, else both 0.
    long MoveFirst();
    // The next record. EOF says whether there was none; BOF becomes 0 if there was one.
    long MoveNext();
    // The record before. BOF says whether there was none; EOF becomes 0 if there was one.
    // With a filter: E_NOTIMPL, line 406, "Can not move prev with a filter set"; nothing moves.
    long MovePrev();
    // The last record. EOF = BOF = 1 if there is none, else both 0.
    // With a filter: E_NOTIMPL, line 453, "Can not move last with a filter set"; nothing moves.
    long MoveLast();
    // 1 or 0.
    int IsEOF();
    int IsBOF();

    // Orders the records by an index of the table, found by its exact name, and keeps the current record. Reopens the
    // database, drops the filter.
    // Raises: 471 "Unknown index name" (nothing has changed), 488 "Unable to close previous database" (nor here),
    // 497 "Unable to open database" (the row has no handle any more), 562 (the current record is gone; the row stands
    // in the new order, but the index does not count as set and the filter is kept).
    long SetIndex(CString name);
    // Looks for a value in the current index. 0: found, EOF = BOF = 0; 1: not found, EOF = 1, BOF as it was, no current
    // record. VT_NULL is looked for as 0, respectively as the empty text.
    // Raises: 516 "Index has not been set", and what getPropvalFromVariant raises when the value's type does not fit
    // the index; nothing moves then.
    long Seek(SeekEnum type, const _variant_t& value);

    // The OID of the current record, 0 when there is none.
    unsigned long getBookmark();
    // Goes to a record by its OID; EOF and BOF are left alone.
    // Raises: 556 "Invalid bookmark" (0; nothing changes), 562 "Set bookmark failed" (no such record; no current one).
    long setBookmark(unsigned long bookmark);

    // From here on there is no current record, and WriteToDB makes a new one. The values stay. Always 0.
    long AddNew();
    // Deletes the current record and moves on to the following one, as MoveNext does.
    // Raises: 596 "Either BOF or EOF is true", 600 "Error deleting record from database".
    long Delete();

    // The filter is a copy of the variant; VT_EMPTY is no filter, VT_NULL is one. Always 0.
    long SetFilter(const _variant_t& filter);
    long GetFilter(_variant_t& filter);

    // The number of records in the whole table, whatever the filter, into count, which is left alone on failure.
    // Raises: 610 "Call to function CeOidGetInfo(...) failed", 613 "Invalid info type returned by CeOidGetInfo(...)".
    long getNumRows(unsigned long& count);
    CSmartPtr<CTable> getTable();

    // ---- Values (rowvalues.cpp) ------------------------------------------------------------------------------------

    // Loads the record under the handle's position into the values, and makes it the current one. A field that the
    // record lacks is VT_NULL. On failure the current record stays; after a failing conversion the fields in front of
    // the failing one have new values already. Raises: 78 "Call to function HeapReAlloc(...) failed"; by what the store
    // says 92 "ERROR_INVALID_PARAMETER", 94 "ERROR_NO_DATA" (the record has none of the fields), 96
    // "ERROR_INSUFFICIENT_BUFFER", 98 "ERROR_KEY_DELETED" (another one deleted the record), 100 "ERROR_NO_MORE_ITEMS "
    // (past the end), 102 "Call to function CeReadRecordPropsEx(...) failed"; and what getVariantFromPropval raises.
    long ReadFromDB();
    // Stores all values in the current record, or in a new one when there is none; it is the current one afterwards.
    // VT_NULL removes the property.
    // Raises before anything is written: 315 "Wrong type. VT_BSTR expected." (a text field that is neither text nor
    // VT_NULL), 327 "Call to funcion HeapSize(...) failed", 335 and 341 "Call to function HeapRealloc(...) failed", and
    // what getPropvalFromVariant raises (behind a trace line with the field's name). 380 "Call to function
    // CeWriteRecordProps(...) failed": GetLastError() has the store's reason, and there is no current record.
    long WriteToDB();

    // Copies the value of a field, found by its exact name or by its position, into value. What ReadFromDB has loaded is
    // made into values when one is asked for, or before one is set or all are stored: so it is these calls from which the
    // exception comes when memory is out for a text. The values are as loaded then, and can be asked for again.
    // The position after the last field is admitted: a spare value, VT_NULL until it is set, that no record ever has.
    // Raises: 256 (by name), 274 (by position) "Either BOF or EOF is true" (no current record), 261 "Field does not
    // exist", 277 "Index out of bounds".
    long getVal(CString name, _variant_t& value);
    long getVal(int index, _variant_t& value);
    // Copies value into the value of a field; the record changes with WriteToDB. Needs no current record.
    // Raises: 288 "Field does not exist", 301 "Index out of bounds".
    long setVal(CString name, _variant_t& value);
    long setVal(int index, _variant_t& value);

    // ---- Conversions (propval.cpp) ---------------------------------------------------------------------------------

    // Fills the value of *prop, whose propid says which type is wanted, from a variant. Clears bit 0 of the flags
    // first, even if it then fails. VT_NULL sets CEDB_PROPDELETE and leaves the value. Types that go together: I2 and
    // UI2 with I2 and UI2; I4 and UI4 with I4 and UI4; R8 with R8; BOOL with BOOL (1 or 0); DATE with FILETIME (no time
    // zones); BSTR with LPWSTR, where lpwstr becomes null and the caller supplies the text. Raises: "Incompatible types
    // found" at 128 (BOOL), 134 (DATE), 150 (I2), 156 (I4), 162 (UI2), 168 (UI4), 174 (R8), 180 (BSTR); 185
    // "Unsupported data type" (any other variant); 144 "Call to SystemTimeToFileTime(...) failed" with the system's
    // code, behind a trace line. A date that the system cannot take apart gives the system's code, unraised. REQUIRES:
    // prop is not null.
    static long getPropvalFromVariant(_CEPROPVAL* prop, const _variant_t& value);
    // The value of *prop as a variant of the same type; VT_NULL if it is flagged CEDB_PROPNOTFOUND, whatever its type.
    // value is left alone on failure.
    // Raises: 206 "FileTimeToSystemTime failed", 238 "Blob type not ipmlemented" (E_NOTIMPL), 241 "Unknown data type".
    // A time that a DATE cannot hold gives the system's code, unraised; a text for which memory is out the exception.
    // REQUIRES: prop is not null.
    static long getVariantFromPropval(_CEPROPVAL* prop, _variant_t& value);

protected:
    CEPROPID m_propidIndex; // 0xFFFFFFFF: no index is set
    _variant_t m_varFilter; // VT_EMPTY: no filter
    CSmartPtr<CTable> m_pTblDef;
    CEOID m_oid; // current record, 0: none
    int m_bEOF;
    int m_bBOF;
    CSmartPtr<CRowShared> m_pShared; // never null

private:
    bool HasFilter() const { return V_VT(&m_varFilter) != VT_EMPTY; }
    int FindField(const CString& name) const;
    CString FieldName(int index) const;
};

} // namespace KorvaneDB

#endif
