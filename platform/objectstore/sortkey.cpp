#include "sortkey.h"

#include <atomic>
#include <mutex>

namespace store {

namespace {

DWORD MapFlags(DWORD dwSortFlags)
{
    static constexpr struct
    {
        DWORD dwSort, dwMap;
    } kFlags[] = {{CEDB_SORT_CASEINSENSITIVE, NORM_IGNORECASE},  {CEDB_SORT_IGNORENONSPACE, NORM_IGNORENONSPACE},
                  {CEDB_SORT_IGNORESYMBOLS, NORM_IGNORESYMBOLS}, {CEDB_SORT_IGNOREKANATYPE, NORM_IGNOREKANATYPE},
                  {CEDB_SORT_IGNOREWIDTH, NORM_IGNOREWIDTH},     {CEDB_SORT_STRINGSORT, SORT_STRINGSORT}};
    DWORD dwMap = LCMAP_SORTKEY;
    for (const auto& flag : kFlags)
        if (dwSortFlags & flag.dwSort) dwMap |= flag.dwMap;
    return dwMap;
}

constexpr DWORD kIgnoringFlags = CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_IGNORENONSPACE | CEDB_SORT_IGNORESYMBOLS |
                                 CEDB_SORT_IGNOREKANATYPE | CEDB_SORT_IGNOREWIDTH;

// The system's key of a text that has at least one character. It ends in a 0 byte, and has none before.
void AppendSystemKey(CByteBuffer& key, const wchar_t* psz, DWORD cch, DWORD dwMap, LCID lcid)
{
    const DWORD dwKeep = ::GetLastError();
    size_t cbRoom = cch * 4 + 256;
    int cb = ::LCMapStringW(lcid, dwMap, psz, static_cast<int>(cch), reinterpret_cast<LPWSTR>(key.Room(cbRoom)),
                            static_cast<int>(cbRoom));
    if (cb <= 0) {
        cbRoom = ::LCMapStringW(lcid, dwMap, psz, static_cast<int>(cch), nullptr, 0);
        cb = ::LCMapStringW(lcid, dwMap, psz, static_cast<int>(cch), reinterpret_cast<LPWSTR>(key.Room(cbRoom)),
                            static_cast<int>(cbRoom));
        if (cb <= 0) throw std::bad_alloc(); // nothing else fails for a text with a length and a known locale
    }
    key.Commit(cb);
    ::SetLastError(dwKeep);
}

// Weights of the ASCII characters whose sort key is nothing but a two-byte first weight and at most a case weight: the
// key of a text of them is put together here, a tenth of the system call's time, byte for byte what the call gives.
// Only for the invariant locale, which knows no pairs of letters that sort as one.
struct CWeights
{
    bool bUsable = false;
    bool rgSimple[128] = {};
    BYTE rgFirst[128][2] = {};
    BYTE rgCase[128] = {};
};

constexpr BYTE kPlainCase = 2; // the case weight that is left out at the end of a key

template <class TChar> bool AppendSimpleKey(CByteBuffer& key, const TChar* psz, DWORD cch, const CWeights& weights)
{
    BYTE* const pStart = key.Room(cch * 3 + 5);
    BYTE* p = pStart;
    DWORD cchCased = 0;
    for (DWORD i = 0; i < cch; ++i) {
        const TChar ch = psz[i];
        if (ch >= 128 || !weights.rgSimple[ch]) return false;
        *p++ = weights.rgFirst[ch][0];
        *p++ = weights.rgFirst[ch][1];
        if (weights.rgCase[ch] != kPlainCase) cchCased = i + 1;
    }
    *p++ = 1;
    *p++ = 1;
    for (DWORD i = 0; i < cchCased; ++i) *p++ = weights.rgCase[static_cast<BYTE>(psz[i])];
    *p++ = 1;
    *p++ = 1;
    *p++ = 0;
    key.Commit(p - pStart);
    return true;
}

void MeasureWeights(CWeights& weights, DWORD dwMap)
{
    wchar_t szAll[128];
    DWORD cchAll = 0;
    for (wchar_t ch = 1; ch < 128; ++ch) {
        CByteBuffer key;
        AppendSystemKey(key, &ch, 1, dwMap, LOCALE_INVARIANT);
        const BYTE* p = key.Data();
        const size_t cb = key.Size();
        // first weight, 01, no diacritic weight, 01, case weight unless plain, 01, no width, 01, nothing special, 00
        const bool bCase = cb == 8;
        if ((cb != 7 && !bCase) || p[0] <= 1 || p[1] <= 1 || p[2] != 1 || p[3] != 1 || (bCase && p[4] <= kPlainCase))
            continue;
        const BYTE* pEnd = p + (bCase ? 5 : 4);
        if (pEnd[0] != 1 || pEnd[1] != 1 || pEnd[2] != 0) continue;
        weights.rgSimple[ch] = true;
        weights.rgFirst[ch][0] = p[0];
        weights.rgFirst[ch][1] = p[1];
        weights.rgCase[ch] = bCase ? p[4] : kPlainCase;
        szAll[cchAll++] = ch;
    }
    if (cchAll == 0) return;
    // The proof on all of them at once: a system that writes its keys another way gets no short cut.
    CByteBuffer system, simple;
    AppendSystemKey(system, szAll, cchAll, dwMap, LOCALE_INVARIANT);
    weights.bUsable = AppendSimpleKey(simple, szAll, cchAll, weights) && SameBytes(system.Bytes(), simple.Bytes());
}

const CWeights* WeightsFor(DWORD dwSortFlags)
{
    // One table for each combination of the flags, made when it is first needed and kept.
    static std::atomic<CWeights*> s_rgTables[64];
    static std::mutex s_mutex;
    const DWORD nTable = (dwSortFlags & CEDB_SORT_CASEINSENSITIVE ? 1 : 0) |
                         (dwSortFlags & (CEDB_SORT_IGNORENONSPACE | CEDB_SORT_IGNORESYMBOLS | CEDB_SORT_IGNOREKANATYPE |
                                         CEDB_SORT_IGNOREWIDTH)) >>
                             3 |
                         (dwSortFlags & CEDB_SORT_STRINGSORT ? 32 : 0);
    CWeights* pTable = s_rgTables[nTable].load(std::memory_order_acquire);
    if (!pTable) {
        const std::lock_guard<std::mutex> lock(s_mutex);
        pTable = s_rgTables[nTable].load(std::memory_order_relaxed);
        if (!pTable) {
            pTable = new CWeights;
            MeasureWeights(*pTable, MapFlags(dwSortFlags));
            s_rgTables[nTable].store(pTable, std::memory_order_release);
        }
    }
    return pTable->bUsable ? pTable : nullptr;
}

// Code units, high byte first; 0 cannot occur in a text, so two 0 bytes end it.
template <class TChar> void AppendUnits(CByteBuffer& key, const TChar* psz, DWORD cch)
{
    BYTE* p = key.Room(cch * 2 + 2);
    for (DWORD i = 0; i < cch; ++i) {
        *p++ = static_cast<BYTE>(static_cast<WORD>(psz[i]) >> 8);
        *p++ = static_cast<BYTE>(psz[i]);
    }
    *p++ = 0;
    *p++ = 0;
    key.Commit(cch * 2 + 2);
}

template <class TChar> void AppendText(CByteBuffer& key, const TChar* psz, DWORD cch, DWORD dwFlags, LCID lcid)
{
    if (dwFlags & CEDB_SORT_GENERICORDER) {
        AppendUnits(key, psz, cch);
        return;
    }
    const CWeights* pWeights = lcid == LOCALE_INVARIANT ? WeightsFor(dwFlags) : nullptr;
    if (cch == 0) {
        static constexpr BYTE kEmptyKey[] = {1, 1, 1, 1, 0};
        key.Append(CBytes{kEmptyKey, sizeof kEmptyKey});
    } else if (!pWeights || !AppendSimpleKey(key, psz, cch, *pWeights)) {
        if constexpr (sizeof(TChar) == sizeof(wchar_t)) {
            AppendSystemKey(key, psz, cch, MapFlags(dwFlags), lcid);
        } else {
            const std::unique_ptr<wchar_t[]> pWide(new wchar_t[cch]);
            for (DWORD i = 0; i < cch; ++i) pWide[i] = psz[i];
            AppendSystemKey(key, pWide.get(), cch, MapFlags(dwFlags), lcid);
        }
    }
    if (dwFlags & kIgnoringFlags) return;
    // Printable ASCII texts have keys of their own; any other text brings its code units along.
    for (DWORD i = 0; i < cch; ++i)
        if (psz[i] < 0x20 || psz[i] > 0x7E) {
            key.Append(1);
            AppendUnits(key, psz, cch);
            return;
        }
    key.Append(0);
}

ULONGLONG OrderedDouble(ULONGLONG ullBits)
{
    constexpr ULONGLONG kSign = 1ULL << 63;
    if ((ullBits & ~kSign) > 0x7FF0000000000000ULL) return ~0ULL; // not a number: after all numbers
    if (ullBits == kSign) ullBits = 0;                            // -0 is 0
    return ullBits & kSign ? ~ullBits : ullBits | kSign;
}

} // namespace

void AppendKeyPart(CByteBuffer& key, const CField& field, DWORD dwSortFlags, LCID lcid)
{
    key.Append(kPartPresent);
    const size_t cbBefore = key.Size();
    BYTE* p = key.Room(8);
    switch (TypeFromPropID(field.propid)) {
    case CEVT_I2:
    case CEVT_UI2: {
        const WORD w = static_cast<WORD>(field.ullBits) ^ (TypeFromPropID(field.propid) == CEVT_I2 ? 0x8000 : 0);
        p[0] = static_cast<BYTE>(w >> 8);
        p[1] = static_cast<BYTE>(w);
        key.Commit(2);
        break;
    }
    case CEVT_I4:
        PutBig32(p, static_cast<DWORD>(field.ullBits) ^ 0x80000000);
        key.Commit(4);
        break;
    case CEVT_UI4:
        PutBig32(p, static_cast<DWORD>(field.ullBits));
        key.Commit(4);
        break;
    case CEVT_BOOL:
        *p = static_cast<DWORD>(field.ullBits) != 0;
        key.Commit(1);
        break;
    case CEVT_R8:
        PutBig64(p, OrderedDouble(field.ullBits));
        key.Commit(8);
        break;
    case CEVT_FILETIME:
        PutBig64(p, field.ullBits); // the low half comes first in memory, as in a 64-bit number
        key.Commit(8);
        break;
    case CEVT_LPWSTR:
        if (field.form == CField::kNarrow) {
            AppendText(key, field.p, field.cch, dwSortFlags, lcid);
        } else if (reinterpret_cast<UINT_PTR>(field.p) & 1) { // in a record: texts there are packed
            const std::unique_ptr<wchar_t[]> pAligned(new wchar_t[field.cch]);
            memcpy(pAligned.get(), field.p, field.cch * sizeof(wchar_t));
            AppendText(key, pAligned.get(), field.cch, dwSortFlags, lcid);
        } else {
            AppendText(key, reinterpret_cast<const wchar_t*>(field.p), field.cch, dwSortFlags, lcid);
        }
        break;
    }
    if (dwSortFlags & CEDB_SORT_DESCENDING) {
        BYTE* const pEnd = key.Data() + key.Size();
        for (p = key.Data() + cbBefore; p != pEnd; ++p) *p = static_cast<BYTE>(~*p);
    }
}

void AppendLackingPart(CByteBuffer& key, DWORD dwSortFlags)
{
    key.Append(dwSortFlags & CEDB_SORT_UNKNOWNFIRST ? kPartLacking : kPartLackingLast);
}

DWORD CollationStamp(LCID lcid)
{
    // Letters, digits, symbols, accents, kana in both forms and widths, a soft hyphen, a surrogate pair: wherever two
    // versions of a table differ, one of them is likely to show.
    static constexpr wchar_t kProbe[] = L"aA-b'B_ 9\x00DF\x00E9\x0301\x00AD\x0152\x03A3\x0416\x05D0\x0E01\x3042\x30A2"
                                        L"\xFF71\xFF21\x4E2D\xAC00\xD83D\xDE00\x200D\x2212\x20AC";
    DWORD dwHash = 2166136261u;
    for (const DWORD dwFlags : {DWORD{0}, DWORD{CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_STRINGSORT},
                                DWORD{CEDB_SORT_IGNORENONSPACE | CEDB_SORT_IGNORESYMBOLS}}) {
        CByteBuffer key;
        AppendSystemKey(key, kProbe, ARRAYSIZE(kProbe) - 1, MapFlags(dwFlags), lcid);
        for (size_t i = 0; i < key.Size(); ++i) dwHash = (dwHash ^ key.Data()[i]) * 16777619u;
    }
    return dwHash;
}

} // namespace store
