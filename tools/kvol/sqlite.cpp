#include "sqlite.h"

#include "failure.h"
#include "text.h"

#include <new>

namespace kvol {

CSqlite::CSqlite(const std::string& path, Use use) : m_path(path)
{
    if (use == Use::Read && ::GetFileAttributesW(Wide(path).c_str()) == INVALID_FILE_ATTRIBUTES)
        throw CFailure("cannot open the SQLite file " + Quoted(path) + ": there is no such file");
    const int flags = use == Use::Read ? SQLITE_OPEN_READONLY : SQLITE_OPEN_READWRITE | SQLITE_OPEN_CREATE;
    if (::sqlite3_open_v2(path.c_str(), &m_pDb, flags, nullptr) != SQLITE_OK) {
        const std::string why = m_pDb ? ::sqlite3_errmsg(m_pDb) : "out of memory";
        ::sqlite3_close_v2(m_pDb);
        throw CFailure("cannot open the SQLite file " + Quoted(path) + ": " + why);
    }
    // A stranger's file is not to make this program do anything but read.
    ::sqlite3_db_config(m_pDb, SQLITE_DBCONFIG_DEFENSIVE, 1, nullptr);
    ::sqlite3_db_config(m_pDb, SQLITE_DBCONFIG_TRUSTED_SCHEMA, 0, nullptr);
}

CSqlite::~CSqlite()
{
    ::sqlite3_close_v2(m_pDb);
}

void CSqlite::Run(const std::string& sql)
{
    if (::sqlite3_exec(m_pDb, sql.c_str(), nullptr, nullptr, nullptr) != SQLITE_OK) Fail("cannot use");
}

void CSqlite::Close()
{
    if (::sqlite3_close(m_pDb) != SQLITE_OK) Fail("cannot close");
    m_pDb = nullptr;
}

void CSqlite::Fail(const std::string& what) const
{
    throw CFailure(what + " the SQLite file " + Quoted(m_path) + ": " + ::sqlite3_errmsg(m_pDb));
}

CStatement::CStatement(CSqlite& db, const std::string& sql) : m_db(db)
{
    Check(::sqlite3_prepare_v2(db.Handle(), sql.data(), static_cast<int>(sql.size()), &m_pStatement, nullptr));
}

CStatement::~CStatement()
{
    ::sqlite3_finalize(m_pStatement);
}

void CStatement::Check(int rc) const
{
    if (rc != SQLITE_OK) m_db.Fail("cannot use");
}

bool CStatement::Step()
{
    const int rc = ::sqlite3_step(m_pStatement);
    if (rc != SQLITE_ROW && rc != SQLITE_DONE) m_db.Fail("cannot use");
    return rc == SQLITE_ROW;
}

void CStatement::Reset()
{
    Check(::sqlite3_reset(m_pStatement));
}

void CStatement::BindNull(int n)
{
    Check(::sqlite3_bind_null(m_pStatement, n));
}

void CStatement::Bind(int n, sqlite3_int64 value)
{
    Check(::sqlite3_bind_int64(m_pStatement, n, value));
}

void CStatement::Bind(int n, double value)
{
    Check(::sqlite3_bind_double(m_pStatement, n, value));
}

void CStatement::Bind(int n, std::string_view text)
{
    Check(::sqlite3_bind_text(m_pStatement, n, text.empty() ? "" : text.data(), static_cast<int>(text.size()),
                              SQLITE_TRANSIENT));
}

void CStatement::BindBlob(int n, const void* p, size_t cb)
{
    // A null pointer would be a null, not an empty blob.
    Check(::sqlite3_bind_blob(m_pStatement, n, cb ? p : "", static_cast<int>(cb), SQLITE_TRANSIENT));
}

int CStatement::Columns() const
{
    return ::sqlite3_column_count(m_pStatement);
}

int CStatement::Type(int n) const
{
    return ::sqlite3_column_type(m_pStatement, n);
}

sqlite3_int64 CStatement::Integer(int n) const
{
    return ::sqlite3_column_int64(m_pStatement, n);
}

double CStatement::Real(int n) const
{
    return ::sqlite3_column_double(m_pStatement, n);
}

// A text that memory was out for is no empty one.
template <class Pointer> Pointer CStatement::Had(Pointer p) const
{
    if (!p && ::sqlite3_errcode(m_db.Handle()) == SQLITE_NOMEM) throw std::bad_alloc();
    return p;
}

std::string_view CStatement::Text(int n) const
{
    const auto* p = reinterpret_cast<const char*>(Had(::sqlite3_column_text(m_pStatement, n)));
    return p ? std::string_view(p, ::sqlite3_column_bytes(m_pStatement, n)) : std::string_view();
}

std::wstring_view CStatement::WideText(int n) const
{
    const auto* p = static_cast<const wchar_t*>(Had(::sqlite3_column_text16(m_pStatement, n)));
    return p ? std::wstring_view(p, ::sqlite3_column_bytes16(m_pStatement, n) / sizeof(wchar_t)) : std::wstring_view();
}

std::string_view CStatement::Blob(int n) const
{
    const auto* p = static_cast<const char*>(Had(::sqlite3_column_blob(m_pStatement, n)));
    return p ? std::string_view(p, ::sqlite3_column_bytes(m_pStatement, n)) : std::string_view();
}

std::string SqlName(std::string_view name)
{
    std::string sql = "\"";
    for (const char c : name) {
        if (c == '"') sql += c;
        sql += c;
    }
    return sql + "\"";
}

} // namespace kvol
