// LMDB as it comes, used by hand: records under their numbers, and two trees from name and id to number.
#include "store.h"

#include "targets.h"

#include <lmdb.h>

#include <cstring>
#include <string>

namespace stores {

namespace {

void Check(int result, const char* what)
{
    if (result != MDB_SUCCESS) bench::Fail(std::string("LMDB: ") + what + ": " + ::mdb_strerror(result));
}

// How a record lies in the store; behind it the two texts.
#pragma pack(push, 2)
struct Packed
{
    int32_t id;
    uint16_t kind;
    double measure;
    uint64_t stamp;
    uint16_t nameUnits, noteUnits;
};
#pragma pack(pop)

template <class T> MDB_val ValueOf(const T& object)
{
    return {sizeof object, const_cast<T*>(&object)};
}

MDB_val NameKey(const wchar_t* name)
{
    return {std::wcslen(name) * sizeof(wchar_t), const_cast<wchar_t*>(name)};
}

class LmdbStore : public Store
{
public:
    ~LmdbStore() override { Close(); }

    void Create(const wchar_t* path, uint32_t tables) override
    {
        ::DeleteFileW(path);
        Open(path, tables);
    }
    void Open(const wchar_t* path, uint32_t) override
    {
        char narrow[MAX_PATH] = "";
        ::WideCharToMultiByte(CP_ACP, 0, path, -1, narrow, sizeof narrow, nullptr, nullptr);
        Check(::mdb_env_create(&m_env), "no environment");
        Check(::mdb_env_set_maxdbs(m_env, 3), "no trees");
        Check(::mdb_env_set_mapsize(m_env, 128 << 20), "no map");
        Check(::mdb_env_open(m_env, narrow, MDB_NOSUBDIR | MDB_WRITEMAP | MDB_NOSYNC | MDB_NOLOCK, 0644),
              "cannot open the file");
        Begin();
        Check(::mdb_dbi_open(m_write, "records", MDB_CREATE | MDB_INTEGERKEY, &m_records), "no records");
        Check(::mdb_dbi_open(m_write, "names", MDB_CREATE | MDB_DUPSORT | MDB_DUPFIXED | MDB_INTEGERDUP, &m_names),
              "no names");
        Check(::mdb_dbi_open(m_write, "ids", MDB_CREATE | MDB_DUPSORT | MDB_DUPFIXED | MDB_INTEGERDUP, &m_ids),
              "no ids");
        MDB_cursor* cursor;
        Check(::mdb_cursor_open(m_write, m_records, &cursor), "no cursor");
        MDB_val key = {}, value = {};
        m_nLast = 0;
        if (::mdb_cursor_get(cursor, &key, &value, MDB_LAST) == MDB_SUCCESS) std::memcpy(&m_nLast, key.mv_data, 4);
        ::mdb_cursor_close(cursor);
        Commit();
        Check(::mdb_txn_begin(m_env, nullptr, MDB_RDONLY, &m_read), "no reading");
        Check(::mdb_cursor_open(m_read, m_names, &m_seek), "no cursor");
        ::mdb_txn_reset(m_read);
    }
    void Close() override
    {
        if (!m_env) return;
        MDB_envinfo info;
        ::mdb_env_info(m_env, &info);
        m_nSize = (info.me_last_pgno + 1) * 4096ull;
        ::mdb_cursor_close(m_seek);
        ::mdb_txn_abort(m_read);
        ::mdb_env_close(m_env);
        m_env = nullptr;
    }
    // Its file is as large as its map; this is the part in use.
    uint64_t FileSize(const wchar_t*) override { return m_nSize; }
    bool Compact(const wchar_t*) override { return false; } // but for a copy

    void Import(const Record* records, uint32_t count, std::vector<uint32_t>& numbers) override
    {
        Begin();
        for (uint32_t i = 0; i < count; ++i) numbers.push_back(Put(records[i]));
        Commit();
    }
    uint32_t Insert(const Record& record) override
    {
        Begin();
        const uint32_t number = Put(record);
        Commit();
        return number;
    }
    void Update(uint32_t number, double measure) override
    {
        Begin();
        unsigned char copy[512];
        MDB_val key = ValueOf(number), value = {};
        Check(::mdb_get(m_write, m_records, &key, &value), "no such record");
        std::memcpy(copy, value.mv_data, value.mv_size);
        reinterpret_cast<Packed*>(copy)->measure = measure;
        value.mv_data = copy;
        Check(::mdb_put(m_write, m_records, &key, &value, 0), "cannot update a record");
        Commit();
    }
    void Delete(uint32_t number) override
    {
        Begin();
        Remove(number);
        Commit();
    }
    void DeleteAll(const std::vector<uint32_t>& numbers) override
    {
        Begin();
        for (const uint32_t number : numbers) Remove(number);
        Commit();
    }

