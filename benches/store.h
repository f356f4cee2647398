// What the record-store bench stores and reads, and the shape of its subjects.
//
// The rules are the same for all: reading a record means taking all six fields, both texts copied, into something of the
// caller's, and adding them to a Digest. Whatever goes wrong ends the program.
#ifndef KORVANE_BENCHES_STORE_H
#define KORVANE_BENCHES_STORE_H

#include <windows.h>

#include <oleauto.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace stores {

constexpr uint32_t kNameUnits = 20;
constexpr uint32_t kNoteUnits = 60;

struct Record
{
    int32_t id; // indexed, each once
    uint16_t kind;
    double measure;               // whole 1024ths, so that sums of them are exact
    wchar_t name[kNameUnits + 1]; // indexed; small letters, which every order sorts alike
    wchar_t note[kNoteUnits + 1]; // letters and blanks
    uint64_t stamp;               // a FILETIME on a whole second
};

// The record of a serial number: random, and always the same.
Record MakeRecord(uint32_t serial);

// What was read. The hash tells another order and another value in any field apart, of the texts the ends.
class Digest
{
public:
    void Add(int32_t id, uint16_t kind, double measure, const wchar_t* name, uint32_t nameUnits, const wchar_t* note,
             uint32_t noteUnits, uint64_t stamp)
    {
        if (nameUnits == 0 || noteUnits == 0) return;
        ++m_nCount;
        m_nIds += id;
        m_dMeasures += measure;
        m_nHash = m_nHash * 31 + static_cast<uint32_t>(id) + kind + name[0] + name[nameUnits - 1] + nameUnits +
                  note[0] + note[noteUnits - 1] + noteUnits + static_cast<uint32_t>(stamp) +
                  static_cast<uint32_t>(stamp >> 32);
    }
    // The fields as variants, in the order of Record.
    void Add(const VARIANT* fields);
    bool operator==(const Digest& other) const { return m_nHash == other.m_nHash && HasSums(other); }
    bool operator!=(const Digest& other) const { return !(*this == other); }
    // The same records, in whatever order; only the ids and measures are looked at.
    bool HasSums(const Digest& other) const
    {
        return m_nCount == other.m_nCount && m_nIds == other.m_nIds && m_dMeasures == other.m_dMeasures;
    }

private:
    uint32_t m_nCount = 0, m_nIds = 0, m_nHash = 0;
    double m_dMeasures = 0;
};

enum class Order
{
    kCreation,
    kName,
    kId
};
constexpr Order kOrders[] = {Order::kCreation, Order::kName, Order::kId};

// What records are read into.
enum class Form
{
    kColumns, // the caller's own fields and arrays
    kVariants // VARIANTs of I4, UI2, R8, BSTR, BSTR and DATE
};

// One file with one table `records` (MakeCatalogue: with several tables of its kind).
class Store
{
public:
    virtual ~Store() = default;

    // A new file in place of what is there, with as many empty tables; the first is open then.
    virtual void Create(const wchar_t* path, uint32_t tables) = 0;
    // Opens a file and reads what there is to know of its tables; the first is open then.
    virtual void Open(const wchar_t* path, uint32_t tables) = 0;
    virtual void Close() = 0;
    virtual uint64_t FileSize(const wchar_t* path) = 0; // of a closed one
    // Gives the free space of a closed file back. False: it has no means for that.
    virtual bool Compact(const wchar_t* path) = 0;

    // Stores records in one transaction; their numbers are appended.
    virtual void Import(const Record* records, uint32_t count, std::vector<uint32_t>& numbers) = 0;
    // Deletes records in one transaction.
    virtual void DeleteAll(const std::vector<uint32_t>& numbers) = 0;
    // Each a transaction of its own. Insert returns the record's number.
    virtual uint32_t Insert(const Record& record) = 0;
    virtual void Update(uint32_t number, double measure) = 0;
    virtual void Delete(uint32_t number) = 0;

    virtual bool CanRead(Form form) = 0;
    virtual void Walk(Order order, Form form, Digest& digest) = 0;
    virtual void Seek(const wchar_t* name, Form form, Digest& digest) = 0;
};

// A DATE from a FILETIME, as a host makes it.
double DateFromStamp(uint64_t stamp);

std::unique_ptr<Store> MakeKorvaneStore(); // KorvaneDB
std::unique_ptr<Store> MakeCeStore();      // the device's calls
std::unique_ptr<Store> MakeLmdbStore();

} // namespace stores

#endif
