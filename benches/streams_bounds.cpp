// The bounds: what the format itself costs, and what moving its bytes costs.
#include "streams.h"

#include <cstring>

namespace {

template <class T> inline void Put(unsigned char*& place, const T& value)
{
    std::memcpy(place, &value, sizeof value);
    place += sizeof value;
}

template <class T> inline T Take(const unsigned char*& place)
{
    T value;
    std::memcpy(&value, place, sizeof value);
    place += sizeof value;
    return value;
}

// The least that the format allows.
class CheckFree : public Subject
{
public:
    using Subject::Subject;
    const char* Name() const override { return "check-free"; }
    const char* EncodesHow() const override
    {
        return "the same bytes, inlined copies of the fields, text of known length; no check of room, no stream";
    }
    const char* DecodesHow() const override
    {
        return "the same bytes, inlined copies, text into an array in the record; no check of what is left";
    }

    size_t Encode() override
    {
        unsigned char* place = m_block.data();
        for (size_t i = 0; i < kRecords; ++i) {
            const Record& record = m_source[i % kDistinct];
            Put(place, record.kind);
            Put(place, record.number);
            Put(place, record.measure);
            Put(place, static_cast<uint16_t>(record.flag));
            const uint32_t units = record.text.size();
            Put(place, units);
            std::memcpy(place, record.text.data(), units * sizeof(wchar_t));
            place += units * sizeof(wchar_t);
        }
        return place - m_block.data();
    }

    void Decode(Sink& sink) override
    {
        const unsigned char* place = m_block.data();
        wchar_t text[kTextUnits];
        for (size_t i = 0; i < kRecords; ++i) {
            const auto kind = Take<uint16_t>(place);
            const auto number = Take<int32_t>(place);
            const auto measure = Take<double>(place);
            const auto flag = Take<uint16_t>(place);
            const auto units = Take<uint32_t>(place);
            std::memcpy(text, place, units * sizeof(wchar_t));
            place += units * sizeof(wchar_t);
            sink.Add(kind, number, measure, flag != 0, text, units);
        }
    }
};

// No encoding at all.
class PlainCopy : public Subject
{
public:
    PlainCopy(const std::vector<Record>& source, const Subject& encoded) : Subject(source), m_rEncoded(encoded) {}
    const char* Name() const override { return "`memcpy`"; }
    const char* EncodesHow() const override { return "the 60 bytes of each record, encoded before, copied"; }
    const char* DecodesHow() const override { return "the 60 bytes of each record copied, fields at known places"; }

    size_t Encode() override
    {
        for (size_t i = 0; i < kRecords; ++i) {
            std::memcpy(&m_block[i * kBytes], m_rEncoded.Block() + i % kDistinct * kBytes, kBytes);
        }
        return kRecords * kBytes;
    }

    void Decode(Sink& sink) override
    {
#pragma pack(push, 1)
        struct
        {
            uint16_t kind;
            int32_t number;
            double measure;
            uint16_t flag;
            uint32_t units;
            wchar_t text[kTextUnits];
        } record;
#pragma pack(pop)
        static_assert(sizeof record == kBytes);
        for (size_t i = 0; i < kRecords; ++i) {
            std::memcpy(&record, &m_block[i * kBytes], kBytes);
            sink.Add(record.kind, record.number, record.measure, record.flag != 0, record.text, record.units);
        }
    }

private:
    static constexpr size_t kBytes = 60;
    const Subject& m_rEncoded;
};

} // namespace

void AddBounds(Subjects& subjects, const std::vector<Record>& source)
{
    subjects.push_back(std::make_unique<CheckFree>(source));
    subjects.push_back(std::make_unique<PlainCopy>(source, *subjects.back()));
}
