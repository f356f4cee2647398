// The stream interfaces: their slots, what forwards to what, which types they take, and streams of a user's own.
#include "korvanelib.h"

#include "stream_support.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

#include <cstring>

using KorvaneIO::CByteInputStream;
using KorvaneIO::CInputStream;

namespace {

// The slot of a virtual operation: its member pointer holds 1 + the offset into the table.
template <class Member> size_t Slot(Member member)
{
    static_assert(sizeof member == 8);
    uint32_t words[2];
    std::memcpy(words, &member, sizeof words);
    return (words[0] - 1) / sizeof(void*) + 1;
}

template <class T> size_t WriteSlot()
{
    return Slot(static_cast<COutputStream& (COutputStream::*)(T)>(&COutputStream::operator<<));
}

template <class T> size_t ReadSlot()
{
    return Slot(static_cast<CInputStream& (CInputStream::*)(T&)>(&CInputStream::operator>>));
}

// Writes down which slots were used.
class CRecordingOutput : public COutputStream
{
public:
    using COutputStream::operator<<;
    COutputStream& operator<<(unsigned char value) override { return Note("uchar "), COutputStream::operator<<(value); }
    COutputStream& operator<<(char value) override { return Note("char "), COutputStream::operator<<(value); }
    COutputStream& operator<<(unsigned short value) override
    {
        return Note("ushort "), COutputStream::operator<<(value);
    }
    COutputStream& operator<<(short value) override { return Note("short "), COutputStream::operator<<(value); }
    COutputStream& operator<<(unsigned long value) override { return Note("ulong "), COutputStream::operator<<(value); }
    COutputStream& operator<<(long value) override { return Note("long "), COutputStream::operator<<(value); }
    COutputStream& operator<<(float value) override { return Note("float "), COutputStream::operator<<(value); }
    COutputStream& operator<<(double value) override { return Note("double "), COutputStream::operator<<(value); }
    COutputStream& operator<<(const wchar_t* value) override { return Note("wide "), COutputStream::operator<<(value); }
    void setError(long code) override { Note("setError "), COutputStream::setError(code); }
    void WriteByte(unsigned char value) override { Note("byte "), m_bytes.push_back(value); }
    unsigned long getDataSize() override { return m_bytes.size(); }
    int getCurrentStreamPosition(long&) override { return 0; }
    int setCurrentPosition(long) override { return 0; }
    void DUMP_CONTENT() override {}

    void Note(const char* what) { m_calls += what; }

    std::string m_calls;
    Bytes m_bytes;
};

template <class T> std::string CallsOfWriting(const T& value)
{
    CRecordingOutput out;
    out << value;
    return out.m_calls;
}

class CRecordingInput : public CInputStream
{
public:
    using CInputStream::operator>>;
    CInputStream& operator>>(unsigned char& value) override { return Note("uchar "), CInputStream::operator>>(value); }
    CInputStream& operator>>(char& value) override { return Note("char "), CInputStream::operator>>(value); }
    CInputStream& operator>>(unsigned short& value) override
    {
        return Note("ushort "), CInputStream::operator>>(value);
    }
    CInputStream& operator>>(short& value) override { return Note("short "), CInputStream::operator>>(value); }
    CInputStream& operator>>(unsigned long& value) override { return Note("ulong "), CInputStream::operator>>(value); }
    CInputStream& operator>>(long& value) override { return Note("long "), CInputStream::operator>>(value); }
    CInputStream& operator>>(float& value) override { return Note("float "), CInputStream::operator>>(value); }
    CInputStream& operator>>(double& value) override { return Note("double "), CInputStream::operator>>(value); }
    CInputStream& operator>>(CString& value) override { return Note("text "), CInputStream::operator>>(value); }
    int ReadBytes(void* data, int count) override { return Note("bytes "), CInputStream::ReadBytes(data, count); }
    int eof() override { return Note("eof "), CInputStream::eof(); }
    void Restart() override { m_nNext = 0; }
    unsigned char ReadByte() override { return Note("byte "), m_nNext < m_bytes.size() ? m_bytes[m_nNext++] : 0; }
    int setCurrentPosition(long) override { return 0; }
    int getCurrentStreamPosition(long&) override { return 0; }

    void Note(const char* what) { m_calls += what; }

