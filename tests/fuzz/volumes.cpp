// Volumes: one of a few, damaged by a list of edits, then a list of calls on it. Whatever the damage, each call returns;
// and what the check calls sound can be read to the end, in every order, and stays sound under what is done to it.
#include "volume_edits.h"

#include <korvanebatch.h>

#include <algorithm>

namespace {

constexpr CEPROPID kNumber = 1u << 16 | CEVT_I4, kName = 2u << 16 | CEVT_LPWSTR, kBytes = 3u << 16 | CEVT_BLOB;
constexpr size_t kMostSteps = 100000; // of a walk; the volumes have a few hundred entries
constexpr size_t kMostDatabases = 100;

// The first byte of an input.
enum : uint8_t
{
    kVolumeBits = 3,
    kSalvage = 4,
    kCompact = 8,
    kMountTwice = 16,
};

bool IsKnown(DWORD dwError)
{
    return dwError == ERROR_FILE_CORRUPT || dwError == ERROR_REVISION_MISMATCH || dwError == ERROR_DISK_FULL;
}

// A block that calls allocate, of exactly the bytes that they ask for.
struct CBuffer
{
    ~CBuffer() { ::LocalFree(p); }
    BYTE* p = nullptr;
    DWORD cb = 0;
};

bool LiesIn(const CBuffer& buffer, const void* p, size_t cb)
{
    const BYTE* const pb = static_cast<const BYTE*>(p);
    return pb >= buffer.p && pb <= buffer.p + buffer.cb && cb <= static_cast<size_t>(buffer.p + buffer.cb - pb);
}

// All properties of the record under the pointer, each byte of them looked at. A record may have none.
bool ReadRecord(HANDLE h, uint32_t& hash)
{
    CBuffer buffer;
    WORD n = 0;
    const CEOID oid = ::CeReadRecordProps(h, CEDB_ALLOWREALLOC, &n, nullptr, &buffer.p, &buffer.cb);
    if (!oid && ::GetLastError() != ERROR_NO_DATA) return false;
    const auto add = [&](const void* p, size_t cb) {
        for (size_t i = 0; i < cb; ++i) hash = (hash ^ static_cast<const BYTE*>(p)[i]) * 0x01000193;
    };
    const CEPROPVAL* const props = reinterpret_cast<const CEPROPVAL*>(buffer.p);
    FUZZ_EXPECT(LiesIn(buffer, props, n * sizeof *props));
    for (WORD i = 0; i < n; ++i) {
        add(&props[i].propid, sizeof props[i].propid);
        switch (TypeFromPropID(props[i].propid)) {
        case CEVT_LPWSTR: {
            size_t cch = 0;
            do {
                FUZZ_EXPECT(LiesIn(buffer, props[i].val.lpwstr + cch, sizeof(wchar_t)));
            } while (props[i].val.lpwstr[cch++] != 0);
            add(props[i].val.lpwstr, cch * sizeof(wchar_t));
            break;
        }
        case CEVT_BLOB:
            FUZZ_EXPECT(LiesIn(buffer, props[i].val.blob.lpb, props[i].val.blob.dwCount));
            add(props[i].val.blob.lpb, props[i].val.blob.dwCount);
            break;
        case CEVT_I4:
        case CEVT_UI4:
            add(&props[i].val.lVal, sizeof props[i].val.lVal);
            break;
        default:
            break;
        }
    }
    return true;
}

class CUse
{
public:
    explicit CUse(const CEGUID& guid) : m_guid(guid) {}
    ~CUse() { Close(); }
    CUse(const CUse&) = delete;
    CUse& operator=(const CUse&) = delete;

    bool Check()
    {
        wchar_t szProblem[80];
        const bool bSound = ::CeCheckDBVol(&m_guid, szProblem, 80);
        FUZZ_EXPECT(bSound || IsKnown(::GetLastError()));
        return bSound;
    }

    std::vector<CEOID> Databases()
    {
        std::vector<CEOID> oids;
        const HANDLE h = ::CeFindFirstDatabaseEx(&m_guid, 0);
        if (h == INVALID_HANDLE_VALUE) return oids;
        while (const CEOID oid = ::CeFindNextDatabaseEx(h, nullptr)) {
            oids.push_back(oid);
            if (oids.size() == kMostDatabases) break;
        }
        ::CeCloseHandle(h);
        return oids;
    }

