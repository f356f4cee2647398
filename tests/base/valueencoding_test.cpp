// The byte format: every type, in both directions, and the documentation and the sample file that say the same.
#include "korvanelib.h"

#include "stream_support.h"
#include "support/import_patch.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstring>
#include <functional>
#include <iterator>
#include <limits>
#include <regex>

using KorvaneIO::CByteInputStream;
using KorvaneIO::CInputStream;

namespace {

// Reads a T from the whole of the bytes; the value as it was before is `value`.
template <class T> T Decode(const std::string& hex, T value = T())
{
    Bytes bytes = FromHex(hex);
    CByteInputStream in(bytes.data(), bytes.size());
    in >> value;
    EXPECT_EQ(in.getError(), 0) << hex;
    long position = -1;
    in.getCurrentStreamPosition(position);
    EXPECT_EQ(position, static_cast<long>(bytes.size())) << hex;
    return value;
}

template <class T> void ExpectBothWays(T value, const std::string& hex)
{
    EXPECT_EQ(EncodeValue(value), hex);
    EXPECT_EQ(Decode<T>(hex), value);
}

template <class T> void ExpectSameBits(T value, const std::string& hex)
{
    EXPECT_EQ(EncodeValue(value), hex);
    const T read = Decode<T>(hex);
    EXPECT_EQ(std::memcmp(&read, &value, sizeof value), 0) << hex;
}

std::string TextOf(const CString& text)
{
    std::string bytes;
    for (int i = 0; i < text.GetLength(); ++i) {
        char unit[8];
        std::snprintf(unit, sizeof unit, i ? " %04X" : "%04X", text[i]);
        bytes += unit;
    }
    return bytes;
}

template <class Set> _variant_t Variant(VARTYPE type, Set set)
{
    _variant_t value;
    value.vt = type;
    set(value);
    return value;
}

// One example of the documentation: how it is written and a check that it reads back.
struct CExample
{
    const char* type;
    const char* value;
    std::function<void(COutputStream&)> write;
    std::function<bool(CInputStream&)> readsBack;
};

template <class T> CExample Example(const char* type, const char* name, T value)
{
    return {type, name, [value](COutputStream& out) { out << value; },
            [value](CInputStream& in) {
                T read = T();
                in >> read;
                return read == value;
            }};
}

template <class T> CExample TextExample(const char* type, const char* name, T text, const wchar_t* same)
{
    return {type, name, [text](COutputStream& out) { out << text; },
            [same](CInputStream& in) {
                CString read;
                in >> read;
                return read == same;
            }};
}

CExample ArrayExample(const char* name, const Bytes& bytes)
{
    return {"`CSizedArray`", name,
            [bytes](COutputStream& out) {
                CSizedArray array;
                array.init(bytes.size());
                std::copy(bytes.begin(), bytes.end(), array.getData());
                out << array;
            },
            [bytes](CInputStream& in) {
                CSizedArray read;
                return in.readArray(read) == 1 && Bytes(read.getData(), read.getData() + read.getSize()) == bytes;
            }};
}

CExample VariantExample(const char* name, const _variant_t& value)
{
    return {"`_variant_t`", name, [value](COutputStream& out) { out << value; },
            [value](CInputStream& in) {
                _variant_t read(12345L);
                in >> read;
                if (read.vt != value.vt) return false;
                switch (value.vt) {
                case VT_BSTR:
                    return std::wcscmp(read.bstrVal, value.bstrVal) == 0;
                case VT_R8:
                case VT_DATE:
                    return read.dblVal == value.dblVal;
                case VT_I4:
                case VT_UI4:
                case VT_R4:
                    return read.lVal == value.lVal;
                case VT_I1:
                case VT_UI1:
                    return read.bVal == value.bVal;
                case VT_EMPTY:
                case VT_NULL:
                    return read.lVal == 12345;
                default:
                    return read.iVal == value.iVal;
                }
            }};
}

std::vector<CExample> Examples()
{
    return {
        Example<unsigned char>("`unsigned char`", "0xA5", 0xA5),
        Example<char>("`char`", "'K'", 'K'),
        Example<unsigned short>("`unsigned short`", "0x1234", 0x1234),
        Example<short>("`short`", "-2", -2),
        Example<wchar_t>("`wchar_t`", "U+20AC", 0x20AC),
        Example<bool>("`bool`", "true", true),
        Example<bool>("`bool`", "false", false),
        Example<unsigned long>("`unsigned long`", "0x12345678", 0x12345678),
        Example<long>("`long`", "-559038737", -559038737),
        Example<unsigned int>("`unsigned int`", "4294967295", 4294967295u),
        Example<int>("`int`", "-1000", -1000),
        Example<float>("`float`", "-0.75", -0.75f),
        Example<double>("`double`", "3.25", 3.25),
        TextExample("`const wchar_t*`", "U+0041 U+20AC U+D83D U+DE00", L"A\u20AC\U0001F600", L"A\u20AC\U0001F600"),
        TextExample("`const char*`", "\"AB\"", "AB", L"AB"),
        TextExample("`const char*`", "the byte 0xE9", "\xE9", L"\u00E9"),
        TextExample("`CString`", "\"Main\"", CString(L"Main"), L"Main"),
        TextExample("`CString`", "empty", CString(), L""),
        ArrayExample("5 bytes", {1, 2, 3, 0xFE, 0xFF}),
        ArrayExample("empty", {}),
        VariantExample("VT_EMPTY", _variant_t()),
        VariantExample("VT_NULL", Variant(VT_NULL, [](_variant_t&) {})),
        VariantExample("VT_I2 -2", Variant(VT_I2, [](_variant_t& v) { v.iVal = -2; })),
        VariantExample("VT_I4 -559038737", _variant_t(-559038737L)),
        VariantExample("VT_R4 -0.75", _variant_t(-0.75f)),
        VariantExample("VT_R8 3.25", _variant_t(3.25)),
        VariantExample("VT_DATE 38051.75 (5 March 2004, 18:00)", _variant_t(38051.75, VT_DATE)),
        VariantExample("VT_BSTR \"AB\"", _variant_t(L"AB")),
        VariantExample("VT_BSTR empty", _variant_t(L"")),
        VariantExample("VT_BOOL true", _variant_t(true)),
        VariantExample("VT_BOOL false", _variant_t(false)),
        VariantExample("VT_I1 -3", Variant(VT_I1, [](_variant_t& v) { v.cVal = -3; })),
        VariantExample("VT_UI1 200", Variant(VT_UI1, [](_variant_t& v) { v.bVal = 200; })),
        VariantExample("VT_UI2 65535", Variant(VT_UI2, [](_variant_t& v) { v.uiVal = 65535; })),
        VariantExample("VT_UI4 4294967295", Variant(VT_UI4, [](_variant_t& v) { v.ulVal = 4294967295u; })),
    };
}

BSTR WINAPI AllocateNothing(const OLECHAR*)
{
    return nullptr;
}

HRESULT WINAPI FailToClear(VARIANTARG*)
{
    return DISP_E_ARRAYISLOCKED;
}

} // namespace

