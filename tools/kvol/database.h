// database.h - a volume, its catalogue and its tables, as the commands use them.
//
// Records are read, added and removed through KorvaneDB. The store's own calls are used for what that has no operation
// for: to create volumes and databases, to remove databases, to make many calls one transaction, to write some fields of
// a record and no others.
//
// Ownership  CVolume owns a mount, CBatch a batch, CCatalogue and CTableCursor a connection each; they are used within
//            one function and destroyed in reverse order. The volume outlives the others.
// Errors     CFailure, with the volume, table and record.
#ifndef KVOL_DATABASE_H
#define KVOL_DATABASE_H

#include "failure.h"
#include "text.h"

#include <korvanelib.h>

#include "korvanedb/connection.h"
#include "korvanedb/row.h"

#include <string>
#include <type_traits>
#include <vector>

namespace kvol {

// Runs a call of the library. A negative result, or a failure parked in the library's last-error record, becomes a
// CFailure: what (a text, or a function that makes it when it is needed), and the system's reason when there is one.
// Returns the result otherwise.
template <class What, class Function> long Call(const What& what, Function function)
{
    ::SetLastError(ERROR_SUCCESS);
    long hr = function();
    const DWORD dwError = ::GetLastError();
    if (gErrHRESULT < 0) {
        hr = gErrHRESULT;
        gErrHRESULT = 0;
    }
    if (hr >= 0) return hr;
    const std::string reason = ": " + SystemText(dwError ? dwError : static_cast<DWORD>(hr));
    if constexpr (std::is_invocable_v<What>) {
        throw CFailure(what() + reason);
    } else {
        throw CFailure(what + reason);
    }
}

// Moves a row, which says no more than that it reached no record: a move that failed is not the end of the walk. True
// while there is a record.
template <class What, class Function> bool Walk(const What& what, KorvaneDB::CRow& row, Function move)
{
    return Call(what,
                [&]() -> long {
                    const long hr = move();
                    const DWORD dwError = ::GetLastError();
                    const bool bEnd = !row.IsEOF() || dwError == ERROR_NO_MORE_ITEMS || dwError == ERROR_SUCCESS;
                    return hr >= 0 && !bEnd ? E_FAIL : hr;
                }) >= 0 &&
           !row.IsEOF();
}

// An absent property.
inline _variant_t Absent()
{
    _variant_t value;
    V_VT(&value) = VT_NULL;
    return value;
}

struct FieldInfo
{
    std::wstring name;
    CEPROPID propid = 0;
    short len = 0;
    short odbc = 0;
    WORD Type() const { return TypeFromPropID(propid); }
    bool IsDays() const;
};

struct IndexInfo
{
    std::wstring name;
    CEPROPID propid = 0;
    DWORD dwFlags = 0; // CEDB_SORT_
};

struct TableInfo
{
    std::wstring name;
    CEOID oid = 0;
    std::vector<FieldInfo> fields;
    std::vector<IndexInfo> indexes;

    // The field of an exact name, its position, or of a property; null or -1 when there is none.
    int FieldPosition(std::wstring_view name) const;
    const FieldInfo* FieldOf(CEPROPID propid) const;
    const IndexInfo* FindIndex(std::wstring_view name) const;
    // The same for an index that has to be there.
    const IndexInfo& Index(std::wstring_view name) const;
};

class CVolume
{
public:
    enum class Use
    {
        Existing,
        CreateIfMissing,
    };
    CVolume(const std::string& path, Use use);
    // A volume file that this object made is removed again, unless Keep was called.
    ~CVolume();
    CVolume(const CVolume&) = delete;
    CVolume& operator=(const CVolume&) = delete;

