// Bad input for the streams: everything cut short everywhere, sizes that lie, and random bytes, all between pages that
// cannot be touched.
#include "korvanelib.h"

#include "stream_support.h"
#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <random>

using KorvaneIO::CByteInputStream;
using KorvaneIO::CInputStream;

namespace {

constexpr unsigned char kCanary = 0xC7;

// A value between bytes that nobody may change.
template <class T> struct CBetweenCanaries
{
    CBetweenCanaries() { std::memset(before, kCanary, 16), std::memset(after, kCanary, 16); }
    bool IsIntact() const
    {
        for (int i = 0; i < 16; ++i) {
            if (before[i] != kCanary || after[i] != kCanary) return false;
        }
        return true;
    }

    unsigned char before[16];
    T value{};
    unsigned char after[16];
};

// The bits of what was read, so that two readings can be compared.
template <class T> std::string Bits(const T& value)
{
    return Hex(reinterpret_cast<const unsigned char*>(&value), sizeof value);
}

std::string Bits(const CString& text)
{
    return Hex(reinterpret_cast<const unsigned char*>(static_cast<LPCTSTR>(text)), text.GetLength() * sizeof(TCHAR));
}

std::string Bits(const _variant_t& value)
{
    std::string bits = std::to_string(value.vt) + ":";
    switch (value.vt) {
    case VT_BSTR:
        return bits + Bits(CString(value.bstrVal));
    case VT_R8:
    case VT_DATE:
        return bits + Bits(value.dblVal);
    case VT_R4:
    case VT_I4:
    case VT_UI4:
        return bits + Bits(value.lVal);
    case VT_I2:
    case VT_UI2:
    case VT_BOOL:
        return bits + Bits(value.iVal);
    case VT_I1:
    case VT_UI1:
        return bits + Bits(value.bVal);
    default:
        return bits;
    }
}

template <class T> std::string ReadOne(CInputStream& in)
{
    CBetweenCanaries<T> target;
    in >> target.value;
    EXPECT_TRUE(target.IsIntact());
    return Bits(target.value);
}

std::string ReadArrayOf(CInputStream& in)
{
    CBetweenCanaries<CSizedArray> target;
    const int result = in.readArray(target.value);
    EXPECT_TRUE(target.IsIntact());
    // A size that lies leaves a large block, of which what lies behind the bytes read means nothing.
    const bool isWhole = result == 1 && target.value.isEmpty() == 0 && target.value.getSize() < 0x10000;
    return std::to_string(result) + ":" + std::to_string(target.value.getSize()) + ":" +
           (isWhole ? Hex(target.value.getData(), target.value.getSize()) : std::string());
}

std::string ReadBytesOf(CInputStream& in)
{
    CBetweenCanaries<unsigned char[7]> target;
    const int done = in.ReadBytes(target.value, sizeof target.value);
    EXPECT_TRUE(target.IsIntact());
    return std::to_string(done) + ":" + Hex(target.value, sizeof target.value);
}

using Reader = std::string (*)(CInputStream&);

constexpr Reader kReaders[] = {
    &ReadOne<unsigned char>, &ReadOne<char>,         &ReadOne<unsigned short>,
    &ReadOne<short>,         &ReadOne<bool>,         &ReadOne<unsigned long>,
    &ReadOne<long>,          &ReadOne<unsigned int>, &ReadOne<int>,
    &ReadOne<float>,         &ReadOne<double>,       &ReadOne<CString>,
    &ReadOne<_variant_t>,    &ReadOne<wchar_t>,      &ReadBytesOf,
    &ReadOne<CString>,       &ReadOne<_variant_t>,   &ReadArrayOf,
};

// Reads the sequence of types; says what was read, where the stream then stands and with which error.
std::string ReadSequence(CInputStream& in, const std::vector<unsigned>& types)
{
    std::string read;
    for (unsigned type : types) read += kReaders[type](in) + ";";
    long position = -1;
    in.getCurrentStreamPosition(position);
    return read + std::to_string(position) + ";" + std::to_string(in.getError());
}

// One value of every type and what it reads back as, whole.
struct CWhole
{
    const char* what;
    std::function<void(COutputStream&)> write;
    Reader read;
};

const CWhole kWholes[] = {
    {"unsigned char", [](COutputStream& out) { out << static_cast<unsigned char>(0xA5); }, &ReadOne<unsigned char>},
    {"char", [](COutputStream& out) { out << 'K'; }, &ReadOne<char>},
    {"unsigned short", [](COutputStream& out) { out << static_cast<unsigned short>(0xA1B2); },
     &ReadOne<unsigned short>},
    {"short", [](COutputStream& out) { out << static_cast<short>(-2); }, &ReadOne<short>},
    {"bool", [](COutputStream& out) { out << true; }, &ReadOne<bool>},
    {"unsigned long", [](COutputStream& out) { out << 0xA1B2C3D4ul; }, &ReadOne<unsigned long>},
    {"long", [](COutputStream& out) { out << -2l; }, &ReadOne<long>},
    {"unsigned int", [](COutputStream& out) { out << 0xA1B2C3D4u; }, &ReadOne<unsigned int>},
    {"int", [](COutputStream& out) { out << -2; }, &ReadOne<int>},
    {"float", [](COutputStream& out) { out << 1.1f; }, &ReadOne<float>},
    {"double", [](COutputStream& out) { out << 1.1; }, &ReadOne<double>},
    {"CString", [](COutputStream& out) { out << L"text \u20AC"; }, &ReadOne<CString>},
    {"const char*", [](COutputStream& out) { out << "text"; }, &ReadOne<CString>},
    {"CSizedArray",
     [](COutputStream& out) {
         CSizedArray array;
         array.init(5);
         std::memset(array.getData(), 0x77, 5);
         out << array;
     },
     &ReadArrayOf},
    {"VT_I2", [](COutputStream& out) { out << _variant_t(static_cast<short>(-2)); }, &ReadOne<_variant_t>},
    {"VT_UI2", [](COutputStream& out) { out << _variant_t(static_cast<unsigned short>(0xA1B2)); },
     &ReadOne<_variant_t>},
    {"VT_I4", [](COutputStream& out) { out << _variant_t(-2l); }, &ReadOne<_variant_t>},
    {"VT_UI4", [](COutputStream& out) { out << _variant_t(0xA1B2C3D4ul); }, &ReadOne<_variant_t>},
    {"VT_R4", [](COutputStream& out) { out << _variant_t(1.1f); }, &ReadOne<_variant_t>},
    {"VT_R8", [](COutputStream& out) { out << _variant_t(1.1); }, &ReadOne<_variant_t>},
    {"VT_DATE", [](COutputStream& out) { out << _variant_t(1.1, VT_DATE); }, &ReadOne<_variant_t>},
    {"VT_BSTR", [](COutputStream& out) { out << _variant_t(L"text"); }, &ReadOne<_variant_t>},
    {"VT_BOOL", [](COutputStream& out) { out << _variant_t(true); }, &ReadOne<_variant_t>},
    {"VT_I1", [](COutputStream& out) { out << _variant_t(static_cast<char>(-2)); }, &ReadOne<_variant_t>},
    {"VT_UI1", [](COutputStream& out) { out << _variant_t(static_cast<BYTE>(0xA5)); }, &ReadOne<_variant_t>},
};

} // namespace