    std::string m_calls;
    Bytes m_bytes;
    size_t m_nNext = 0;
};

template <class T> std::string CallsOfReading(const char* bytes)
{
    CRecordingInput in;
    in.m_bytes = FromHex(bytes);
    T value = T();
    in >> value;
    return in.m_calls;
}

std::string Times(int count, const std::string& text)
{
    std::string all;
    while (count-- > 0) all += text;
    return all;
}

const std::string kUShort = "ushort byte byte ";
const std::string kULong = "ulong byte byte byte byte ";
const std::string kUChar = "uchar byte ";

template <class T, class = void> constexpr bool kCanBeWritten = false;
template <class T>
constexpr bool kCanBeWritten<T, std::void_t<decltype(std::declval<COutputStream&>() << std::declval<T>())>> = true;

// Streams over a file, as a user would write them.
class CFileOutput : public COutputStream
{
public:
    using COutputStream::operator<<;
    explicit CFileOutput(FILE* file) : m_pFile(file) {}
    unsigned long getDataSize() override { return m_cbWritten; }
    int getCurrentStreamPosition(long& position) override
    {
        position = std::ftell(m_pFile);
        return position >= 0;
    }
    int setCurrentPosition(long position) override { return std::fseek(m_pFile, position, SEEK_SET) == 0; }
    void WriteByte(unsigned char value) override
    {
        if (std::fputc(value, m_pFile) == EOF) setError(STREAM_E_EOF);
        ++m_cbWritten;
    }
    void DUMP_CONTENT() override {}

private:
    FILE* m_pFile;
    unsigned long m_cbWritten = 0;
};

class CFileInput : public CInputStream
{
public:
    using CInputStream::operator>>;
    explicit CFileInput(FILE* file) : m_pFile(file) {}
    void Restart() override
    {
        std::rewind(m_pFile);
        m_lError = 0;
    }
    unsigned char ReadByte() override
    {
        const int byte = std::fgetc(m_pFile);
        if (byte != EOF) return static_cast<unsigned char>(byte);
        m_lError = STREAM_E_EOF;
        return 0;
    }
    int setCurrentPosition(long position) override { return std::fseek(m_pFile, position, SEEK_SET) == 0; }
    int getCurrentStreamPosition(long& position) override
    {
        position = std::ftell(m_pFile);
        return position >= 0;
    }

private:
    FILE* m_pFile;
};

// The sample in base/stream.h.
class CCountingStream : public CByteOutputStream
{
public:
    using CByteOutputStream::CByteOutputStream;
    using CByteOutputStream::operator<<;
    COutputStream& operator<<(double value) override
    {
        ++m_nDoubles;
        return CByteOutputStream::operator<<(value);
    }
    int m_nDoubles = 0;
};

} // namespace

TEST(StreamTest, TheSlotsOfTheInputSideStandInTheirOrder)
{
    EXPECT_EQ(Slot(&CInputStream::eof), 1u);
    EXPECT_EQ(ReadSlot<_variant_t>(), 2u);
    EXPECT_EQ(ReadSlot<float>(), 3u);
    EXPECT_EQ(ReadSlot<double>(), 4u);
    EXPECT_EQ(ReadSlot<CString>(), 5u);
    EXPECT_EQ(ReadSlot<bool>(), 6u);
    EXPECT_EQ(ReadSlot<unsigned int>(), 7u);
    EXPECT_EQ(ReadSlot<int>(), 8u);
    EXPECT_EQ(ReadSlot<unsigned char>(), 9u);
    EXPECT_EQ(ReadSlot<char>(), 10u);
    EXPECT_EQ(ReadSlot<unsigned short>(), 11u);
    EXPECT_EQ(ReadSlot<short>(), 12u);
    EXPECT_EQ(ReadSlot<unsigned long>(), 13u);
    EXPECT_EQ(ReadSlot<long>(), 14u);
    EXPECT_EQ(Slot(&CInputStream::Restart), 15u);
    EXPECT_EQ(Slot(&CInputStream::ReadByte), 16u);
    EXPECT_EQ(Slot(&CInputStream::ReadBytes), 17u);
    EXPECT_EQ(Slot(&CInputStream::setCurrentPosition), 18u);
    EXPECT_EQ(Slot(&CInputStream::getCurrentStreamPosition), 19u);
    EXPECT_EQ(Slot(&CInputStream::readArray), 20u);
}

