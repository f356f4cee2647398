// Seeks by value: every type of value, both directions, equal keys, records without the property, leading properties.
#include "support.h"

#include <algorithm>

namespace {

using MakeValue = CProps (*)(int nRank); // property 1 with a value that grows with the rank 0..4

struct CType
{
    const char* pszName;
    WORD wType;
    MakeValue pfnMake;
};

const double kDoubles[] = {-1e300, -0.25, 0.0, 1e-300, 3.5};
const long kLongs[] = {-2147483647 - 1, -5, 0, 7, 2147483647};
const ULONG kUlongs[] = {0, 1, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF};
const ULONGLONG kTimes[] = {0, 1, 0xFFFFFFFF, 0x7FFFFFFFFFFFFFFF, 0xFFFFFFFFFFFFFFFF};
const short kShorts[] = {-32768, -1, 0, 1, 32767};
const USHORT kUshorts[] = {0, 1, 32767, 32768, 65535};
const wchar_t* const kTexts[] = {L"", L"a", L"ab", L"b", L"zebra"};

const CType kTypes[] = {
    {"I2", CEVT_I2, [](int n) { return std::move(CProps().I2(1, kShorts[n])); }},
    {"I4", CEVT_I4, [](int n) { return std::move(CProps().I4(1, kLongs[n])); }},
    {"UI2", CEVT_UI2, [](int n) { return std::move(CProps().UI2(1, kUshorts[n])); }},
    {"UI4", CEVT_UI4, [](int n) { return std::move(CProps().UI4(1, kUlongs[n])); }},
    {"R8", CEVT_R8, [](int n) { return std::move(CProps().R8(1, kDoubles[n])); }},
    {"FILETIME", CEVT_FILETIME, [](int n) { return std::move(CProps().Time(1, kTimes[n])); }},
    {"LPWSTR", CEVT_LPWSTR, [](int n) { return std::move(CProps().Text(1, kTexts[n])); }},
};

class ValueSeekTest : public VolumeTest
{
protected:
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    void Make(const SORTORDERSPECEX& order)
    {
        m_db.Close();
        m_oidDatabase = MakeDatabase(m_guid, L"values" + std::to_wstring(m_nDatabases++), {order});
        m_db = OpenDb(m_guid, m_oidDatabase, order);
    }
    CEOID Seek(DWORD dwType, const CProps& value)
    {
        return ::CeSeekDatabaseEx(m_db, dwType, value.Address(), value.Count(), nullptr);
    }
    void ExpectNothing(DWORD dwType, const CProps& value)
    {
        ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, 0, nullptr);
        EXPECT_FAILS(ERROR_NO_MORE_ITEMS, Seek(dwType, value));
        EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), Read(m_db).dwError) << "the pointer is not at the end";
    }
    CEOID m_oidDatabase = 0;
    int m_nDatabases = 0;
    CDb m_db;
};

