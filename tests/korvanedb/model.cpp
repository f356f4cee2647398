#include "model.h"

using namespace KorvaneDB;

CModelRecord* CModel::Find(CEOID oidWanted)
{
    for (CModelRecord& record : records)
        if (record.oid == oidWanted) return &record;
    return nullptr;
}

int CModel::CompareKey(const CModelValue& left, const CModelValue& right) const
{
    const int nOrder = left.kind == CModelValue::String
                           ? left.text.compare(right.text)
                           : (left.lNumber > right.lNumber) - (left.lNumber < right.lNumber);
    return m_nOrder == 2 ? -nOrder : nOrder;
}

int CModel::Compare(const CModelRecord& left, const CModelRecord& right) const
{
    if (m_nOrder != kNoIndex) {
        const bool bNoLeft = Key(left).kind == CModelValue::None, bNoRight = Key(right).kind == CModelValue::None;
        if (bNoLeft != bNoRight) return bNoLeft ? 1 : -1;
        const int nOrder = bNoLeft ? 0 : CompareKey(Key(left), Key(right));
        if (nOrder) return nOrder;
    }
    return (left.oid > right.oid) - (left.oid < right.oid);
}

const CModelRecord* CModel::First() const
{
    const CModelRecord* pFound = nullptr;
    for (const CModelRecord& record : records)
        if (!pFound || Compare(record, *pFound) < 0) pFound = &record;
    return pFound;
}

const CModelRecord* CModel::Last() const
{
    const CModelRecord* pFound = nullptr;
    for (const CModelRecord& record : records)
        if (!pFound || Compare(record, *pFound) > 0) pFound = &record;
    return pFound;
}

bool CModel::ChangedUnderTheHandle(CEOID oidRecord)
{
    return m_place == OnRecord && m_current.oid == oidRecord && !(m_current.fields == Find(oidRecord)->fields);
}

// Another row may have changed the current record.
void CModel::LookAtCurrent()
{
    if (m_place == OnRecord) m_current = *Find(m_current.oid);
}

// The record that one step from the handle's place reaches.
const CModelRecord* CModel::Neighbour(bool bNext)
{
    if (m_place == AtEnd) return bNext ? nullptr : Last();
    LookAtCurrent();
    const CModelRecord* pFound = nullptr;
    for (const CModelRecord& record : records) {
        const int nSide = Compare(record, m_current);
        if (bNext ? nSide <= 0 : nSide >= 0) continue;
        const int nBest = pFound ? Compare(record, *pFound) : 0;
        if (!pFound || (bNext ? nBest < 0 : nBest > 0)) pFound = &record;
    }
    return pFound;
}

bool CModel::MoveTo(const CModelRecord* pRecord, bool bEndIfNone)
{
    oid = pRecord ? pRecord->oid : 0;
    if (pRecord) {
        m_place = OnRecord;
        m_current = *pRecord;
    } else if (bEndIfNone) {
        m_place = AtEnd;
    }
    return pRecord != nullptr;
}

long CModel::MoveFirst()
{
    if (filter) {
        const long hr = Seek(SeekValueFirstEqual, *filter);
        if (hr < 0) return hr;
        bEof = bBof = hr == 1;
        return 0;
    }
    bEof = bBof = !MoveTo(First(), true);
    return 0;
}

long CModel::MoveNext()
{
    if (filter) {
        const long hr = Seek(SeekValueNextEqual, *filter);
        return hr < 0 ? hr : 0;
    }
    bEof = !MoveTo(Neighbour(true), true);
    if (oid) bBof = 0;
    return 0;
}

long CModel::MovePrev()
{
    if (filter) return E_NOTIMPL;
    bBof = !MoveTo(Neighbour(false), false);
    if (oid) bEof = 0;
    return 0;
}

long CModel::MoveLast()
{
    if (filter) return E_NOTIMPL;
    bEof = bBof = !MoveTo(Last(), false);
    return 0;
}

long CModel::SetIndex(int nNewIndex)
{
    if (nNewIndex == kNoIndex) return E_FAIL;
    m_nOrder = nNewIndex;
    const CEOID oidKept = oid;
    MoveTo(First(), true);
    oid = oidKept;
    if (oid) {
        const long hr = SetBookmark(oid);
        if (hr < 0) return hr;
    }
    nIndex = nNewIndex;
    filter.reset();
    return 0;
}

long CModel::Seek(SeekEnum type, const CModelValue& value)
{
    if (nIndex == kNoIndex) return E_FAIL;
    if ((value.kind == CModelValue::String) != (nIndex == 1)) return E_FAIL;
    if (nIndex != m_nOrder) {
        // A SetIndex that failed at the bookmark: the store refuses a value that is not of the handle's order.
        oid = 0;
        bEof = 1;
        return 1;
    }
    const CModelRecord* pFound = nullptr;
    if (type == SeekValueNextEqual) {
        pFound = Neighbour(true);
        if (pFound && !(Key(*pFound) == value)) pFound = nullptr;
    } else {
        for (const CModelRecord& record : records) {
            if (Key(record).kind == CModelValue::None) continue;
            const int nSide = CompareKey(Key(record), value);
            if (type == SeekValueSmaller ? nSide >= 0 : type == SeekValueFirstEqual ? nSide != 0 : nSide < 0) continue;
            const int nBest = pFound ? Compare(record, *pFound) : 0;
            if (!pFound || (type == SeekValueSmaller ? nBest > 0 : nBest < 0)) pFound = &record;
        }
    }
    bEof = !MoveTo(pFound, true);
    if (bEof) return 1;
    bBof = 0;
    return 0;
}

long CModel::SetBookmark(CEOID oidWanted)
{
    if (!oidWanted) return E_FAIL;
    return MoveTo(Find(oidWanted), false) ? 0 : E_FAIL;
}

long CModel::Delete()
{
    if (!oid || !Find(oid)) return E_FAIL;
    LookAtCurrent();
    DeleteOther(oid);
    return MoveNext();
}

void CModel::DeleteOther(CEOID oidGone)
{
    if (m_place == OnRecord && m_current.oid == oidGone) m_place = Gap;
    records.erase(records.begin() + (Find(oidGone) - records.data()));
}

long CModel::Read()
{
    if (m_place != OnRecord) return E_FAIL;
    const CModelRecord& record = *Find(m_current.oid);
    bool bAny = false;
    for (const CModelValue& value : record.fields) bAny |= value.kind != CModelValue::None;
    if (!bAny) return E_FAIL;
    values = record.fields;
    oid = record.oid;
    return 0;
}

long CModel::Write(CEOID oidNew)
{
    if (!oid) {
        records.push_back({oidNew, values});
        oid = oidNew;
    } else if (CModelRecord* const pRecord = Find(oid)) {
        pRecord->fields = values;
    } else {
        oid = 0;
        return E_FAIL;
    }
    MoveTo(Find(oid), false);
    return 0;
}