    void ReadAll(bool bSound)
    {
        for (const CEOID oid : Databases()) ReadDatabase(oid, bSound);
    }

    // Calls as the input names them. False: one said that the volume is damaged.
    bool Perform(fuzz::CInput& input)
    {
        bool bSound = true;
        for (int n = 0; n < 32 && input.Size() > 0; ++n) {
            ::SetLastError(ERROR_SUCCESS);
            Call(input);
            bSound = bSound && ::GetLastError() != ERROR_FILE_CORRUPT;
        }
        Close();
        ::CeCommitBatch(&m_guid);
        return bSound;
    }

private:
    // The records that a walk meets; their contents together, whatever the order.
    struct CWalk
    {
        std::vector<CEOID> oids;
        uint32_t content = 0;
        bool bAllRead = true;
    };
    CWalk Forward(HANDLE h)
    {
        CWalk walk;
        for (CEOID oid = ::CeSeekDatabase(h, CEDB_SEEK_BEGINNING, 0, nullptr); oid;
             oid = ::CeSeekDatabase(h, CEDB_SEEK_CURRENT, 1, nullptr)) {
            uint32_t hash = 0x811C9DC5;
            walk.bAllRead = ReadRecord(h, hash) && walk.bAllRead;
            walk.content += hash;
            walk.oids.push_back(oid);
            FUZZ_EXPECT(walk.oids.size() < kMostSteps);
        }
        return walk;
    }
    CWalk Backward(HANDLE h)
    {
        CWalk walk;
        for (CEOID oid = ::CeSeekDatabase(h, CEDB_SEEK_END, 0, nullptr); oid;
             oid = ::CeSeekDatabase(h, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), nullptr)) {
            walk.oids.push_back(oid);
            FUZZ_EXPECT(walk.oids.size() < kMostSteps);
        }
        std::reverse(walk.oids.begin(), walk.oids.end());
        return walk;
    }

    void ReadDatabase(CEOID oid, bool bSound)
    {
        CEOIDINFOEX info = {};
        info.wVersion = CEOIDINFOEX_VERSION;
        const bool bTold = ::CeOidGetInfoEx2(&m_guid, oid, &info) && info.wObjType == OBJTYPE_DATABASE;
        FUZZ_EXPECT(bTold || !bSound);
        if (!bTold) info.infDatabase.wNumSortOrder = 0;
        CWalk first;
        for (int nOrder = -1; nOrder < info.infDatabase.wNumSortOrder; ++nOrder) {
            CEOID oidOpened = oid;
            const HANDLE h = ::CeOpenDatabaseEx2(
                &m_guid, &oidOpened, nullptr, nOrder < 0 ? nullptr : &info.infDatabase.rgSortSpecs[nOrder], 0, nullptr);
            FUZZ_EXPECT(h != INVALID_HANDLE_VALUE || !bSound);
            if (h == INVALID_HANDLE_VALUE) continue;
            CWalk walk = Forward(h);
            const CWalk back = Backward(h);
            if (bSound) {
                FUZZ_EXPECT(walk.bAllRead);
                FUZZ_EXPECT(walk.oids.size() == info.infDatabase.dwNumRecords);
                FUZZ_EXPECT(walk.oids == back.oids);
                std::sort(walk.oids.begin(), walk.oids.end());
                if (nOrder < 0) first = walk;
                FUZZ_EXPECT(walk.oids == first.oids);
                FUZZ_EXPECT(walk.content == first.content);
            }
            Seek(h);
            ::CeCloseHandle(h);
        }
    }

    void Seek(HANDLE h)
    {
        DWORD dwIndex;
        ::CeSeekDatabase(h, CEDB_SEEK_BEGINNING, 7, &dwIndex);
        ::CeSeekDatabase(h, CEDB_SEEK_END, 3, &dwIndex);
        wchar_t szText[] = L"mmm";
        CEPROPVAL value = {};
        for (const CEPROPID propid : {kNumber, kName}) {
            value.propid = propid;
            if (propid == kName)
                value.val.lpwstr = szText;
            else
                value.val.lVal = 5;
            for (const DWORD dwHow : {CEDB_SEEK_VALUEFIRSTEQUAL, CEDB_SEEK_VALUENEXTEQUAL, CEDB_SEEK_VALUEGREATER,
                                      CEDB_SEEK_VALUESMALLER}) {
                uint32_t hash = 0;
                if (::CeSeekDatabase(h, dwHow, reinterpret_cast<DWORD>(&value), &dwIndex)) ReadRecord(h, hash);
            }
        }
    }