// Records of rank 1 and 3, two of each, one without the property: what each seek finds for each of the five ranks.
TEST_F(ValueSeekTest, EveryTypeIsFoundInBothDirections)
{
    for (const CType& type : kTypes) {
        for (const DWORD dwFlags :
             {0, CEDB_SORT_DESCENDING, CEDB_SORT_UNKNOWNFIRST, CEDB_SORT_DESCENDING | CEDB_SORT_UNKNOWNFIRST}) {
            SCOPED_TRACE(type.pszName + std::string(" with flags ") + std::to_string(dwFlags));
            const bool bDescending = dwFlags & CEDB_SORT_DESCENDING;
            Make(Order({{Prop(1, type.wType), dwFlags}}));
            const CEOID high1 = Write(m_db, 0, type.pfnMake(3)), low1 = Write(m_db, 0, type.pfnMake(1));
            const CEOID unknown = Write(m_db, 0, CProps().I4(77, 1));
            const CEOID low2 = Write(m_db, 0, type.pfnMake(1)), high2 = Write(m_db, 0, type.pfnMake(3));
            std::vector<CEOID> expected = {low1, low2, high1, high2};
            if (bDescending) expected = {high1, high2, low1, low2};
            expected.insert(dwFlags & CEDB_SORT_UNKNOWNFIRST ? expected.begin() : expected.end(), unknown);
            EXPECT_EQ(expected, WalkForward(m_db)) << "equal keys come in the order of creation";

            static const struct
            {
                int nRank;
                int nEqual, nGreater, nSmaller;
            } kUp[] = {// 1: low, 3: high, 0: none
                       {0, 0, 1, 0},
                       {1, 1, 1, 0},
                       {2, 0, 3, 1},
                       {3, 3, 3, 1},
                       {4, 0, 0, 3}};
            static const struct
            {
                int nRank;
                int nEqual, nGreater, nSmaller;
            } kDown[] = {{4, 0, 3, 0}, {3, 3, 3, 0}, {2, 0, 1, 3}, {1, 1, 1, 3}, {0, 0, 0, 1}};
            for (int i = 0; i < 5; ++i) {
                const auto nRank = bDescending ? kDown[i].nRank : kUp[i].nRank;
                SCOPED_TRACE("rank " + std::to_string(nRank));
                const CProps value = type.pfnMake(nRank);
                const auto expect = [&](DWORD dwType, int nFound, CEOID low, CEOID high) {
                    if (nFound == 0) return ExpectNothing(dwType, value);
                    EXPECT_EQ(nFound == 1 ? low : high, Seek(dwType, value));
                    EXPECT_EQ(nFound == 1 ? low : high, Read(m_db).oid);
                };
                expect(CEDB_SEEK_VALUEFIRSTEQUAL, bDescending ? kDown[i].nEqual : kUp[i].nEqual, low1, high1);
                expect(CEDB_SEEK_VALUEGREATER, bDescending ? kDown[i].nGreater : kUp[i].nGreater, low1, high1);
                expect(CEDB_SEEK_VALUESMALLER, bDescending ? kDown[i].nSmaller : kUp[i].nSmaller, low2, high2);
            }
        }
    }
}

TEST_F(ValueSeekTest, FalseComesBeforeTrueAndEveryTrueIsTrue)
{
    Make(Order({{Prop(1, CEVT_BOOL)}}));
    const CEOID yes = Write(m_db, 0, CProps().Bool(1, TRUE)), no = Write(m_db, 0, CProps().Bool(1, FALSE));
    EXPECT_EQ((std::vector<CEOID>{no, yes}), WalkForward(m_db));
    EXPECT_EQ(no, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Bool(1, FALSE)));
    EXPECT_EQ(yes, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Bool(1, TRUE)));
    EXPECT_EQ(yes, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Bool(1, -1)));
    EXPECT_EQ(no, Seek(CEDB_SEEK_VALUESMALLER, CProps().Bool(1, TRUE)));
}

TEST_F(ValueSeekTest, BothZerosAreOneNumber)
{
    Make(Order({{Prop(1, CEVT_R8)}}));
    const CEOID minus = Write(m_db, 0, CProps().R8(1, -0.0)), plus = Write(m_db, 0, CProps().R8(1, 0.0));
    EXPECT_EQ(minus, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().R8(1, 0.0)));
    EXPECT_EQ(plus, Seek(CEDB_SEEK_VALUENEXTEQUAL, CProps().R8(1, -0.0)));
    EXPECT_EQ("1:R8=8000000000000000", ReadOid(m_db, minus).strContent) << "the record keeps its bits";
}

TEST_F(ValueSeekTest, FirstAndNextEqualVisitExactlyTheEqualKeys)
{
    for (const DWORD dwFlags : {0, CEDB_SORT_DESCENDING}) {
        Make(Order({{Prop(1, CEVT_I4), dwFlags}}));
        std::vector<CEOID> equal, found;
        for (int i = 0; i < 30; ++i) {
            const CEOID oid = Write(m_db, 0, CProps().I4(1, i % 3));
            if (i % 3 == 1) equal.push_back(oid);
        }
        const CProps value = std::move(CProps().I4(1, 1));
        for (CEOID oid = Seek(CEDB_SEEK_VALUEFIRSTEQUAL, value); oid; oid = Seek(CEDB_SEEK_VALUENEXTEQUAL, value))
            found.push_back(oid);
        EXPECT_EQ(equal, found);
        EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), Read(m_db).dwError) << "the pointer is not at the end";
    }
}