TEST(StreamRobustnessTest, EveryTruncationOfEveryTypeReadsItsMissingBytesAsZeroAndEndsTheStream)
{
    CGuardedBlock guarded(4096);
    for (const CWhole& whole : kWholes) {
        SCOPED_TRACE(whole.what);
        unsigned char block[64] = {};
        CByteOutputStream out(block, sizeof block);
        whole.write(out);
        const unsigned long size = out.getDataSize();
        CByteInputStream complete(block, size);
        whole.read(complete);
        EXPECT_EQ(complete.getError(), 0);

        for (unsigned long cut = 0; cut < size; ++cut) {
            unsigned char* const data = guarded.AtRear(cut);
            std::memcpy(data, block, cut);
            CByteInputStream memory(data, cut);
            CBytewiseInput bytewise(data, cut);
            const std::string read = whole.read(memory);
            EXPECT_EQ(read, whole.read(bytewise)) << cut;
            EXPECT_EQ(memory.eof(), 1) << cut;
            EXPECT_EQ(bytewise.eof(), 1) << cut;
            long position = -1;
            memory.getCurrentStreamPosition(position);
            EXPECT_EQ(position, static_cast<long>(cut));

            // For a type of fixed size: the same as from bytes that were 0.
            unsigned char zeroed[64] = {};
            std::memcpy(zeroed, block, cut);
            CByteInputStream padded(zeroed, size);
            if (whole.read != &ReadOne<CString> && whole.read != &ReadArrayOf &&
                std::strcmp(whole.what, "VT_BSTR") != 0) {
                EXPECT_EQ(read, whole.read(padded)) << cut;
            }
        }
    }
}

