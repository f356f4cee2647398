// widemodel.h - what a database and its handles are to do, worked out the plain way: every order sorted anew for every
// question. The test asks a real volume, in two processes, the same.
#ifndef KORVANE_TESTS_OBJECTSTORE_WIDEMODEL_H
#define KORVANE_TESTS_OBJECTSTORE_WIDEMODEL_H

#include "performer.h"

#include <map>

using CRecords = std::map<CEOID, CFields>;

// One order: how records compare. Text is compared by the system's CompareStringW, in the invariant locale.
class CWideOrder
{
public:
    explicit CWideOrder(SORTORDERSPECEX spec) : m_spec(spec) {}
    CWideOrder() = default; // the order of creation
    const SORTORDERSPECEX& Spec() const { return m_spec; }
    bool IsUnique() const;
    bool Requires(WORD nPart) const;
    bool Has(const CFields& fields, WORD nParts) const;
    // The first nParts parts, in the order's direction; those that lack a part come where the order says.
    int Compare(const CFields& a, const CFields& b, WORD nParts) const;
    int Compare(const CFields& a, const CFields& b) const { return Compare(a, b, m_spec.wNumProps); }

private:
    SORTORDERSPECEX m_spec = {};
};

// One handle's pointer.
struct CWidePointer
{
    size_t nOrder = 0;
    bool bAuto = false;
    enum EPlace
    {
        kEnd,
        kOn,
        kGap
    } place = kEnd;
    CEOID oid = 0;
    CFields key;             // of the record, as the handle saw it last
    bool bByRead = false;    // a read of an auto-increment handle brought it here
    bool bStale = false;     // somebody else has given the record another key
    bool bUncertain = false; // it was then deleted: where its gap lies is nobody's promise
};

// Answers are as CPerformer gives them.
class CWideModel
{
public:
    CWideModel(std::vector<CWideOrder> orders, size_t nPointers);

    CRecords records;
    std::vector<CWidePointer> pointers;

    const CWideOrder& OrderOf(const CWidePointer& pointer) const { return m_orders[pointer.nOrder]; }
    std::vector<CEOID> Sorted(size_t nOrder) const;
    // What a write is refused with, or 0.
    DWORD Refusal(CEOID oid, const CFields& result) const;
    void Wrote(size_t nPointer, CEOID oid, const CFields& result);
    void Deleted(size_t nPointer, CEOID oid);
    std::string Seek(size_t nPointer, DWORD dwType, DWORD dwValue);
    std::string Find(size_t nPointer, DWORD dwType, const CFields& value, WORD nParts);
    std::string Read(size_t nPointer);

private:
    size_t PlaceOf(const CWidePointer& pointer, const std::vector<CEOID>& sorted) const;
    bool Restore(CWidePointer& pointer);
    bool Step(CWidePointer& pointer, long n);
    bool Put(CWidePointer& pointer, CEOID oid);
    std::string Answer(CWidePointer& pointer, bool bFound) const;

    std::vector<CWideOrder> m_orders;
};

#endif
