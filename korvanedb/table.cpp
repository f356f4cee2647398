#include "korvanedb/table.h"

#include "base/errorutil.h"
#include "korvanedb/connection.h"

namespace KorvaneDB {

CTable::CTable() = default;

CTable::CTable(CString name, std::list<CFieldInfo> fields, std::list<CIndexInfo> indexes,
               CSmartPtr<CConnection> connection)
    : m_sName(name), m_nIndexes(static_cast<int>(indexes.size())), m_pConnection(connection)
{
    SetFields(fields.begin(), static_cast<int>(fields.size()));
    if (m_nIndexes == 0) return;
    m_pIndexes.reset(new CIndexInfo[m_nIndexes]);
    int nPos = 0;
    for (const CIndexInfo& index : indexes) {
        m_pIndexes[nPos] = index;
        m_mapIndexes.emplace(index.m_sName, nPos++);
    }
}

CTable::CTable(CString name, CFieldInfo* fields, int count, CSmartPtr<CConnection> connection)
    : m_sName(name), m_pConnection(connection)
{
    SetFields(fields, fields && count > 0 ? count : 0);
}

CTable::CTable(const CTable& rOther) : CRefCntBase()
{
    *this = rOther;
}

CTable& CTable::operator=(const CTable& rOther)
{
    if (this == &rOther) return *this;
    // Held to the end: with the last reference on it the old connection may take the source table along.
    const CSmartPtr<CConnection> pOldConnection = m_pConnection;
    m_sName = rOther.m_sName;
    SetFields(rOther.m_pFields.get(), rOther.m_nFields);
    m_oid = rOther.m_oid;
    m_pConnection = rOther.m_pConnection;
    return *this;
}

CTable::~CTable() = default;

// Makes the field array and its map from the nCount records at an iterator.
template <class Iterator> void CTable::SetFields(const Iterator& first, int nCount)
{
    std::unique_ptr<CFieldInfo[]> pFields(new CFieldInfo[nCount + 1]);
    std::map<CString, int> mapFields;
    Iterator field = first;
    for (int nPos = 0; nPos < nCount; ++nPos, ++field) {
        pFields[nPos] = *field;
        mapFields.emplace(pFields[nPos].m_sName, nPos);
    }
    m_pFields.swap(pFields);
    m_mapFields.swap(mapFields);
    m_nFields = nCount;
}

long CTable::GetFieldName(int nIdx, CString& sName)
{
    if (nIdx < 0 || nIdx > m_nFields) KORVANE_RAISE(L"korvanedb/table", 92, DISP_E_BADINDEX, L"Index out of bounds");
    sName = m_pFields ? m_pFields[nIdx].m_sName : CString();
    return 0;
}

std::list<CString> CTable::GetFieldNames()
{
    std::list<CString> names;
    for (int nPos = 0; nPos < m_nFields; ++nPos) names.push_back(m_pFields[nPos].m_sName);
    return names;
}

} // namespace KorvaneDB
