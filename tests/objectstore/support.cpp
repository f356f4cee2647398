#include "support.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace {

std::string Format(const char* pszFormat, ...)
{
    char szBuffer[256];
    va_list args;
    va_start(args, pszFormat);
    std::vsnprintf(szBuffer, sizeof szBuffer, pszFormat, args);
    va_end(args);
    return szBuffer;
}

DWORD Hash(const void* p, size_t cb)
{
    DWORD dwHash = 2166136261u;
    for (size_t i = 0; i < cb; ++i) dwHash = (dwHash ^ static_cast<const BYTE*>(p)[i]) * 16777619u;
    return dwHash;
}

std::string RenderText(const wchar_t* psz)
{
    const size_t cch = wcslen(psz);
    std::string strOut = Format("TEXT=(%u)", static_cast<unsigned>(cch));
    if (cch > 60) return strOut + Format("#%08lx", Hash(psz, cch * sizeof *psz));
    for (size_t i = 0; i < cch; ++i) {
        const unsigned u = static_cast<WORD>(psz[i]);
        strOut += u >= 0x20 && u < 0x7f ? std::string(1, static_cast<char>(u)) : Format("\\u%04x", u);
    }
    return strOut;
}

std::string RenderBlob(const CEBLOB& blob)
{
    std::string strOut = Format("BLOB=(%lu)", blob.dwCount);
    if (blob.dwCount > 32) return strOut + Format("#%08lx", Hash(blob.lpb, blob.dwCount));
    for (DWORD i = 0; i < blob.dwCount; ++i) strOut += Format("%02x", blob.lpb[i]);
    return strOut;
}

std::string RenderValue(const CEPROPVAL& value)
{
    std::string strOut = Format("%u:", HIWORD(value.propid));
    if (value.wFlags & CEDB_PROPNOTFOUND) return strOut + Format("%u absent", LOWORD(value.propid));
    if (value.wFlags & CEDB_PROPDELETE) return strOut + Format("%u removed", LOWORD(value.propid));
    switch (TypeFromPropID(value.propid)) {
    case CEVT_I2:
        return strOut + Format("I2=%d", value.val.iVal);
    case CEVT_I4:
        return strOut + Format("I4=%ld", value.val.lVal);
    case CEVT_UI2:
        return strOut + Format("UI2=%u", value.val.uiVal);
    case CEVT_UI4:
        return strOut + Format("UI4=%lu", value.val.ulVal);
    case CEVT_R8: {
        ULARGE_INTEGER bits;
        std::memcpy(&bits, &value.val.dblVal, sizeof bits);
        return strOut + Format("R8=%08lx%08lx", bits.HighPart, bits.LowPart);
    }
    case CEVT_BOOL:
        return strOut + Format("BOOL=%d", value.val.boolVal);
    case CEVT_FILETIME:
        return strOut + Format("TIME=%08lx%08lx", value.val.filetime.dwHighDateTime, value.val.filetime.dwLowDateTime);
    case CEVT_LPWSTR:
        return strOut + RenderText(value.val.lpwstr);
    case CEVT_BLOB:
        return strOut + RenderBlob(value.val.blob);
    default:
        return strOut + Format("type %u", LOWORD(value.propid));
    }
}

CRecord ReadProps(HANDLE hDb, WORD wCount, CEPROPID* rgProps)
{
    CRecord record;
    LPBYTE pBuffer = nullptr;
    DWORD cbBuffer = 0;
    record.wCount = wCount;
    record.oid = ::CeReadRecordProps(hDb, CEDB_ALLOWREALLOC, &record.wCount, rgProps, &pBuffer, &cbBuffer);
    record.dwError = record.oid ? 0 : ::GetLastError();
    if (record.oid && pBuffer) record.strContent = Render(reinterpret_cast<CEPROPVAL*>(pBuffer), record.wCount);
    ::LocalFree(pBuffer);
    return record;
}

} // namespace

testing::AssertionResult JudgeFailure(DWORD dwExpected, bool bFailed, DWORD dwLast)
{
    if (!bFailed) return testing::AssertionFailure() << "it succeeded; it should fail with " << dwExpected;
    if (dwLast == kNoLastError) return testing::AssertionFailure() << "it failed without setting the last error";
    if (dwLast != dwExpected)
        return testing::AssertionFailure() << "it failed with " << dwLast << ", not " << dwExpected;
    return testing::AssertionSuccess();
}

testing::AssertionResult JudgeSuccess(bool bFailed, DWORD dwLast)
{
    if (bFailed) return testing::AssertionFailure() << "it failed with " << dwLast;
    return testing::AssertionSuccess();
}

CEPROPVAL& CProps::Add(WORD wId, WORD wType)
{
    m_values.emplace_back();
    m_values.back().propid = Prop(wId, wType);
    m_values.back().wLenData = 0xDDDD; // the store takes any
    return m_values.back();
}

CProps& CProps::I2(WORD wId, short n)
{
    Add(wId, CEVT_I2).val.iVal = n;
    return *this;
}