TEST(ValueEncodingTest, IntegersAreLittleEndianInTwosComplement)
{
    ExpectBothWays<unsigned char>(0, "00");
    ExpectBothWays<unsigned char>(255, "FF");
    ExpectBothWays<char>(-1, "FF");
    ExpectBothWays<char>('A', "41");
    ExpectBothWays<unsigned short>(0, "00 00");
    ExpectBothWays<unsigned short>(0x0102, "02 01");
    ExpectBothWays<unsigned short>(65535, "FF FF");
    ExpectBothWays<short>(-32768, "00 80");
    ExpectBothWays<short>(32767, "FF 7F");
    ExpectBothWays<wchar_t>(0xD800, "00 D8");
    ExpectBothWays<unsigned long>(0x01020304, "04 03 02 01");
    ExpectBothWays<unsigned long>(ULONG_MAX, "FF FF FF FF");
    ExpectBothWays<long>(LONG_MIN, "00 00 00 80");
    ExpectBothWays<long>(LONG_MAX, "FF FF FF 7F");
    ExpectBothWays<unsigned int>(0x80000000u, "00 00 00 80");
    ExpectBothWays<int>(-1, "FF FF FF FF");
    ExpectBothWays<int>(INT_MIN, "00 00 00 80");
}

TEST(ValueEncodingTest, ABoolIsAnUnsignedShort)
{
    ExpectBothWays<bool>(true, "01 00");
    ExpectBothWays<bool>(false, "00 00");
}