TEST(StreamRobustnessTest, EveryCapacityThatIsTooSmallTakesWhatFitsAndCountsTheRest)
{
    CGuardedBlock guarded(4096);
    for (const CWhole& whole : kWholes) {
        SCOPED_TRACE(whole.what);
        unsigned char block[64];
        CByteOutputStream complete(block, sizeof block);
        whole.write(complete);
        const unsigned long size = complete.getDataSize();
        const bool isArray = whole.read == &ReadArrayOf;
        for (unsigned long capacity = 0; capacity < size; ++capacity) {
            unsigned char* const target = guarded.AtRear(capacity);
            CByteOutputStream out(target, capacity);
            whole.write(out);
            EXPECT_EQ(out.getError(), STREAM_E_EOF);
            EXPECT_EQ(out.getDataSize(), !isArray ? size : capacity < 4 ? 4 : capacity + 1);
            EXPECT_EQ(Hex(target, capacity), Hex(block, capacity));
        }
        CByteOutputStream exact(guarded.AtRear(size), size);
        whole.write(exact);
        EXPECT_EQ(exact.getError(), 0);
    }
}

TEST(StreamRobustnessTest, ATextWhoseCountLiesTakesWhatIsThere)
{
    struct
    {
        unsigned long count;
        const wchar_t* text;
        int length;
        bool ends;
    } const cases[] = {
        {0, L"", 0, false},           {1, L"A", 1, false},         {2, L"AB", 2, false},        {3, L"AB", 3, true},
        {0x7FFFFFFF, L"AB", 3, true}, {0x80000000, L"", 0, false}, {0xFFFFFFFF, L"", 0, false},
    };
    CGuardedBlock guarded(4096);
    for (const auto& c : cases) {
        SCOPED_TRACE(c.count);
        unsigned char* const data = guarded.AtRear(8);
        std::memcpy(data, &c.count, 4);
        std::memcpy(data + 4, "A\0B\0", 4);
        CByteInputStream memory(data, 8);
        CBytewiseInput bytewise(data, 8);
        for (CInputStream* in : {static_cast<CInputStream*>(&memory), static_cast<CInputStream*>(&bytewise)}) {
            CString text(L"before");
            *in >> text;
            EXPECT_EQ(text.GetLength(), c.length);
            EXPECT_TRUE(text == c.text); // compares up to the zero that stands for the missing bytes
            EXPECT_EQ(in->eof(), c.ends);
        }
        // The same behind a variant's tag.
        Bytes variant = {VT_BSTR, 0};
        variant.insert(variant.end(), data, data + 8);
        CByteInputStream in(variant.data(), variant.size());
        _variant_t value;
        in >> value;
        ASSERT_EQ(value.vt, VT_BSTR);
        EXPECT_STREQ(value.bstrVal, c.text);
    }
}

TEST(StreamRobustnessTest, AnArrayWhoseSizeLiesNeverGetsMoreThanIsThere)
{
    CGuardedBlock guarded(4096);
    for (const unsigned long size : {0ul, 1ul, 2ul, 3ul, 0x7FFFFFFFul, 0x80000000ul, 0xFFFFFFFEul, 0xFFFFFFFFul}) {
        SCOPED_TRACE(size);
        unsigned char* const data = guarded.AtRear(6);
        std::memcpy(data, &size, 4);
        data[4] = data[5] = 0x77;
        CByteInputStream in(data, 6);
        CBetweenCanaries<CSizedArray> array;
        const int result = in.readArray(array.value);
        EXPECT_TRUE(array.IsIntact());
        long position = -1;
        in.getCurrentStreamPosition(position);
        if (size <= 2) {
            EXPECT_EQ(result, 1);
            EXPECT_EQ(in.eof(), 0);
            EXPECT_EQ(position, 4 + static_cast<long>(size));
        } else if (size < 0x80000000) {
            EXPECT_EQ(result, 0);
            EXPECT_EQ(in.eof(), array.value.isEmpty() ? 0 : 1); // no memory, or memory and no bytes
        } else {
            // A negative count: no byte is read, which needs no memory either.
            EXPECT_EQ(result, 1);
            EXPECT_EQ(array.value.getSize(), size);
            EXPECT_EQ(in.eof(), 0);
            EXPECT_EQ(position, 4);
        }
        if (size >= 0xFFFFFFFE) {
            EXPECT_EQ(array.value.isEmpty(), 1);
        }
    }
}

