#include "korvanedb/row.h"

#include "base/errorutil.h"
#include "korvanedb/connection.h"
#include "korvanedb/rowshared.h"

namespace KorvaneDB {
namespace {

const wchar_t kSource[] = L"korvanedb/row";
constexpr CEPROPID kNoIndex = 0xFFFFFFFF;
constexpr DWORD kInitialBufferBytes = 8192;

// The fields in front of the first one whose conversion may fail.
int CountSureFields(const CTable* pTable, int nFields)
{
    if (nFields > MAXWORD) return 0; // of which the store gives a part, and leaves the values of the others
    for (int i = 0; i < nFields; ++i) {
        switch (TypeFromPropID(pTable->m_pFields[i].m_propid)) {
        case CEVT_I2:
        case CEVT_UI2:
        case CEVT_I4:
        case CEVT_UI4:
        case CEVT_R8:
        case CEVT_BOOL:
        case CEVT_LPWSTR:
            continue;
        default:
            return i;
        }
    }
    return nFields;
}

} // namespace

CRowShared::CRowShared(const CTable* pTable, HANDLE hHeapOfTable, HANDLE hDatabaseOfRow, bool bOwns)
    : hHeap(hHeapOfTable), hDatabase(hDatabaseOfRow), bOwnsHandle(bOwns), nFields(pTable ? pTable->m_nFields : 0),
      pBuffer(nullptr), cbBuffer(0),
      // One more than needed: the store takes a null array for "all properties", so there is one even without fields.
      propids(new CEPROPID[nFields + 1]), values(new _variant_t[nFields + 1]),
      nMayWait(CountSureFields(pTable, nFields)), nWaiting(0), kept(new CEPROPVAL[nMayWait + 1]), bAnySet(false)
{
    for (int i = 0; i < nFields; ++i) propids[i] = pTable->m_pFields[i].m_propid;
    for (int i = 0; i <= nFields; ++i) V_VT(&values[i]) = VT_NULL;
    // Last: what throws in a constructor leaves this one's block behind.
    pBuffer = static_cast<BYTE*>(::HeapAlloc(hHeap, 0, kInitialBufferBytes));
    if (pBuffer) cbBuffer = kInitialBufferBytes;
}

CRowShared::~CRowShared()
{
    const bool bFreed = !pBuffer || ::HeapFree(hHeap, 0, pBuffer);
    const bool bClosed = !bOwnsHandle || ::CloseHandle(hDatabase);
    if (bFreed && bClosed) return;
    gErrHRESULT = E_FAIL;
    gErrFilename = kSource;
    gErrLinenumber = 37;
}

CRow::CRow(CSmartPtr<CTable> table, void* handle, int owns)
    : m_propidIndex(kNoIndex), m_pTblDef(table), m_oid(0), m_bEOF(1), m_bBOF(1)
{
    // A table that has no connection, or one that was never opened, has no heap to offer.
    HANDLE hHeap = table && table->m_pConnection ? table->m_pConnection->m_hHeap : nullptr;
    if (!hHeap) hHeap = ::GetProcessHeap();
    m_pShared = new CRowShared(table, hHeap, handle, owns != 0);
}

CRow::CRow(const CRow& rOther) = default;

CRow& CRow::operator=(const CRow& rOther)
{
    m_varFilter = rOther.m_varFilter; // first: it alone may throw
    CRefCntBase::operator=(rOther);
    m_propidIndex = rOther.m_propidIndex;
    m_oid = rOther.m_oid;
    m_bEOF = rOther.m_bEOF;
    m_bBOF = rOther.m_bBOF;
    m_pShared = rOther.m_pShared;
    m_pTblDef = rOther.m_pTblDef;
    return *this;
}

CRow::~CRow() = default;

long CRow::MoveFirst()
{
    if (HasFilter()) {
        const long hr = Seek(SeekValueFirstEqual, m_varFilter);
        KORVANE_CHECK(hr);
        m_bEOF = m_bBOF = hr == 1;
        return 0;
    }
    m_oid = ::CeSeekDatabase(m_pShared->hDatabase, CEDB_SEEK_BEGINNING, 0, nullptr);
    m_bEOF = m_bBOF = m_oid == 0;
    return 0;
}

long CRow::MoveNext()
{
    if (HasFilter()) {
        KORVANE_CHECK(Seek(SeekValueNextEqual, m_varFilter));
        return 0;
    }
    m_oid = ::CeSeekDatabase(m_pShared->hDatabase, CEDB_SEEK_CURRENT, 1, nullptr);
    m_bEOF = m_oid == 0;
    if (m_oid) m_bBOF = 0;
    return 0;
}

long CRow::MovePrev()
{
    if (HasFilter()) KORVANE_RAISE(kSource, 406, E_NOTIMPL, L"Can not move prev with a filter set");
    m_oid = ::CeSeekDatabase(m_pShared->hDatabase, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), nullptr);
    m_bBOF = m_oid == 0;
    if (m_oid) m_bEOF = 0;
    return 0;
}