TEST(StreamTest, TheSlotsOfTheOutputSideStandInTheirOrder)
{
    EXPECT_EQ(Slot(static_cast<int (COutputStream::*)(CSizedArray&)>(&COutputStream::operator<<)), 1u);
    EXPECT_EQ(WriteSlot<float>(), 2u);
    EXPECT_EQ(WriteSlot<double>(), 3u);
    EXPECT_EQ(WriteSlot<const CString&>(), 4u);
    EXPECT_EQ(WriteSlot<const wchar_t*>(), 5u);
    EXPECT_EQ(WriteSlot<const char*>(), 6u);
    EXPECT_EQ(WriteSlot<bool>(), 7u);
    EXPECT_EQ(WriteSlot<unsigned int>(), 8u);
    EXPECT_EQ(WriteSlot<int>(), 9u);
    EXPECT_EQ(WriteSlot<unsigned char>(), 10u);
    EXPECT_EQ(WriteSlot<char>(), 11u);
    EXPECT_EQ(WriteSlot<unsigned short>(), 12u);
    EXPECT_EQ(WriteSlot<short>(), 13u);
    EXPECT_EQ(WriteSlot<unsigned long>(), 14u);
    EXPECT_EQ(WriteSlot<long>(), 15u);
    EXPECT_EQ(Slot(&COutputStream::getDataSize), 16u);
    EXPECT_EQ(Slot(&COutputStream::getCurrentStreamPosition), 17u);
    EXPECT_EQ(Slot(&COutputStream::setCurrentPosition), 18u);
    EXPECT_EQ(Slot(&COutputStream::setError), 19u);
    EXPECT_EQ(Slot(&COutputStream::WriteByte), 20u);
    EXPECT_EQ(Slot(&COutputStream::DUMP_CONTENT), 21u);
}

TEST(StreamTest, AnInterfaceHoldsItsErrorCodeAndAMemoryStreamThreeMembersMore)
{
    EXPECT_EQ(sizeof(CInputStream), sizeof(void*) + 4);
    EXPECT_EQ(sizeof(COutputStream), sizeof(void*) + 4);
    EXPECT_EQ(sizeof(CByteInputStream), sizeof(void*) + 16);
    EXPECT_EQ(sizeof(CByteOutputStream), sizeof(void*) + 16);
    EXPECT_FALSE(std::has_virtual_destructor_v<CInputStream>);
    EXPECT_FALSE(std::has_virtual_destructor_v<COutputStream>);
    EXPECT_EQ(static_cast<unsigned long>(STREAM_E_EOF), 0x80045000u);
}

TEST(StreamTest, WrittenTypesForwardThroughTheSlotsOfOthers)
{
    EXPECT_EQ(CallsOfWriting<unsigned char>(1), kUChar);
    EXPECT_EQ(CallsOfWriting<char>(1), "char " + kUChar);
    EXPECT_EQ(CallsOfWriting<unsigned short>(1), kUShort);
    EXPECT_EQ(CallsOfWriting<short>(1), "short " + kUShort);
    EXPECT_EQ(CallsOfWriting<wchar_t>(1), kUShort);
    EXPECT_EQ(CallsOfWriting<bool>(true), kUShort);
    EXPECT_EQ(CallsOfWriting<unsigned long>(1), kULong);
    EXPECT_EQ(CallsOfWriting<long>(1), "long " + kULong);
    EXPECT_EQ(CallsOfWriting<unsigned int>(1), kULong);
    EXPECT_EQ(CallsOfWriting<int>(1), "long " + kULong);
    EXPECT_EQ(CallsOfWriting<float>(1), "float " + Times(4, kUChar));
    EXPECT_EQ(CallsOfWriting<double>(1), "double " + Times(8, kUChar));
    EXPECT_EQ(CallsOfWriting(L"ab"), "wide " + kULong + Times(2, kUShort));
    EXPECT_EQ(CallsOfWriting("ab"), kULong + Times(2, kUShort));
    EXPECT_EQ(CallsOfWriting(CString(L"ab")), "wide " + kULong + Times(2, kUShort));
}

