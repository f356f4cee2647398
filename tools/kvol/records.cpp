#include "records.h"

namespace kvol {

CRecords::CRecords(CVolume& volume, const TableInfo& table) : m_what("the table " + Quoted(table.name))
{
    CEOID oid = table.oid;
    m_h = ::CeOpenDatabaseEx(volume.Guid(), &oid, nullptr, 0, 0, nullptr);
    if (m_h == INVALID_HANDLE_VALUE) {
        const DWORD dwError = ::GetLastError();
        throw CFailure("cannot open " + m_what + ": its database gives " + SystemText(dwError));
    }
}

CRecords::~CRecords()
{
    if (m_pBuffer) ::LocalFree(m_pBuffer);
    ::CloseHandle(m_h);
}

bool CRecords::Seek(DWORD dwType, DWORD dwValue)
{
    m_oid = ::CeSeekDatabase(m_h, dwType, dwValue, nullptr);
    const DWORD dwError = ::GetLastError();
    if (!m_oid && dwError != ERROR_NO_MORE_ITEMS)
        throw CFailure("cannot walk through " + m_what + ": " + SystemText(dwError));
    return m_oid != 0;
}

bool CRecords::First()
{
    return Seek(CEDB_SEEK_BEGINNING, 0);
}

bool CRecords::Next()
{
    return Seek(CEDB_SEEK_CURRENT, 1);
}

const CEPROPVAL* CRecords::Read(WORD& nValues)
{
    nValues = 0;
    if (!::CeReadRecordPropsEx(m_h, CEDB_ALLOWREALLOC, &nValues, nullptr, &m_pBuffer, &m_cbBuffer, nullptr)) {
        const DWORD dwError = ::GetLastError();
        if (dwError != ERROR_NO_DATA)
            throw CFailure("cannot read the record " + std::to_string(m_oid) + " of " + m_what + ": " +
                           SystemText(dwError));
        nValues = 0; // a record with no property at all
    }
    return reinterpret_cast<const CEPROPVAL*>(m_pBuffer);
}

DWORD CRecords::Add(std::vector<CEPROPVAL>& values, CEPROPID firstField)
{
    if (!values.empty())
        return ::CeWriteRecordProps(m_h, 0, static_cast<WORD>(values.size()), values.data()) ? ERROR_SUCCESS
                                                                                             : ::GetLastError();
    CEPROPVAL value = {};
    wchar_t empty[1] = L"";
    value.propid = firstField;
    if (TypeFromPropID(firstField) == CEVT_LPWSTR) value.val.lpwstr = empty;
    const CEOID oid = ::CeWriteRecordProps(m_h, 0, 1, &value);
    if (!oid) return ::GetLastError();
    value.wFlags = CEDB_PROPDELETE;
    return ::CeWriteRecordProps(m_h, oid, 1, &value) ? ERROR_SUCCESS : ::GetLastError();
}

bool CRecords::Change(CEOID oid, std::vector<CEPROPVAL>& values)
{
    return ::CeWriteRecordProps(m_h, oid, static_cast<WORD>(values.size()), values.data()) != 0;
}

std::string WriteReason(DWORD dwError)
{
    if (dwError == ERROR_DISK_FULL) return "the volume is full: the disk is, or the record has more than 131,072 bytes";
    return SystemText(dwError);
}

} // namespace kvol
