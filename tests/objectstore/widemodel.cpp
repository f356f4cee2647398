#include "widemodel.h"

#include <algorithm>

namespace {

template <class T> int Three(const T& a, const T& b)
{
    return a < b ? -1 : b < a;
}

int CompareTexts(const std::wstring& a, const std::wstring& b, DWORD dwFlags)
{
    if (dwFlags & CEDB_SORT_GENERICORDER) return Three(a, b);
    DWORD dwHow = 0;
    if (dwFlags & CEDB_SORT_CASEINSENSITIVE) dwHow |= NORM_IGNORECASE;
    if (dwFlags & CEDB_SORT_IGNORENONSPACE) dwHow |= NORM_IGNORENONSPACE;
    if (dwFlags & CEDB_SORT_IGNORESYMBOLS) dwHow |= NORM_IGNORESYMBOLS;
    if (dwFlags & CEDB_SORT_IGNOREKANATYPE) dwHow |= NORM_IGNOREKANATYPE;
    if (dwFlags & CEDB_SORT_IGNOREWIDTH) dwHow |= NORM_IGNOREWIDTH;
    const bool bIgnores = dwHow != 0;
    if (dwFlags & CEDB_SORT_STRINGSORT) dwHow |= SORT_STRINGSORT;
    const int n = ::CompareStringW(LOCALE_INVARIANT, dwHow, a.data(), static_cast<int>(a.size()), b.data(),
                                   static_cast<int>(b.size())) -
                  CSTR_EQUAL;
    return n != 0 || bIgnores ? n : Three(a, b);
}

int CompareValues(const CFields& a, const CFields& b, CEPROPID propid, DWORD dwFlags)
{
    switch (propid) {
    case kWideNumber:
        return Three(*a.n, *b.n);
    case kWideGroup:
        return Three(*a.g, *b.g);
    case kWideKey:
        return Three(static_cast<ULONG>(*a.u), static_cast<ULONG>(*b.u));
    default:
        return CompareTexts(*a.s, *b.s, dwFlags);
    }
}

std::string Error(DWORD dwError)
{
    return "error " + std::to_string(dwError);
}

} // namespace

bool CWideOrder::IsUnique() const
{
    return m_spec.wKeyFlags & CEDB_SORT_UNIQUE;
}

bool CWideOrder::Requires(WORD nPart) const
{
    return IsUnique() || m_spec.rgdwFlags[nPart] & CEDB_SORT_NONNULL;
}

bool CWideOrder::Has(const CFields& fields, WORD nParts) const
{
    for (WORD i = 0; i < nParts; ++i)
        if (!fields.Has(m_spec.rgPropID[i])) return false;
    return true;
}

int CWideOrder::Compare(const CFields& a, const CFields& b, WORD nParts) const
{
    for (WORD i = 0; i < nParts; ++i) {
        const CEPROPID propid = m_spec.rgPropID[i];
        const DWORD dwFlags = m_spec.rgdwFlags[i];
        const bool bHasA = a.Has(propid), bHasB = b.Has(propid);
        if (bHasA != bHasB) return bHasA == !(dwFlags & CEDB_SORT_UNKNOWNFIRST) ? -1 : 1;
        const int n = bHasA ? CompareValues(a, b, propid, dwFlags) : 0;
        if (n != 0) return dwFlags & CEDB_SORT_DESCENDING ? -n : n;
    }
    return 0;
}

CWideModel::CWideModel(std::vector<CWideOrder> orders, size_t nPointers) : pointers(nPointers), m_orders(orders) {}

std::vector<CEOID> CWideModel::Sorted(size_t nOrder) const
{
    std::vector<CEOID> oids;
    for (const auto& entry : records) oids.push_back(entry.first); // by OID: equal keys stay so
    std::stable_sort(oids.begin(), oids.end(),
                     [&](CEOID a, CEOID b) { return m_orders[nOrder].Compare(records.at(a), records.at(b)) < 0; });
    return oids;
}

DWORD CWideModel::Refusal(CEOID oid, const CFields& result) const
{
    for (const CWideOrder& order : m_orders) {
        for (WORD i = 0; i < order.Spec().wNumProps; ++i)
            if (order.Requires(i) && !result.Has(order.Spec().rgPropID[i])) return ERROR_DBPROP_NOT_FOUND;
        for (const auto& entry : records)
            if (order.IsUnique() && entry.first != oid && order.Compare(entry.second, result) == 0)
                return ERROR_REPEATED_KEY;
    }
    return 0;
}

void CWideModel::Wrote(size_t nPointer, CEOID oid, const CFields& result)
{
    records[oid] = result;
    for (CWidePointer& pointer : pointers)
        if (pointer.place == CWidePointer::kOn && pointer.oid == oid)
            pointer.bStale = pointer.bStale || OrderOf(pointer).Compare(pointer.key, result) != 0;
    CWidePointer& own = pointers[nPointer];
    Put(own, oid);
    own.bByRead = false;
}

void CWideModel::Deleted(size_t nPointer, CEOID oid)
{
    const CFields fields = records.at(oid);
    for (size_t i = 0; i < pointers.size(); ++i) {
        CWidePointer& pointer = pointers[i];
        if (pointer.place != CWidePointer::kOn || pointer.oid != oid) continue;
        pointer.place = CWidePointer::kGap;
        if (i == nPointer) {
            pointer.key = fields;
            pointer.bByRead = pointer.bAuto;
        } else {
            pointer.bUncertain = pointer.bStale;
        }
    }
    records.erase(oid);
}

