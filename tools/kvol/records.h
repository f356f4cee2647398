// records.h - records by the store's own calls, to the last bit: what the library's rows round (times), take for the
// same (truth values) or do not read (blobs) comes through.
//
// Ownership  CRecords owns its handle and buffer; values that it gives point into the buffer, until the next read.
// Errors     CFailure.
#ifndef KVOL_RECORDS_H
#define KVOL_RECORDS_H

#include "database.h"

namespace kvol {

class CRecords
{
public:
    // Opens a table's database in the order of creation.
    CRecords(CVolume& volume, const TableInfo& table);
    ~CRecords();
    CRecords(const CRecords&) = delete;
    CRecords& operator=(const CRecords&) = delete;

    // Walks: true while there is a record.
    bool First();
    bool Next();
    CEOID Oid() const { return m_oid; }
    // All properties of the record.
    const CEPROPVAL* Read(WORD& nValues);

    // Adds a record with these properties. Without any it is one with none: the store makes such only by taking a
    // property away, and firstField is the one that it is made with. Returns the last error.
    DWORD Add(std::vector<CEPROPVAL>& values, CEPROPID firstField);
    // Writes these properties of a record and leaves its others as they are. False with the last error.
    bool Change(CEOID oid, std::vector<CEPROPVAL>& values);

private:
    bool Seek(DWORD dwType, DWORD dwValue);
    std::string m_what;
    HANDLE m_h;
    CEOID m_oid = 0;
    LPBYTE m_pBuffer = nullptr; // from LocalAlloc
    DWORD m_cbBuffer = 0;
};

// What is wrong with a write that the store refused.
std::string WriteReason(DWORD dwError);

} // namespace kvol

#endif