    void Close()
    {
        if (m_hDatabase != INVALID_HANDLE_VALUE) ::CeCloseHandle(m_hDatabase);
        m_hDatabase = INVALID_HANDLE_VALUE;
    }

    CEOID SomeRecord(fuzz::CInput& input)
    {
        return ::CeSeekDatabase(m_hDatabase, CEDB_SEEK_BEGINNING, input.Byte(), nullptr);
    }

    void Write(CEOID oid, fuzz::CInput& input)
    {
        const uint8_t form = input.Byte();
        std::wstring strText(input.Byte() * (form & 1 ? 4 : 1), static_cast<wchar_t>(L'a' + form % 26));
        std::string strBlob(input.Byte() * (form & 2 ? 40 : 1), 'w');
        CEPROPVAL props[3] = {};
        props[0].propid = kNumber;
        props[0].val.lVal = form;
        props[1].propid = kName;
        props[1].val.lpwstr = strText.data();
        props[2].propid = form & 4 ? kBytes : (300u + form) << 16 | CEVT_BLOB;
        props[2].val.blob = {static_cast<DWORD>(strBlob.size()), reinterpret_cast<BYTE*>(strBlob.data())};
        if (oid && (form & 8)) props[form % 3].wFlags = CEDB_PROPDELETE;
        ::CeWriteRecordProps(m_hDatabase, oid, form & 16 ? 2 : 3, props);
    }

    void Call(fuzz::CInput& input)
    {
        const uint8_t call = input.Byte();
        switch (call % 16) {
        case 0: {
            Close();
            const std::vector<CEOID> oids = Databases();
            if (oids.empty()) break;
            m_oid = oids[input.Byte() % oids.size()];
            const CEPROPID rgOrders[] = {0, kNumber, kName};
            m_hDatabase = ::CeOpenDatabaseEx(&m_guid, &m_oid, nullptr, rgOrders[call / 16 % 3],
                                             call & 0x80 ? CEDB_AUTOINCREMENT : 0, nullptr);
            break;
        }
        case 1:
        case 2:
            Write(0, input);
            break;
        case 3:
            Write(SomeRecord(input), input);
            break;
        case 4:
            ::CeDeleteRecord(m_hDatabase, SomeRecord(input));
            break;
        case 5:
            ::CeDeleteRecord(m_hDatabase, input.Byte());
            break;
        case 6: {
            uint32_t hash = 0;
            if (::CeSeekDatabase(m_hDatabase, 1u << call / 16 % 4, input.Byte(), nullptr))
                ReadRecord(m_hDatabase, hash);
            break;
        }
        case 7:
            if (m_hDatabase != INVALID_HANDLE_VALUE) Seek(m_hDatabase);
            break;
        case 8:
            ::CeBeginBatch(&m_guid);
            break;
        case 9:
            if (call & 16)
                ::CeCommitBatch(&m_guid);
            else
                ::CeAbandonBatch(&m_guid);
            break;
        case 10:
            ::CeFlushDBVol(&m_guid);
            break;
        case 11: {
            CEDBASEINFO info = {};
            info.dwFlags = CEDB_VALIDCREATE;
            info.szDbaseName[0] = static_cast<wchar_t>(L'A' + input.Byte() % 26);
            info.wNumSortOrder = 1;
            info.rgSortSpecs[0].propid = call & 16 ? kName : kNumber;
            ::CeCreateDatabaseEx(&m_guid, &info);
            break;
        }
        case 12:
            Close();
            ::CeDeleteDatabaseEx(&m_guid, m_oid);
            break;
        case 13: {
            Close();
            CEDBASEINFO info = {};
            info.dwFlags = call & 32 ? CEDB_VALIDNAME : CEDB_VALIDSORTSPEC;
            info.szDbaseName[0] = static_cast<wchar_t>(L'a' + input.Byte() % 26);
            info.wNumSortOrder = 1 + (call & 1);
            info.rgSortSpecs[0].propid = call & 16 ? kName : kNumber;
            info.rgSortSpecs[1].propid = 4u << 16 | CEVT_FILETIME;
            ::CeSetDatabaseInfoEx(&m_guid, m_oid, &info);
            break;
        }
        case 14:
            Close();
            ::CeChangeDatabaseLCID(&m_guid, call & 16 ? 0x407 : 0x409);
            break;
        default: {
            CEOIDINFOEX info = {};
            info.wVersion = CEOIDINFOEX_VERSION;
            ::CeOidGetInfoEx2(&m_guid, input.Byte(), &info);
        }
        }
    }

