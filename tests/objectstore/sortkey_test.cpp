// Sort keys from the inside: bytes that compare as the values do.
#include "sortkey.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <string>

using namespace store;

namespace {

constexpr CEPROPID PropOf(WORD wType)
{
    return 0x10000u | wType;
}

std::string Bytes(const CByteBuffer& key)
{
    return {reinterpret_cast<const char*>(key.Bytes().p), key.Size()};
}

std::string NumberKey(WORD wType, ULONGLONG ullBits, DWORD dwFlags = 0)
{
    CField field;
    field.propid = PropOf(wType);
    field.ullBits = ullBits;
    CByteBuffer key;
    AppendKeyPart(key, field, dwFlags, LOCALE_INVARIANT);
    return Bytes(key);
}

std::string DoubleKey(double dbl)
{
    return NumberKey(CEVT_R8, Load<ULONGLONG>(&dbl));
}

std::string TextKey(const std::wstring& str, DWORD dwFlags = 0, LCID lcid = LOCALE_INVARIANT)
{
    CField field;
    field.propid = PropOf(CEVT_LPWSTR);
    field.form = CField::kWide;
    field.p = reinterpret_cast<const BYTE*>(str.c_str());
    field.cch = static_cast<DWORD>(str.size());
    CByteBuffer key;
    AppendKeyPart(key, field, dwFlags, lcid);
    return Bytes(key);
}

std::string NarrowTextKey(const std::string& str, DWORD dwFlags)
{
    CField field;
    field.propid = PropOf(CEVT_LPWSTR);
    field.form = CField::kNarrow;
    field.p = reinterpret_cast<const BYTE*>(str.c_str());
    field.cch = static_cast<DWORD>(str.size());
    CByteBuffer key;
    AppendKeyPart(key, field, dwFlags, LOCALE_INVARIANT);
    return Bytes(key);
}

// What the system says, -1, 0, 1; it takes the empty text for the same as one of ignorable characters.
int SystemOrder(const std::wstring& strA, const std::wstring& strB, DWORD dwFlags)
{
    return ::CompareStringW(LOCALE_INVARIANT, dwFlags, strA.c_str(), static_cast<int>(strA.size()), strB.c_str(),
                            static_cast<int>(strB.size())) -
           CSTR_EQUAL;
}

int Sign(int n)
{
    return (n > 0) - (n < 0);
}

std::wstring RandomText(std::mt19937& random, wchar_t chLow, wchar_t chHigh)
{
    std::wstring str(1 + random() % 8, L' ');
    for (wchar_t& ch : str) ch = static_cast<wchar_t>(chLow + random() % (chHigh - chLow + 1));
    return str;
}

TEST(SortKeyTest, SignedNumbersCompareAsNumbers)
{
    const long rgSorted[] = {LONG_MIN, LONG_MIN + 1, -65536, -256, -1, 0, 1, 255, 256, 65535, LONG_MAX};
    for (size_t i = 1; i < ARRAYSIZE(rgSorted); ++i)
        EXPECT_LT(NumberKey(CEVT_I4, static_cast<DWORD>(rgSorted[i - 1])),
                  NumberKey(CEVT_I4, static_cast<DWORD>(rgSorted[i])))
            << rgSorted[i];
    const short rgShort[] = {-32768, -257, -1, 0, 1, 255, 256, 32767};
    for (size_t i = 1; i < ARRAYSIZE(rgShort); ++i)
        EXPECT_LT(NumberKey(CEVT_I2, static_cast<WORD>(rgShort[i - 1])),
                  NumberKey(CEVT_I2, static_cast<WORD>(rgShort[i])))
            << rgShort[i];
}

TEST(SortKeyTest, UnsignedNumbersHaveNoSign)
{
    EXPECT_LT(NumberKey(CEVT_UI4, 0x7FFFFFFF), NumberKey(CEVT_UI4, 0x80000000));
    EXPECT_LT(NumberKey(CEVT_UI4, 1), NumberKey(CEVT_UI4, 0xFFFFFFFF));
    EXPECT_LT(NumberKey(CEVT_UI2, 0x7FFF), NumberKey(CEVT_UI2, 0x8000));
    EXPECT_LT(NumberKey(CEVT_FILETIME, 0x7FFFFFFFFFFFFFFF), NumberKey(CEVT_FILETIME, 0x8000000000000000));
    EXPECT_LT(NumberKey(CEVT_FILETIME, 0xFFFFFFFF), NumberKey(CEVT_FILETIME, 0x100000000));
}

TEST(SortKeyTest, AnyTrueIsOneKey)
{
    EXPECT_LT(NumberKey(CEVT_BOOL, 0), NumberKey(CEVT_BOOL, 1));
    EXPECT_EQ(NumberKey(CEVT_BOOL, 1), NumberKey(CEVT_BOOL, 0xFFFFFFFF));
}

TEST(SortKeyTest, DoublesCompareAsNumbersAndNanComesLast)
{
    const double rgSorted[] = {-std::numeric_limits<double>::infinity(),
                               -1e300,
                               -1.5,
                               -1e-300,
                               0.0,
                               1e-300,
                               1.5,
                               1e300,
                               std::numeric_limits<double>::infinity(),
                               std::numeric_limits<double>::quiet_NaN()};
    for (size_t i = 1; i < ARRAYSIZE(rgSorted); ++i)
        EXPECT_LT(DoubleKey(rgSorted[i - 1]), DoubleKey(rgSorted[i])) << rgSorted[i];
    EXPECT_EQ(DoubleKey(0.0), DoubleKey(-0.0));
    EXPECT_EQ(DoubleKey(std::nan("1")), DoubleKey(-std::nan("2")));
}

TEST(SortKeyTest, TheDirectionInvertsValuesAndLeavesLackingOnesInPlace)
{
    EXPECT_GT(NumberKey(CEVT_I4, 1, CEDB_SORT_DESCENDING), NumberKey(CEVT_I4, 2, CEDB_SORT_DESCENDING));
    EXPECT_GT(TextKey(L"ab", CEDB_SORT_DESCENDING), TextKey(L"abc", CEDB_SORT_DESCENDING)) << "a prefix comes after";
    for (const DWORD dwDirection : {0, CEDB_SORT_DESCENDING}) {
        CByteBuffer last, first;
        AppendLackingPart(last, dwDirection);
        AppendLackingPart(first, dwDirection | CEDB_SORT_UNKNOWNFIRST);
        for (const DWORD dwValue : {0x00000000, 0x7FFFFFFF, int(0x80000000), int(0xFFFFFFFF)}) {
            EXPECT_LT(NumberKey(CEVT_UI4, dwValue, dwDirection), Bytes(last));
            EXPECT_GT(NumberKey(CEVT_UI4, dwValue, dwDirection), Bytes(first));
        }
    }
}

TEST(SortKeyTest, NoPartIsTheBeginningOfAnother)
{
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i) {
        const DWORD dwFlags = i % 2 ? CEDB_SORT_GENERICORDER : 0;
        const std::string strA = TextKey(RandomText(random, 1, 0x200).substr(0, random() % 5), dwFlags);
        const std::string strB = TextKey(RandomText(random, 1, 0x200).substr(0, random() % 5), dwFlags);
        if (strA == strB) continue;
        EXPECT_NE(0u, strB.rfind(strA, 0) == 0 ? 0u : 1u);
    }
}

