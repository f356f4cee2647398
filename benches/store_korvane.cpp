// The library's tables and rows.
#include "store_catalogue.h"

#include "korvanelib.h"

#include <korvanebatch.h>

#include <optional>

namespace stores {

namespace {

void MustBe(long result, const char* what)
{
    Must(result == 0, what);
}

class KorvaneStore : public Store
{
public:
    void Create(const wchar_t* path, uint32_t tables) override
    {
        MakeVolume(path, tables);
        Open(path, tables);
    }
    void Open(const wchar_t* path, uint32_t) override
    {
        m_connection.emplace();
        MustBe(m_connection->Open(path), "cannot open a volume");
        MustBe(m_connection->OpenTable(L"records", m_rows[0]), "cannot open a table");
    }
    void Close() override
    {
        for (auto& row : m_rows) row = nullptr;
        m_connection.reset();
    }
    uint64_t FileSize(const wchar_t* path) override { return SizeOf(path); }
    bool Compact(const wchar_t* path) override
    {
        CompactVolume(path);
        return true;
    }

    void Import(const Record* records, uint32_t count, std::vector<uint32_t>& numbers) override
    {
        Must(::CeBeginBatch(m_connection->GetVolGUID()), "cannot begin a batch");
        for (uint32_t i = 0; i < count; ++i) numbers.push_back(Insert(records[i]));
        Must(::CeCommitBatch(m_connection->GetVolGUID()), "cannot commit a batch");
    }

    void DeleteAll(const std::vector<uint32_t>& numbers) override
    {
        Must(::CeBeginBatch(m_connection->GetVolGUID()), "cannot begin a batch");
        for (const uint32_t number : numbers) Delete(number);
        Must(::CeCommitBatch(m_connection->GetVolGUID()), "cannot commit a batch");
    }

    uint32_t Insert(const Record& record) override
    {
        KorvaneDB::CRow& row = *m_rows[0];
        _variant_t id(static_cast<long>(record.id), VT_I4), kind(record.kind), measure(record.measure, VT_R8),
            name(record.name), note(record.note), stamp(DateFromStamp(record.stamp), VT_DATE);
        row.AddNew();
        _variant_t* const values[] = {&id, &kind, &measure, &name, &note, &stamp};
        for (int i = 0; i < kFields; ++i) MustBe(row.setVal(i, *values[i]), "cannot set a value");
        MustBe(row.WriteToDB(), "cannot insert a record");
        return row.getBookmark();
    }

    void Update(uint32_t number, double measure) override
    {
        KorvaneDB::CRow& row = *m_rows[0];
        _variant_t value(measure, VT_R8);
        MustBe(row.setBookmark(number), "cannot find a record");
        MustBe(row.ReadFromDB(), "cannot read a record");
        MustBe(row.setVal(2, value), "cannot set a value");
        MustBe(row.WriteToDB(), "cannot update a record");
    }

    void Delete(uint32_t number) override
    {
        KorvaneDB::CRow& row = *m_rows[0];
        MustBe(row.setBookmark(number), "cannot find a record");
        MustBe(row.Delete(), "cannot delete a record");
    }

    bool CanRead(Form form) override { return form == Form::kVariants; }
    void Walk(Order order, Form, Digest& digest) override
    {
        KorvaneDB::CRow& row = Row(order);
        for (long hr = row.MoveFirst(); hr >= 0 && !row.IsEOF(); hr = row.MoveNext()) Read(row, digest);
    }

    void Seek(const wchar_t* name, Form, Digest& digest) override
    {
        KorvaneDB::CRow& row = Row(Order::kName);
        MustBe(row.Seek(KorvaneDB::SeekValueFirstEqual, _variant_t(name)), "cannot find a name");
        Read(row, digest);
    }

private:
    KorvaneDB::CRow& Row(Order order)
    {
        auto& row = m_rows[static_cast<int>(order)];
        if (!row) {
            MustBe(m_connection->OpenTable(L"records", row), "cannot open a table");
            MustBe(row->SetIndex(order == Order::kName ? L"name" : L"id"), "cannot set an index");
        }
        return *row;
    }

    void Read(KorvaneDB::CRow& row, Digest& digest)
    {
        MustBe(row.ReadFromDB(), "cannot read a record");
        for (int i = 0; i < kFields; ++i) row.getVal(i, m_values[i]);
        digest.Add(m_values);
    }

    std::optional<KorvaneDB::CConnection> m_connection;
    CSmartPtr<KorvaneDB::CRow> m_rows[std::size(kOrders)];
    _variant_t m_values[kFields];
};

} // namespace

std::unique_ptr<Store> MakeKorvaneStore()
{
    return std::make_unique<KorvaneStore>();
}

} // namespace stores