    void Keep() { m_bRemove = false; }
    const std::string& Path() const { return m_path; } // as it was given, for messages
    const wchar_t* WidePath() const { return m_widePath.c_str(); }
    CEGUID* Guid() { return &m_guid; }

private:
    std::string m_path;
    std::wstring m_widePath;
    CEGUID m_guid;
    bool m_bRemove = false;
};

// Everything between construction and Commit is one transaction; without Commit nothing has happened.
class CBatch
{
public:
    explicit CBatch(CVolume& volume);
    ~CBatch();
    CBatch(const CBatch&) = delete;
    CBatch& operator=(const CBatch&) = delete;
    void Commit();

private:
    CVolume& m_volume;
    bool m_bOpen = true;
};

// A database as the store describes it; false when the OID is of no database. Throws when the store cannot tell.
bool DescribeDatabase(CVolume& volume, CEOID oid, CEDBASEINFO& info);

// A handle of the store's, closed at the end.
class CStoreHandle
{
public:
    explicit CStoreHandle(HANDLE h) : m_h(h) {}
    ~CStoreHandle()
    {
        if (m_h != INVALID_HANDLE_VALUE) ::CloseHandle(m_h);
    }
    CStoreHandle(const CStoreHandle&) = delete;
    CStoreHandle& operator=(const CStoreHandle&) = delete;
    HANDLE Get() const { return m_h; }
    bool IsValid() const { return m_h != INVALID_HANDLE_VALUE; }

private:
    const HANDLE m_h;
};

// All databases of a volume, one after the other.
class CDatabases
{
public:
    explicit CDatabases(CVolume& volume);
    CEOID Next(); // 0 behind the last one

private:
    [[noreturn]] void Fail(DWORD dwError) const;
    CVolume& m_volume;
    const CStoreHandle m_enumeration;
};

// A catalogue record as it stands; VT_NULL where it lacks the property.
struct CatalogueRow
{
    CEOID oid = 0;
    std::vector<_variant_t> values; // in the order of the catalogue's fields
};

class CCatalogue
{
public:
    // The catalogues, in the order in which the library opens them.
    static constexpr const wchar_t* kTables = L"MSysTables";   // TableName, TableID
    static constexpr const wchar_t* kFields = L"MSysFields";   // TableID, FieldName, FieldID, Len, ODBCType
    static constexpr const wchar_t* kIndexes = L"MSysIndexes"; // TableID, IndexName, FieldID, IndexFlags

    // Property numbers that a "FieldID" can have: the library keeps its low 24 bits, 16 of which are the type.
    static constexpr size_t kMostFields = 256;
    static constexpr DWORD kPropertyMask = 0x00FFFFFF; // those 24 bits

    // Makes those of the three catalogue databases that the volume lacks.
    static void CreateMissing(CVolume& volume);

    // Reads the catalogues.
    explicit CCatalogue(CVolume& volume);

    // The tables in the catalogue's order; of several with one name the first, which is the one that the library opens.
    const std::vector<TableInfo>& Tables() const { return m_tables; }
    const TableInfo* Find(const std::string& name) const;
    // The same for a table that has to be there.
    const TableInfo& Table(const std::string& name) const;
    // All records of one of the three catalogues.
    std::vector<CatalogueRow> Rows(const wchar_t* pszCatalogue);

    // Creates the table's database and lists the table; sets table.oid.
    void Add(TableInfo& table);
    // Lists a database as a table, under its own name.
    void List(CEOID oid, const std::wstring& name);
    // Removes the table's database, records and all, and what the catalogues say of it. The verb is for the message.
    void Remove(const TableInfo& table, const char* pszVerb);

private:
    CSmartPtr<KorvaneDB::CRow> OpenCatalogue(const wchar_t* pszCatalogue);
    void Append(const wchar_t* pszCatalogue, std::vector<_variant_t> values);
    void RemoveRows(const wchar_t* pszCatalogue, int idField, CEOID oidTable);

    CVolume& m_volume;
    KorvaneDB::CConnection m_connection;
    std::vector<TableInfo> m_tables;
};

// A value for seeks in an index, read from text. Fails when the text is none of the index's type; pszWhere begins the
// message then.
_variant_t KeyOf(const TableInfo& table, const IndexInfo& index, const std::string& text, const char* pszWhere = "");

// A connection that could not read the catalogues keeps them open: somebody has to close them, or the volume stays in use.
class CReleasingConnection : public KorvaneDB::CConnection
{
public:
    using CConnection::ReleaseSystemTables;
};

// A cursor on one table. The connection is the library's ordinary one, which reads the catalogues itself.
class CTableCursor
{
public:
    CTableCursor(CVolume& volume, const TableInfo& table);

    KorvaneDB::CRow& Row() { return *m_row; }
    // Walk in the current order; false at the end. They read nothing.
    bool First();
    bool Next();
    void UseIndex(const IndexInfo& index);
    // Limits the walk to the records with the value in the current index; First and Next as ever.
    void UseFilter(const _variant_t& value);
    // Looks for the first record with the value in the current index; false when there is none.
    bool Seek(const _variant_t& value);
    bool SeekNext(const _variant_t& value);
    // Reads the record. False when it has none of the table's fields; all values are VT_NULL then.
    bool Read();
    // Value of a field of the record that was read.
    const _variant_t& Value(size_t field) const { return m_values[field]; }
    // How the current record is named in messages: table "countries", record 17.
    std::string Place() const;

private:
    CVolume& m_volume;
    const TableInfo& m_table;
    CReleasingConnection m_connection;
    CSmartPtr<KorvaneDB::CRow> m_row;
    std::vector<_variant_t> m_values;
};

} // namespace kvol

#endif
