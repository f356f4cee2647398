// Sort orders: what UNIQUE and NONNULL demand, several properties, text flags, long keys, sorting anew.
#include "support.h"

#include <algorithm>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kSize = Prop(3, CEVT_UI4);

class SortOrderTest : public VolumeTest
{
protected:
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    void Make(const std::vector<SORTORDERSPECEX>& orders)
    {
        m_db.Close();
        m_oidDatabase = MakeDatabase(m_guid, L"sorted" + std::to_wstring(m_nDatabases++), orders);
        m_db = OpenDb(m_guid, m_oidDatabase);
    }
    BOOL SetOrders(const std::vector<SORTORDERSPECEX>& orders)
    {
        m_db.Close();
        CEDBASEINFOEX info = BaseInfo(L"", orders);
        info.dwFlags = CEDB_VALIDSORTSPEC;
        return ::CeSetDatabaseInfoEx2(&m_guid, m_oidDatabase, &info);
    }
    std::vector<CEOID> Sorted(const SORTORDERSPECEX& order)
    {
        return WalkForward(OpenDb(m_guid, m_oidDatabase, order));
    }
    // The texts of a one-property order, in its sequence; equal neighbours joined by '=', others by '<'.
    std::wstring SortedTexts(const std::vector<const wchar_t*>& texts, DWORD dwFlags)
    {
        const SORTORDERSPECEX order = Order({{kName, dwFlags}});
        Make({order});
        for (const wchar_t* psz : texts) EXPECT_WORKS(Write(m_db, 0, CProps().Text(2, psz)));
        const CDb db = OpenDb(m_guid, m_oidDatabase, order);
        std::wstring strOut;
        bool bFirst = true;
        std::vector<CEPROPID> wanted = {kName};
        for (CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr); oid;
             oid = ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr)) {
            LPBYTE pBuffer = nullptr;
            DWORD cb = 0;
            WORD wCount = 1;
            EXPECT_WORKS(::CeReadRecordProps(db, CEDB_ALLOWREALLOC, &wCount, wanted.data(), &pBuffer, &cb));
            const LPWSTR psz = reinterpret_cast<CEPROPVAL*>(pBuffer)->val.lpwstr;
            if (bFirst) {
                bFirst = false;
            } else { // the record before has an equal key when this one is not the first with its own
                const CDb probe = OpenDb(m_guid, m_oidDatabase, order);
                const CEOID first =
                    ::CeSeekDatabase(probe, CEDB_SEEK_VALUEFIRSTEQUAL, CProps().Text(2, psz).Address(), nullptr);
                strOut += first == oid ? L'<' : L'=';
            }
            strOut += psz;
            ::LocalFree(pBuffer);
        }
        EXPECT_EQ("", CheckVolume(m_guid));
        return strOut;
    }
    CEOID m_oidDatabase = 0;
    int m_nDatabases = 0;
    CDb m_db;
};

TEST_F(SortOrderTest, ASecondEqualKeyInAUniqueOrderIsRefused)
{
    Make({Order({{kNumber}}, CEDB_SORT_UNIQUE)});
    const CEOID one = Write(m_db, 0, CProps().I4(1, 1).Text(2, L"first")), two = Write(m_db, 0, CProps().I4(1, 2));
    EXPECT_FAILS(ERROR_REPEATED_KEY, Write(m_db, 0, CProps().I4(1, 1)));
    EXPECT_EQ(2u, CountRecords(m_guid, m_oidDatabase));
    EXPECT_FAILS(ERROR_REPEATED_KEY, Write(m_db, two, CProps().I4(1, 1).Text(2, L"changed")));
    EXPECT_EQ("1:I4=2", ReadOid(m_db, two).strContent) << "the refused write left traces";
    EXPECT_WORKS(Write(m_db, one, CProps().I4(1, 1).Text(2, L"again"))) << "a record's own key is no second one";
    EXPECT_WORKS(::CeDeleteRecord(m_db, one));
    EXPECT_WORKS(Write(m_db, two, CProps().I4(1, 1)));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(SortOrderTest, AUniqueOrderDemandsItsProperties)
{
    Make({Order({{kNumber}, {kName}}, CEDB_SORT_UNIQUE)});
    EXPECT_FAILS(ERROR_DBPROP_NOT_FOUND, Write(m_db, 0, CProps().I4(1, 1)));
    EXPECT_FAILS(ERROR_DBPROP_NOT_FOUND, Write(m_db, 0, CProps().Text(2, L"a")));
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1).Text(2, L"a"));
    EXPECT_WORKS(oid);
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 1).Text(2, L"b"))) << "the whole key is unique, not its parts";
    EXPECT_FAILS(ERROR_REPEATED_KEY, Write(m_db, 0, CProps().Text(2, L"a").I4(1, 1)));
    EXPECT_FAILS(ERROR_DBPROP_NOT_FOUND, Write(m_db, oid, CProps().Remove(kName)));
    EXPECT_EQ("1:I4=1 2:TEXT=(1)a", ReadOid(m_db, oid).strContent);
}