    bool CanRead(Form form) override { return form == Form::kColumns; }
    void Walk(Order order, Form, Digest& digest) override
    {
        Check(::mdb_txn_renew(m_read), "no reading");
        MDB_cursor* cursor;
        const MDB_dbi tree = order == Order::kCreation ? m_records : order == Order::kName ? m_names : m_ids;
        Check(::mdb_cursor_open(m_read, tree, &cursor), "no cursor");
        MDB_val key = {}, value = {};
        while (::mdb_cursor_get(cursor, &key, &value, MDB_NEXT) == MDB_SUCCESS) {
            if (order == Order::kCreation)
                Take(value, digest);
            else
                TakeRecord(value, digest);
        }
        ::mdb_cursor_close(cursor);
        ::mdb_txn_reset(m_read);
    }
    void Seek(const wchar_t* name, Form, Digest& digest) override
    {
        Check(::mdb_txn_renew(m_read), "no reading");
        Check(::mdb_cursor_renew(m_read, m_seek), "no cursor");
        MDB_val key = NameKey(name), value = {};
        Check(::mdb_cursor_get(m_seek, &key, &value, MDB_SET), "no such name");
        TakeRecord(value, digest);
        ::mdb_txn_reset(m_read);
    }

private:
    // Big end first and the sign turned round, so that bytes sort as numbers do.
    static uint32_t IdKey(int32_t id) { return __builtin_bswap32(static_cast<uint32_t>(id) ^ 0x80000000); }

    void Begin() { Check(::mdb_txn_begin(m_env, nullptr, 0, &m_write), "no writing"); }
    void Commit() { Check(::mdb_txn_commit(m_write), "cannot commit"); }

    uint32_t Put(const Record& record)
    {
        const uint32_t number = ++m_nLast, id = IdKey(record.id);
        MDB_val key = ValueOf(number), idKey = ValueOf(id), nameKey = NameKey(record.name);
        const uint16_t nameUnits = std::wcslen(record.name), noteUnits = std::wcslen(record.note);
        MDB_val value = {sizeof(Packed) + (nameUnits + noteUnits) * sizeof(wchar_t), nullptr};
        Check(::mdb_put(m_write, m_records, &key, &value, MDB_RESERVE | MDB_APPEND), "cannot insert a record");
        const Packed packed = {record.id, record.kind, record.measure, record.stamp, nameUnits, noteUnits};
        unsigned char* place = static_cast<unsigned char*>(value.mv_data);
        std::memcpy(place, &packed, sizeof packed);
        std::memcpy(place + sizeof packed, record.name, nameUnits * sizeof(wchar_t));
        std::memcpy(place + sizeof packed + nameUnits * sizeof(wchar_t), record.note, noteUnits * sizeof(wchar_t));
        MDB_val data = ValueOf(number);
        Check(::mdb_put(m_write, m_names, &nameKey, &data, 0), "cannot insert a name");
        Check(::mdb_put(m_write, m_ids, &idKey, &data, 0), "cannot insert an id");
        return number;
    }

    void Remove(uint32_t number)
    {
        MDB_val key = ValueOf(number), value = {};
        Check(::mdb_get(m_write, m_records, &key, &value), "no such record");
        unsigned char copy[512];
        std::memcpy(copy, value.mv_data, value.mv_size);
        const Packed& packed = *reinterpret_cast<const Packed*>(copy);
        const uint32_t id = IdKey(packed.id);
        MDB_val idKey = ValueOf(id), nameKey = {packed.nameUnits * sizeof(wchar_t), copy + sizeof packed};
        Check(::mdb_del(m_write, m_ids, &idKey, &key), "cannot delete an id");
        Check(::mdb_del(m_write, m_names, &nameKey, &key), "cannot delete a name");
        Check(::mdb_del(m_write, m_records, &key, nullptr), "cannot delete a record");
    }

    void TakeRecord(MDB_val number, Digest& digest)
    {
        MDB_val value = {};
        Check(::mdb_get(m_read, m_records, &number, &value), "no such record");
        Take(value, digest);
    }
    void Take(const MDB_val& value, Digest& digest)
    {
        const unsigned char* const place = static_cast<const unsigned char*>(value.mv_data);
        Packed packed;
        std::memcpy(&packed, place, sizeof packed);
        std::memcpy(m_name, place + sizeof packed, packed.nameUnits * sizeof(wchar_t));
        std::memcpy(m_note, place + sizeof packed + packed.nameUnits * sizeof(wchar_t),
                    packed.noteUnits * sizeof(wchar_t));
        digest.Add(packed.id, packed.kind, packed.measure, m_name, packed.nameUnits, m_note, packed.noteUnits,
                   packed.stamp);
    }

    MDB_env* m_env = nullptr;
    MDB_txn *m_write = nullptr, *m_read = nullptr;
    MDB_cursor* m_seek = nullptr;
    MDB_dbi m_records = 0, m_names = 0, m_ids = 0;
    uint32_t m_nLast = 0;
    uint64_t m_nSize = 0;
    wchar_t m_name[kNameUnits + 1], m_note[kNoteUnits + 1];
};

} // namespace

std::unique_ptr<Store> MakeLmdbStore()
{
    return std::make_unique<LmdbStore>();
}

} // namespace stores