TEST(ValueEncodingTest, ABoolReadsByItsLowByteAndStoresNothingButItsTruth)
{
    EXPECT_TRUE(Decode<bool>("02 00"));
    EXPECT_TRUE(Decode<bool>("FF FF"));
    EXPECT_FALSE(Decode<bool>("00 01", true));
    for (const bool plain : {true, false}) {
        struct
        {
            bool value = false;
            unsigned char behind = 0x5A;
        } target;
        unsigned char data[] = {2, 3};
        CByteInputStream memory(data, sizeof data);
        CBytewiseInput bytewise(data, sizeof data);
        CInputStream& in = plain ? static_cast<CInputStream&>(memory) : bytewise;
        in >> target.value;
        unsigned char truth;
        std::memcpy(&truth, &target.value, 1);
        EXPECT_EQ(truth, 1);
        EXPECT_EQ(target.behind, 0x5A);
    }
}

TEST(ValueEncodingTest, FloatingPointTravelsAsItsBits)
{
    ExpectSameBits(0.0f, "00 00 00 00");
    ExpectSameBits(-0.0f, "00 00 00 80");
    ExpectSameBits(1.0f, "00 00 80 3F");
    ExpectSameBits(FLT_MAX, "FF FF 7F 7F");
    ExpectSameBits(std::numeric_limits<float>::denorm_min(), "01 00 00 00");
    ExpectSameBits(std::numeric_limits<float>::infinity(), "00 00 80 7F");
    ExpectSameBits(0.0, "00 00 00 00 00 00 00 00");
    ExpectSameBits(-0.0, "00 00 00 00 00 00 00 80");
    ExpectSameBits(1.0, "00 00 00 00 00 00 F0 3F");
    ExpectSameBits(0.1, "9A 99 99 99 99 99 B9 3F");
    ExpectSameBits(DBL_MAX, "FF FF FF FF FF FF EF 7F");
    ExpectSameBits(std::numeric_limits<double>::denorm_min(), "01 00 00 00 00 00 00 00");
    ExpectSameBits(-std::numeric_limits<double>::infinity(), "00 00 00 00 00 00 F0 FF");
}

TEST(ValueEncodingTest, ANumberThatIsNoneKeepsItsBits)
{
    for (const char* hex : {"01 00 00 00 00 00 F8 7F", "EF BE AD DE 00 00 FC FF"}) {
        EXPECT_EQ(EncodeValue(Decode<double>(hex)), hex);
    }
    EXPECT_EQ(EncodeValue(Decode<float>("01 02 C0 7F")), "01 02 C0 7F");
}

// A coprocessor that carries one sets a bit of it.
TEST(ValueEncodingTest, ANumberThatIsASignalKeepsItsBitsToo)
{
    unsigned char bytes[] = {1, 0, 0, 0, 0, 0, 0xF0, 0x7F, 1, 0, 0x80, 0x7F};
    CByteInputStream in(bytes, sizeof bytes);
    double dbl = 0;
    float flt = 0;
    in >> dbl >> flt;
    unsigned char block[sizeof bytes];
    CByteOutputStream out(block, sizeof block);
    out << dbl << flt;
    EXPECT_EQ(Hex(block, out.getDataSize()), Hex(bytes, sizeof bytes));

    _variant_t value;
    unsigned char variants[64];
    CByteOutputStream variantOut(variants, sizeof variants);
    V_VT(&value) = VT_R8;
    std::memcpy(&V_R8(&value), bytes, 8);
    variantOut << value;
    V_VT(&value) = VT_R4;
    std::memcpy(&V_R4(&value), bytes + 8, 4);
    variantOut << value;
    const std::string written = Hex(variants, variantOut.getDataSize());
    EXPECT_NE(written.find("01 00 00 00 00 00 F0 7F"), std::string::npos) << written;
    EXPECT_NE(written.find("01 00 80 7F"), std::string::npos) << written;
}