CProps& CProps::I4(WORD wId, long n)
{
    Add(wId, CEVT_I4).val.lVal = n;
    return *this;
}

CProps& CProps::UI2(WORD wId, USHORT n)
{
    Add(wId, CEVT_UI2).val.uiVal = n;
    return *this;
}

CProps& CProps::UI4(WORD wId, ULONG n)
{
    Add(wId, CEVT_UI4).val.ulVal = n;
    return *this;
}

CProps& CProps::R8(WORD wId, double n)
{
    Add(wId, CEVT_R8).val.dblVal = n;
    return *this;
}

CProps& CProps::Bool(WORD wId, BOOL b)
{
    Add(wId, CEVT_BOOL).val.boolVal = b;
    return *this;
}

CProps& CProps::Time(WORD wId, ULONGLONG n)
{
    Add(wId, CEVT_FILETIME).val.filetime = {static_cast<DWORD>(n), static_cast<DWORD>(n >> 32)};
    return *this;
}

CProps& CProps::Text(WORD wId, const std::wstring& str)
{
    m_texts.push_back(str);
    Add(wId, CEVT_LPWSTR).val.lpwstr = m_texts.back().data();
    return *this;
}

CProps& CProps::Blob(WORD wId, const std::vector<BYTE>& bytes)
{
    m_blobs.push_back(bytes);
    Add(wId, CEVT_BLOB).val.blob = {static_cast<DWORD>(bytes.size()), m_blobs.back().data()};
    return *this;
}

CProps& CProps::Remove(CEPROPID propid)
{
    Add(HIWORD(propid), LOWORD(propid)).wFlags = CEDB_PROPDELETE;
    return *this;
}

std::string CProps::Render() const
{
    return ::Render(m_values.data(), m_values.size());
}

std::string Render(const CEPROPVAL* rgValues, size_t nCount)
{
    std::vector<CEPROPVAL> values(rgValues, rgValues + nCount);
    std::stable_sort(values.begin(), values.end(),
                     [](const CEPROPVAL& a, const CEPROPVAL& b) { return a.propid < b.propid; });
    std::string strOut;
    for (const CEPROPVAL& value : values) strOut += (strOut.empty() ? "" : " ") + RenderValue(value);
    return strOut;
}

CEOID Write(HANDLE hDb, CEOID oid, const CProps& props)
{
    return ::CeWriteRecordProps(hDb, oid, props.Count(), props.Data());
}

CRecord Read(HANDLE hDb)
{
    return ReadProps(hDb, 0, nullptr);
}

CRecord Read(HANDLE hDb, const std::vector<CEPROPID>& props)
{
    std::vector<CEPROPID> wanted = props;
    return ReadProps(hDb, static_cast<WORD>(wanted.size()), wanted.data());
}

CRecord ReadOid(HANDLE hDb, CEOID oid)
{
    if (::CeSeekDatabase(hDb, CEDB_SEEK_CEOID, oid, nullptr) == oid) return Read(hDb);
    CRecord record;
    record.dwError = ::GetLastError();
    return record;
}

CEGUID MountVolume(const std::wstring& strPath, DWORD dwFlags)
{
    CEGUID guid;
    CREATE_INVALIDGUID(&guid);
    EXPECT_WORKS(::CeMountDBVol(&guid, const_cast<LPWSTR>(strPath.c_str()), dwFlags));
    return guid;
}

