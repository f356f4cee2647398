#include "pending.h"

#include "bytes.h"
#include "header.h"
#include "lmdb_ext.h"

#include <algorithm>
#include <new>

namespace store {

namespace {

constexpr size_t kMostBytes = 4 << 20; // of keys, with what is kept of each
constexpr size_t kMostRuns = 16;
constexpr size_t kKeptBytes = 64 << 10; // of memory, from one batch to the next

} // namespace

CPendingRun::CPendingRun(CBytes key) : m_cbCommon(key.cb)
{
    CopyBytes(m_rgbPrefix, key.p, kRunPrefixBytes);
}

bool CPendingRun::IsOf(CBytes key) const
{
    return key.cb >= kRunPrefixBytes && Load<DWORD>(key.p) == Load<DWORD>(m_rgbPrefix) &&
           Load<WORD>(key.p + 4) == Load<WORD>(m_rgbPrefix + 4);
}

bool CPending::IsFull() const
{
    return m_bytes.size() + m_nKeys * sizeof(CPendingRun::CEntry) > kMostBytes || m_runs.size() > kMostRuns;
}

bool CPending::AddKey(CBytes key)
{
    if (IsFull()) return false;
    try {
        CPendingRun* pRun = nullptr;
        for (CPendingRun& run : m_runs)
            if (run.IsOf(key)) pRun = &run;
        if (!pRun) pRun = &m_runs.emplace_back(key);
        if (pRun->m_entries.empty()) pRun->m_cbCommon = key.cb;
        const size_t cbOffset = m_bytes.size();
        m_bytes.insert(m_bytes.end(), key.p, key.p + key.cb);
        // Bytes without an entry do no harm.
        pRun->m_entries.push_back({0, static_cast<DWORD>(cbOffset), static_cast<DWORD>(key.cb)});
        const BYTE* const pFirst = m_bytes.data() + pRun->m_entries.front().cbOffset;
        size_t cbCommon = kRunPrefixBytes;
        while (cbCommon < pRun->m_cbCommon && cbCommon < key.cb && pFirst[cbCommon] == key.p[cbCommon]) ++cbCommon;
        pRun->m_cbCommon = cbCommon;
    } catch (const std::bad_alloc&) {
        return false;
    }
    ++m_nKeys;
    m_cbKeys += key.cb;
    return true;
}

void CPending::Sort(CPendingRun& run)
{
    using CEntry = CPendingRun::CEntry;
    const BYTE* const pBytes = m_bytes.data();
    const auto first = run.m_entries.begin() + static_cast<ptrdiff_t>(run.m_nDone), end = run.m_entries.end();
    for (auto entry = first; entry != end; ++entry) {
        const BYTE* const p = pBytes + entry->cbOffset + run.m_cbCommon;
        const size_t cb = entry->cb - run.m_cbCommon;
        entry->ullHead = 0;
        if (cb >= 8)
            entry->ullHead = GetBig64(p);
        else
            for (size_t i = 0; i < cb; ++i) entry->ullHead |= static_cast<ULONGLONG>(p[i]) << (56 - 8 * i);
    }
    std::sort(first, end, [pBytes](const CEntry& left, const CEntry& right) {
        if (left.ullHead != right.ullHead) return left.ullHead < right.ullHead;
        const MDB_val leftKey = {left.cb, const_cast<BYTE*>(pBytes + left.cbOffset)};
        const MDB_val rightKey = {right.cb, const_cast<BYTE*>(pBytes + right.cbOffset)};
        return kv_compare_keys(&leftKey, &rightKey) < 0;
    });
}

CBytes CPending::First(const CPendingRun& run) const
{
    const auto& entry = run.m_entries[run.m_nDone];
    return {m_bytes.data() + entry.cbOffset, entry.cb};
}

void CPending::Drop(CPendingRun& run)
{
    m_cbKeys -= run.m_entries[run.m_nDone++].cb;
    if (run.IsEmpty()) {
        run.m_entries.clear();
        run.m_nDone = 0;
    }
    if (--m_nKeys == 0) m_bytes.clear();
}

// ---- Values --------------------------------------------------------------------------------------------------------

CPending::CValue* CPending::Value(CBytes key)
{
    for (size_t i = 0; i < m_nValues; ++i)
        if (SameBytes(m_rgValues[i].Key(), key)) return &m_rgValues[i];
    return nullptr;
}

bool CPending::SetValue(CBytes key, CBytes value)
{
    CValue* pValue = Value(key);
    if (key.cb > sizeof pValue->rgbKey || value.cb > sizeof pValue->rgb) return false;
    if (!pValue) {
        if (m_nValues == std::size(m_rgValues)) return false;
        pValue = &m_rgValues[m_nValues++];
        CopyBytes(pValue->rgbKey, key.p, key.cb);
        pValue->cbKey = static_cast<BYTE>(key.cb);
    }
    CopyBytes(pValue->rgb, value.p, value.cb);
    pValue->cb = static_cast<WORD>(value.cb);
    return true;
}

bool CPending::FindValue(CBytes key, CBytes& value) const
{
    const CValue* const pValue = const_cast<CPending*>(this)->Value(key);
    if (pValue) value = {pValue->rgb, pValue->cb};
    return pValue;
}

void CPending::ForgetValue(CBytes key)
{
    if (CValue* const pValue = Value(key)) *pValue = m_rgValues[--m_nValues];
}

bool CPending::AnyValue(CBytes& key, CBytes& value) const
{
    if (m_nValues == 0) return false;
    const CValue& last = m_rgValues[m_nValues - 1];
    key = last.Key();
    value = {last.rgb, last.cb};
    return true;
}

// ---- All of it -----------------------------------------------------------------------------------------------------

DWORD CPending::PagesOfKeys(DWORD dwTreePages) const
{
    // Pages of the state before the batch are copied and may have to be split. The keys themselves fill pages by half.
    constexpr size_t kNodeBytes = 16;
    const size_t nOld = std::min<size_t>(m_nKeys, dwTreePages);
    return static_cast<DWORD>(2 * nOld + 2 * (m_cbKeys + kNodeBytes * m_nKeys) / kPageBytes + 1);
}

void CPending::Clear()
{
    m_runs.clear();
    m_bytes.clear();
    if (m_bytes.capacity() > kKeptBytes) m_bytes = std::vector<BYTE>();
    m_nKeys = m_cbKeys = m_nValues = 0;
}

} // namespace store