TEST(ValueEncodingTest, NarrowTextIsWidenedByteByByte)
{
    EXPECT_EQ(EncodeValue("AB"), "02 00 00 00 41 00 42 00");
    EXPECT_EQ(EncodeValue("\xE9"), "01 00 00 00 E9 00");
    EXPECT_EQ(EncodeValue("\xFF\x80\x7F"), "03 00 00 00 FF 00 80 00 7F 00");
    EXPECT_EQ(EncodeValue(""), "00 00 00 00");
    EXPECT_EQ(EncodeValue("AB"), EncodeValue(L"AB"));
}

TEST(ValueEncodingTest, WideTextIsItsUnitsUpToTheFirstZero)
{
    EXPECT_EQ(EncodeValue(L"A\u20AC"), "02 00 00 00 41 00 AC 20");
    EXPECT_EQ(EncodeValue(L"\xD800"), "01 00 00 00 00 D8");
    EXPECT_EQ(EncodeValue(L"A\0B"), "01 00 00 00 41 00");
    EXPECT_EQ(EncodeValue(CString(L"A\0B", 3)), "01 00 00 00 41 00");
    EXPECT_EQ(EncodeValue(CString()), "00 00 00 00");
}

TEST(ValueEncodingTest, ANullTextIsAnEmptyOne)
{
    EXPECT_EQ(EncodeValue(static_cast<const wchar_t*>(nullptr)), "00 00 00 00");
    EXPECT_EQ(EncodeValue(static_cast<const char*>(nullptr)), "00 00 00 00");
    unsigned char block[4];
    CBytewiseOutput out(block, sizeof block);
    static_cast<COutputStream&>(out) << static_cast<const wchar_t*>(nullptr);
    EXPECT_EQ(Hex(block, out.getDataSize()), "00 00 00 00");
}

TEST(ValueEncodingTest, TextReadsWithItsZerosKept)
{
    EXPECT_EQ(TextOf(Decode<CString>("03 00 00 00 41 00 00 00 42 00")), "0041 0000 0042");
    EXPECT_EQ(TextOf(Decode<CString>("01 00 00 00 00 00")), "0000");
    EXPECT_EQ(TextOf(Decode<CString>("02 00 00 00 3D D8 AC 20")), "D83D 20AC");
}

TEST(ValueEncodingTest, AnEmptyTextEmptiesTheTarget)
{
    EXPECT_TRUE(Decode<CString>("00 00 00 00", L"before").IsEmpty());
}

TEST(ValueEncodingTest, ATextCutWithinItsCountLeavesTheTargetAlone)
{
    for (size_t size = 0; size < 4; ++size) {
        unsigned char data[] = {2, 0, 0, 0};
        CByteInputStream in(data, size);
        CString text(L"before");
        in >> text;
        EXPECT_TRUE(text == L"before") << size;
        EXPECT_EQ(in.eof(), 1);
    }
}

TEST(ValueEncodingTest, ATextOnAStreamThatHasEndedIsNotTouchedThoughItsBytesAreThere)
{
    unsigned char data[] = {1, 0, 0, 0, 0x41, 0};
    CByteInputStream in(data, sizeof data);
    double number;
    in >> number;
    ASSERT_EQ(in.eof(), 1);
    ASSERT_EQ(in.setCurrentPosition(0), 1);
    CString text(L"before");
    in >> text;
    EXPECT_TRUE(text == L"before");
}

TEST(ValueEncodingTest, ATextCutWithinItsUnitsHasOneUnitMoreFromTheMissingBytes)
{
    for (const bool plain : {true, false}) {
        const auto cut = [&](const char* hex) {
            Bytes bytes = FromHex(hex);
            CByteInputStream memory(bytes.data(), bytes.size());
            CBytewiseInput bytewise(bytes.data(), bytes.size());
            CInputStream& in = plain ? static_cast<CInputStream&>(memory) : bytewise;
            CString text(L"before");
            in >> text;
            EXPECT_EQ(in.eof(), 1);
            return TextOf(text);
        };
        EXPECT_EQ(cut("03 00 00 00 41 00 42 00"), "0041 0042 0000");
        EXPECT_EQ(cut("03 00 00 00 41 00 42"), "0041 0042");
        EXPECT_EQ(cut("02 00 00 00 41"), "0041");
        EXPECT_EQ(cut("01 00 00 00"), "0000");
        EXPECT_EQ(cut("FF FF FF 7F 41 00"), "0041 0000");
    }
}