TEST_F(SortOrderTest, TheUniqueFlagWorksOnAPropertyToo)
{
    Make({Order({{kNumber, CEDB_SORT_UNIQUE}})});
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 1)));
    EXPECT_FAILS(ERROR_REPEATED_KEY, Write(m_db, 0, CProps().I4(1, 1)));
    EXPECT_FAILS(ERROR_DBPROP_NOT_FOUND, Write(m_db, 0, CProps().Text(2, L"a")));
}

TEST_F(SortOrderTest, UniqueTextsCompareAsTheOrderDoes)
{
    Make({Order({{kName, CEDB_SORT_CASEINSENSITIVE}}, CEDB_SORT_UNIQUE)});
    EXPECT_WORKS(Write(m_db, 0, CProps().Text(2, L"Key")));
    EXPECT_FAILS(ERROR_REPEATED_KEY, Write(m_db, 0, CProps().Text(2, L"kEY")));
    Make({Order({{kName}}, CEDB_SORT_UNIQUE)});
    EXPECT_WORKS(Write(m_db, 0, CProps().Text(2, L"Key")));
    EXPECT_WORKS(Write(m_db, 0, CProps().Text(2, L"kEY")));
}

TEST_F(SortOrderTest, UniqueLongTextsDifferInTheirLastUnit)
{
    Make({Order({{kName}}, CEDB_SORT_UNIQUE)});
    const std::wstring strLong(3000, L'u');
    EXPECT_WORKS(Write(m_db, 0, CProps().Text(2, strLong + L"a")));
    EXPECT_WORKS(Write(m_db, 0, CProps().Text(2, strLong + L"b")));
    EXPECT_FAILS(ERROR_REPEATED_KEY, Write(m_db, 0, CProps().Text(2, strLong + L"a")));
}

TEST_F(SortOrderTest, ANonnullPropertyMustBeThereAndStay)
{
    Make({Order({{kNumber, CEDB_SORT_NONNULL}})});
    EXPECT_FAILS(ERROR_DBPROP_NOT_FOUND, Write(m_db, 0, CProps().Text(2, L"a")));
    EXPECT_EQ(0u, CountRecords(m_guid, m_oidDatabase));
    const CEOID oid = Write(m_db, 0, CProps().I4(1, 1).Text(2, L"a"));
    EXPECT_FAILS(ERROR_DBPROP_NOT_FOUND, Write(m_db, oid, CProps().Text(2, L"b").Remove(kNumber)));
    EXPECT_EQ("1:I4=1 2:TEXT=(1)a", ReadOid(m_db, oid).strContent);
    EXPECT_WORKS(Write(m_db, oid, CProps().Text(2, L"b"))) << "an update need not repeat it";
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 1))) << "equal keys are allowed";
}

