// The store's limits: each is reached, and one above is refused and changes nothing. The limits of names and sort orders
// in the form that the library uses are in database_test.cpp, those of data and of records in record_test_api.cpp.
#include "support.h"

#include <algorithm>

namespace {

constexpr WORD kMostProperties = 0xFFFF;

class LimitsTest : public VolumeTest
{
protected:
    CDb Make() { return OpenDb(m_guid, MakeDatabase(m_guid, L"limits")); }
};

TEST_F(LimitsTest, ATextHasUpTo32735Units)
{
    const CDb db = Make();
    for (const wchar_t c : {L'x', L'\x4e2d'}) {
        const CEOID oid = Write(db, 0, CProps().Text(1, std::wstring(CEDB_MAXPROPDATASIZE / 2, c)));
        EXPECT_WORKS(oid);
        EXPECT_EQ(CProps().Text(1, std::wstring(32735, c)).Render(), ReadOid(db, oid).strContent);
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(db, oid, CProps().Text(1, std::wstring(32736, c))));
        EXPECT_EQ(CProps().Text(1, std::wstring(32735, c)).Render(), ReadOid(db, oid).strContent);
    }
}

TEST_F(LimitsTest, ADataBlockIsNoLimit)
{
    const CDb db = Make();
    for (int nOff = -1; nOff <= 1; ++nOff) {
        std::vector<BYTE> bytes(CEDB_MAXDATABLOCKSIZE + nOff);
        for (size_t i = 0; i < bytes.size(); ++i) bytes[i] = static_cast<BYTE>(i * 7 + nOff);
        const CEOID oid = Write(db, 0, CProps().Blob(1, bytes));
        EXPECT_EQ(CProps().Blob(1, bytes).Render(), ReadOid(db, oid).strContent);
    }
}

TEST_F(LimitsTest, ARecordHas65535Properties)
{
    const CDb db = Make();
    CProps props;
    for (DWORD i = 0; i < kMostProperties; ++i) props.I2(static_cast<WORD>(i), static_cast<short>(i));
    const CEOID oid = Write(db, 0, props);
    ASSERT_WORKS(oid);
    // There would be room for its data: 131,072 bytes.
    EXPECT_FAILS(ERROR_DISK_FULL, Write(db, oid, CProps().I2(0xFFFF, 1)));
    const CRecord record = ReadOid(db, oid);
    EXPECT_EQ(kMostProperties, record.wCount);
    EXPECT_EQ(props.Render(), record.strContent);
    EXPECT_WORKS(Write(db, oid, CProps().Remove(Prop(0, CEVT_I2)).I2(0xFFFF, 1))) << "what goes makes room";
    EXPECT_EQ(kMostProperties, ReadOid(db, oid).wCount);
    EXPECT_EQ("", CheckVolume(m_guid));
}

TEST_F(LimitsTest, ANewNameHas1To31Characters)
{
    const CEOID oid = MakeDatabase(m_guid, L"name");
    CEDBASEINFO old = {};
    old.dwFlags = CEDB_VALIDNAME;
    std::fill_n(old.szDbaseName, CEDB_MAXDBASENAMELEN, L'o');
    CEDBASEINFOEX info = BaseInfo(L"");
    info.dwFlags = CEDB_VALIDNAME;
    std::fill_n(info.szDbaseName, CEDB_MAXDBASENAMELEN, L'n');
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSetDatabaseInfoEx(&m_guid, oid, &old)) << "no terminator";
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabaseEx(&m_guid, &old)) << "no terminator";
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSetDatabaseInfoEx2(&m_guid, oid, &info)) << "no terminator";
    old.szDbaseName[CEDB_MAXDBASENAMELEN - 1] = info.szDbaseName[CEDB_MAXDBASENAMELEN - 1] = 0;
    EXPECT_WORKS(::CeCreateDatabaseEx(&m_guid, &old));
    EXPECT_WORKS(::CeSetDatabaseInfoEx2(&m_guid, oid, &info));
    for (const wchar_t c : {L'o', L'n'}) {
        CEOID oidFound = 0;
        EXPECT_TRUE(CDb(::CeOpenDatabaseEx(&m_guid, &oidFound, std::wstring(31, c).data(), 0, 0, nullptr)).IsOpen());
        oidFound = 0;
        EXPECT_FAILS(ERROR_FILE_NOT_FOUND,
                     ::CeOpenDatabaseEx(&m_guid, &oidFound, std::wstring(32, c).data(), 0, 0, nullptr));
    }
}

TEST_F(LimitsTest, FourSortOrdersInEveryForm)
{
    const CEOID oid = MakeDatabase(m_guid, L"orders");
    CEDBASEINFOEX info = BaseInfo(L"new");
    info.dwFlags = CEDB_VALIDSORTSPEC;
    CEDBASEINFO old = {};
    old.dwFlags = CEDB_VALIDNAME | CEDB_VALIDSORTSPEC;
    lstrcpyW(old.szDbaseName, L"old");
    SORTORDERSPEC oldest[CEDB_MAXSORTORDER + 1];
    for (WORD i = 0; i <= CEDB_MAXSORTORDER; ++i) oldest[i] = {Prop(i, CEVT_I4), 0};
    for (WORD i = 0; i < CEDB_MAXSORTORDER; ++i) {
        info.rgSortSpecs[i] = Order({{Prop(i, CEVT_I4)}});
        old.rgSortSpecs[i] = oldest[i];
    }
    info.wNumSortOrder = old.wNumSortOrder = CEDB_MAXSORTORDER + 1;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSetDatabaseInfoEx2(&m_guid, oid, &info));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeCreateDatabaseEx(&m_guid, &old));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER,
                 ::CeCreateDatabase(const_cast<LPWSTR>(L"oldest"), 0, CEDB_MAXSORTORDER + 1, oldest));
    info.wNumSortOrder = old.wNumSortOrder = CEDB_MAXSORTORDER;
    EXPECT_WORKS(::CeSetDatabaseInfoEx2(&m_guid, oid, &info));
    EXPECT_WORKS(::CeCreateDatabaseEx(&m_guid, &old));
    const CEOID oidOldest = ::CeCreateDatabase(const_cast<LPWSTR>(L"oldest"), 0, CEDB_MAXSORTORDER, oldest);
    EXPECT_WORKS(oidOldest);
    EXPECT_WORKS(::CeDeleteDatabase(oidOldest));
}

TEST_F(LimitsTest, ThreePropertiesInASortOrderThatComesLater)
{
    const CEOID oid = MakeDatabase(m_guid, L"three");
    const std::vector<CSortKey> keys = {{Prop(1, CEVT_I4)}, {Prop(2, CEVT_LPWSTR)}, {Prop(3, CEVT_R8)}};
    CEDBASEINFOEX info = BaseInfo(L"", {Order(keys)});
    info.dwFlags = CEDB_VALIDSORTSPEC;
    info.rgSortSpecs[0].wNumProps = CEDB_MAXSORTPROP + 1;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeSetDatabaseInfoEx2(&m_guid, oid, &info));
    info.rgSortSpecs[0].wNumProps = CEDB_MAXSORTPROP;
    EXPECT_WORKS(::CeSetDatabaseInfoEx2(&m_guid, oid, &info));
    EXPECT_TRUE(OpenDb(m_guid, oid, Order(keys)).IsOpen());
}

} // namespace