TEST(ValueEncodingTest, ALongTextOfASlowStreamIsNotQuadratic)
{
    constexpr unsigned long kUnits = 200000;
    Bytes bytes(4 + 2 * kUnits, 0x41);
    std::memcpy(bytes.data(), &kUnits, 4);
    CBytewiseInput in(bytes.data(), bytes.size());
    CString text;
    const DWORD start = ::GetTickCount();
    static_cast<CInputStream&>(in) >> text;
    EXPECT_LT(::GetTickCount() - start, 2000u); // copying 200,000 growing texts would take a minute
    ASSERT_EQ(text.GetLength(), static_cast<int>(kUnits));
    EXPECT_EQ(text[kUnits - 1], 0x4141);
}

TEST(ValueEncodingTest, VariantsOfEmptyAndNullSetOnlyTheTypeOfTheTarget)
{
    _variant_t target(0x01020304L);
    target = Decode<_variant_t>("01 00", target);
    EXPECT_EQ(target.vt, VT_NULL);

    for (const char* hex : {"00 00", "01 00"}) {
        Bytes bytes = FromHex(hex);
        CByteInputStream in(bytes.data(), bytes.size());
        _variant_t number(0x01020304L);
        in >> number;
        EXPECT_EQ(number.vt, bytes[0]);
        EXPECT_EQ(number.lVal, 0x01020304);
    }
}

TEST(ValueEncodingTest, VariantsThatTravelUnderTheOtherSignGetTheirTypeBack)
{
    const _variant_t ui4 = Decode<_variant_t>("13 00 FF FF FF FF");
    EXPECT_EQ(ui4.vt, VT_UI4);
    EXPECT_EQ(ui4.ulVal, 4294967295u);
    const _variant_t ui2 = Decode<_variant_t>("12 00 FF 80");
    EXPECT_EQ(ui2.vt, VT_UI2);
    EXPECT_EQ(ui2.uiVal, 0x80FF);
    const _variant_t i1 = Decode<_variant_t>("10 00 80");
    EXPECT_EQ(i1.vt, VT_I1);
    EXPECT_EQ(i1.bVal, 0x80);
}

TEST(ValueEncodingTest, AVariantBoolIsOneByteAndOnlyOneIsTrue)
{
    EXPECT_EQ(EncodeValue(_variant_t(true)), "0B 00 01");
    EXPECT_EQ(EncodeValue(_variant_t(false)), "0B 00 00");
    EXPECT_EQ(EncodeValue(Variant(VT_BOOL, [](_variant_t& v) { v.boolVal = 0x0100; })), "0B 00 01");
    EXPECT_EQ(Decode<_variant_t>("0B 00 01").boolVal, VARIANT_TRUE);
    EXPECT_EQ(Decode<_variant_t>("0B 00 02").boolVal, VARIANT_FALSE);
    EXPECT_EQ(Decode<_variant_t>("0B 00 FF").boolVal, VARIANT_FALSE);
    EXPECT_EQ(Decode<_variant_t>("0B 00 00").boolVal, VARIANT_FALSE);
}

TEST(ValueEncodingTest, ASupportedVariantReplacesAndFreesWhatTheTargetHeld)
{
    _variant_t target = Decode<_variant_t>("03 00 07 00 00 00", _variant_t(L"a text that goes"));
    EXPECT_EQ(target.vt, VT_I4);
    EXPECT_EQ(target.lVal, 7);
    target = Decode<_variant_t>("08 00 01 00 00 00 5A 00", target);
    EXPECT_EQ(target.vt, VT_BSTR);
    EXPECT_STREQ(target.bstrVal, L"Z");
}

TEST(ValueEncodingTest, AVariantTextIsReadUpToItsFirstZero)
{
    const _variant_t value = Decode<_variant_t>("08 00 03 00 00 00 41 00 00 00 42 00");
    ASSERT_EQ(value.vt, VT_BSTR);
    EXPECT_EQ(::SysStringLen(value.bstrVal), 1u);
}

