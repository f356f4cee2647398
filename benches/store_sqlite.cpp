// SQLite with prepared statements. A DLL, built twice: with SQLite's stock build and with the one that is best here.
// STORE_LOCKING: its locking mode.
#include "store.h"

#include <sqlite3.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <string>

namespace stores {

namespace {

class SqliteStore : public Store
{
public:
    ~SqliteStore() override { Close(); }

    void Create(const wchar_t* path, uint32_t tables) override
    {
        for (const wchar_t* suffix : {L"", L"-wal", L"-shm", L"-journal"}) {
            ::DeleteFileW((std::wstring(path) + suffix).c_str());
        }
        OpenFile(path);
        Execute("PRAGMA encoding='UTF-16le'");
        Execute(kSettings);
        Execute("BEGIN");
        for (uint32_t table = 0; table < tables; ++table) {
            const std::string name = "records" + (table == 0 ? "" : std::to_string(table));
            Execute(("CREATE TABLE " + name +
                     "(id INTEGER, kind INTEGER, measure REAL, name TEXT, note TEXT, stamp INTEGER);"
                     "CREATE INDEX " +
                     name + "_name ON " + name + "(name); CREATE INDEX " + name + "_id ON " + name + "(id)")
                        .c_str());
        }
        Execute("COMMIT");
        PrepareAll();
    }
    void Open(const wchar_t* path, uint32_t tables) override
    {
        OpenFile(path);
        Execute(kSettings);
        sqlite3_stmt* count = nullptr;
        Prepare(count, "SELECT count(*) FROM sqlite_schema WHERE type = 'table'");
        Check(::sqlite3_step(count) == SQLITE_ROW && static_cast<uint32_t>(::sqlite3_column_int(count, 0)) == tables);
        ::sqlite3_finalize(count);
        Prepare(m_statements[kWalk], kTexts[kWalk]); // reads the schema
    }
    void Close() override
    {
        for (sqlite3_stmt*& statement : m_statements) {
            ::sqlite3_finalize(statement);
            statement = nullptr;
        }
        Check(::sqlite3_close(m_db) == SQLITE_OK);
        m_db = nullptr;
    }
    bool Compact(const wchar_t* path) override
    {
        OpenFile(path);
        Execute(kSettings);
        Execute("VACUUM");
        Close();
        return true;
    }
    uint64_t FileSize(const wchar_t* path) override
    {
        WIN32_FILE_ATTRIBUTE_DATA data;
        Check(::GetFileAttributesExW(path, GetFileExInfoStandard, &data));
        return data.nFileSizeLow | static_cast<uint64_t>(data.nFileSizeHigh) << 32;
    }

    void Import(const Record* records, uint32_t count, std::vector<uint32_t>& numbers) override
    {
        Execute("BEGIN");
        for (uint32_t i = 0; i < count; ++i) numbers.push_back(Insert(records[i]));
        Execute("COMMIT");
    }
    void DeleteAll(const std::vector<uint32_t>& numbers) override
    {
        Execute("BEGIN");
        for (const uint32_t number : numbers) Delete(number);
        Execute("COMMIT");
    }
    uint32_t Insert(const Record& record) override
    {
        sqlite3_stmt* const insert = Statement(kInsert);
        ::sqlite3_bind_int(insert, 1, record.id);
        ::sqlite3_bind_int(insert, 2, record.kind);
        ::sqlite3_bind_double(insert, 3, record.measure);
        ::sqlite3_bind_text16(insert, 4, record.name, std::wcslen(record.name) * 2, SQLITE_STATIC);
        ::sqlite3_bind_text16(insert, 5, record.note, std::wcslen(record.note) * 2, SQLITE_STATIC);
        ::sqlite3_bind_int64(insert, 6, static_cast<sqlite3_int64>(record.stamp));
        Finish(insert);
        return static_cast<uint32_t>(::sqlite3_last_insert_rowid(m_db));
    }
    void Update(uint32_t number, double measure) override
    {
        sqlite3_stmt* const update = Statement(kUpdate);
        ::sqlite3_bind_double(update, 1, measure);
        ::sqlite3_bind_int64(update, 2, number);
        Finish(update);
    }
    void Delete(uint32_t number) override
    {
        sqlite3_stmt* const statement = Statement(kDelete);
        ::sqlite3_bind_int64(statement, 1, number);
        Finish(statement);
    }

    bool CanRead(Form) override { return true; }
    void Walk(Order order, Form form, Digest& digest) override
    {
        sqlite3_stmt* const walk = Statement(order == Order::kCreation ? kWalk
                                             : order == Order::kName   ? kWalkNames
                                                                       : kWalkIds);
        while (::sqlite3_step(walk) == SQLITE_ROW) Take(walk, form, digest);
        Check(::sqlite3_reset(walk) == SQLITE_OK);
    }
    void Seek(const wchar_t* name, Form form, Digest& digest) override
    {
        sqlite3_stmt* const seek = Statement(kSeek);
        ::sqlite3_bind_text16(seek, 1, name, std::wcslen(name) * 2, SQLITE_STATIC);
        Check(::sqlite3_step(seek) == SQLITE_ROW);
        Take(seek, form, digest);
        Check(::sqlite3_reset(seek) == SQLITE_OK);
    }

private:
    enum
    {
        kInsert,
        kUpdate,
        kDelete,
        kWalk,
        kWalkNames,
        kWalkIds,
        kSeek,
        kStatements
    };
    static constexpr const char* kTexts[kStatements] = {
        "INSERT INTO records VALUES(?, ?, ?, ?, ?, ?)",
        "UPDATE records SET measure = ? WHERE rowid = ?",
        "DELETE FROM records WHERE rowid = ?",
        "SELECT * FROM records ORDER BY rowid",
        "SELECT * FROM records INDEXED BY records_name ORDER BY name",
        "SELECT * FROM records INDEXED BY records_id ORDER BY id",
        "SELECT * FROM records WHERE name = ?",
    };

