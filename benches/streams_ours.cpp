// The library's memory streams, used as their header's sample does.
#include "streams.h"

#include "korvanelib.h"

namespace {

class Ours : public Subject
{
public:
    explicit Ours(const std::vector<Record>& source) : Subject(source)
    {
        for (const Record& record : source) {
            m_own.push_back({record.kind, record.number, record.measure, record.flag, CString(record.text.c_str())});
        }
    }
    const char* Name() const override { return "memory stream"; }
    const char* EncodesHow() const override
    {
        return "`CByteOutputStream`, each field with `<<`, the text a `CString`";
    }
    const char* DecodesHow() const override { return "`CByteInputStream`, each field with `>>`, the text a `CString`"; }

    size_t Encode() override
    {
        CByteOutputStream out(m_block.data(), m_block.size());
        WriteAll(out);
        return out.getError() == 0 ? out.getDataSize() : 0;
    }

    void Decode(Sink& sink) override
    {
        KorvaneIO::CByteInputStream in(m_block.data(), m_block.size());
        ReadAll(in, sink);
    }

protected:
    // Stream: the class itself where the host has the stream at hand, the interface where it was handed one.
    template <class Stream> void WriteAll(Stream& out) const
    {
        for (size_t i = 0; i < kRecords; ++i) {
            const auto& record = m_own[i % kDistinct];
            out << record.kind << record.number << record.measure << record.flag << record.text;
        }
    }

    template <class Stream> static void ReadAll(Stream& in, Sink& sink)
    {
        BasicRecord<CString> record;
        for (size_t i = 0; i < kRecords && in.getError() == 0; ++i) {
            in >> record.kind >> record.number >> record.measure >> record.flag >> record.text;
            sink.Add(record.kind, record.number, record.measure, record.flag, record.text, record.text.GetLength());
        }
    }

private:
    std::vector<BasicRecord<CString>> m_own;
};

class OursHandedOn : public Ours
{
public:
    using Ours::Ours;
    const char* Name() const override { return "handed on"; }
    const char* EncodesHow() const override { return "the same, as a `COutputStream&` of unknown class"; }
    const char* DecodesHow() const override { return "the same, as a `CInputStream&` of unknown class"; }

    size_t Encode() override
    {
        CByteOutputStream out(m_block.data(), m_block.size());
        m_pWriteAll(*this, out);
        return out.getError() == 0 ? out.getDataSize() : 0;
    }

    void Decode(Sink& sink) override
    {
        KorvaneIO::CByteInputStream in(m_block.data(), m_block.size());
        m_pReadAll(in, sink);
    }

private:
    // Through pointers that the compiler cannot see through, as if in another source file.
    static void Write(const OursHandedOn& self, COutputStream& out) { self.WriteAll(out); }
    static void Read(KorvaneIO::CInputStream& in, Sink& sink) { ReadAll(in, sink); }
    void (*volatile m_pWriteAll)(const OursHandedOn&, COutputStream&) = Write;
    void (*volatile m_pReadAll)(KorvaneIO::CInputStream&, Sink&) = Read;
};

// A host's own streams: their slots are honoured, so every byte goes through one.
class CountingOutput : public CByteOutputStream
{
public:
    using CByteOutputStream::CByteOutputStream;
    void WriteByte(unsigned char value) override
    {
        ++m_nBytes;
        CByteOutputStream::WriteByte(value);
    }
    size_t m_nBytes = 0;
};

class CountingInput : public KorvaneIO::CByteInputStream
{
public:
    using CByteInputStream::CByteInputStream;
    unsigned char ReadByte() override
    {
        ++m_nBytes;
        return CByteInputStream::ReadByte();
    }
    size_t m_nBytes = 0;
};

class OursOverridden : public Ours
{
public:
    using Ours::Ours;
    const char* Name() const override { return "a subclass of it"; }
    const char* EncodesHow() const override { return "overrides `WriteByte` to count: each byte through the slot"; }
    const char* DecodesHow() const override { return "overrides `ReadByte` to count: each byte through the slot"; }

    size_t Encode() override
    {
        CountingOutput out(m_block.data(), m_block.size());
        WriteAll(out);
        m_nBytes = out.m_nBytes;
        return out.getError() == 0 && out.getDataSize() == m_nBytes ? m_nBytes : 0;
    }

    void Decode(Sink& sink) override
    {
        CountingInput in(m_block.data(), m_block.size());
        ReadAll(in, sink);
        if (in.m_nBytes != m_nBytes) sink = Sink();
    }

private:
    size_t m_nBytes = 0;
};

} // namespace

void AddOurs(Subjects& subjects, const std::vector<Record>& source)
{
    subjects.push_back(std::make_unique<Ours>(source));
    subjects.push_back(std::make_unique<OursHandedOn>(source));
    subjects.push_back(std::make_unique<OursOverridden>(source));
}
