#include "korvanedb/row.h"

#include "base/errorutil.h"
#include "korvanedb/connection.h"
#include "korvanedb/rowshared.h"
#include "korvanedb/variants.h"

namespace KorvaneDB {
namespace {

const wchar_t kSource[] = L"korvanedb/row";
constexpr DWORD kSpareBytes = 10; // what a record buffer grows by beyond the need

// Reads the record under the handle into the row's buffer. The size comes back larger than the buffer when the record
// did not fit.
struct CReadResult
{
    CEOID oid;
    DWORD cbNeeded;
    DWORD dwError; // last error, if oid is 0
    int nProps;
};

CReadResult ReadIntoBuffer(CRowShared& shared)
{
    WORD nProps = static_cast<WORD>(shared.nFields);
    LPBYTE pBuffer = shared.pBuffer;
    DWORD cb = shared.cbBuffer;
    const CEOID oid =
        ::CeReadRecordPropsEx(shared.hDatabase, 0, &nProps, shared.propids.get(), &pBuffer, &cb, shared.hHeap);
    const DWORD dwError = ::GetLastError();
    return {oid, cb, dwError, nProps};
}

// A larger block with what the buffer has, or the buffer of a row that got none when it was made. Null: memory is out.
void* Enlarge(const CRowShared& shared, DWORD cbNew)
{
    return shared.pBuffer ? ::HeapReAlloc(shared.hHeap, 0, shared.pBuffer, cbNew) : ::HeapAlloc(shared.hHeap, 0, cbNew);
}

// Puts the string value of a field at *pText, with its terminator, and moves *pText behind it.
void AppendText(BYTE*& pText, const _variant_t& value)
{
    const bool bHasText = V_VT(&value) == VT_BSTR && V_BSTR(&value);
    const size_t cb = bHasText ? ::SysStringLen(V_BSTR(&value)) * sizeof(wchar_t) : 0;
    if (cb) memcpy(pText, V_BSTR(&value), cb);
    memset(pText + cb, 0, sizeof(wchar_t));
    pText += cb + sizeof(wchar_t);
}

} // namespace

void CRowShared::MakeValues()
{
    for (int i = 0; i < nWaiting; ++i) CRow::getVariantFromPropval(&Props()[i], values[i]);
    nWaiting = 0;
}

void CRowShared::KeepWaiting()
{
    if (nWaiting) memcpy(kept.get(), Props(), nWaiting * sizeof(CEPROPVAL));
}

void CRowShared::PutBackWaiting()
{
    if (nWaiting) memcpy(Props(), kept.get(), nWaiting * sizeof(CEPROPVAL));
}

void CRowShared::LetWait(int nValues)
{
    nWaiting = nValues;
    if (!bAnySet) return;
    bAnySet = false;
    // A text's block serves the next one.
    for (int i = 0; i < nValues; ++i)
        if (V_VT(&values[i]) != VT_BSTR) values[i].Clear();
}

long RaiseReadFailure(DWORD dwError)
{
    static constexpr struct
    {
        DWORD dwError;
        unsigned long ulLine;
        const wchar_t* pszMessage;
    } kFailures[] = {
        {ERROR_INVALID_PARAMETER, 92, L"ERROR_INVALID_PARAMETER"},     {ERROR_NO_DATA, 94, L"ERROR_NO_DATA"},
        {ERROR_INSUFFICIENT_BUFFER, 96, L"ERROR_INSUFFICIENT_BUFFER"}, {ERROR_KEY_DELETED, 98, L"ERROR_KEY_DELETED"},
        {ERROR_NO_MORE_ITEMS, 100, L"ERROR_NO_MORE_ITEMS "},
    };
    for (const auto& failure : kFailures)
        if (failure.dwError == dwError) KORVANE_RAISE(kSource, failure.ulLine, E_FAIL, failure.pszMessage);
    KORVANE_RAISE(kSource, 102, E_FAIL, L"Call to function CeReadRecordPropsEx(...) failed");
    return 0;
}

long CRow::ReadFromDB()
{
    CRowShared& shared = *m_pShared;
    // A parked failure comes out behind the first field; the values of the others must still be there then.
    const bool bMayWait = gErrHRESULT >= 0;
    if (!bMayWait) shared.MakeValues();
    shared.KeepWaiting();
    CReadResult read = ReadIntoBuffer(shared);
    if (!read.oid) shared.PutBackWaiting();
    if (read.cbNeeded > shared.cbBuffer) {
        shared.MakeValues(); // their texts are where the buffer is now
        const DWORD cbNew = read.cbNeeded + kSpareBytes;
        ::SetLastError(0);
        void* const pNew = Enlarge(shared, cbNew);
        const DWORD dwError = ::GetLastError();
        if (pNew) shared.pBuffer = static_cast<BYTE*>(pNew);
        if (!pNew || dwError != 0) KORVANE_RAISE(kSource, 78, E_FAIL, L"Call to function HeapReAlloc(...) failed");
        shared.cbBuffer = cbNew;
        read = ReadIntoBuffer(shared);
    }
    if (!read.oid) return RaiseReadFailure(read.dwError);

    // The count of a table of more fields than a WORD counts is cut, and so is what came.
    const int nProps = read.nProps < shared.nFields ? read.nProps : shared.nFields;
    if (bMayWait) shared.LetWait(shared.nMayWait < nProps ? shared.nMayWait : nProps);
    for (int i = shared.nWaiting; i < nProps; ++i)
        KORVANE_CHECK(getVariantFromPropval(&shared.Props()[i], shared.values[i]));
    m_oid = read.oid;
    return 0;
}

long CRow::WriteToDB()
{
    CRowShared& shared = *m_pShared;
    shared.MakeValues();
    ULONGLONG cbNeeded = static_cast<ULONGLONG>(shared.nFields) * sizeof(CEPROPVAL);
    for (int i = 0; i < shared.nFields; ++i) {
        if (TypeFromPropID(shared.propids[i]) != CEVT_LPWSTR) continue;
        const _variant_t& value = shared.values[i];
        if (V_VT(&value) == VT_NULL) {
            cbNeeded += sizeof(wchar_t);
            continue;
        }
        if (V_VT(&value) != VT_BSTR) KORVANE_RAISE(kSource, 315, E_FAIL, L"Wrong type. VT_BSTR expected.");
        cbNeeded += (static_cast<ULONGLONG>(::SysStringLen(V_BSTR(&value))) + 1) * sizeof(wchar_t);
    }

    const SIZE_T cbHas = shared.pBuffer ? ::HeapSize(shared.hHeap, 0, shared.pBuffer) : 0;
    if (cbHas == static_cast<SIZE_T>(-1)) KORVANE_RAISE(kSource, 327, E_FAIL, L"Call to funcion HeapSize(...) failed");
    ::SetLastError(0);
    if (!shared.pBuffer || cbHas < cbNeeded) {
        const bool bPossible = cbNeeded <= MAXDWORD - kSpareBytes;
        const DWORD cbNew = static_cast<DWORD>(cbNeeded) + kSpareBytes;
        void* const pNew = bPossible ? Enlarge(shared, cbNew) : nullptr;
        if (!pNew) KORVANE_RAISE(kSource, 335, E_FAIL, L"Call to function HeapRealloc(...) failed");
        shared.pBuffer = static_cast<BYTE*>(pNew);
        shared.cbBuffer = cbNew;
    }
    if (::GetLastError() != 0) KORVANE_RAISE(kSource, 341, E_FAIL, L"Call to function HeapRealloc(...) failed");

    CEPROPVAL* const pProps = shared.Props();
    BYTE* pText = shared.pBuffer + shared.nFields * sizeof(CEPROPVAL);
    for (int i = 0; i < shared.nFields; ++i) {
        pProps[i] = {};
        pProps[i].propid = shared.propids[i];
        const long hr = getPropvalFromVariant(&pProps[i], shared.values[i]);
        if (hr < 0) KORVANE_TRACE(kSource, 353, "m_pTblDef->m_pFields[nIDX].m_sName", FieldName(i));
        KORVANE_CHECK(hr);
        if (TypeFromPropID(shared.propids[i]) != CEVT_LPWSTR) continue;
        pProps[i].val.lpwstr = reinterpret_cast<LPWSTR>(pText);
        AppendText(pText, shared.values[i]);
    }

    m_oid = ::CeWriteRecordProps(shared.hDatabase, m_oid, static_cast<WORD>(shared.nFields), pProps);
    if (!m_oid) KORVANE_RAISE(kSource, 380, E_FAIL, L"Call to function CeWriteRecordProps(...) failed");
    return 0;
}

// The table's name for a field of the row. The table may have been assigned another definition since.
CString CRow::FieldName(int index) const
{
    return index < m_pTblDef->m_nFields ? m_pTblDef->m_pFields[index].m_sName : CString();
}

// The table's position for a field name, or -1.
int CRow::FindField(const CString& name) const
{
    if (!m_pTblDef) return -1;
    const auto found = m_pTblDef->m_mapFields.find(name);
    return found == m_pTblDef->m_mapFields.end() ? -1 : found->second;
}

long CRow::getVal(CString name, _variant_t& value)
{
    if (!m_oid) KORVANE_RAISE(kSource, 256, E_FAIL, L"Either BOF or EOF is true");
    const int nIndex = FindField(name);
    if (nIndex < 0) KORVANE_RAISE(kSource, 261, E_FAIL, L"Field does not exist");
    KORVANE_CHECK(getVal(nIndex, value));
    return 0;
}

long CRow::getVal(int index, _variant_t& value)
{
    if (!m_oid) KORVANE_RAISE(kSource, 274, E_FAIL, L"Either BOF or EOF is true");
    if (index < 0 || index > m_pShared->nFields) KORVANE_RAISE(kSource, 277, E_FAIL, L"Index out of bounds");
    const CRowShared& shared = *m_pShared;
    if (index < shared.nWaiting) return getVariantFromPropval(&shared.Props()[index], value);
    Copy(value, shared.values[index]);
    return 0;
}

long CRow::setVal(CString name, _variant_t& value)
{
    const int nIndex = FindField(name);
    if (nIndex < 0) KORVANE_RAISE(kSource, 288, E_FAIL, L"Field does not exist");
    KORVANE_CHECK(setVal(nIndex, value));
    return 0;
}

long CRow::setVal(int index, _variant_t& value)
{
    if (index < 0 || index > m_pShared->nFields) KORVANE_RAISE(kSource, 301, E_FAIL, L"Index out of bounds");
    m_pShared->MakeValues();
    m_pShared->bAnySet = true;
    Copy(m_pShared->values[index], value);
    return 0;
}

} // namespace KorvaneDB
