#include "index.h"

#include <vector>

namespace store {

namespace {

constexpr size_t kPrefixSize = 6;
constexpr size_t kCutKeySize = kPrefixSize + kCutAt + 8 + 4;
constexpr ULONGLONG kNoNumber = ~0ULL; // one above the highest
constexpr ULONGLONG kFirstNumber = 1ULL << 63;
constexpr ULONGLONG kStep = 1ULL << 32; // between entries that are added at an end

using CEntryKey = CSmallKey<kMaxKeyBytes>;

// The bytes before the sort key.
CEntryKey StartKey(const CIndexName& index)
{
    CEntryKey key(kIndexSpace);
    key.Add32(index.oidDatabase).Add8(index.bOrder);
    return key;
}

// A key on the stack that is filled by parts.
struct CBuiltKey
{
    BYTE rgb[kMaxKeyBytes];
    size_t cb = 0;

    explicit CBuiltKey(const CIndexName& index) { Add(StartKey(index)); }
    void Add(CBytes bytes)
    {
        CopyBytes(rgb + cb, bytes.p, bytes.cb);
        cb += bytes.cb;
    }
    void Add32(DWORD dw)
    {
        PutBig32(rgb + cb, dw);
        cb += 4;
    }
    void Add64(ULONGLONG ull)
    {
        PutBig64(rgb + cb, ull);
        cb += 8;
    }
    operator CBytes() const { return {rgb, cb}; }
};

CBuiltKey PlainKey(const CIndexName& index, CBytes sortKey, CEOID oidRecord)
{
    CBuiltKey key(index);
    key.Add(sortKey);
    key.Add32(oidRecord);
    return key;
}

// The entries whose sort keys are cut after the same bytes.
class CGroup
{
public:
    CGroup(CAccess& access, CTreeCursor& cursor, const CIndexName& index, CBytes sortKey)
        : m_access(access), m_cursor(cursor), m_index(index), m_sortKey(sortKey)
    {
    }

    CBuiltKey KeyFor(ULONGLONG ullNumber, CEOID oidRecord) const
    {
        CBuiltKey key(m_index);
        key.Add({m_sortKey.p, kCutAt});
        key.Add64(ullNumber);
        key.Add32(oidRecord);
        return key;
    }

    // The number of the entry under the cursor, if that belongs to the group.
    bool AtMember(ULONGLONG& ullNumber, CIndexEntry& entry) const
    {
        const CBytes key = m_cursor.Key();
        if (key.cb != kCutKeySize || !entry.Read(m_index, key, m_cursor.Value()) ||
            memcmp(entry.head.p, m_sortKey.p, kCutAt) != 0)
            return false;
        ullNumber = GetBig64(key.p + kPrefixSize + kCutAt);
        return true;
    }