TEST_F(ValueSeekTest, NextEqualTakesExactlyOneStep)
{
    Make(Order({{Prop(1, CEVT_I4)}}));
    std::vector<CEOID> oids;
    for (const long n : {1, 2, 3, 3}) oids.push_back(Write(m_db, 0, CProps().I4(1, n)));
    ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, 0, nullptr);
    EXPECT_EQ(oids[1], Seek(CEDB_SEEK_VALUENEXTEQUAL, CProps().I4(1, 2)));
    ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, 0, nullptr);
    ExpectNothing(CEDB_SEEK_VALUENEXTEQUAL, CProps().I4(1, 3));
    ExpectNothing(CEDB_SEEK_VALUENEXTEQUAL, CProps().I4(1, 1));
}

TEST_F(ValueSeekTest, NextEqualFromTheGapLandsOnTheFollowingRecord)
{
    Make(Order({{Prop(1, CEVT_I4)}}));
    std::vector<CEOID> oids;
    for (const long n : {1, 1, 1, 2}) oids.push_back(Write(m_db, 0, CProps().I4(1, n)));
    const CProps value = std::move(CProps().I4(1, 1));
    std::vector<CEOID> deleted;
    for (CEOID oid = Seek(CEDB_SEEK_VALUEFIRSTEQUAL, value); oid; oid = Seek(CEDB_SEEK_VALUENEXTEQUAL, value)) {
        deleted.push_back(oid);
        EXPECT_WORKS(::CeDeleteRecord(m_db, oid));
    }
    oids.pop_back();
    EXPECT_EQ(oids, deleted);
    EXPECT_EQ(1u, CountRecords(m_guid, m_oidDatabase));
}

TEST_F(ValueSeekTest, ValueSeeksSearchTheWholeOrderFromWhereverTheyStart)
{
    Make(Order({{Prop(1, CEVT_I4)}}));
    std::vector<CEOID> oids;
    for (const long n : {10, 20, 30}) oids.push_back(Write(m_db, 0, CProps().I4(1, n)));
    for (const DWORD dwStart : {0ul, 1ul, 2ul, 3ul}) {
        ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, dwStart, nullptr);
        EXPECT_EQ(oids[1], Seek(CEDB_SEEK_VALUEGREATER, CProps().I4(1, 11)));
        ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, dwStart, nullptr);
        EXPECT_EQ(oids[1], Seek(CEDB_SEEK_VALUESMALLER, CProps().I4(1, 30)));
        ::CeSeekDatabase(m_db, CEDB_SEEK_BEGINNING, dwStart, nullptr);
        EXPECT_EQ(oids[0], Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().I4(1, 10)));
    }
}

TEST_F(ValueSeekTest, TheIndexIsToldByEverySeek)
{
    Make(Order({{Prop(1, CEVT_I4)}}));
    for (const long n : {10, 20, 20, 30}) Write(m_db, 0, CProps().I4(1, n));
    static const struct
    {
        DWORD dwType;
        long nValue;
        DWORD dwIndex;
    } kCases[] = {{CEDB_SEEK_VALUEFIRSTEQUAL, 20, 1},
                  {CEDB_SEEK_VALUENEXTEQUAL, 20, 2},
                  {CEDB_SEEK_VALUEGREATER, 21, 3},
                  {CEDB_SEEK_VALUESMALLER, 30, 2},
                  {CEDB_SEEK_VALUESMALLER, 11, 0}};
    for (const auto& c : kCases) {
        DWORD dwIndex = 99;
        EXPECT_WORKS(::CeSeekDatabase(m_db, c.dwType, CProps().I4(1, c.nValue).Address(), &dwIndex));
        EXPECT_EQ(c.dwIndex, dwIndex);
    }
    DWORD dwIndex = 99;
    EXPECT_FAILS(ERROR_NO_MORE_ITEMS,
                 ::CeSeekDatabase(m_db, CEDB_SEEK_VALUEGREATER, CProps().I4(1, 31).Address(), &dwIndex));
    EXPECT_EQ(99u, dwIndex);
}

