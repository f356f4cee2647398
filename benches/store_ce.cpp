// The device's calls, as a program without the library uses them.
#include "store_catalogue.h"

#include <korvanebatch.h>

#include <cwchar>

namespace stores {

namespace {

class CeStore : public Store
{
public:
    ~CeStore() override { Close(); }

    void Create(const wchar_t* path, uint32_t tables) override
    {
        MakeVolume(path, tables);
        Open(path, tables);
    }

    // The databases' descriptions tell their properties only as far as they are sorted by: less than a catalogue.
    void Open(const wchar_t* path, uint32_t tables) override
    {
        Must(::CeMountDBVol(&m_volume, const_cast<wchar_t*>(path), OPEN_EXISTING), "cannot mount a volume");
        const HANDLE all = ::CeFindFirstDatabaseEx(&m_volume, 0);
        uint32_t found = 0;
        CEOIDINFO info;
        while (const CEOID oid = ::CeFindNextDatabaseEx(all, nullptr)) {
            Must(::CeOidGetInfoEx(&m_volume, oid, &info), "cannot describe a database");
            found += std::wcsncmp(info.infDatabase.szDbaseName, L"records", 7) == 0;
        }
        CloseHandle(all);
        Must(found == tables, "not all tables are there");
        const CEPROPID orders[] = {0, kNameProperty, kIdProperty};
        wchar_t name[CEDB_MAXDBASENAMELEN];
        TableName(0, name);
        for (const Order order : kOrders) {
            CEOID oid = 0;
            HANDLE& handle = m_handles[static_cast<int>(order)];
            // The order of creation moves on by itself; so do the others, but for seeks.
            handle =
                ::CeOpenDatabaseEx(&m_volume, &oid, name, orders[static_cast<int>(order)], CEDB_AUTOINCREMENT, nullptr);
            Must(handle != INVALID_HANDLE_VALUE, "cannot open a database");
        }
    }
    void Close() override
    {
        if (!m_handles[0]) return;
        for (HANDLE& handle : m_handles) {
            CloseHandle(handle);
            handle = nullptr;
        }
        Must(::CeUnmountDBVol(&m_volume), "cannot unmount a volume");
    }
    uint64_t FileSize(const wchar_t* path) override { return SizeOf(path); }
    bool Compact(const wchar_t* path) override
    {
        CompactVolume(path);
        return true;
    }

    void Import(const Record* records, uint32_t count, std::vector<uint32_t>& numbers) override
    {
        Must(::CeBeginBatch(&m_volume), "cannot begin a batch");
        for (uint32_t i = 0; i < count; ++i) numbers.push_back(Insert(records[i]));
        Must(::CeCommitBatch(&m_volume), "cannot commit a batch");
    }

    void DeleteAll(const std::vector<uint32_t>& numbers) override
    {
        Must(::CeBeginBatch(&m_volume), "cannot begin a batch");
        for (const uint32_t number : numbers) Delete(number);
        Must(::CeCommitBatch(&m_volume), "cannot commit a batch");
    }

    uint32_t Insert(const Record& record) override
    {
        CEPROPVAL values[kFields] = {};
        for (int i = 0; i < kFields; ++i) values[i].propid = kProperties[i];
        values[0].val.lVal = record.id;
        values[1].val.uiVal = record.kind;
        values[2].val.dblVal = record.measure;
        values[3].val.lpwstr = const_cast<wchar_t*>(record.name);
        values[4].val.lpwstr = const_cast<wchar_t*>(record.note);
        values[5].val.filetime = {static_cast<DWORD>(record.stamp), static_cast<DWORD>(record.stamp >> 32)};
        const CEOID oid = ::CeWriteRecordProps(m_handles[0], 0, kFields, values);
        Must(oid != 0, "cannot insert a record");
        return oid;
    }
    void Update(uint32_t number, double measure) override
    {
        CEPROPVAL value = {};
        value.propid = kProperties[2];
        value.val.dblVal = measure;
        Must(::CeWriteRecordProps(m_handles[0], number, 1, &value) != 0, "cannot update a record");
    }
    void Delete(uint32_t number) override { Must(::CeDeleteRecord(m_handles[0], number), "cannot delete a record"); }

    bool CanRead(Form form) override { return form == Form::kColumns; }
    void Walk(Order order, Form, Digest& digest) override
    {
        const HANDLE handle = m_handles[static_cast<int>(order)];
        ::CeSeekDatabase(handle, CEDB_SEEK_BEGINNING, 0, nullptr);
        while (Read(handle, digest)) {
        }
        Must(::GetLastError() == ERROR_NO_MORE_ITEMS, "cannot read a record");
    }
    void Seek(const wchar_t* name, Form, Digest& digest) override
    {
        const HANDLE handle = m_handles[static_cast<int>(Order::kName)];
        CEPROPVAL value = {};
        value.propid = kNameProperty;
        value.val.lpwstr = const_cast<wchar_t*>(name);
        Must(::CeSeekDatabase(handle, CEDB_SEEK_VALUEFIRSTEQUAL, reinterpret_cast<DWORD>(&value), nullptr) != 0 &&
                 Read(handle, digest),
             "cannot find a name");
    }

private:
    bool Read(HANDLE handle, Digest& digest)
    {
        WORD count = kFields;
        BYTE* room = m_room;
        DWORD size = sizeof m_room;
        if (!::CeReadRecordProps(handle, 0, &count, const_cast<CEPROPID*>(kProperties), &room, &size)) return false;
        const CEPROPVAL* const values = reinterpret_cast<const CEPROPVAL*>(m_room);
        const wchar_t* const name = values[3].val.lpwstr;
        const wchar_t* const note = values[4].val.lpwstr;
        const FILETIME time = values[5].val.filetime;
        digest.Add(values[0].val.lVal, values[1].val.uiVal, values[2].val.dblVal, name,
                   name[kNameUnits] == 0 ? kNameUnits : 0, note, note[kNoteUnits] == 0 ? kNoteUnits : 0,
                   time.dwLowDateTime | static_cast<uint64_t>(time.dwHighDateTime) << 32);
        return true;
    }

    CEGUID m_volume;
    HANDLE m_handles[std::size(kOrders)] = {};
    alignas(8) BYTE m_room[1024];
};

} // namespace

std::unique_ptr<Store> MakeCeStore()
{
    return std::make_unique<CeStore>();
}

} // namespace stores