TEST(StreamRobustnessTest, ASizeOfEightBytesShortOfAnAddressSpaceIsAnArrayWithoutData)
{
    unsigned char data[] = {0xF8, 0xFF, 0xFF, 0xFF, 1, 2};
    CByteInputStream in(data, sizeof data);
    CSizedArray array;
    EXPECT_EQ(in.readArray(array), 1);
    EXPECT_EQ(array.getSize(), 0xFFFFFFF8);
    EXPECT_EQ(array.isEmpty(), 1);
    EXPECT_EQ(in.getError(), 0);
    EXPECT_EQ(in.ReadByte(), 1) << "the position is behind the size";
}

TEST(StreamRobustnessTest, AnArrayForWhichThereIsNoMemoryFailsAndNoByteOfItIsRead)
{
    unsigned char data[] = {2, 0, 0, 0, 1, 2};
    CByteInputStream memory(data, sizeof data);
    CBytewiseInput bytewise(data, sizeof data);
    for (CInputStream* in : {static_cast<CInputStream*>(&memory), static_cast<CInputStream*>(&bytewise)}) {
        CSizedArray array;
        {
            const CWithoutMemory without;
            EXPECT_EQ(in->readArray(array), 0);
        }
        EXPECT_EQ(array.getSize(), 2u);
        EXPECT_EQ(array.isEmpty(), 1);
        EXPECT_EQ(in->getError(), 0);
        EXPECT_EQ(in->ReadByte(), 1) << "the position is behind the size";
    }
}

// Whatever the bytes are and whichever types are read from them, nothing outside them is touched, and the memory
// stream's short cuts give what going byte by byte gives.
TEST(StreamRobustnessTest, AMillionRandomByteStringsDecodeAsRandomTypes)
{
    std::mt19937 random(0x4B4F5256);
    CGuardedBlock guarded(4096);
    std::vector<unsigned> types;
    for (int round = 0; round < 1000000; ++round) {
        const unsigned long size = random() % 40;
        unsigned char* const data = round % 2 ? guarded.AtRear(size) : guarded.AtFront();
        // Mostly small bytes: counts that can be met, tags that exist.
        const unsigned mask = round % 4 == 0 ? 0xFF : round % 4 == 1 ? 0x1F : 0x03;
        for (unsigned long i = 0; i < size; ++i) data[i] = static_cast<unsigned char>(random() & mask);
        types.assign(1 + random() % 6, 0);
        for (unsigned& type : types) type = random() % std::size(kReaders);

        gErrHRESULT = 0;
        CByteInputStream memory(data, size);
        if (round % 8 == 0) {
            CBytewiseInput bytewise(data, size);
            ASSERT_EQ(ReadSequence(memory, types), ReadSequence(bytewise, types)) << Hex(data, size);
        } else {
            for (unsigned type : types) kReaders[type](memory);
        }
        long position = -1;
        memory.getCurrentStreamPosition(position);
        ASSERT_LE(static_cast<unsigned long>(position), size);
        ASSERT_EQ(gErrHRESULT, 0);
    }
}

// One target for all variants: each reading meets what the ones before it left behind.
TEST(StreamRobustnessTest, RandomVariantsOneAfterTheOtherIntoOneTarget)
{
    std::mt19937 random(77);
    CGuardedBlock guarded(4096);
    _variant_t target;
    for (int round = 0; round < 100000; ++round) {
        const unsigned long size = random() % 24;
        unsigned char* const data = guarded.AtRear(size);
        for (unsigned long i = 0; i < size; ++i) data[i] = static_cast<unsigned char>(i == 1 ? 0 : random() % 20);
        CByteInputStream in(data, size);
        in >> target;
        ASSERT_LE(target.vt, 19);
        if (target.vt <= VT_NULL) target.vt = VT_EMPTY; // only the type was set: the rest is not the variant's any more
    }
}
