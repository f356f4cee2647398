// pending.h - what the calls of a batch have yet to put into the map.
//
// Entries of sort orders belong all over the order's part of the map: putting each at once is a search in the tree that
// waits for memory. Collected here and put in their order, one follows the other. Values that nearly every call sets
// anew, a database's descriptor and the volume record, are kept until the batch ends or somebody comes by them.
//
// Ownership  keys and values are copied; what is given out is good until the next change.
// Threads    used only under the volume's lock.
// Errors     none: what cannot be taken, for want of room or memory, its caller puts at once.
#ifndef KORVANESTORE_PENDING_H
#define KORVANESTORE_PENDING_H

#include "engine.h"

#include <vector>

namespace store {

constexpr size_t kRunPrefixBytes = 6; // that all keys of a sort order, and no others, begin with

// The keys of one sort order.
class CPendingRun
{
public:
    explicit CPendingRun(CBytes key);
    // Whether a key, or one that begins with these bytes, is of the same order.
    bool IsOf(CBytes key) const;
    bool IsEmpty() const { return m_nDone == m_entries.size(); }

private:
    friend class CPending;
    struct CEntry
    {
        ULONGLONG ullHead; // the first bytes that keys differ in, as a number
        DWORD cbOffset, cb;
    };
    BYTE m_rgbPrefix[kRunPrefixBytes];
    size_t m_cbCommon;  // bytes that the keys have in common
    size_t m_nDone = 0; // entries that are in the map
    std::vector<CEntry> m_entries;
};

class CPending
{
public:
    bool IsEmpty() const { return m_nKeys == 0 && m_nValues == 0; }
    // Whether no more keys are taken before those that are there have been put.
    bool IsFull() const;

    // A key of a sort order, without a value. False: not taken, perhaps because it is full.
    bool AddKey(CBytes key);
    std::vector<CPendingRun>& Runs() { return m_runs; }
    // Puts a run's keys into their order: First is then the lowest, and Drop takes it off when it is in the map.
    void Sort(CPendingRun& run);
    CBytes First(const CPendingRun& run) const;
    void Drop(CPendingRun& run);

    // The value of a key, in place of the one before. False: not taken.
    bool SetValue(CBytes key, CBytes value);
    bool FindValue(CBytes key, CBytes& value) const;
    void ForgetValue(CBytes key);
    // Any one of the values; false when there is none.
    bool AnyValue(CBytes& key, CBytes& value) const;

    // Pages that putting all of it can be expected to take, in a map that had so many when the batch began.
    DWORD PagesNeeded(DWORD dwTreePages) const { return m_nKeys == 0 ? 0 : PagesOfKeys(dwTreePages); }

    // Forgets everything.
    void Clear();

private:
    struct CValue
    {
        BYTE rgbKey[5];
        BYTE cbKey;
        WORD cb;
        BYTE rgb[248];
        CBytes Key() const { return {rgbKey, cbKey}; }
    };
    CValue* Value(CBytes key);
    DWORD PagesOfKeys(DWORD dwTreePages) const;

    std::vector<BYTE> m_bytes; // of the keys
    std::vector<CPendingRun> m_runs;
    size_t m_nKeys = 0, m_cbKeys = 0; // that are to be put yet
    CValue m_rgValues[4];
    size_t m_nValues = 0;
};

} // namespace store

#endif