TEST_F(ValueSeekTest, CaseCountsUnlessTheOrderSaysOtherwise)
{
    Make(Order({{Prop(1, CEVT_LPWSTR)}}));
    const CEOID upper = Write(m_db, 0, CProps().Text(1, L"ABC")), lower = Write(m_db, 0, CProps().Text(1, L"abc"));
    EXPECT_EQ(upper, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Text(1, L"ABC")));
    EXPECT_EQ(lower, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Text(1, L"abc")));
    ExpectNothing(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Text(1, L"Abc"));

    Make(Order({{Prop(1, CEVT_LPWSTR), CEDB_SORT_CASEINSENSITIVE}}));
    const CEOID first = Write(m_db, 0, CProps().Text(1, L"ABC")), second = Write(m_db, 0, CProps().Text(1, L"abc"));
    Write(m_db, 0, CProps().Text(1, L"abd"));
    EXPECT_EQ(first, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Text(1, L"aBc")));
    EXPECT_EQ(second, Seek(CEDB_SEEK_VALUENEXTEQUAL, CProps().Text(1, L"Abc")));
    ExpectNothing(CEDB_SEEK_VALUESMALLER, CProps().Text(1, L"aBC"));
}

TEST_F(ValueSeekTest, LeadingPropertiesOfAnOrderAreEnough)
{
    Make(Order({{Prop(1, CEVT_I4)}, {Prop(2, CEVT_LPWSTR), CEDB_SORT_DESCENDING}, {Prop(3, CEVT_UI2)}}));
    std::vector<CEOID> oids; // in the order's sequence
    static const struct
    {
        long n;
        const wchar_t* psz;
        USHORT u;
    } kRecords[] = {{1, L"b", 1}, {1, L"b", 2}, {1, L"a", 9}, {2, L"z", 5}, {3, L"m", 0}};
    for (const auto& r : kRecords) oids.push_back(Write(m_db, 0, CProps().I4(1, r.n).Text(2, r.psz).UI2(3, r.u)));
    EXPECT_EQ(oids, WalkForward(m_db));
    EXPECT_EQ(oids[0], Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().I4(1, 1)));
    EXPECT_EQ(oids[1], Seek(CEDB_SEEK_VALUENEXTEQUAL, CProps().I4(1, 1).Text(2, L"b")));
    ExpectNothing(CEDB_SEEK_VALUENEXTEQUAL, CProps().I4(1, 1).Text(2, L"c"));
    EXPECT_EQ(oids[2], Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().I4(1, 1).Text(2, L"a").UI2(3, 9)));
    EXPECT_EQ(oids[2], Seek(CEDB_SEEK_VALUESMALLER, CProps().I4(1, 2)));
    EXPECT_EQ(oids[1], Seek(CEDB_SEEK_VALUESMALLER, CProps().I4(1, 1).Text(2, L"a")));
    EXPECT_EQ(oids[2], Seek(CEDB_SEEK_VALUEGREATER, CProps().I4(1, 1).Text(2, L"ab").UI2(3, 0)));
    EXPECT_EQ(oids[3], ::CeSeekDatabase(m_db, CEDB_SEEK_VALUEGREATER, CProps().I4(1, 2).Address(), nullptr));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Text(2, L"b")));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Text(2, L"b").I4(1, 1)));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, Seek(CEDB_SEEK_VALUEFIRSTEQUAL, CProps().I4(1, 1).UI2(3, 1)));
}

} // namespace
