// CRowShared: what a row and its copies hold together: record buffer, property and value arrays, database handle.
//
// Ownership  counted: held by each of the copies. The last one's release frees the buffer and the arrays and, when the
//            row was made to own it, closes the handle.
// Threads    one thread at a time.
// Errors     a failure to free or close is parked in the last-error record: E_FAIL, korvanedb/row, line 37.
//
// For the library's own sources: not part of korvanelib.h.
#ifndef KORVANE_KORVANEDB_ROWSHARED_H
#define KORVANE_KORVANEDB_ROWSHARED_H

#include "base/refcount.h"
#include "korvanedb/table.h"

#include <comdef.h>

namespace KorvaneDB {

struct CRowShared : CRefCntBase
{
    CRowShared(const CTable* pTable, HANDLE hHeapOfTable, HANDLE hDatabase, bool bOwnsHandle);
    ~CRowShared() override;
    CRowShared(const CRowShared&) = delete;
    CRowShared& operator=(const CRowShared&) = delete;

    CEPROPVAL* Props() const { return reinterpret_cast<CEPROPVAL*>(pBuffer); }
    // Makes the values that wait: before the buffer or one of them changes. What it throws leaves them waiting.
    void MakeValues();
    // Around a read into the buffer: the store fills in the properties even of a record that has none of them, and says
    // that it has failed. What is put back are the properties that wait; their texts stand behind them all.
    void KeepWaiting();
    void PutBackWaiting();
    // After a read: that many values wait from now on, and what the host has set in their places goes.
    void LetWait(int nValues);

    HANDLE hHeap;     // borrowed; kept here because a row may outlive its connection
    HANDLE hDatabase; // INVALID_HANDLE_VALUE after a SetIndex that closed the old one and opened no new one
    const bool bOwnsHandle;
    const int nFields;                    // the table's field count when the row was made
    BYTE* pBuffer;                        // from hHeap; null when memory was out
    DWORD cbBuffer;                       // bytes of pBuffer that a read may use
    std::unique_ptr<CEPROPID[]> propids;  // nFields, the properties of the fields; never null
    std::unique_ptr<_variant_t[]> values; // nFields values and the spare one behind them
    // Making a value out of a property is left until the value is asked for, since the host gets a copy that can as well
    // be made at once. Not behind a field whose values cannot all be made: reading reports that.
    const int nMayWait; // leading fields of numbers, truth values and texts
    int nWaiting;       // leading values that are not made; the properties are in the buffer, as the store gave them
    std::unique_ptr<CEPROPVAL[]> kept; // nMayWait properties
    bool bAnySet;                      // by the host, whose value may stand where one waits
};

// What reading a record raises for a code of the store.
long RaiseReadFailure(DWORD dwError);

} // namespace KorvaneDB

#endif
