// readplan.h - how the properties that a caller asks for are read from all records of one shape.
//
// Ownership  a plan owns what it knows; fields that it measures point into the record.
// Threads    none of its own.
// Errors     a record that contradicts itself: false, never a read outside of it.
#ifndef KORVANESTORE_READPLAN_H
#define KORVANESTORE_READPLAN_H

#include "values.h"

#include <vector>

namespace store {

class CReadPlan
{
public:
    // rgPropID may be null: all properties of the shape.
    void Assign(const CShape& shape, const CEPROPID* rgPropID, WORD nCount);

    WORD Count() const { return static_cast<WORD>(m_values.size()); }
    size_t VaryingCount() const { return m_varying.size(); }
    bool FindsAny() const { return m_bAny; } // whether the shape has one of the properties

    // Where the record's texts and blobs are, VaryingCount() of them, and the bytes that the block takes.
    bool Measure(const CRecordView& record, CField* pFields, ULONGLONG& cbBlock) const;
    // Writes the block: the values, behind them texts and blobs.
    void Fill(const CRecordView& record, const CField* pFields, BYTE* pBlock) const;

private:
    struct CNumber
    {
        DWORD nValue;   // among the values
        DWORD cbOffset; // in the record's fixed part
        ESlot kind;
    };
    struct CVarying
    {
        DWORD nValue;
        CSlot slot;
    };
    std::vector<CEPROPVAL> m_values; // in the order asked for, but for the numbers, texts and blobs
    std::vector<CNumber> m_numbers;
    std::vector<CVarying> m_varying;
    bool m_bAny = false;
};

inline bool CReadPlan::Measure(const CRecordView& record, CField* pFields, ULONGLONG& cbBlock) const
{
    cbBlock = m_values.size() * sizeof(CEPROPVAL);
    for (const CVarying& varying : m_varying) {
        if (!record.GetVarying(varying.slot, *pFields)) return false;
        cbBlock += ExtraSize(*pFields++);
    }
    return true;
}

inline void CReadPlan::Fill(const CRecordView& record, const CField* pFields, BYTE* pBlock) const
{
    CEPROPVAL* const pValues = reinterpret_cast<CEPROPVAL*>(pBlock);
    BYTE* pTo = pBlock;
    for (const CEPROPVAL& value : m_values) {
        const __m128i whole = _mm_loadu_si128(reinterpret_cast<const __m128i*>(&value));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(pTo), whole);
        pTo += sizeof value;
    }
    static_assert(sizeof(CEPROPVAL) == sizeof(__m128i), "copied as one");
    for (const CNumber& number : m_numbers)
        Store(&pValues[number.nValue].val, record.Number(number.kind, number.cbOffset));
    for (const CVarying& varying : m_varying) {
        StoreVarying(*pFields, pValues[varying.nValue].val, pTo);
        pTo += ExtraSize(*pFields++);
    }
}

} // namespace store

#endif