TEST(StreamTest, WrittenVariantsForwardThroughTheSlotsOfTheirPayload)
{
    const auto calls = [](VARTYPE type) {
        _variant_t value;
        value.vt = type;
        return CallsOfWriting(value);
    };
    EXPECT_EQ(calls(VT_EMPTY), kUShort);
    EXPECT_EQ(calls(VT_NULL), kUShort);
    EXPECT_EQ(calls(VT_I2), kUShort + "short " + kUShort);
    EXPECT_EQ(calls(VT_UI2), kUShort + "short " + kUShort);
    EXPECT_EQ(calls(VT_I4), kUShort + "long " + kULong);
    EXPECT_EQ(calls(VT_UI4), kUShort + "long " + kULong);
    EXPECT_EQ(calls(VT_R4), kUShort + "float " + Times(4, kUChar));
    EXPECT_EQ(calls(VT_R8), kUShort + "double " + Times(8, kUChar));
    EXPECT_EQ(calls(VT_DATE), kUShort + "double " + Times(8, kUChar));
    EXPECT_EQ(calls(VT_BOOL), kUShort + "char " + kUChar);
    EXPECT_EQ(calls(VT_I1), kUShort + kUChar);
    EXPECT_EQ(calls(VT_UI1), kUShort + kUChar);
    EXPECT_EQ(calls(VT_CY), kUShort + "setError ");
    EXPECT_EQ(CallsOfWriting(_variant_t(L"a")), kUShort + "wide " + kULong + kUShort);
}

TEST(StreamTest, ReadTypesForwardThroughTheSlotsOfOthers)
{
    EXPECT_EQ(CallsOfReading<unsigned char>("01"), kUChar);
    EXPECT_EQ(CallsOfReading<char>("01"), "char " + kUChar);
    EXPECT_EQ(CallsOfReading<unsigned short>("01 00"), kUShort);
    EXPECT_EQ(CallsOfReading<short>("01 00"), "short " + kUShort);
    EXPECT_EQ(CallsOfReading<wchar_t>("01 00"), kUShort);
    EXPECT_EQ(CallsOfReading<bool>("01 00"), kUShort);
    EXPECT_EQ(CallsOfReading<unsigned long>("01 00 00 00"), kULong);
    EXPECT_EQ(CallsOfReading<long>("01 00 00 00"), "long " + kULong);
    EXPECT_EQ(CallsOfReading<unsigned int>("01 00 00 00"), kULong);
    EXPECT_EQ(CallsOfReading<int>("01 00 00 00"), "long " + kULong);
    EXPECT_EQ(CallsOfReading<float>("00 00 00 00"), "float " + Times(4, kUChar));
    EXPECT_EQ(CallsOfReading<double>("00 00 00 00 00 00 00 00"), "double " + Times(8, kUChar));
    EXPECT_EQ(CallsOfReading<CString>("02 00 00 00 41 00 42 00"), "text " + kULong + Times(2, "eof " + kUShort));
}

TEST(StreamTest, ReadVariantsForwardThroughTheSlotsOfTheirPayload)
{
    EXPECT_EQ(CallsOfReading<_variant_t>("01 00"), kUShort);
    EXPECT_EQ(CallsOfReading<_variant_t>("02 00 01 00"), kUShort + "short " + kUShort);
    EXPECT_EQ(CallsOfReading<_variant_t>("12 00 01 00"), kUShort + "short " + kUShort);
    EXPECT_EQ(CallsOfReading<_variant_t>("03 00 01 00 00 00"), kUShort + "long " + kULong);
    EXPECT_EQ(CallsOfReading<_variant_t>("13 00 01 00 00 00"), kUShort + "long " + kULong);
    EXPECT_EQ(CallsOfReading<_variant_t>("04 00"), kUShort + "float " + Times(4, kUChar));
    EXPECT_EQ(CallsOfReading<_variant_t>("05 00"), kUShort + "double " + Times(8, kUChar));
    EXPECT_EQ(CallsOfReading<_variant_t>("07 00"), kUShort + "double " + Times(8, kUChar));
    EXPECT_EQ(CallsOfReading<_variant_t>("08 00"), kUShort + "text " + kULong);
    EXPECT_EQ(CallsOfReading<_variant_t>("0B 00"), kUShort + "char " + kUChar);
    EXPECT_EQ(CallsOfReading<_variant_t>("10 00"), kUShort + kUChar);
    EXPECT_EQ(CallsOfReading<_variant_t>("11 00"), kUShort + kUChar);
    EXPECT_EQ(CallsOfReading<_variant_t>("06 00"), kUShort);
}

