// What the tests of the database layer share: volumes made with the store's own calls, a log to read raises from.
//
// The table "Items" of a CItemsVolume has a field of every type a row can convert, under these names and properties:
//   Id I4, Name LPWSTR, Small I2, USmall UI2, ULong UI4, Real R8, Flag BOOL, When FILETIME
// and the indexes ById, ByName, BySmall (descending) and ByFlag.
#ifndef KORVANE_TESTS_KORVANEDB_DB_FIXTURE_H
#define KORVANE_TESTS_KORVANEDB_DB_FIXTURE_H

#include "base/errorutil.h"
#include "korvanedb/connection.h"
#include "korvanedb/row.h"
#include "korvanedb/rowshared.h"
#include "korvanedb/table.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using KorvaneDB::CConnection;
using KorvaneDB::CFieldInfo;
using KorvaneDB::CIndexInfo;
using KorvaneDB::CRow;
using KorvaneDB::CTable;

constexpr CEPROPID kId = 0x00000003;
constexpr CEPROPID kName = 0x0001001F;
constexpr CEPROPID kSmall = 0x00020002;
constexpr CEPROPID kUSmall = 0x00030012;
constexpr CEPROPID kULong = 0x00040013;
constexpr CEPROPID kReal = 0x00050005;
constexpr CEPROPID kFlag = 0x0006000B;
constexpr CEPROPID kWhen = 0x00070040;
constexpr int kItemFields = 8;

// Property values. A text has to live as long as the value.
CEPROPVAL I4(CEPROPID propid, long lValue);
CEPROPVAL I2(CEPROPID propid, short iValue);
CEPROPVAL Text(CEPROPID propid, const wchar_t* pszValue);

// Variants in one expression.
_variant_t Null();
_variant_t Bstr(const wchar_t* pszValue);
_variant_t OfType(VARTYPE vt);
// What a variant holds, for comparisons and for people: "I4:5", "BSTR:abc", "NULL".
std::string Describe(const _variant_t& value);

struct CSort
{
    CEPROPID propid;
    DWORD dwFlags = 0;
};

// A volume file, mounted while the object lives.
class CVolume
{
public:
    explicit CVolume(const std::wstring& path);
    ~CVolume();
    CVolume(const CVolume&) = delete;
    CVolume& operator=(const CVolume&) = delete;

    wchar_t* Path() { return m_path.data(); }
    CEGUID* Guid() { return &m_guid; }
    CEOID Create(const wchar_t* pszName, const std::vector<CSort>& sorts = {});
    CEOID Add(CEOID oidDatabase, std::vector<CEPROPVAL> props);
    void Remove(CEOID oidDatabase);

    // Catalogues: made empty, then filled.
    void CreateCatalogues();
    void CatalogueTable(const wchar_t* pszName, CEOID oidDatabase);
    void CatalogueField(CEOID oidDatabase, const wchar_t* pszName, CEPROPID propid, short iLen = 0, short iType = 0);
    void CatalogueIndex(CEOID oidDatabase, const wchar_t* pszName, CEPROPID propid, long lFlags = 0);

    CEOID m_oidTables = 0;
    CEOID m_oidFields = 0;
    CEOID m_oidIndexes = 0;

private:
    std::wstring m_path;
    CEGUID m_guid;
};

// A catalogued volume with the table "Items", empty.
class CItemsVolume : public CVolume
{
public:
    explicit CItemsVolume(const std::wstring& path);
    CEOID m_oidItems;
};

// Definitions with the same table, for OpenFromDef.
std::list<KorvaneDB::CTableDefinition> ItemsDefinition();

// Opens the protected parts of a connection and of a row to the tests.
class COpenConnection : public CConnection
{
public:
    using CConnection::FillFields;
    using CConnection::FillIndexes;
    using CConnection::FillTables;
    using CConnection::Initialize;
    using CConnection::m_bOpen;
    using CConnection::m_guid;
    using CConnection::m_hHeap;
    using CConnection::m_lRefs;
    using CConnection::m_slots;
    using CConnection::m_sName;
    using CConnection::m_tables;
    using CConnection::ReleaseSystemTables;
};
// A copy of a row, so it shares what the row has.
class COpenRow : public CRow
{
public:
    explicit COpenRow(const CRow& row) : CRow(row) {}
    using CRow::m_propidIndex;
    using CRow::m_varFilter;
    KorvaneDB::CRowShared& Shared() { return *m_pShared; }
};

// Every test has a folder and a log, and leaves no error parked.
class CDbTest : public testing::Test
{
protected:
    CDbTest();
    ~CDbTest() override;
    void TearDown() override;

    // The log's whole text, with what each line feed became left as it is on disk.
    std::string Log() const;

    // Runs what raises, and expects it to return the code. The diagnostic build also expects the last raise in the log
    // to be of that source, line, code and message.
    template <class Call>
    void ExpectRaise(const char* pszSource, unsigned long ulLine, long lCode, const char* pszMessage, Call call)
    {
        const size_t cbBefore = Log().size();
        const long hr = call();
        CheckRaise(pszSource, ulLine, lCode, pszMessage, hr, cbBefore);
    }

    CTempFolder m_folder;

private:
    void CheckRaise(const char* pszSource, unsigned long ulLine, long lCode, const char* pszMessage, long hr,
                    size_t cbBefore);
    std::string m_logPath;
    CStreamWriter* m_pWriter;
};

#define EXPECT_RAISE(source, line, code, message, expression)                                                          \
    do {                                                                                                               \
        SCOPED_TRACE(#expression);                                                                                     \
        ExpectRaise(source, line, code, message, [&]() -> long { return (expression); });                              \
    } while (false)
#define EXPECT_ROW_RAISE(line, code, message, expression) EXPECT_RAISE("korvanedb/row", line, code, message, expression)
#define EXPECT_CONNECTION_RAISE(line, message, expression)                                                             \
    EXPECT_RAISE("korvanedb/connection", line, E_FAIL, message, expression)

// A test on an open Items table: m_row, without records at first.
class CItemsTest : public CDbTest
{
protected:
    CItemsTest();
    ~CItemsTest() override;

    // Adds a record with Id, Name and Small through the store, and returns its OID.
    CEOID AddItem(long lId, const wchar_t* pszName = L"", short iSmall = 0);
    // The Id of the record that the row is on, read anew; -1 if that fails.
    long ReadId(CRow& row);
    // The ids that a walk from MoveFirst meets.
    std::vector<long> Walk(CRow& row);

    CItemsVolume m_volume;
    COpenConnection m_connection;
    CSmartPtr<CRow> m_row;
};

#endif
