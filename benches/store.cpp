#include "store.h"

namespace stores {

namespace {

class Random
{
public:
    explicit Random(uint32_t seed) : m_nState(seed * 0x9E3779B97F4A7C15u + 0xD1B54A32D192ED03u) {}
    uint32_t Next()
    {
        m_nState ^= m_nState << 13;
        m_nState ^= m_nState >> 7;
        m_nState ^= m_nState << 17;
        return static_cast<uint32_t>(m_nState >> 32);
    }

private:
    uint64_t m_nState;
};

constexpr uint64_t kSecond = 10000000;             // in a FILETIME
constexpr uint64_t kYear2000 = 125911584000000000; // as a FILETIME

} // namespace

Record MakeRecord(uint32_t serial)
{
    Random random(serial);
    Record record = {};
    record.id = static_cast<int32_t>(serial * 2654435761u);
    record.kind = static_cast<uint16_t>(random.Next());
    record.measure = static_cast<double>(random.Next()) / 1024;
    for (uint32_t i = 0; i < kNameUnits; ++i) record.name[i] = static_cast<wchar_t>(L'a' + random.Next() % 26);
    for (uint32_t i = 0; i < kNoteUnits; ++i) {
        const uint32_t letter = random.Next() % 32;
        record.note[i] = static_cast<wchar_t>(letter < 26 ? L'a' + letter : L' ');
    }
    record.stamp = kYear2000 + random.Next() % 800000000 * kSecond;
    return record;
}

void Digest::Add(const VARIANT* fields)
{
    if (fields[0].vt != VT_I4 || fields[1].vt != VT_UI2 || fields[2].vt != VT_R8 || fields[3].vt != VT_BSTR ||
        fields[4].vt != VT_BSTR || fields[5].vt != VT_DATE) {
        return;
    }
    uint64_t bits;
    static_assert(sizeof bits == sizeof fields[5].date);
    __builtin_memcpy(&bits, &fields[5].date, sizeof bits);
    Add(fields[0].lVal, fields[1].uiVal, fields[2].dblVal, fields[3].bstrVal, ::SysStringLen(fields[3].bstrVal),
        fields[4].bstrVal, ::SysStringLen(fields[4].bstrVal), bits);
}

double DateFromStamp(uint64_t stamp)
{
    const FILETIME time = {static_cast<DWORD>(stamp), static_cast<DWORD>(stamp >> 32)};
    SYSTEMTIME parts;
    double date = 0;
    if (!::FileTimeToSystemTime(&time, &parts) || !::SystemTimeToVariantTime(&parts, &date)) return 0;
    return date;
}

} // namespace stores