TEST(StreamTest, BytesAndArraysForwardThroughTheUnsignedCharSlot)
{
    unsigned char data[3] = {1, 2, 3};
    CRecordingOutput out;
    EXPECT_EQ(out.WriteBytes(data, 3), 3);
    EXPECT_EQ(out.m_calls, Times(3, kUChar));

    CSizedArray array;
    ASSERT_EQ(array.init(2), 1);
    array.getData()[0] = array.getData()[1] = 9;
    out.m_calls.clear();
    EXPECT_EQ(out << array, 1);
    EXPECT_EQ(out.m_calls, kULong + Times(2, kUChar));

    CRecordingInput in;
    in.m_bytes = FromHex("02 00 00 00 09 09");
    EXPECT_EQ(in.readArray(array), 1);
    EXPECT_EQ(in.m_calls, kULong + "bytes " + Times(2, kUChar));
}

TEST(StreamTest, EveryOperatorReturnsTheStreamItself)
{
    unsigned char block[256];
    CByteOutputStream memory(block, sizeof block);
    COutputStream& out = memory;
    EXPECT_EQ(&(out << 1.0f << 1.0 << CString() << L"" << "" << true << 1u << 1 << static_cast<unsigned char>(1) << 'a'
                    << static_cast<unsigned short>(1) << static_cast<short>(1) << 1ul << 1l << L'a' << _variant_t()),
              &out);
    CByteInputStream source(block, sizeof block);
    CInputStream& in = source;
    float f;
    double d;
    CString s;
    bool b;
    unsigned int ui;
    int i;
    unsigned char uc;
    char c;
    unsigned short us;
    short sh;
    unsigned long ul;
    long l;
    wchar_t w;
    _variant_t v;
    EXPECT_EQ(&(in >> f >> d >> s >> s >> s >> b >> ui >> i >> uc >> c >> us >> sh >> ul >> l >> w >> v), &in);
    EXPECT_EQ(in.getError(), 0);
}

TEST(StreamTest, TextPointersAndCharactersSelectTheirOwnOperators)
{
    TCHAR buffer[] = L"AB";
    char narrow[] = "AB";
    const std::string text = "02 00 00 00 41 00 42 00";
    EXPECT_EQ(Encode([](COutputStream& out) { out << L"AB"; }), text);
    EXPECT_EQ(Encode([&](COutputStream& out) { out << buffer; }), text);
    EXPECT_EQ(Encode([&](COutputStream& out) { out << static_cast<TCHAR*>(buffer); }), text);
    EXPECT_EQ(Encode([&](COutputStream& out) { out << CString(buffer); }), text);
    EXPECT_EQ(Encode([&](COutputStream& out) { out << CStringExt(buffer); }), text);
    EXPECT_EQ(Encode([&](COutputStream& out) { out << narrow; }), text);
    EXPECT_EQ(Encode([](COutputStream& out) { out << L'A'; }), "41 00");
    EXPECT_EQ(Encode([](COutputStream& out) { out << 'A'; }), "41");
}

TEST(StreamTest, AWideCharacterReadsAsTwoBytes)
{
    unsigned char data[] = {0xAC, 0x20};
    CByteInputStream in(data, sizeof data);
    wchar_t unit = 0;
    in >> unit;
    EXPECT_EQ(unit, L'\u20AC');
}

template <class T, class = void> constexpr bool kCanBeWrittenToMemory = false;
template <class T>
constexpr bool
    kCanBeWrittenToMemory<T, std::void_t<decltype(std::declval<CByteOutputStream&>() << std::declval<T>())>> = true;