// The record's index, or that of the one behind the gap.
size_t CWideModel::PlaceOf(const CWidePointer& pointer, const std::vector<CEOID>& sorted) const
{
    if (pointer.place == CWidePointer::kEnd) return sorted.size();
    if (pointer.place == CWidePointer::kOn)
        return std::find(sorted.begin(), sorted.end(), pointer.oid) - sorted.begin();
    const CWideOrder& order = OrderOf(pointer);
    size_t n = 0;
    for (; n < sorted.size(); ++n) {
        const int nCompared = order.Compare(records.at(sorted[n]), pointer.key);
        if (nCompared > 0 || (nCompared == 0 && sorted[n] > pointer.oid)) break;
    }
    return n;
}

bool CWideModel::Put(CWidePointer& pointer, CEOID oid)
{
    pointer.place = CWidePointer::kOn;
    pointer.oid = oid;
    pointer.key = records.at(oid);
    pointer.bByRead = pointer.bStale = pointer.bUncertain = false;
    return true;
}

bool CWideModel::Restore(CWidePointer& pointer)
{
    if (pointer.place == CWidePointer::kOn) {
        pointer.key = records.at(pointer.oid);
        pointer.bStale = false;
        return true;
    }
    if (pointer.place == CWidePointer::kEnd || !pointer.bByRead) return false;
    const std::vector<CEOID> sorted = Sorted(pointer.nOrder);
    const size_t n = PlaceOf(pointer, sorted);
    if (n == sorted.size()) {
        pointer.place = CWidePointer::kEnd;
        return false;
    }
    Put(pointer, sorted[n]);
    pointer.bByRead = true;
    return true;
}

bool CWideModel::Step(CWidePointer& pointer, long n)
{
    const bool bOn = Restore(pointer);
    if (n == 0) return bOn;
    if (n > 0 && pointer.place == CWidePointer::kEnd) return false;
    const std::vector<CEOID> sorted = Sorted(pointer.nOrder);
    long nPlace = static_cast<long>(PlaceOf(pointer, sorted)) + n;
    if (n > 0 && pointer.place == CWidePointer::kGap) --nPlace;
    if (nPlace < 0) return false;
    if (nPlace >= static_cast<long>(sorted.size())) {
        pointer.place = CWidePointer::kEnd;
        return false;
    }
    return Put(pointer, sorted[nPlace]);
}

std::string CWideModel::Answer(CWidePointer& pointer, bool bFound) const
{
    if (!bFound) return Error(ERROR_NO_MORE_ITEMS);
    return std::to_string(pointer.oid) + " " + std::to_string(PlaceOf(pointer, Sorted(pointer.nOrder)));
}

std::string CWideModel::Seek(size_t nPointer, DWORD dwType, DWORD dwValue)
{
    CWidePointer& pointer = pointers[nPointer];
    const std::vector<CEOID> sorted = Sorted(pointer.nOrder);
    switch (dwType) {
    case CEDB_SEEK_CEOID:
        return Answer(pointer, records.count(dwValue) && Put(pointer, dwValue));
    case CEDB_SEEK_BEGINNING:
        if (dwValue >= sorted.size()) {
            pointer.place = CWidePointer::kEnd;
            return Answer(pointer, false);
        }
        return Answer(pointer, Put(pointer, sorted[dwValue]));
    case CEDB_SEEK_END: {
        const DWORD n = std::max(static_cast<DWORD>(std::abs(static_cast<long>(dwValue))), DWORD{1});
        return Answer(pointer, n <= sorted.size() && Put(pointer, sorted[sorted.size() - n]));
    }
    default: {
        const bool bFound = Step(pointer, static_cast<long>(dwValue));
        if (!bFound && dwValue == 0 && pointer.place == CWidePointer::kGap) return Error(ERROR_KEY_DELETED);
        return Answer(pointer, bFound);
    }
    }
}

std::string CWideModel::Find(size_t nPointer, DWORD dwType, const CFields& value, WORD nParts)
{
    CWidePointer& pointer = pointers[nPointer];
    const CWideOrder& order = OrderOf(pointer);
    const auto compare = [&](CEOID oid) { return order.Compare(records.at(oid), value, nParts); };
    const auto has = [&](CEOID oid) { return order.Has(records.at(oid), nParts); };
    CEOID oidFound = 0;
    if (dwType == CEDB_SEEK_VALUENEXTEQUAL) {
        if (Step(pointer, 1) && has(pointer.oid) && compare(pointer.oid) == 0) oidFound = pointer.oid;
    } else {
        for (const CEOID oid : Sorted(pointer.nOrder)) {
            if (!has(oid)) continue;
            const int n = compare(oid);
            if (dwType == CEDB_SEEK_VALUESMALLER
                    ? n < 0
                    : oidFound == 0 && (dwType == CEDB_SEEK_VALUEGREATER ? n >= 0 : n == 0))
                oidFound = oid;
        }
    }
    if (!oidFound) {
        pointer.place = CWidePointer::kEnd;
        return Answer(pointer, false);
    }
    return Answer(pointer, Put(pointer, oidFound));
}

std::string CWideModel::Read(size_t nPointer)
{
    CWidePointer& pointer = pointers[nPointer];
    // A read of an order's record does not look where it stands in the order.
    const bool bStale = pointer.bStale;
    const CFields key = pointer.key;
    if (!Restore(pointer)) return Error(pointer.place == CWidePointer::kEnd ? ERROR_NO_MORE_ITEMS : ERROR_KEY_DELETED);
    const std::string strAnswer = std::to_string(pointer.oid) + " " + records.at(pointer.oid).Render();
    if (pointer.bAuto) {
        if (Step(pointer, 1)) pointer.bByRead = true;
    } else if (bStale) {
        pointer.bStale = true;
        pointer.key = key;
    }
    return strAnswer;
}
