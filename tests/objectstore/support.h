// support.h - what the tests of the object store share: values and records as text, volumes, database handles.
#ifndef KORVANE_TESTS_OBJECTSTORE_SUPPORT_H
#define KORVANE_TESTS_OBJECTSTORE_SUPPORT_H

#include <windbase.h>
#include <korvanebatch.h>

#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

constexpr CEPROPID Prop(WORD wId, WORD wType)
{
    return static_cast<CEPROPID>(wId) << 16 | wType;
}

// ---- Results -------------------------------------------------------------------------------------------------------

constexpr DWORD kNoLastError = 0xE0C0FFEE; // set before a call whose last error is looked at

inline bool IsFailure(HANDLE h)
{
    return h == INVALID_HANDLE_VALUE;
}
inline bool IsFailure(BOOL b)
{
    return !b;
}
inline bool IsFailure(CEOID oid)
{
    return oid == 0;
}
testing::AssertionResult JudgeFailure(DWORD dwExpected, bool bFailed, DWORD dwLast);
testing::AssertionResult JudgeSuccess(bool bFailed, DWORD dwLast);

template <class T> testing::AssertionResult Fails(DWORD dwExpected, T result)
{
    const DWORD dwLast = ::GetLastError();
    return JudgeFailure(dwExpected, IsFailure(result), dwLast);
}
template <class T> testing::AssertionResult Works(T result)
{
    const DWORD dwLast = ::GetLastError();
    return JudgeSuccess(IsFailure(result), dwLast);
}

// The call returns its failure value and sets this last error; or it returns success.
#define EXPECT_FAILS(dwError, call) EXPECT_TRUE((::SetLastError(kNoLastError), Fails(dwError, call)))
#define EXPECT_WORKS(call) EXPECT_TRUE(Works(call))
#define ASSERT_WORKS(call) ASSERT_TRUE(Works(call))

// ---- Records -------------------------------------------------------------------------------------------------------

// Property values to be written, with the texts and blobs that they point to.
class CProps
{
public:
    CProps() = default;
    CProps(CProps&&) = default;
    CProps& operator=(CProps&&) = default;

    CProps& I2(WORD wId, short n);
    CProps& I4(WORD wId, long n);
    CProps& UI2(WORD wId, USHORT n);
    CProps& UI4(WORD wId, ULONG n);
    CProps& R8(WORD wId, double n);
    CProps& Bool(WORD wId, BOOL b);
    CProps& Time(WORD wId, ULONGLONG n);
    CProps& Text(WORD wId, const std::wstring& str);
    CProps& Blob(WORD wId, const std::vector<BYTE>& bytes);
    CProps& Remove(CEPROPID propid);

    CEPROPVAL* Data() const { return const_cast<CEPROPVAL*>(m_values.data()); }
    WORD Count() const { return static_cast<WORD>(m_values.size()); }
    CEPROPVAL& Last() { return m_values.back(); }
    DWORD Address() const { return reinterpret_cast<DWORD>(m_values.data()); } // for value seeks
    std::string Render() const;

private:
    CEPROPVAL& Add(WORD wId, WORD wType);
    std::vector<CEPROPVAL> m_values;
    std::deque<std::wstring> m_texts; // a deque's elements do not move
    std::deque<std::vector<BYTE>> m_blobs;
};

// Values as one text, in the order of their properties: "1:I4=5 2:TEXT=(3)abc"; long data as length and hash.
std::string Render(const CEPROPVAL* rgValues, size_t nCount);

struct CRecord
{
    CEOID oid = 0;
    DWORD dwError = 0; // last error when oid is 0
    WORD wCount = 0;
    std::string strContent;
};

CEOID Write(HANDLE hDb, CEOID oid, const CProps& props);
CRecord Read(HANDLE hDb);                                     // all properties, where the handle stands
CRecord Read(HANDLE hDb, const std::vector<CEPROPID>& props); // these
CRecord ReadOid(HANDLE hDb, CEOID oid);                       // after a seek to the record

// ---- Volumes and databases -----------------------------------------------------------------------------------------

// One mount; the GUID is not const because the platform's calls take it that way.
CEGUID MountVolume(const std::wstring& strPath, DWORD dwFlags = OPEN_ALWAYS);
bool SameGuid(const CEGUID& a, const CEGUID& b);
bool IsInvalidGuid(const CEGUID& guid);
CEGUID InvalidGuid();
CEGUID SystemGuid();

struct CSortKey
{
    CEPROPID propid;
    DWORD dwFlags = 0;
};
SORTORDERSPECEX Order(const std::vector<CSortKey>& keys, WORD wKeyFlags = 0);
CEDBASEINFOEX BaseInfo(const std::wstring& strName, const std::vector<SORTORDERSPECEX>& orders = {}, DWORD dwType = 0);
CEOID MakeDatabase(CEGUID guid, const std::wstring& strName, const std::vector<SORTORDERSPECEX>& orders = {},
                   DWORD dwType = 0);

// Sole owner of a database or enumeration handle.
class CDb
{
public:
    CDb() = default;
    explicit CDb(HANDLE h) : m_h(h) {}
    CDb(CDb&& other) noexcept : m_h(other.Detach()) {}
    CDb& operator=(CDb&& other) noexcept;
    ~CDb() { Close(); }
    operator HANDLE() const { return m_h; }
    bool IsOpen() const { return m_h != INVALID_HANDLE_VALUE; }
    HANDLE Detach();
    void Close();

private:
    HANDLE m_h = INVALID_HANDLE_VALUE;
};

CDb OpenDb(CEGUID guid, CEOID oid, CEPROPID propid = 0, DWORD dwFlags = 0);
CDb OpenDb(CEGUID guid, CEOID oid, SORTORDERSPECEX order, DWORD dwFlags = 0);

std::vector<CEOID> WalkForward(HANDLE hDb);  // BEGINNING 0, then CURRENT 1 to the end
std::vector<CEOID> WalkBackward(HANDLE hDb); // END 0, then CURRENT -1 to the start
DWORD CountRecords(CEGUID guid, CEOID oidDatabase);

// Has the store check the volume, then walks every sort order of every database of it both ways, by steps, by indexes
// and by OIDs, and holds them against each other and the counts. The empty text when nothing contradicts.
std::string CheckVolume(CEGUID guid);

// KORVANE_LONG=1 asks for the long form of the tests that have one.
bool IsLongRun();

// ---- Files ---------------------------------------------------------------------------------------------------------

std::vector<BYTE> ReadWholeFile(const std::wstring& strPath); // also while others have it open
void WriteWholeFile(const std::wstring& strPath, const std::vector<BYTE>& bytes);
bool FileExists(const std::wstring& strPath);

// A volume of the test's own, mounted from the start, with a place for more files beside it.
class VolumeTest : public testing::Test
{
protected:
    VolumeTest() : m_strPath(m_folder.File(L"test.vol")) {}
    void SetUp() override;
    void TearDown() override;
    void Remount(); // unmounts and mounts again, which flushes and reads back

    CTempFolder m_folder;
    std::wstring m_strPath;
    CEGUID m_guid = InvalidGuid(); // invalid while the test has it unmounted
};

#endif