TEST(StreamTest, OtherPointersAreNotTakenForABool)
{
    struct CThing
    {
    };
    EXPECT_FALSE(kCanBeWrittenToMemory<int*> || kCanBeWrittenToMemory<const void*> ||
                 kCanBeWrittenToMemory<CSmartPtr<CSizedArray>> || kCanBeWrittenToMemory<std::nullptr_t>);
    EXPECT_TRUE(kCanBeWrittenToMemory<const char*> && kCanBeWrittenToMemory<VARIANT> &&
                kCanBeWrittenToMemory<CSizedArray&> && kCanBeWrittenToMemory<unsigned short>);
    EXPECT_TRUE(kCanBeWritten<const wchar_t*> && kCanBeWritten<wchar_t*> && kCanBeWritten<const char*> &&
                kCanBeWritten<char*>);
    EXPECT_TRUE(kCanBeWritten<bool> && kCanBeWritten<wchar_t> && kCanBeWritten<CString> && kCanBeWritten<_variant_t> &&
                kCanBeWritten<VARIANT> && kCanBeWritten<CSizedArray&>);
    EXPECT_FALSE(kCanBeWritten<int*>);
    EXPECT_FALSE(kCanBeWritten<void*>);
    EXPECT_FALSE(kCanBeWritten<const void*>);
    EXPECT_FALSE(kCanBeWritten<unsigned char*>);
    EXPECT_FALSE(kCanBeWritten<const unsigned short*>);
    EXPECT_FALSE(kCanBeWritten<CSizedArray*>);
    EXPECT_FALSE(kCanBeWritten<CSmartPtr<CSizedArray>>);
    EXPECT_FALSE(kCanBeWritten<CSmartPtr<CSizedArray>&>);
    EXPECT_FALSE(kCanBeWritten<int(&)[4]>);
    EXPECT_FALSE(kCanBeWritten<void (*)()>);
    EXPECT_FALSE(kCanBeWritten<int CThing::*>);
    EXPECT_FALSE(kCanBeWritten<std::nullptr_t>);
}

TEST(StreamTest, AFileStreamOfAUserKeepsEveryType)
{
    CTempFolder folder;
    FILE* file = ::_wfopen(folder.File(L"values.bin").c_str(), L"w+b");
    ASSERT_NE(file, nullptr);
    CSizedArray array;
    ASSERT_EQ(array.init(3), 1);
    std::memcpy(array.getData(), "\x01\x02\xFF", 3);
    CFileOutput out(file);
    out << static_cast<unsigned short>(65535) << -5 << 2.5 << 1.5f << true << L"wide" << "narrow" << CString(L"text");
    EXPECT_EQ(out << array, 1);
    out << _variant_t(L"bstr") << _variant_t(7L);
    ASSERT_EQ(out.getError(), 0);
    EXPECT_EQ(out.getDataSize(), 2u + 4 + 8 + 4 + 2 + 12 + 16 + 12 + 7 + 14 + 6);

    CFileInput in(file);
    in.Restart();
    unsigned short us = 0;
    int i = 0;
    double d = 0;
    float f = 0;
    bool b = false;
    CString wide, narrow, text;
    _variant_t v1, v2;
    in >> us >> i >> d >> f >> b >> wide >> narrow >> text;
    CSizedArray read;
    EXPECT_EQ(in.readArray(read), 1);
    in >> v1 >> v2;
    EXPECT_EQ(in.eof(), 0);
    EXPECT_EQ(us, 65535);
    EXPECT_EQ(i, -5);
    EXPECT_EQ(d, 2.5);
    EXPECT_EQ(f, 1.5f);
    EXPECT_TRUE(b);
    EXPECT_TRUE(wide == L"wide" && narrow == L"narrow" && text == L"text");
    ASSERT_EQ(read.getSize(), 3u);
    EXPECT_EQ(std::memcmp(read.getData(), array.getData(), 3), 0);
    EXPECT_STREQ(v1.bstrVal, L"bstr");
    EXPECT_EQ(v2.lVal, 7);

    in >> b;
    EXPECT_EQ(in.eof(), 1);
    std::fclose(file);
}