TEST_F(SortOrderTest, SeveralPropertiesSortEachInItsDirection)
{
    const SORTORDERSPECEX order = Order({{kNumber, CEDB_SORT_DESCENDING},
                                         {kName, CEDB_SORT_CASEINSENSITIVE},
                                         {kSize, CEDB_SORT_DESCENDING | CEDB_SORT_UNKNOWNFIRST}});
    Make({order});
    std::vector<CEOID> expected;
    expected.push_back(Write(m_db, 0, CProps().I4(1, 9).Text(2, L"a").UI4(3, 1)));
    expected.push_back(Write(m_db, 0, CProps().I4(1, 9).Text(2, L"B")));
    expected.push_back(Write(m_db, 0, CProps().I4(1, 9).Text(2, L"b").UI4(3, 7)));
    expected.push_back(Write(m_db, 0, CProps().I4(1, 9).Text(2, L"B").UI4(3, 6)));
    expected.push_back(Write(m_db, 0, CProps().I4(1, 9).UI4(3, 1)));
    expected.push_back(Write(m_db, 0, CProps().I4(1, -9).Text(2, L"")));
    expected.push_back(Write(m_db, 0, CProps().Text(2, L"a")));
    expected.push_back(Write(m_db, 0, CProps().UI2(8, 1)));
    EXPECT_EQ(expected, Sorted(order));
    std::vector<CEOID> again = expected; // in whatever sequence they were written
    std::reverse(again.begin(), again.end());
    for (const CEOID oid : again) {
        EXPECT_WORKS(Write(m_db, oid, CProps().UI2(9, 9)));
    }
    EXPECT_EQ(expected, Sorted(order));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(SortOrderTest, ATextIsNotPrefixedIntoTheNextProperty)
{
    const SORTORDERSPECEX order = Order({{kName}, {kNumber}});
    Make({order});
    const CEOID ab1 = Write(m_db, 0, CProps().Text(2, L"ab").I4(1, 1)),
                a9 = Write(m_db, 0, CProps().Text(2, L"a").I4(1, 9));
    const CEOID aMinus = Write(m_db, 0, CProps().Text(2, L"a").I4(1, -9)),
                abMinus = Write(m_db, 0, CProps().Text(2, L"ab").I4(1, -1));
    EXPECT_EQ((std::vector<CEOID>{aMinus, a9, abMinus, ab1}), Sorted(order));
}

TEST_F(SortOrderTest, TextFlagsWork)
{
    EXPECT_EQ(L"co-op<coop<copy", SortedTexts({L"copy", L"co-op", L"coop"}, CEDB_SORT_STRINGSORT));
    EXPECT_EQ(L"a<b<c", SortedTexts({L"c", L"a", L"b"}, 0));
    EXPECT_EQ(L"c<b<a", SortedTexts({L"a", L"c", L"b"}, CEDB_SORT_DESCENDING));
    EXPECT_EQ(L"a=A<b=B", SortedTexts({L"b", L"a", L"B", L"A"}, CEDB_SORT_CASEINSENSITIVE));
    EXPECT_EQ(L"b=B<a=A", SortedTexts({L"b", L"a", L"B", L"A"}, CEDB_SORT_CASEINSENSITIVE | CEDB_SORT_DESCENDING));
    EXPECT_EQ(L"e=\x00e9<f", SortedTexts({L"f", L"e", L"\x00e9"}, CEDB_SORT_IGNORENONSPACE));
    EXPECT_EQ(L"a-b=ab<ac", SortedTexts({L"ac", L"a-b", L"ab"}, CEDB_SORT_IGNORESYMBOLS));
    EXPECT_EQ(L"\x3042=\x30a2<\x3044", SortedTexts({L"\x3044", L"\x3042", L"\x30a2"}, CEDB_SORT_IGNOREKANATYPE));
    EXPECT_EQ(L"A=\xff21<B", SortedTexts({L"B", L"A", L"\xff21"}, CEDB_SORT_IGNOREWIDTH));
    EXPECT_EQ(L"<a", SortedTexts({L"a", L""}, 0)) << "the empty text comes first";
}

// Longer than any key of the engine; what differs comes late.
TEST_F(SortOrderTest, LongTextsSortAndAreFoundInFull)
{
    for (const size_t cchLong : {200u, 255u, 256u, 511u, 600u, 5000u, 32734u}) {
        for (const DWORD dwFlags : {0, CEDB_SORT_DESCENDING, CEDB_SORT_CASEINSENSITIVE}) {
            SCOPED_TRACE(::testing::Message() << cchLong << " units, flags " << dwFlags);
            const SORTORDERSPECEX order = Order({{kName, dwFlags}});
            Make({order});
            std::vector<std::wstring> texts; // ascending
            for (const wchar_t c : {L'a', L'b', L'c'}) {
                texts.push_back(std::wstring(cchLong - 2, L'x') + c);
                texts.push_back(std::wstring(cchLong - 2, L'x') + c + L'a');
                texts.push_back(std::wstring(cchLong - 2, L'x') + c + L'z');
            }
            texts.push_back(std::wstring(cchLong, L'y'));
            std::vector<CEOID> oids(texts.size());
            for (const size_t i : {4, 0, 9, 6, 2, 8, 1, 7, 3, 5}) {
                oids[i] = Write(m_db, 0, CProps().Text(2, texts[i]));
                EXPECT_WORKS(oids[i]);
            }
            const CDb db = OpenDb(m_guid, m_oidDatabase, order);
            for (size_t i = 0; i < texts.size(); ++i) {
                const CProps value = std::move(CProps().Text(2, texts[i])),
                             above = std::move(CProps().Text(2, texts[i] + L"0"));
                EXPECT_EQ(oids[i], ::CeSeekDatabase(db, CEDB_SEEK_VALUEFIRSTEQUAL, value.Address(), nullptr)) << i;
                EXPECT_EQ(oids[i], ::CeSeekDatabase(db, CEDB_SEEK_VALUEGREATER, value.Address(), nullptr)) << i;
                EXPECT_EQ(0u, ::CeSeekDatabase(db, CEDB_SEEK_VALUEFIRSTEQUAL, above.Address(), nullptr)) << i;
                if (dwFlags == 0) {
                    EXPECT_EQ(oids[i], ::CeSeekDatabase(db, CEDB_SEEK_VALUESMALLER, above.Address(), nullptr)) << i;
                    EXPECT_EQ(i == 0 ? 0 : oids[i - 1],
                              ::CeSeekDatabase(db, CEDB_SEEK_VALUESMALLER, value.Address(), nullptr))
                        << i;
                }
            }
            if (dwFlags & CEDB_SORT_DESCENDING) std::reverse(oids.begin(), oids.end());
            EXPECT_EQ(oids, WalkForward(db));
            EXPECT_WORKS(Write(m_db, oids[3], CProps().Text(2, texts[3] + L"q"))) << "a long key can change";
            EXPECT_WORKS(::CeDeleteRecord(m_db, oids[5]));
            EXPECT_EQ("", CheckVolume(m_guid));
        }
    }
}

TEST_F(SortOrderTest, LongTextsAreTheirOwnInSeveralPlacesOfAKey)
{
    const SORTORDERSPECEX order = Order({{kName}, {Prop(4, CEVT_LPWSTR), CEDB_SORT_DESCENDING}, {kNumber}});
    Make({order});
    const std::wstring strLong(900, L'p');
    std::vector<CEOID> expected;
    for (const wchar_t c : {L'a', L'b'}) {
        for (const wchar_t d : {L'z', L'y'}) {
            for (const long n : {1, 2})
                expected.push_back(Write(m_db, 0, CProps().I4(1, n).Text(4, strLong + d).Text(2, strLong + c)));
        }
    }
    EXPECT_EQ(expected, Sorted(order));
    const CDb db = OpenDb(m_guid, m_oidDatabase, order);
    const CProps value = std::move(CProps().Text(2, strLong + L"b").Text(4, strLong + L"y").I4(1, 1));
    EXPECT_EQ(expected[6], ::CeSeekDatabaseEx(db, CEDB_SEEK_VALUEFIRSTEQUAL, value.Address(), 3, nullptr));
    EXPECT_EQ(expected[4], ::CeSeekDatabaseEx(db, CEDB_SEEK_VALUEFIRSTEQUAL, value.Address(), 1, nullptr));
    EXPECT_EQ(expected[5], ::CeSeekDatabaseEx(db, CEDB_SEEK_VALUESMALLER, value.Address(), 2, nullptr));
}

TEST_F(SortOrderTest, ANewSortListSortsAllRecordsAnew)
{
    const SORTORDERSPECEX byNumber = Order({{kNumber}}), byName = Order({{kName}, {kNumber, CEDB_SORT_DESCENDING}});
    Make({byNumber});
    std::vector<CEOID> oids;
    for (int i = 0; i < 300; ++i) oids.push_back(Write(m_db, 0, CProps().I4(1, i).Text(2, i % 2 ? L"odd" : L"even")));
    EXPECT_WORKS(SetOrders({byName}));
    std::vector<CEOID> expected;
    for (int i = 298; i >= 0; i -= 2) expected.push_back(oids[i]);
    for (int i = 299; i >= 0; i -= 2) expected.push_back(oids[i]);
    EXPECT_EQ(expected, Sorted(byName));
    CEOID oid = m_oidDatabase;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOpenDatabaseEx(&m_guid, &oid, nullptr, kNumber, 0, nullptr))
        << "the old order is gone";
    EXPECT_WORKS(SetOrders({}));
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_WORKS(SetOrders({byNumber, byName}));
    EXPECT_EQ(oids, Sorted(byNumber));
    EXPECT_EQ(expected, Sorted(byName));
    Remount();
    EXPECT_EQ(expected, Sorted(byName));
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(SortOrderTest, ASortListThatTheRecordsContradictChangesNothing)
{
    const SORTORDERSPECEX byNumber = Order({{kNumber}});
    Make({byNumber});
    for (const long n : {3, 1, 2, 1}) Write(m_db, 0, CProps().I4(1, n));
    EXPECT_FAILS(ERROR_REPEATED_KEY, SetOrders({Order({{kNumber}}, CEDB_SORT_UNIQUE)}));
    EXPECT_FAILS(ERROR_DBPROP_NOT_FOUND, SetOrders({byNumber, Order({{kName, CEDB_SORT_NONNULL}})}));
    EXPECT_FAILS(ERROR_DBPROP_NOT_FOUND, SetOrders({Order({{kName}}, CEDB_SORT_UNIQUE)}));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, SetOrders({byNumber, byNumber}));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, SetOrders({Order({{Prop(5, CEVT_BLOB)}})}));
    EXPECT_EQ(4u, Sorted(byNumber).size());
    EXPECT_EQ("", CheckVolume(m_guid));
    m_db = OpenDb(m_guid, m_oidDatabase);
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 1)));
}