// The keys of plain ASCII texts are put together without the system: they must order as the system's words do.
TEST(SortKeyTest, TextsOrderAsTheSystemComparesThem)
{
    static constexpr struct
    {
        DWORD dwSort, dwCompare;
    } kFlags[] = {{0, 0},
                  {CEDB_SORT_CASEINSENSITIVE, NORM_IGNORECASE},
                  {CEDB_SORT_STRINGSORT, SORT_STRINGSORT},
                  {CEDB_SORT_IGNORENONSPACE, NORM_IGNORENONSPACE},
                  {CEDB_SORT_IGNOREKANATYPE | CEDB_SORT_IGNOREWIDTH, NORM_IGNOREKANATYPE | NORM_IGNOREWIDTH},
                  {CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_STRINGSORT, NORM_IGNORECASE | SORT_STRINGSORT}};
    std::mt19937 random(11);
    for (const auto& flags : kFlags)
        for (int i = 0; i < 4000; ++i) {
            const wchar_t chHigh = i % 2 ? L'~' : L'\x00FF', chLow = i % 2 ? L' ' : L'\x00AE';
            const std::wstring strA = RandomText(random, chLow, chHigh), strB = RandomText(random, chLow, chHigh);
            EXPECT_EQ(Sign(SystemOrder(strA, strB, flags.dwCompare)),
                      Sign(TextKey(strA, flags.dwSort).compare(TextKey(strB, flags.dwSort))))
                << flags.dwSort << " at " << i;
        }
}