    CEGUID m_guid;
    HANDLE m_hDatabase = INVALID_HANDLE_VALUE;
    CEOID m_oid = 0;
};

std::vector<uint8_t> ReadAll(const std::wstring& strPath)
{
    const HANDLE h = ::CreateFileW(strPath.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    FUZZ_EXPECT(h != INVALID_HANDLE_VALUE);
    std::vector<uint8_t> bytes(::GetFileSize(h, nullptr));
    DWORD cbRead = 0;
    ::ReadFile(h, bytes.data(), static_cast<DWORD>(bytes.size()), &cbRead, nullptr);
    ::CeCloseHandle(h);
    return bytes;
}

// A volume that a call has made of another one, and checked.
void ExpectSound(std::wstring strPath)
{
    CEGUID guid;
    const bool bMounted = ::CeMountDBVol(&guid, strPath.data(), OPEN_EXISTING);
    FUZZ_EXPECT(bMounted);
    {
        CUse use(guid);
        FUZZ_EXPECT(use.Check());
        use.ReadAll(true);
    }
    FUZZ_EXPECT(::CeUnmountDBVol(&guid));
}

// True when it can be mounted, and is sound now and afterwards.
bool UseVolume(std::wstring strPath, const std::vector<uint8_t>& image, fuzz::CInput& input)
{
    CEGUID guid;
    if (!::CeMountDBVol(&guid, strPath.data(), OPEN_EXISTING)) {
        FUZZ_EXPECT(IsKnown(::GetLastError()));
        FUZZ_EXPECT(ReadAll(strPath) == image);
        return false;
    }
    bool bSound;
    {
        CUse use(guid);
        bSound = use.Check();
        use.ReadAll(bSound);
        const bool bGood = use.Perform(input);
        FUZZ_EXPECT(bGood || !bSound);
        FUZZ_EXPECT(!bSound || use.Check());
        use.ReadAll(bSound);
        FUZZ_EXPECT(::CeFlushDBVol(&guid) || !bSound);
        FUZZ_EXPECT(use.Check() || !bSound);
    }
    FUZZ_EXPECT(::CeUnmountDBVol(&guid) || !bSound);
    return bSound;
}

} // namespace

void fuzz::volumes(const uint8_t* data, size_t size)
{
    CInput input(data, size);
    const uint8_t form = input.Byte();
    std::vector<uint8_t> image = Volume(form & kVolumeBits);
    EditVolume(image, input);
    const std::wstring strPath = PutFile(image.data(), image.size());
    if (form & kSalvage) {
        const std::wstring strNew = strPath + L".saved";
        CESALVAGEINFO info;
        if (::CeSalvageDBVol(strPath.c_str(), strNew.c_str(), &info, nullptr, nullptr)) {
            ExpectSound(strNew);
            FUZZ_EXPECT(::DeleteFileW(strNew.c_str()));
        }
        FUZZ_EXPECT(ReadAll(strPath) == image);
    }
    if (form & kCompact) {
        wchar_t szProblem[80];
        if (::CeCompactDBVol(strPath.c_str(), szProblem, 80)) {
            ExpectSound(strPath);
            image = ReadAll(strPath);
        } else {
            FUZZ_EXPECT(IsKnown(::GetLastError()));
            FUZZ_EXPECT(ReadAll(strPath) == image);
        }
    }
    if (UseVolume(strPath, image, input) && (form & kMountTwice)) ExpectSound(strPath);
    FUZZ_EXPECT(::DeleteFileW(strPath.c_str())); // nobody has it open any more
}