    // A number that parts the entries before (sort key, OID), which have lower ones, from the others.
    ULONGLONG LowerBound(CEOID oidRecord)
    {
        const CBytes rest = {m_sortKey.p + kCutAt, m_sortKey.cb - kCutAt};
        ULONGLONG ullLow = 0, ullHigh = kNoNumber, ullNumber;
        CIndexEntry entry;
        while (ullLow < ullHigh) {
            const ULONGLONG ullMiddle = ullLow + (ullHigh - ullLow) / 2;
            // In a damaged volume the entry found may lie before the place that was asked for: the search must end.
            if (m_cursor.SeekAtLeast(m_access, KeyFor(ullMiddle, 0)) && AtMember(ullNumber, entry) &&
                ullNumber >= ullMiddle && ullNumber < ullHigh) {
                const int n = CompareBytes(entry.rest, rest);
                if (n < 0 || (n == 0 && entry.oidRecord < oidRecord)) {
                    ullLow = ullNumber + 1;
                    continue;
                }
            }
            ullHigh = ullMiddle;
        }
        return ullLow;
    }

private:
    CAccess& m_access;
    CTreeCursor& m_cursor;
    const CIndexName& m_index;
    CBytes m_sortKey;
};

// Numbers all entries of a group anew, evenly, so that there is room between any two.
DWORD RenumberGroup(CWriteAccess& access, CVolume& volume, const CIndexName& index, CBytes sortKey)
{
    struct CMember
    {
        CEOID oidRecord;
        std::vector<BYTE> rest;
    };
    std::vector<CMember> members;
    std::vector<ULONGLONG> numbers;
    CTreeCursor cursor(volume);
    CGroup group(access, cursor, index, sortKey);
    ULONGLONG ullNumber;
    CIndexEntry entry;
    size_t cbAll = 0;
    for (bool bOn = cursor.SeekAtLeast(access, group.KeyFor(0, 0)); bOn && group.AtMember(ullNumber, entry);
         bOn = cursor.Next(access)) {
        members.push_back({entry.oidRecord, {entry.rest.p, entry.rest.p + entry.rest.cb}});
        numbers.push_back(ullNumber);
        cbAll += kCutKeySize + entry.rest.cb;
    }
    DWORD dwError = access.Reserve(2 * cbAll);
    for (size_t i = 0; i < members.size() && dwError == ERROR_SUCCESS; ++i)
        dwError = access.Delete(group.KeyFor(numbers[i], members[i].oidRecord));
    const ULONGLONG ullStep = kNoNumber / (members.size() + 1);
    for (size_t i = 0; i < members.size() && dwError == ERROR_SUCCESS; ++i)
        dwError = access.Put(group.KeyFor(ullStep * (i + 1), members[i].oidRecord),
                             {members[i].rest.data(), members[i].rest.size()});
    return dwError;
}

// A number for a new entry of the group; false when its neighbours leave none.
bool ChooseNumber(CAccess& access, CTreeCursor& cursor, CGroup& group, ULONGLONG ullBound, ULONGLONG& ullChosen)
{
    CIndexEntry entry;
    ULONGLONG ullNext, ullBefore;
    const bool bNext = cursor.SeekAtLeast(access, group.KeyFor(ullBound, 0)) && group.AtMember(ullNext, entry);
    const bool bBefore = cursor.SeekBefore(access, group.KeyFor(ullBound, 0)) && group.AtMember(ullBefore, entry);
    if (!bNext && !bBefore) {
        ullChosen = kFirstNumber;
    } else if (!bNext) {
        const ULONGLONG ullRoom = kNoNumber - 1 - ullBefore;
        ullChosen = ullBefore + (ullRoom / 2 < kStep ? (ullRoom + 1) / 2 : kStep);
        return ullRoom > 0;
    } else if (!bBefore) {
        ullChosen = ullNext - (ullNext / 2 < kStep ? (ullNext + 1) / 2 : kStep);
        return ullNext > 0;
    } else {
        ullChosen = ullBefore + (ullNext - ullBefore) / 2;
        return ullChosen != ullBefore;
    }
    return true;
}

} // namespace

bool CIndexEntry::Read(const CIndexName& index, CBytes key, CBytes value)
{
    if (key.cb < kPrefixSize + 4 || !store::StartsWith(key, StartKey(index))) return false;
    rest = value;
    head = {key.p + kPrefixSize, key.cb == kCutKeySize ? kCutAt : key.cb - kPrefixSize - 4};
    oidRecord = GetBig32(key.p + key.cb - 4);
    return true;
}

bool CIndexEntry::StartsWith(CBytes sortKey) const
{
    if (sortKey.cb <= head.cb) return store::StartsWith(head, sortKey);
    return store::StartsWith(sortKey, head) && store::StartsWith(rest, {sortKey.p + head.cb, sortKey.cb - head.cb});
}

void CIndexEntry::AppendSortKey(CByteBuffer& key) const
{
    key.Append(head);
    key.Append(rest);
}

bool SeekEntryAtLeast(CAccess& access, CTreeCursor& cursor, const CIndexName& index, CBytes sortKey, CEOID oidRecord)
{
    if (sortKey.cb < kCutAt) return cursor.SeekAtLeast(access, PlainKey(index, sortKey, oidRecord));
    CGroup group(access, cursor, index, sortKey);
    return cursor.SeekAtLeast(access, group.KeyFor(group.LowerBound(oidRecord), 0));
}

bool SeekEntryBefore(CAccess& access, CTreeCursor& cursor, const CIndexName& index, CBytes sortKey, CEOID oidRecord)
{
    if (sortKey.cb < kCutAt) return cursor.SeekBefore(access, PlainKey(index, sortKey, oidRecord));
    CGroup group(access, cursor, index, sortKey);
    return cursor.SeekBefore(access, group.KeyFor(group.LowerBound(oidRecord), 0));
}

bool HasEntry(CAccess& access, CTreeCursor& cursor, const CIndexName& index, CBytes sortKey, CEOID oidExcept)
{
    CIndexEntry entry;
    for (bool bOn = SeekEntryAtLeast(access, cursor, index, sortKey, 0);
         bOn && entry.Read(index, cursor.Key(), cursor.Value()) && entry.StartsWith(sortKey); bOn = cursor.Next(access))
        if (entry.oidRecord != oidExcept) return true;
    return false;
}

DWORD InsertEntry(CWriteAccess& access, CVolume& volume, const CIndexName& index, CBytes sortKey, CEOID oidRecord)
{
    if (sortKey.cb < kCutAt) return access.Put(PlainKey(index, sortKey, oidRecord), CBytes());
    CTreeCursor cursor(volume);
    CGroup group(access, cursor, index, sortKey);
    ULONGLONG ullNumber;
    if (!ChooseNumber(access, cursor, group, group.LowerBound(oidRecord), ullNumber)) {
        const DWORD dwError = RenumberGroup(access, volume, index, sortKey);
        if (dwError != ERROR_SUCCESS) return dwError;
        if (!ChooseNumber(access, cursor, group, group.LowerBound(oidRecord), ullNumber)) return ERROR_FILE_CORRUPT;
    }
    return access.Put(group.KeyFor(ullNumber, oidRecord), {sortKey.p + kCutAt, sortKey.cb - kCutAt});
}

DWORD DeleteEntry(CWriteAccess& access, CVolume& volume, const CIndexName& index, CBytes sortKey, CEOID oidRecord)
{
    DWORD dwError;
    if (sortKey.cb < kCutAt) {
        dwError = access.Delete(PlainKey(index, sortKey, oidRecord));
    } else {
        CTreeCursor cursor(volume);
        CGroup group(access, cursor, index, sortKey);
        ULONGLONG ullNumber;
        CIndexEntry entry;
        if (!cursor.SeekAtLeast(access, group.KeyFor(group.LowerBound(oidRecord), 0)) ||
            !group.AtMember(ullNumber, entry) || entry.oidRecord != oidRecord)
            return access.Error() != ERROR_SUCCESS ? access.Error() : ERROR_FILE_CORRUPT;
        dwError = access.Delete(group.KeyFor(ullNumber, oidRecord));
    }
    return dwError == ERROR_FILE_NOT_FOUND ? ERROR_FILE_CORRUPT : dwError;
}

DWORD DeletePrefix(CWriteAccess& access, CVolume& volume, CBytes prefix)
{
    BYTE rgKey[kMaxKeyBytes];
    CTreeCursor cursor(volume);
    while (cursor.SeekAtLeast(access, prefix) && StartsWith(cursor.Key(), prefix)) {
        const size_t cb = cursor.Key().cb;
        CopyBytes(rgKey, cursor.Key().p, cb);
        const DWORD dwError = access.Delete({rgKey, cb});
        if (dwError != ERROR_SUCCESS) return dwError;
    }
    return access.Error();
}

} // namespace store
