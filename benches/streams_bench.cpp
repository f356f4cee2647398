// Encoding and decoding of records beside memcpy, a check-free encoder, cereal and msgpack-cxx.
#include "harness.h"
#include "streams.h"

#include <cstring>
#include <random>

namespace {

std::vector<Record> MakeRecords()
{
    std::mt19937 random(20030423);
    std::vector<Record> records(kDistinct);
    for (Record& record : records) {
        record.kind = static_cast<uint16_t>(random());
        record.number = static_cast<int32_t>(random());
        record.measure = static_cast<double>(random()) / 1024.0;
        record.flag = random() % 2 != 0;
        for (size_t i = 0; i < kTextUnits; ++i) record.text += static_cast<wchar_t>(L'A' + random() % 1000);
    }
    return records;
}

// The peers in the fastest of their two forms.
void JudgeStreams(const bench::Table& table, const char* job, double msgpackLimit, double cerealLimit)
{
    const std::string what = std::string("streams: ") + job + " a record";
    const auto fastest = [&](const char* left, const char* right) {
        return bench::SpreadOf(table[left].times).median <= bench::SpreadOf(table[right].times).median ? left : right;
    };
    bench::Judge(table, what, "memory stream", fastest("msgpack-cxx, block", "msgpack-cxx, sbuffer"),
                 bench::AtLeast(msgpackLimit));
    bench::Judge(table, what, "memory stream", fastest("cereal, memory", "cereal, string stream"),
                 bench::AtLeast(cerealLimit));
    bench::Judge(table, what, "memory stream", "check-free", bench::AtMost(1.4));
}

} // namespace

int main(int argc, char** argv)
{
    bench::Start(argc, argv);
    const std::vector<Record> source = MakeRecords();
    Subjects subjects;
    AddOurs(subjects, source);
    const size_t checkFree = subjects.size();
    AddBounds(subjects, source);
    AddPeers(subjects, source);

    bench::PrintText("## Binary streams\n\n"
                     "1,000,000 records of {unsigned 16-bit, signed 32-bit, double, bool, text of 20 UTF-16 units} in "
                     "a pass, 1,024\n"
                     "different ones in turn. All encode into memory that is already there. Before anything is "
                     "measured every decoder's\n"
                     "records are compared with those encoded, field by field and unit by unit; each pass afterwards "
                     "is checked by sums.\n"
                     "Texts are `CString` for the library and `std::wstring` for the others, and are copied into one "
                     "that is used again.\n\n");

    std::vector<size_t> sizes;
    for (const auto& subject : subjects) {
        sizes.push_back(subject->Encode());
        Sink records(&source);
        subject->Decode(records);
        if (!records.HasAll()) bench::Fail(std::string(subject->Name()) + " does not read what it wrote");
    }
    if (std::memcmp(subjects.front()->Block(), subjects[checkFree]->Block(), sizes.front()) != 0) {
        bench::Fail("the memory stream and the check-free encoder write different bytes");
    }

    std::printf("Bytes a record:");
    for (size_t i = 0; i < subjects.size(); ++i) {
        std::printf("%s %s %.1f", i == 0 ? "" : ",", subjects[i]->Name(), static_cast<double>(sizes[i]) / kRecords);
    }
    std::printf(".\n");

    constexpr double kNanoseconds = 1e9 / kRecords;
    bench::Comparison encoding("Encoding", "ns a record", kNanoseconds);
    for (size_t i = 0; i < subjects.size(); ++i) {
        encoding.Add(subjects[i]->Name(), subjects[i]->EncodesHow(),
                     [&, i] { return subjects[i]->Encode() == sizes[i]; });
    }
    encoding.Run();
    JudgeStreams(encoding.Results(), "encode", 1.6, 3);

    Sink expected;
    subjects.front()->Decode(expected);
    bench::Comparison decoding("Decoding", "ns a record", kNanoseconds);
    for (const auto& subject : subjects) {
        decoding.Add(subject->Name(), subject->DecodesHow(), [&] {
            Sink sink;
            subject->Decode(sink);
            return sink == expected;
        });
    }
    decoding.Run();
    JudgeStreams(decoding.Results(), "decode", 6, 3);
}