TEST(ValueEncodingTest, AVariantWithANullTextIsWrittenAsAnEmptyOne)
{
    EXPECT_EQ(Encode([](COutputStream& out) {
                  _variant_t value;
                  value.vt = VT_BSTR;
                  value.bstrVal = nullptr;
                  out << value;
              }),
              "08 00 00 00 00 00");
    // Not copied on its way: the text that arrives is null.
    EXPECT_EQ(Encode([](COutputStream& out) { out << Variant(VT_BSTR, [](_variant_t& v) { v.bstrVal = nullptr; }); }),
              "08 00 00 00 00 00");
}

TEST(ValueEncodingTest, EveryTagOutsideTheTableIsUnsupportedInBothDirections)
{
    const auto isSupported = [](unsigned tag) {
        return tag <= 5 || tag == 7 || tag == 8 || tag == 11 || (tag >= 16 && tag <= 19);
    };
    for (unsigned tag = 0; tag <= 0xFFFF; ++tag) {
        unsigned char data[32] = {static_cast<unsigned char>(tag), static_cast<unsigned char>(tag >> 8)};
        CByteInputStream in(data, sizeof data);
        _variant_t target(12345L);
        in >> target;
        long position = 0;
        in.getCurrentStreamPosition(position);
        if (isSupported(tag)) {
            ASSERT_EQ(in.getError(), 0) << tag;
            ASSERT_EQ(target.vt, tag);
            continue;
        }
        ASSERT_EQ(in.getError(), DISP_E_BADVARTYPE) << tag;
        ASSERT_EQ(position, 2) << tag;
        ASSERT_TRUE(target.vt == VT_I4 && target.lVal == 12345) << tag;
    }
    for (const VARTYPE tag : {VT_CY, VT_DISPATCH, VT_ERROR, VT_UNKNOWN, VT_DECIMAL, VT_I8, VT_UI8, VT_INT, VT_UINT}) {
        unsigned char block[16];
        CByteOutputStream out(block, sizeof block);
        out << Variant(tag, [](_variant_t& v) { v.llVal = 0; });
        EXPECT_EQ(out.getError(), DISP_E_BADVARTYPE) << tag;
        EXPECT_EQ(Hex(block, out.getDataSize()), Hex({static_cast<unsigned char>(tag), 0}));
    }
}

TEST(ValueEncodingTest, AVariantOfAnArrayOrAReferenceIsWrittenAsItsTagAlone)
{
    long number = 7;
    VARIANT reference;
    ::VariantInit(&reference);
    reference.vt = VT_BYREF | VT_I4;
    reference.plVal = &number;
    unsigned char block[16];
    CByteOutputStream out(block, sizeof block);
    out << reference;
    EXPECT_EQ(Hex(block, out.getDataSize()), "03 40");
    EXPECT_EQ(out.getError(), DISP_E_BADVARTYPE);

    _variant_t array;
    array.vt = VT_ARRAY | VT_I4;
    array.parray = ::SafeArrayCreateVector(VT_I4, 0, 3);
    out << array;
    EXPECT_EQ(Hex(block, out.getDataSize()), "03 40 03 20");
}

TEST(ValueEncodingTest, AnUnsupportedTagThatIsCutShortOverwritesTheEndOfStreamCode)
{
    unsigned char data[] = {6};
    CByteInputStream in(data, sizeof data);
    _variant_t value(3L);
    in >> value;
    EXPECT_EQ(in.getError(), DISP_E_BADVARTYPE);
    EXPECT_EQ(in.eof(), 0);
    EXPECT_EQ(value.lVal, 3);
}

TEST(ValueEncodingTest, AFailedCopyIsParkedAndTheTypeIsSetAllTheSame)
{
    struct
    {
        const char* hex;
        VARTYPE type;
    } const cases[] = {{"10 00 05", VT_I1}, {"12 00 05 00", VT_UI2}, {"13 00 05 00 00 00", VT_UI4}};
    for (const auto& c : cases) {
        Bytes bytes = FromHex(c.hex);
        CByteInputStream in(bytes.data(), bytes.size());
        _variant_t target;
        target.vt = 0x0FFE; // no type: VariantCopy cannot clear it
        gErrHRESULT = 0;
        in >> target;
        EXPECT_LT(gErrHRESULT, 0) << c.hex;
        EXPECT_EQ(target.vt, c.type);
        EXPECT_EQ(in.getError(), 0);
        gErrHRESULT = 0;
        target.vt = VT_EMPTY;
    }
}

