// What the streams bench encodes and decodes, and the shape of its subjects.
//
// The rules are the same for all: an encoder writes all records into memory that is already there; a decoder reads them
// one by one into a record that is used again, and hands each to the Sink. The text is of the kind that the subject's
// users have: a CString for ours, a std::wstring for the others.
#ifndef KORVANE_BENCHES_STREAMS_H
#define KORVANE_BENCHES_STREAMS_H

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

constexpr size_t kRecords = 1000000; // in a pass
constexpr size_t kDistinct = 1024;   // different ones, which come in turn
constexpr size_t kTextUnits = 20;
constexpr size_t kRecordRoom = 64; // bytes; no subject's record takes more

template <class Text> struct BasicRecord
{
    uint16_t kind = 0;
    int32_t number = 0;
    double measure = 0;
    bool flag = false;
    Text text;
};
using Record = BasicRecord<std::wstring>;

// Takes in what a decoder has read. It sums up every field, of the text the ends, which costs next to nothing beside
// the decoding; while `due` is given it also compares everything with the records that must come.
class Sink
{
public:
    explicit Sink(const std::vector<Record>* due = nullptr) : m_pDue(due) {}
    void Add(uint16_t kind, int32_t number, double measure, bool flag, const wchar_t* text, size_t units)
    {
        if (units != 0) m_nSum += text[0] + text[units - 1];
        m_nSum += kind + static_cast<uint32_t>(number) + flag + units;
        m_dSum += measure;
        if (m_pDue != nullptr) {
            const Record& due = (*m_pDue)[m_nCount++ % kDistinct];
            m_bSame = m_bSame && kind == due.kind && number == due.number && measure == due.measure &&
                      flag == due.flag && due.text.compare(0, std::wstring::npos, text, units) == 0;
        }
    }
    bool HasAll() const { return m_bSame && m_nCount == kRecords; }
    bool operator==(const Sink& other) const { return m_nSum == other.m_nSum && m_dSum == other.m_dSum; }

private:
    const std::vector<Record>* m_pDue;
    size_t m_nCount = 0;
    bool m_bSame = true;
    uint32_t m_nSum = 0;
    double m_dSum = 0;
};

class Subject
{
public:
    explicit Subject(const std::vector<Record>& source) : m_source(source) {}
    virtual ~Subject() = default;
    virtual const char* Name() const = 0;
    virtual const char* EncodesHow() const = 0;
    virtual const char* DecodesHow() const = 0;
    // Writes all records; the bytes they took.
    virtual size_t Encode() = 0;
    virtual void Decode(Sink& sink) = 0;

    const unsigned char* Block() const { return m_block.data(); }

protected:
    const std::vector<Record>& m_source;
    // Filled once, so that all of it is in memory before anything is measured.
    std::vector<unsigned char> m_block = std::vector<unsigned char>(kRecords * kRecordRoom);
};

using Subjects = std::vector<std::unique_ptr<Subject>>;
void AddOurs(Subjects& subjects, const std::vector<Record>& source);   // ours comes first
void AddBounds(Subjects& subjects, const std::vector<Record>& source); // the same bytes without any check
void AddPeers(Subjects& subjects, const std::vector<Record>& source);

#endif