TEST(StreamTest, ACountingStreamOfAUserSeesEveryByteOnItsOverride)
{
    class CCounter : public CByteOutputStream
    {
    public:
        using CByteOutputStream::CByteOutputStream;
        void WriteByte(unsigned char value) override
        {
            ++m_nBytes;
            CByteOutputStream::WriteByte(value);
        }
        unsigned long m_nBytes = 0;
    };
    unsigned char block[256];
    CCounter out(block, sizeof block);
    CSizedArray array;
    ASSERT_EQ(array.init(10), 1);
    out << static_cast<unsigned char>(1) << 'a' << static_cast<unsigned short>(1) << static_cast<short>(1) << L'a'
        << true << 1u << 1 << 1ul << 1l << 1.0f << 1.0 << L"wide" << "narrow" << CString(L"text") << _variant_t(L"bstr")
        << _variant_t(1.0);
    out << array;
    out.WriteBytes(block, 7);
    EXPECT_EQ(out.m_nBytes, out.getDataSize());
    EXPECT_EQ(out.m_nBytes, 2u + 8 + 16 + 12 + 12 + 16 + 12 + 14 + 10 + 14 + 7);
    EXPECT_EQ(out.getError(), 0);
}

TEST(StreamTest, AMemoryStreamKeepsItsClassInAChain)
{
    CByteOutputStream* out = nullptr;
    CByteInputStream* in = nullptr;
    CCountingStream* counting = nullptr;
    CString text;
    double number = 0;
    EXPECT_TRUE((std::is_same_v<decltype(*out << 1 << text << 2.0), CByteOutputStream&>));
    EXPECT_TRUE((std::is_same_v<decltype(*in >> number >> text), CByteInputStream&>));
    EXPECT_TRUE((std::is_same_v<decltype(*out << 1 << L"any other"), COutputStream&>));
    EXPECT_TRUE((std::is_same_v<decltype(*counting << 1), COutputStream&>));
    EXPECT_TRUE((std::is_same_v<decltype(CByteOutputStream(nullptr, 0) << 1), COutputStream&>));
}

// The class that the caller knows is the memory stream's; the object is a user's.
TEST(StreamTest, AUsersStreamHandedOnAsAMemoryStreamStillSeesEveryByte)
{
    class CCountedOutput : public CByteOutputStream
    {
    public:
        using CByteOutputStream::CByteOutputStream;
        void WriteByte(unsigned char value) override { ++m_nBytes, CByteOutputStream::WriteByte(value); }
        unsigned long m_nBytes = 0;
    };
    class CCountedInput : public CByteInputStream
    {
    public:
        using CByteInputStream::CByteInputStream;
        unsigned char ReadByte() override { return ++m_nBytes, CByteInputStream::ReadByte(); }
        unsigned long m_nBytes = 0;
    };
    unsigned char block[64];
    CCountedOutput writer(block, sizeof block);
    CByteOutputStream& out = writer;
    out << static_cast<unsigned short>(1) << 2 << 3.0 << true << CString(L"text") << 'a';
    EXPECT_EQ(writer.m_nBytes, 2u + 4 + 8 + 2 + 12 + 1);
    EXPECT_EQ(writer.getDataSize(), writer.m_nBytes);

    CCountedInput reader(block, writer.getDataSize());
    CByteInputStream& in = reader;
    unsigned short us = 0;
    int i = 0;
    double d = 0;
    bool b = false;
    CString text;
    char c = 0;
    in >> us >> i >> d >> b >> text >> c;
    EXPECT_EQ(reader.m_nBytes, writer.m_nBytes);
    EXPECT_EQ(us, 1);
    EXPECT_EQ(i, 2);
    EXPECT_EQ(d, 3.0);
    EXPECT_TRUE(b);
    EXPECT_TRUE(text == L"text");
    EXPECT_EQ(c, 'a');
}

TEST(StreamTest, ACopyOfAMemoryStreamGoesOnWhereTheOriginalIs)
{
    unsigned char block[16];
    CByteOutputStream out(block, sizeof block);
    out << 1;
    CByteOutputStream copy = out;
    copy << 2 << 3.0;
    EXPECT_EQ(out.getDataSize(), 4u);
    EXPECT_EQ(Hex(block, copy.getDataSize()), "01 00 00 00 02 00 00 00 00 00 00 00 00 00 08 40");
}

enum EColour : unsigned short
{
    kRed = 0x1234
};
struct CPlace
{
    int m_x, m_y;
};
COutputStream& operator<<(COutputStream& out, const CPlace& place)
{
    return out << place.m_x << place.m_y;
}