TEST(SortKeyTest, ANarrowTextHasTheKeyOfTheWideOne)
{
    std::mt19937 random(3);
    for (int i = 0; i < 2000; ++i) {
        const std::wstring str = RandomText(random, 1, i % 2 ? 0x7E : 0xFF);
        const std::string strNarrow(str.begin(), str.end());
        for (const DWORD dwFlags : {0, CEDB_SORT_CASEINSENSITIVE, CEDB_SORT_GENERICORDER})
            EXPECT_EQ(TextKey(str, dwFlags), NarrowTextKey(strNarrow, dwFlags)) << i;
    }
}

TEST(SortKeyTest, OrdersThatIgnoreNothingTellEveryTwoTextsApart)
{
    static constexpr const wchar_t* kPairs[][2] = {{L"ab", L"a\x00AD"
                                                           L"b"},
                                                   {L"\x00E9", L"e\x0301"},
                                                   {L"", L"\x200D"},
                                                   {L"", L"\x00AD"},
                                                   {L"\xD800", L"\xDC00"},
                                                   {L"\xFFFE", L"\xFFFF"}};
    for (const auto& pair : kPairs) {
        EXPECT_NE(TextKey(pair[0]), TextKey(pair[1]));
        EXPECT_NE(TextKey(pair[0], CEDB_SORT_GENERICORDER), TextKey(pair[1], CEDB_SORT_GENERICORDER));
    }
    EXPECT_EQ(TextKey(L"\x00E9", CEDB_SORT_CASEINSENSITIVE), TextKey(L"e\x0301", CEDB_SORT_CASEINSENSITIVE));
}

TEST(SortKeyTest, GenericOrderIsThatOfTheCodeUnits)
{
    std::mt19937 random(5);
    for (int i = 0; i < 2000; ++i) {
        const std::wstring strA = RandomText(random, 1, 0xFFFF), strB = RandomText(random, 1, 0xFFFF);
        EXPECT_EQ(Sign(strA.compare(strB)),
                  Sign(TextKey(strA, CEDB_SORT_GENERICORDER).compare(TextKey(strB, CEDB_SORT_GENERICORDER))));
    }
}

TEST(SortKeyTest, LongTextsDifferInTheirLastCharacter)
{
    std::wstring strA(32767, L'x'), strB = strA;
    strB.back() = L'y';
    EXPECT_LT(TextKey(strA), TextKey(strB));
    strA.back() = L'\x4E00';
    strB.back() = L'\x4E01';
    EXPECT_LT(TextKey(strA), TextKey(strB));
}

TEST(SortKeyTest, TheStampFollowsTheLocale)
{
    EXPECT_EQ(CollationStamp(LOCALE_INVARIANT), CollationStamp(LOCALE_INVARIANT));
    const LCID lcidSpanish = MAKELCID(MAKELANGID(LANG_SPANISH, SUBLANG_SPANISH), SORT_DEFAULT);
    EXPECT_GT(TextKey(L"cz", 0, lcidSpanish), TextKey(L"ca", 0, lcidSpanish));
}

} // namespace
