// sqlite.h - a SQLite file and its statements, owned, with failures as sentences.
//
// Ownership  CSqlite owns the connection, CStatement a prepared statement of it; statements go first.
// Errors     CFailure with the file and SQLite's own words.
#ifndef KVOL_SQLITE_H
#define KVOL_SQLITE_H

#include <sqlite3.h>

#include <string>
#include <string_view>

namespace kvol {

class CSqlite
{
public:
    enum class Use
    {
        Read,
        Create,
    };
    CSqlite(const std::string& path, Use use);
    ~CSqlite();
    CSqlite(const CSqlite&) = delete;
    CSqlite& operator=(const CSqlite&) = delete;

    void Run(const std::string& sql);
    // Closes the file; fails where the destructor could not say so.
    void Close();
    [[noreturn]] void Fail(const std::string& what) const;
    sqlite3* Handle() const { return m_pDb; }

private:
    std::string m_path;
    sqlite3* m_pDb = nullptr;
};

class CStatement
{
public:
    CStatement(CSqlite& db, const std::string& sql);
    ~CStatement();
    CStatement(const CStatement&) = delete;
    CStatement& operator=(const CStatement&) = delete;

    // True: there is a row. False: done.
    bool Step();
    void Reset();

    // Parameters count from 1. The bytes are copied.
    void BindNull(int n);
    void Bind(int n, sqlite3_int64 value);
    void Bind(int n, double value);
    void Bind(int n, std::string_view text);
    void BindBlob(int n, const void* p, size_t cb);

    // Columns count from 0.
    int Columns() const;
    int Type(int n) const; // SQLITE_INTEGER ... SQLITE_NULL
    bool IsNull(int n) const { return Type(n) == SQLITE_NULL; }
    sqlite3_int64 Integer(int n) const;
    double Real(int n) const;
    // Good until the next step.
    std::string_view Text(int n) const;
    std::wstring_view WideText(int n) const;
    std::string_view Blob(int n) const;

private:
    void Check(int rc) const;
    template <class Pointer> Pointer Had(Pointer p) const;
    CSqlite& m_db;
    sqlite3_stmt* m_pStatement = nullptr;
};

// A name as an SQL identifier: in double quotes, those within doubled.
std::string SqlName(std::string_view name);

} // namespace kvol

#endif