long CRow::MoveLast()
{
    if (HasFilter()) KORVANE_RAISE(kSource, 453, E_NOTIMPL, L"Can not move last with a filter set");
    m_oid = ::CeSeekDatabase(m_pShared->hDatabase, CEDB_SEEK_END, 1, nullptr);
    m_bEOF = m_bBOF = m_oid == 0;
    return 0;
}

int CRow::IsEOF()
{
    return m_bEOF;
}

int CRow::IsBOF()
{
    return m_bBOF;
}

long CRow::SetIndex(CString name)
{
    std::map<CString, int>::const_iterator found;
    if (!m_pTblDef || (found = m_pTblDef->m_mapIndexes.find(name)) == m_pTblDef->m_mapIndexes.end())
        KORVANE_RAISE(kSource, 471, E_FAIL, L"Unknown index name");
    const CEPROPID propid = m_pTblDef->m_pIndexes[found->second].m_propid;

    if (m_pShared->bOwnsHandle && !::CloseHandle(m_pShared->hDatabase))
        KORVANE_RAISE(kSource, 488, E_FAIL, L"Unable to close previous database");
    // Without a connection there is no volume: the store refuses the null GUID.
    CEGUID* const pGuid = m_pTblDef->m_pConnection ? m_pTblDef->m_pConnection->GetVolGUID() : nullptr;
    CEOID oidTable = m_pTblDef->m_oid;
    const bool bByName = oidTable == 0;
    m_pShared->hDatabase = ::CeOpenDatabaseEx(
        pGuid, &oidTable, bByName ? const_cast<LPWSTR>(static_cast<LPCWSTR>(m_pTblDef->m_sName)) : nullptr, propid, 0,
        nullptr);
    if (m_pShared->hDatabase == INVALID_HANDLE_VALUE) KORVANE_RAISE(kSource, 497, E_FAIL, L"Unable to open database");
    m_pTblDef->m_oid = oidTable;

    if (m_oid) KORVANE_CHECK(setBookmark(m_oid));
    m_propidIndex = propid;
    m_varFilter.Clear();
    return 0;
}

long CRow::Seek(SeekEnum type, const _variant_t& value)
{
    if (m_propidIndex == kNoIndex) KORVANE_RAISE(kSource, 516, E_FAIL, L"Index has not been set");
    CEPROPVAL prop = {};
    prop.propid = m_propidIndex;
    KORVANE_CHECK(getPropvalFromVariant(&prop, value));
    // The conversion lets only texts and VT_NULL through here.
    if (TypeFromPropID(m_propidIndex) == CEVT_LPWSTR) {
        const BSTR text = V_VT(&value) == VT_BSTR ? V_BSTR(&value) : nullptr;
        prop.val.lpwstr = text ? text : const_cast<LPWSTR>(L"");
    }
    m_oid = ::CeSeekDatabase(m_pShared->hDatabase, type, reinterpret_cast<DWORD>(&prop), nullptr);
    m_bEOF = m_oid == 0;
    if (!m_oid) return 1;
    m_bBOF = 0;
    return 0;
}

unsigned long CRow::getBookmark()
{
    return m_oid;
}

long CRow::setBookmark(unsigned long bookmark)
{
    if (!bookmark) KORVANE_RAISE(kSource, 556, E_FAIL, L"Invalid bookmark");
    m_oid = ::CeSeekDatabase(m_pShared->hDatabase, CEDB_SEEK_CEOID, bookmark, nullptr);
    if (!m_oid) KORVANE_RAISE(kSource, 562, E_FAIL, L"Set bookmark failed");
    return 0;
}

long CRow::AddNew()
{
    m_oid = 0;
    return 0;
}

long CRow::Delete()
{
    if (!m_oid) KORVANE_RAISE(kSource, 596, E_FAIL, L"Either BOF or EOF is true");
    if (!::CeDeleteRecord(m_pShared->hDatabase, m_oid))
        KORVANE_RAISE(kSource, 600, E_FAIL, L"Error deleting record from database");
    KORVANE_CHECK(MoveNext());
    return 0;
}

long CRow::SetFilter(const _variant_t& filter)
{
    m_varFilter = filter;
    return 0;
}

long CRow::GetFilter(_variant_t& filter)
{
    filter = m_varFilter;
    return 0;
}

long CRow::getNumRows(unsigned long& count)
{
    CEGUID* const pGuid = m_pTblDef && m_pTblDef->m_pConnection ? m_pTblDef->m_pConnection->GetVolGUID() : nullptr;
    CEOIDINFO info;
    if (!pGuid || !::CeOidGetInfoEx(pGuid, m_pTblDef->m_oid, &info))
        KORVANE_RAISE(kSource, 610, E_FAIL, L"Call to function CeOidGetInfo(...) failed");
    if (info.wObjType != OBJTYPE_DATABASE)
        KORVANE_RAISE(kSource, 613, E_FAIL, L"Invalid info type returned by CeOidGetInfo(...)");
    count = info.infDatabase.wNumRecords;
    return 0;
}

CSmartPtr<CTable> CRow::getTable()
{
    return m_pTblDef;
}

} // namespace KorvaneDB
