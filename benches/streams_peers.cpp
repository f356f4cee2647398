// cereal and msgpack-cxx, each in the form that people write and in the fastest that it offers.
#include "streams.h"

#include <cereal/archives/binary.hpp>
#include <cereal/types/string.hpp>
#include <msgpack.hpp>

#include <cstring>
#include <sstream>
#include <streambuf>

// Both look for this beside the type.
template <class Archive> void serialize(Archive& archive, Record& record)
{
    archive(record.kind, record.number, record.measure, record.flag, record.text);
}

namespace msgpack {
MSGPACK_API_VERSION_NAMESPACE(MSGPACK_DEFAULT_API_NS)
{
    namespace adaptor {

    // An array of the fields, as its MSGPACK_DEFINE makes; the text's units as binary data, as it has no UTF-16.
    template <> struct pack<Record>
    {
        template <class Stream> packer<Stream>& operator()(packer<Stream>& out, const Record& record) const
        {
            out.pack_array(5).pack(record.kind).pack(record.number).pack(record.measure).pack(record.flag);
            const uint32_t bytes = record.text.size() * sizeof(wchar_t);
            return out.pack_bin(bytes).pack_bin_body(reinterpret_cast<const char*>(record.text.data()), bytes);
        }
    };

    template <> struct convert<Record>
    {
        const msgpack::object& operator()(const msgpack::object& object, Record& record) const
        {
            if (object.type != type::ARRAY || object.via.array.size != 5) throw type_error();
            const msgpack::object* const fields = object.via.array.ptr;
            fields[0].convert(record.kind);
            fields[1].convert(record.number);
            fields[2].convert(record.measure);
            fields[3].convert(record.flag);
            if (fields[4].type != type::BIN) throw type_error();
            const auto& text = fields[4].via.bin;
            record.text.assign(reinterpret_cast<const wchar_t*>(text.ptr), text.size / sizeof(wchar_t));
            return object;
        }
    };

    } // namespace adaptor
}
} // namespace msgpack

namespace {

inline void Give(Sink& sink, const Record& record)
{
    sink.Add(record.kind, record.number, record.measure, record.flag, record.text.data(), record.text.size());
}

// A stream buffer over a block of memory.
class MemoryBuffer : public std::streambuf
{
public:
    MemoryBuffer(unsigned char* block, size_t size)
    {
        char* const start = reinterpret_cast<char*>(block);
        setp(start, start + size);
        setg(start, start, start + size);
    }
    size_t Written() const { return pptr() - pbase(); }
};

class CerealMemory : public Subject
{
public:
    using Subject::Subject;
    const char* Name() const override { return "cereal, memory"; }
    const char* EncodesHow() const override { return "binary archive on a stream buffer over the block"; }
    const char* DecodesHow() const override { return "binary archive on a stream buffer over the block"; }

    size_t Encode() override
    {
        MemoryBuffer buffer(m_block.data(), m_block.size());
        std::ostream stream(&buffer);
        cereal::BinaryOutputArchive archive(stream);
        for (size_t i = 0; i < kRecords; ++i) archive(m_source[i % kDistinct]);
        return buffer.Written();
    }

    void Decode(Sink& sink) override
    {
        MemoryBuffer buffer(m_block.data(), m_block.size());
        std::istream stream(&buffer);
        cereal::BinaryInputArchive archive(stream);
        Record record;
        for (size_t i = 0; i < kRecords; ++i) {
            archive(record);
            Give(sink, record);
        }
    }
};

class CerealStringStream : public Subject
{
public:
    using Subject::Subject;
    const char* Name() const override { return "cereal, string stream"; }
    const char* EncodesHow() const override { return "binary archive on a `std::stringstream`, as its manual does"; }
    const char* DecodesHow() const override { return "binary archive on a `std::stringstream`, as its manual does"; }

    size_t Encode() override
    {
        // The memory of the pass before is used again.
        m_stream.clear();
        m_stream.seekp(0);
        cereal::BinaryOutputArchive archive(m_stream);
        for (size_t i = 0; i < kRecords; ++i) archive(m_source[i % kDistinct]);
        return static_cast<size_t>(m_stream.tellp());
    }