    static constexpr const char* kSettings =
        "PRAGMA locking_mode=" STORE_LOCKING
        "; PRAGMA cache_size=-65536; PRAGMA journal_mode=WAL; PRAGMA synchronous=NORMAL";

    void Check(bool isRight)
    {
        if (isRight) return;
        std::fprintf(stderr, "bench: error: SQLite: %s\n", m_db ? ::sqlite3_errmsg(m_db) : "no database");
        std::exit(1);
    }
    void OpenFile(const wchar_t* path) { Check(::sqlite3_open16(path, &m_db) == SQLITE_OK); }
    void Execute(const char* sql) { Check(::sqlite3_exec(m_db, sql, nullptr, nullptr, nullptr) == SQLITE_OK); }
    void Prepare(sqlite3_stmt*& statement, const char* sql)
    {
        Check(::sqlite3_prepare_v3(m_db, sql, -1, SQLITE_PREPARE_PERSISTENT, &statement, nullptr) == SQLITE_OK);
    }
    void PrepareAll()
    {
        for (int i = 0; i < kStatements; ++i) Statement(i);
    }
    sqlite3_stmt* Statement(int i)
    {
        if (!m_statements[i]) Prepare(m_statements[i], kTexts[i]);
        return m_statements[i];
    }
    void Finish(sqlite3_stmt* statement)
    {
        Check(::sqlite3_step(statement) == SQLITE_DONE && ::sqlite3_reset(statement) == SQLITE_OK);
        Check(::sqlite3_changes(m_db) == 1);
    }

    void Take(sqlite3_stmt* row, Form form, Digest& digest)
    {
        if (form == Form::kColumns) {
            const auto id = ::sqlite3_column_int(row, 0);
            const auto kind = static_cast<uint16_t>(::sqlite3_column_int(row, 1));
            const double measure = ::sqlite3_column_double(row, 2);
            const uint32_t nameUnits = CopyText(row, 3, m_name, kNameUnits);
            const uint32_t noteUnits = CopyText(row, 4, m_note, kNoteUnits);
            const auto stamp = static_cast<uint64_t>(::sqlite3_column_int64(row, 5));
            digest.Add(id, kind, measure, m_name, nameUnits, m_note, noteUnits, stamp);
            return;
        }
        m_fields.Set(0, VT_I4).lVal = ::sqlite3_column_int(row, 0);
        m_fields.Set(1, VT_UI2).uiVal = static_cast<USHORT>(::sqlite3_column_int(row, 1));
        m_fields.Set(2, VT_R8).dblVal = ::sqlite3_column_double(row, 2);
        for (int i = 3; i < 5; ++i) {
            const OLECHAR* const text = static_cast<const OLECHAR*>(::sqlite3_column_text16(row, i));
            m_fields.Set(i, VT_BSTR).bstrVal = ::SysAllocStringLen(text, ::sqlite3_column_bytes16(row, i) / 2);
        }
        m_fields.Set(5, VT_DATE).date = DateFromStamp(static_cast<uint64_t>(::sqlite3_column_int64(row, 5)));
        digest.Add(m_fields.All());
    }
    uint32_t CopyText(sqlite3_stmt* row, int column, wchar_t* to, uint32_t units)
    {
        const void* const text = ::sqlite3_column_text16(row, column);
        const uint32_t bytes = ::sqlite3_column_bytes16(row, column);
        Check(bytes <= units * sizeof(wchar_t));
        std::memcpy(to, text, bytes);
        to[bytes / 2] = 0;
        return bytes / 2;
    }

    // The row of variants that is filled again and again.
    class Variants
    {
    public:
        Variants()
        {
            for (VARIANT& variant : m_all) ::VariantInit(&variant);
        }
        ~Variants()
        {
            for (VARIANT& variant : m_all) ::VariantClear(&variant);
        }
        VARIANT& Set(int i, VARTYPE type)
        {
            if (m_all[i].vt == VT_BSTR) ::SysFreeString(m_all[i].bstrVal);
            m_all[i].vt = type;
            return m_all[i];
        }
        const VARIANT* All() const { return m_all; }

    private:
        VARIANT m_all[6];
    };

    sqlite3* m_db = nullptr;
    sqlite3_stmt* m_statements[kStatements] = {};
    wchar_t m_name[kNameUnits + 1], m_note[kNoteUnits + 1];
    Variants m_fields;
};

} // namespace

extern "C" __declspec(dllexport) Store* MakeSqliteStore()
{
    return new SqliteStore;
}

} // namespace stores