// What is no number of the streams' own finds the same operator as through the interface.
TEST(StreamTest, ConversionsAndOperatorsOfAUserAreTheSameForAMemoryStream)
{
    const auto write = [](auto& out) {
        out << kRed;
        out << static_cast<signed char>(-2);
        out << L'a';
        out << CStringExt(L"b");
        out << CPlace{5, 6} << 7;
    };
    unsigned char first[128] = {}, second[128] = {};
    CByteOutputStream known(first, sizeof first), other(second, sizeof second);
    COutputStream& handedOn = other;
    write(known);
    write(handedOn);
    EXPECT_EQ(known.getDataSize(), other.getDataSize());
    EXPECT_EQ(Hex(first, sizeof first), Hex(second, sizeof second));
}

TEST(StreamTest, AReadingStreamOfAUserHasItsOverrideOfReadByteHonoured)
{
    class CInverted : public CByteInputStream
    {
    public:
        using CByteInputStream::CByteInputStream;
        unsigned char ReadByte() override { return static_cast<unsigned char>(~CByteInputStream::ReadByte()); }
    };
    Bytes bytes = FromHex("34 12 02 00 00 00 41 00 42 00 00 00 00 00 00 00 0A 40 01 02 03");
    for (auto& byte : bytes) byte = static_cast<unsigned char>(~byte);
    CInverted in(bytes.data(), bytes.size());
    unsigned short us = 0;
    CString text;
    double number = 0;
    unsigned char rest[3] = {};
    in >> us >> text >> number;
    EXPECT_EQ(in.ReadBytes(rest, 3), 3);
    EXPECT_EQ(us, 0x1234);
    EXPECT_TRUE(text == L"AB");
    EXPECT_EQ(number, 3.25);
    EXPECT_EQ(Hex(rest, 3), "01 02 03");
}

TEST(StreamTest, AnOverrideOfOneTypedSlotOfAMemoryStreamIsHonoured)
{
    class CBigEndian : public CByteOutputStream
    {
    public:
        using CByteOutputStream::CByteOutputStream;
        using CByteOutputStream::operator<<;
        COutputStream& operator<<(unsigned long value) override
        {
            return CByteOutputStream::operator<<(_byteswap_ulong(value));
        }
    };
    unsigned char block[64];
    CBigEndian out(block, sizeof block);
    COutputStream& base = out;
    base << 0x01020304ul << 0x01020304l << 0x01020304 << 0x01020304u << L"A";
    EXPECT_EQ(Hex(block, out.getDataSize()), "01 02 03 04 01 02 03 04 01 02 03 04 01 02 03 04 00 00 00 01 41 00");
}

TEST(StreamTest, TheCountingSampleOfTheHeaderCounts)
{
    unsigned char block[64];
    CCountingStream out(block, sizeof block);
    out << 1.5 << 7 << 2.5 << _variant_t(3.5);
    EXPECT_EQ(out.m_nDoubles, 3);
    EXPECT_EQ(out.getDataSize(), 8u + 4 + 8 + 10);
}

TEST(StreamTest, SetErrorStoresAnyCode)
{
    unsigned char block[4];
    CByteOutputStream out(block, sizeof block);
    out.setError(-7);
    EXPECT_EQ(out.getError(), -7);
    out.setError(0);
    EXPECT_EQ(out.getError(), 0);
}

TEST(StreamTest, OnlyTheEndOfStreamCodeStopsBulkWritingAndReading)
{
    unsigned char block[8] = {}, data[2] = {1, 2};
    CByteOutputStream out(block, sizeof block);
    out.setError(DISP_E_BADVARTYPE);
    EXPECT_EQ(out.WriteBytes(data, 2), 2);
    out.setError(STREAM_E_EOF);
    EXPECT_EQ(out.WriteBytes(data, 2), 0);
    EXPECT_EQ(out.getDataSize(), 2u);

    unsigned char source[] = {0x06, 0x00, 5, 6};
    CByteInputStream in(source, sizeof source);
    _variant_t value;
    in >> value;
    ASSERT_EQ(in.getError(), DISP_E_BADVARTYPE);
    EXPECT_EQ(in.eof(), 0);
    EXPECT_EQ(in.ReadBytes(data, 2), 2);
    EXPECT_EQ(data[1], 6);
}