    void Decode(Sink& sink) override
    {
        m_stream.clear();
        m_stream.seekg(0);
        cereal::BinaryInputArchive archive(m_stream);
        Record record;
        for (size_t i = 0; i < kRecords; ++i) {
            archive(record);
            Give(sink, record);
        }
    }

private:
    std::stringstream m_stream{std::ios::in | std::ios::out | std::ios::binary};
};

// Its packer writes to anything that has write.
class BlockWriter
{
public:
    explicit BlockWriter(unsigned char* start) : m_pStart(start), m_pEnd(start) {}
    void write(const char* data, size_t bytes)
    {
        std::memcpy(m_pEnd, data, bytes);
        m_pEnd += bytes;
    }
    size_t Written() const { return m_pEnd - m_pStart; }

private:
    unsigned char* m_pStart;
    unsigned char* m_pEnd;
};

// Takes the values as they are parsed; nothing is made in between.
class RecordVisitor : public msgpack::null_visitor
{
public:
    explicit RecordVisitor(Sink& sink) : m_rSink(sink) {}
    bool start_array(uint32_t)
    {
        m_nField = 0;
        return true;
    }
    bool end_array()
    {
        m_rSink.Add(m_kind, m_number, m_measure, m_flag, m_text.data(), m_text.size());
        return true;
    }
    bool end_array_item()
    {
        ++m_nField;
        return true;
    }
    bool visit_positive_integer(uint64_t value)
    {
        if (m_nField == 0) m_kind = static_cast<uint16_t>(value);
        return m_nField == 0 || TakeNumber(value);
    }
    bool visit_negative_integer(int64_t value) { return TakeNumber(value); }
    bool visit_float64(double value)
    {
        m_measure = value;
        return m_nField == 2;
    }
    bool visit_boolean(bool value)
    {
        m_flag = value;
        return m_nField == 3;
    }
    bool visit_bin(const char* data, uint32_t bytes)
    {
        m_text.assign(reinterpret_cast<const wchar_t*>(data), bytes / sizeof(wchar_t));
        return m_nField == 4;
    }

private:
    // The packer makes an integer of a double that has no fraction.
    template <class T> bool TakeNumber(T value)
    {
        if (m_nField == 1) m_number = static_cast<int32_t>(value);
        if (m_nField == 2) m_measure = static_cast<double>(value);
        return m_nField == 1 || m_nField == 2;
    }

    Sink& m_rSink;
    unsigned m_nField = 0;
    uint16_t m_kind = 0;
    int32_t m_number = 0;
    double m_measure = 0;
    bool m_flag = false;
    std::wstring m_text;
};

class MsgpackVisited : public Subject
{
public:
    using Subject::Subject;
    const char* Name() const override { return "msgpack-cxx, block"; }
    const char* EncodesHow() const override { return "its packer into the block, no check of room"; }
    const char* DecodesHow() const override { return "its parser with a visitor, no objects made"; }

    size_t Encode() override
    {
        BlockWriter block(m_block.data());
        msgpack::packer<BlockWriter> out(block);
        for (size_t i = 0; i < kRecords; ++i) out.pack(m_source[i % kDistinct]);
        return m_nSize = block.Written();
    }

    void Decode(Sink& sink) override
    {
        RecordVisitor visitor(sink);
        const char* const data = reinterpret_cast<const char*>(m_block.data());
        for (size_t offset = 0; offset < m_nSize && msgpack::parse(data, m_nSize, offset, visitor);) {
        }
    }

private:
    size_t m_nSize = 0;
};

class MsgpackObjects : public Subject
{
public:
    using Subject::Subject;
    const char* Name() const override { return "msgpack-cxx, sbuffer"; }
    const char* EncodesHow() const override { return "its packer into its `sbuffer`, as its manual does"; }
    const char* DecodesHow() const override { return "`unpack`, then `convert`, as its manual does"; }

    size_t Encode() override
    {
        m_buffer.clear();
        msgpack::packer<msgpack::sbuffer> out(m_buffer);
        for (size_t i = 0; i < kRecords; ++i) out.pack(m_source[i % kDistinct]);
        return m_buffer.size();
    }

    void Decode(Sink& sink) override
    {
        Record record;
        msgpack::object_handle handle;
        for (size_t offset = 0; offset < m_buffer.size();) {
            msgpack::unpack(handle, m_buffer.data(), m_buffer.size(), offset);
            handle.get().convert(record);
            Give(sink, record);
        }
    }

private:
    // Large enough from the start.
    msgpack::sbuffer m_buffer{kRecords * kRecordRoom};
};

} // namespace

void AddPeers(Subjects& subjects, const std::vector<Record>& source)
{
    subjects.push_back(std::make_unique<CerealMemory>(source));
    subjects.push_back(std::make_unique<CerealStringStream>(source));
    subjects.push_back(std::make_unique<MsgpackVisited>(source));
    subjects.push_back(std::make_unique<MsgpackObjects>(source));
}