TEST(ValueEncodingTest, ATextThatCannotBeAllocatedIsParkedAsOutOfMemory)
{
    CImportPatch patch(L"korvaneLib.dll", "SysAllocString", &AllocateNothing);
    gErrHRESULT = 0;
    Decode<_variant_t>("08 00 00 00 00 00");
    EXPECT_EQ(gErrHRESULT, 0); // an empty text without a block is an empty text
    Decode<_variant_t>("08 00 01 00 00 00 41 00");
    EXPECT_EQ(gErrHRESULT, E_OUTOFMEMORY);
    gErrHRESULT = 0;
}

TEST(ValueEncodingTest, AFailedClearIsParkedToo)
{
    CImportPatch patch(L"korvaneLib.dll", "VariantClear", &FailToClear);
    gErrHRESULT = 0;
    EXPECT_EQ(EncodeValue(_variant_t(7L)), "03 00 07 00 00 00");
    EXPECT_EQ(gErrHRESULT, DISP_E_ARRAYISLOCKED);
    gErrHRESULT = 0;
    EXPECT_EQ(Decode<_variant_t>("03 00 07 00 00 00").lVal, 7);
    EXPECT_EQ(gErrHRESULT, DISP_E_ARRAYISLOCKED);
    gErrHRESULT = 0;
}

TEST(ValueEncodingTest, ReadingAndWritingVariantsParksNothingWhenAllIsWell)
{
    gErrHRESULT = 0;
    for (const CExample& example : Examples()) Encode(example.write);
    EXPECT_EQ(gErrHRESULT, 0);
}

// docs/stream-format.md: each row of its examples is encoded and decoded, and none of the examples here is missing
// there.
TEST(ValueEncodingTest, TheExamplesOfTheDocumentationAreTrue)
{
    const std::string text = ReadBytes(std::wstring(KORVANE_TEST_DATA) + L"/../../docs/stream-format.md");
    const std::regex row(R"(\| (`[^`]+`) \| ([^|\r\n]+) \| `([0-9A-F ]+)` \|)");
    const std::vector<CExample> examples = Examples();
    size_t index = 0;
    for (std::sregex_iterator it(text.begin(), text.end(), row), end; it != end; ++it, ++index) {
        ASSERT_LT(index, examples.size()) << it->str();
        const CExample& example = examples[index];
        SCOPED_TRACE(it->str());
        EXPECT_EQ(it->str(1), example.type);
        EXPECT_EQ(it->str(2), example.value);
        EXPECT_EQ(Encode(example.write), it->str(3));
        Bytes bytes = FromHex(it->str(3));
        CByteInputStream memory(bytes.data(), bytes.size());
        EXPECT_TRUE(example.readsBack(memory));
        EXPECT_EQ(memory.getError(), 0);
        CBytewiseInput bytewise(bytes.data(), bytes.size());
        EXPECT_TRUE(example.readsBack(bytewise));
        long position = 0;
        bytewise.getCurrentStreamPosition(position);
        EXPECT_EQ(position, static_cast<long>(bytes.size()));
    }
    EXPECT_EQ(index, examples.size());
    EXPECT_NE(text.find("\n    " + Encode([](COutputStream& out) { out << 7 << true << L"A"; }) + "\n"),
              std::string::npos);
}