bool SameGuid(const CEGUID& a, const CEGUID& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool IsInvalidGuid(const CEGUID& guid)
{
    return CHECK_INVALIDGUID(&guid);
}

CEGUID InvalidGuid()
{
    CEGUID guid;
    CREATE_INVALIDGUID(&guid);
    return guid;
}

CEGUID SystemGuid()
{
    CEGUID guid;
    CREATE_SYSTEMGUID(&guid);
    return guid;
}

SORTORDERSPECEX Order(const std::vector<CSortKey>& keys, WORD wKeyFlags)
{
    SORTORDERSPECEX order = {};
    order.wVersion = SORTORDERSPECEX_VERSION;
    order.wNumProps = static_cast<WORD>(keys.size());
    order.wKeyFlags = wKeyFlags;
    for (size_t i = 0; i < keys.size() && i < CEDB_MAXSORTPROP; ++i) {
        order.rgPropID[i] = keys[i].propid;
        order.rgdwFlags[i] = keys[i].dwFlags;
    }
    return order;
}

CEDBASEINFOEX BaseInfo(const std::wstring& strName, const std::vector<SORTORDERSPECEX>& orders, DWORD dwType)
{
    CEDBASEINFOEX info = {};
    info.wVersion = CEDBASEINFOEX_VERSION;
    info.dwFlags = CEDB_VALIDNAME | CEDB_VALIDTYPE | CEDB_VALIDSORTSPEC;
    std::copy_n(strName.c_str(), std::min<size_t>(strName.size() + 1, CEDB_MAXDBASENAMELEN), info.szDbaseName);
    info.dwDbaseType = dwType;
    info.wNumSortOrder = static_cast<WORD>(orders.size());
    std::copy_n(orders.begin(), std::min<size_t>(orders.size(), CEDB_MAXSORTORDER), info.rgSortSpecs);
    return info;
}

CEOID MakeDatabase(CEGUID guid, const std::wstring& strName, const std::vector<SORTORDERSPECEX>& orders, DWORD dwType)
{
    CEDBASEINFOEX info = BaseInfo(strName, orders, dwType);
    const CEOID oid = ::CeCreateDatabaseEx2(&guid, &info);
    EXPECT_WORKS(oid);
    return oid;
}

CDb& CDb::operator=(CDb&& other) noexcept
{
    const HANDLE h = other.Detach();
    Close();
    m_h = h;
    return *this;
}

HANDLE CDb::Detach()
{
    const HANDLE h = m_h;
    m_h = INVALID_HANDLE_VALUE;
    return h;
}

void CDb::Close()
{
    if (IsOpen()) CloseHandle(Detach());
}

CDb OpenDb(CEGUID guid, CEOID oid, CEPROPID propid, DWORD dwFlags)
{
    CDb db(::CeOpenDatabaseEx(&guid, &oid, nullptr, propid, dwFlags, nullptr));
    EXPECT_WORKS(static_cast<HANDLE>(db));
    return db;
}

CDb OpenDb(CEGUID guid, CEOID oid, SORTORDERSPECEX order, DWORD dwFlags)
{
    CDb db(::CeOpenDatabaseEx2(&guid, &oid, nullptr, &order, dwFlags, nullptr));
    EXPECT_WORKS(static_cast<HANDLE>(db));
    return db;
}

std::vector<CEOID> WalkForward(HANDLE hDb)
{
    std::vector<CEOID> oids;
    for (CEOID oid = ::CeSeekDatabase(hDb, CEDB_SEEK_BEGINNING, 0, nullptr); oid;
         oid = ::CeSeekDatabase(hDb, CEDB_SEEK_CURRENT, 1, nullptr))
        oids.push_back(oid);
    return oids;
}

std::vector<CEOID> WalkBackward(HANDLE hDb)
{
    std::vector<CEOID> oids;
    for (CEOID oid = ::CeSeekDatabase(hDb, CEDB_SEEK_END, 0, nullptr); oid;
         oid = ::CeSeekDatabase(hDb, CEDB_SEEK_CURRENT, static_cast<DWORD>(-1), nullptr))
        oids.push_back(oid);
    return oids;
}

DWORD CountRecords(CEGUID guid, CEOID oidDatabase)
{
    CEOIDINFOEX info = {};
    info.wVersion = CEOIDINFOEX_VERSION;
    EXPECT_WORKS(::CeOidGetInfoEx2(&guid, oidDatabase, &info));
    return info.infDatabase.dwNumRecords;
}

std::vector<BYTE> ReadWholeFile(const std::wstring& strPath)
{
    std::vector<BYTE> bytes;
    const HANDLE hFile =
        ::CreateFileW(strPath.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, 0, nullptr);
    if (hFile == INVALID_HANDLE_VALUE) {
        ADD_FAILURE() << "cannot read the file: error " << ::GetLastError();
        return bytes;
    }
    bytes.resize(::GetFileSize(hFile, nullptr));
    DWORD cbRead = 0;
    ::ReadFile(hFile, bytes.data(), static_cast<DWORD>(bytes.size()), &cbRead, nullptr);
    EXPECT_EQ(bytes.size(), cbRead);
    CloseHandle(hFile);
    return bytes;
}

void WriteWholeFile(const std::wstring& strPath, const std::vector<BYTE>& bytes)
{
    const HANDLE hFile = ::CreateFileW(strPath.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr);
    ASSERT_WORKS(hFile);
    DWORD cbWritten = 0;
    if (!bytes.empty()) ::WriteFile(hFile, bytes.data(), static_cast<DWORD>(bytes.size()), &cbWritten, nullptr);
    EXPECT_EQ(bytes.size(), cbWritten);
    CloseHandle(hFile);
}

bool IsLongRun()
{
    return ::GetEnvironmentVariableW(L"KORVANE_LONG", nullptr, 0) != 0;
}

bool FileExists(const std::wstring& strPath)
{
    return ::GetFileAttributesW(strPath.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void VolumeTest::SetUp()
{
    m_guid = MountVolume(m_strPath, CREATE_NEW);
    ASSERT_FALSE(IsInvalidGuid(m_guid));
}

void VolumeTest::TearDown()
{
    if (IsInvalidGuid(m_guid)) return;
    EXPECT_WORKS(::CeUnmountDBVol(&m_guid));
}

void VolumeTest::Remount()
{
    ASSERT_WORKS(::CeUnmountDBVol(&m_guid));
    m_guid = MountVolume(m_strPath, OPEN_EXISTING);
    ASSERT_FALSE(IsInvalidGuid(m_guid));
}