TEST_F(SortOrderTest, TheOldFormSortsAnewToo)
{
    Make({});
    const CEOID b = Write(m_db, 0, CProps().I4(1, 2)), a = Write(m_db, 0, CProps().I4(1, 1));
    m_db.Close();
    CEDBASEINFO info = {};
    info.dwFlags = CEDB_VALIDSORTSPEC;
    info.wNumSortOrder = 1;
    info.rgSortSpecs[0] = {kNumber, 0};
    EXPECT_WORKS(::CeSetDatabaseInfoEx(&m_guid, m_oidDatabase, &info));
    EXPECT_EQ((std::vector<CEOID>{a, b}), Sorted(Order({{kNumber}})));
}

TEST_F(SortOrderTest, FourOrdersAreKeptUpWithEveryChange)
{
    const std::vector<SORTORDERSPECEX> orders = {Order({{kNumber}}), Order({{kName, CEDB_SORT_CASEINSENSITIVE}}),
                                                 Order({{kSize, CEDB_SORT_DESCENDING}}), Order({{kSize}, {kName}})};
    Make(orders);
    std::vector<CEOID> oids;
    for (int i = 0; i < 200; ++i)
        oids.push_back(
            Write(m_db, 0, CProps().I4(1, i * 37 % 101).Text(2, std::wstring(i % 7, L'a' + i % 5)).UI4(3, i % 13)));
    for (int i = 0; i < 200; i += 3)
        EXPECT_WORKS(Write(m_db, oids[i], CProps().I4(1, i).Remove(i % 2 ? kName : kSize)));
    for (int i = 1; i < 200; i += 3) EXPECT_WORKS(::CeDeleteRecord(m_db, oids[i]));
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_EQ(133u, CountRecords(m_guid, m_oidDatabase));
}

} // namespace