// The sample file was written once and never changes: two records, each of all types, the second one of values at
// limits. What a later version must read is what stands here; what it must write is the same bytes again.
TEST(ValueEncodingTest, TheSampleFileReadsBackAndIsWrittenTheSameAgain)
{
    const std::string file = ReadBytes(std::wstring(KORVANE_TEST_DATA) + L"/stream-sample.bin");
    ASSERT_EQ(file.size(), 265u);
    Bytes bytes(file.begin(), file.end());
    CByteInputStream in(bytes.data(), bytes.size());
    Bytes again(bytes.size());
    CByteOutputStream out(again.data(), again.size());

    struct
    {
        unsigned char uc;
        char c;
        unsigned short us;
        short s;
        bool b;
        unsigned long ul;
        long l;
        unsigned int ui;
        int i;
        float f;
        double d;
        const wchar_t* text;
        const char* narrow;
        Bytes array;
        short i2;
        long i4;
        float r4;
        double r8;
        double date;
        const wchar_t* bstr;
        bool truth;
        signed char i1;
        unsigned char ui1;
        unsigned short ui2;
        unsigned long ui4;
    } const records[] = {
        {0x2A,       'k',
         1000,       -1000,
         true,       100000,
         -100000,    3000000000u,
         -7,         1.5f,
         -2.25,      L"Stra\u00DFe 12",
         "caf\xE9",  {1, 0, 2, 0, 3},
         -300,       70000,
         -0.5f,      1e10,
         38051.75,   L"\u0416\u20AC\U0001F600",
         true,       -5,
         250,        60000,
         4000000000u},
        {0xFF,    '\0',    65535, -32768, false, 4294967295ul, LONG_MIN,    0,        INT_MAX,
         FLT_MAX, DBL_MIN, L"",   "",     {},    32767,        LONG_MIN,    -FLT_MAX, -DBL_MAX,
         0.0,     L"",     false, -128,   255,   65535,        4294967295ul},
    };
    for (const auto& record : records) {
        unsigned char uc;
        char c;
        unsigned short us;
        short s;
        bool b;
        unsigned long ul;
        long l;
        unsigned int ui;
        int i;
        float f;
        double d;
        CString text, narrow;
        CSizedArray array;
        in >> uc >> c >> us >> s >> b >> ul >> l >> ui >> i >> f >> d >> text >> narrow;
        ASSERT_EQ(in.readArray(array), 1);
        EXPECT_TRUE(uc == record.uc && c == record.c && us == record.us && s == record.s && b == record.b);
        EXPECT_TRUE(ul == record.ul && l == record.l && ui == record.ui && i == record.i);
        EXPECT_TRUE(f == record.f && d == record.d);
        EXPECT_TRUE(text == record.text);
        std::wstring widened;
        for (const char* p = record.narrow; *p; ++p) widened += static_cast<unsigned char>(*p);
        EXPECT_TRUE(narrow == widened.c_str());
        EXPECT_EQ(Bytes(array.getData(), array.getData() + array.getSize()), record.array);
        out << uc << c << us << s << b << ul << l << ui << i << f << d << text << record.narrow;
        EXPECT_EQ(out << array, 1);

        const VARTYPE types[] = {VT_EMPTY, VT_NULL, VT_I2, VT_I4,  VT_R4,  VT_R8, VT_DATE,
                                 VT_BSTR,  VT_BOOL, VT_I1, VT_UI1, VT_UI2, VT_UI4};
        _variant_t values[std::size(types)];
        for (size_t k = 0; k < std::size(types); ++k) {
            in >> values[k];
            EXPECT_EQ(values[k].vt, types[k]);
            out << values[k];
        }
        EXPECT_EQ(values[2].iVal, record.i2);
        EXPECT_EQ(values[3].lVal, record.i4);
        EXPECT_EQ(values[4].fltVal, record.r4);
        EXPECT_EQ(values[5].dblVal, record.r8);
        EXPECT_EQ(values[6].date, record.date);
        EXPECT_STREQ(values[7].bstrVal, record.bstr);
        EXPECT_EQ(values[8].boolVal, record.truth ? VARIANT_TRUE : VARIANT_FALSE);
        EXPECT_EQ(static_cast<signed char>(values[9].bVal), record.i1);
        EXPECT_EQ(values[10].bVal, record.ui1);
        EXPECT_EQ(values[11].uiVal, record.ui2);
        EXPECT_EQ(values[12].ulVal, record.ui4);
    }
    EXPECT_EQ(in.getError(), 0);
    EXPECT_EQ(out.getError(), 0);
    EXPECT_EQ(out.getDataSize(), bytes.size());
    EXPECT_TRUE(again == bytes);
}
