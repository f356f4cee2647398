// Conversions between property values and variants.
#include "db_fixture.h"

#include <iomanip>
#include <random>

class PropvalTest : public CDbTest
{
protected:
    // A property value of a type, with every bit of value and flags set but the two that mean something.
    static CEPROPVAL Filled(WORD wType)
    {
        CEPROPVAL prop;
        memset(&prop, 0xAA, sizeof prop);
        prop.propid = 0x00050000 | wType;
        prop.wFlags = 0x0003;
        return prop;
    }
    static _variant_t Date(double dValue) { return _variant_t(dValue, VT_DATE); }
    static FILETIME FileTime(WORD y, WORD m, WORD d, WORD h = 0, WORD min = 0, WORD s = 0, WORD ms = 0)
    {
        const SYSTEMTIME st = {y, m, 0, d, h, min, s, ms};
        FILETIME time = {};
        EXPECT_TRUE(::SystemTimeToFileTime(&st, &time));
        return time;
    }
};

constexpr WORD kTypes[] = {CEVT_I2,       CEVT_I4,   CEVT_R8, CEVT_BOOL, CEVT_UI2, CEVT_UI4, CEVT_LPWSTR,
                           CEVT_FILETIME, CEVT_BLOB, 0,       1,         7,        0xFFFF};

TEST_F(PropvalTest, EachPairOfTypesEitherFitsOrRaisesAtItsLine)
{
    static const struct
    {
        VARTYPE vt;
        WORD wFits, wFitsToo;
        unsigned long ulLine;
    } kRows[] = {
        {VT_I2, CEVT_I2, CEVT_UI2, 150},
        {VT_UI2, CEVT_I2, CEVT_UI2, 162},
        {VT_I4, CEVT_I4, CEVT_UI4, 156},
        {VT_UI4, CEVT_I4, CEVT_UI4, 168},
        {VT_R8, CEVT_R8, CEVT_R8, 174},
        {VT_BOOL, CEVT_BOOL, CEVT_BOOL, 128},
        {VT_DATE, CEVT_FILETIME, CEVT_FILETIME, 134},
        {VT_BSTR, CEVT_LPWSTR, CEVT_LPWSTR, 180},
    };
    for (const auto& row : kRows)
        for (const WORD wType : kTypes) {
            SCOPED_TRACE(testing::Message() << "variant " << row.vt << ", property " << wType);
            CEPROPVAL prop = Filled(wType);
            const _variant_t value = OfType(row.vt);
            if (wType == row.wFits || wType == row.wFitsToo)
                EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, value));
            else
                EXPECT_ROW_RAISE(row.ulLine, E_FAIL, "Incompatible types found",
                                 CRow::getPropvalFromVariant(&prop, value));
            EXPECT_EQ(0x0002, prop.wFlags) << "bit 0 goes in either case, the rest stays";
            EXPECT_EQ(0x00050000u | wType, prop.propid);
        }
}

TEST_F(PropvalTest, OtherVariantsAreNotSupportedForAnyType)
{
    for (const VARTYPE vt : {VT_EMPTY, VT_R4, VT_CY, VT_DISPATCH, VT_ERROR, VT_VARIANT, VT_UNKNOWN, VT_DECIMAL, VT_I1,
                             VT_UI1, VT_I8, VT_UI8, VT_INT, VT_UINT})
        for (const WORD wType : kTypes) {
            CEPROPVAL prop = Filled(wType);
            _variant_t value = OfType(vt);
            EXPECT_ROW_RAISE(185, E_FAIL, "Unsupported data type", CRow::getPropvalFromVariant(&prop, value));
            EXPECT_EQ(0x0002, prop.wFlags);
            V_VT(&value) = VT_EMPTY;
        }
}

TEST_F(PropvalTest, ByReferenceIsAnotherType)
{
    BSTR text = ::SysAllocString(L"x");
    _variant_t value;
    V_VT(&value) = VT_BSTR | VT_BYREF;
    V_BSTRREF(&value) = &text;
    CEPROPVAL prop = Filled(CEVT_LPWSTR);
    EXPECT_ROW_RAISE(185, E_FAIL, "Unsupported data type", CRow::getPropvalFromVariant(&prop, value));
    ::SysFreeString(text);
}

TEST_F(PropvalTest, NullFlagsTheDeletionAndLeavesTheValue)
{
    for (const WORD wType : kTypes) {
        CEPROPVAL prop = Filled(wType);
        const CEPROPVAL before = prop;
        EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, Null()));
        EXPECT_EQ(0x0002 | CEDB_PROPDELETE, prop.wFlags);
        EXPECT_EQ(0, memcmp(&before.val, &prop.val, sizeof prop.val));
    }
}

TEST_F(PropvalTest, NumbersAreCopiedBitByBit)
{
    CEPROPVAL prop = Filled(CEVT_UI2);
    EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, _variant_t(static_cast<short>(-2))));
    EXPECT_EQ(0xFFFE, prop.val.uiVal);
    prop = Filled(CEVT_I2);
    _variant_t value = OfType(VT_UI2);
    V_UI2(&value) = 0x8001;
    EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, value));
    EXPECT_EQ(-32767, prop.val.iVal);
    prop = Filled(CEVT_UI4);
    EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, _variant_t(-2L)));
    EXPECT_EQ(0xFFFFFFFEu, prop.val.ulVal);
    prop = Filled(CEVT_I4);
    value = OfType(VT_UI4);
    V_UI4(&value) = 0x80000001;
    EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, value));
    EXPECT_EQ(-2147483647L, prop.val.lVal);
    prop = Filled(CEVT_R8);
    EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, _variant_t(-0.0)));
    EXPECT_EQ(0, memcmp("\0\0\0\0\0\0\0\x80", &prop.val.dblVal, 8));
}

TEST_F(PropvalTest, ABoolIsOneOrZero)
{
    for (const VARIANT_BOOL value : {VARIANT_TRUE, static_cast<VARIANT_BOOL>(1), static_cast<VARIANT_BOOL>(256)}) {
        _variant_t var = OfType(VT_BOOL);
        V_BOOL(&var) = value;
        CEPROPVAL prop = Filled(CEVT_BOOL);
        EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, var));
        EXPECT_EQ(1, prop.val.boolVal);
    }
    CEPROPVAL prop = Filled(CEVT_BOOL);
    EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, OfType(VT_BOOL)));
    EXPECT_EQ(0, prop.val.boolVal);
}

TEST_F(PropvalTest, ATextsPointerIsLeftToTheCaller)
{
    CEPROPVAL prop = Filled(CEVT_LPWSTR);
    EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, Bstr(L"text")));
    EXPECT_EQ(nullptr, prop.val.lpwstr);
}

TEST_F(PropvalTest, ADateBecomesItsFileTimeWithoutTimeZone)
{
    static const struct
    {
        double dDate;
        WORD y, m, d, h, min, s;
    } kCases[] = {{0.0, 1899, 12, 30, 0, 0, 0},       {1.5, 1899, 12, 31, 12, 0, 0},
                  {37988.0, 2004, 1, 2, 0, 0, 0},     {38051.588298611112, 2004, 3, 5, 14, 7, 9},
                  {2958465.0, 9999, 12, 31, 0, 0, 0}, {-109205.0, 1601, 1, 1, 0, 0, 0},
                  {-1.25, 1899, 12, 29, 6, 0, 0}};
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.dDate);
        CEPROPVAL prop = Filled(CEVT_FILETIME);
        EXPECT_EQ(0, CRow::getPropvalFromVariant(&prop, Date(c.dDate)));
        const FILETIME expected = FileTime(c.y, c.m, c.d, c.h, c.min, c.s);
        EXPECT_EQ(0, ::CompareFileTime(&expected, &prop.val.filetime));
        _variant_t back;
        EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, back));
        EXPECT_EQ(VT_DATE, V_VT(&back));
        EXPECT_NEAR(c.dDate, V_DATE(&back), 1e-9);
    }
}

TEST_F(PropvalTest, EveryFileTimeBecomesTheDateThatTheSystemMakesOfIt)
{
    constexpr ULONGLONG kSecond = 10000000, kDay = 86400 * kSecond, kDateZero = 109205 * kDay;
    std::vector<ULONGLONG> times = {0,
                                    1,
                                    kDateZero - kSecond,
                                    kDateZero,
                                    kDateZero + kSecond,
                                    kDateZero + kDay - kSecond,
                                    (109205 + 2958465) * kDay,
                                    (109205 + 2958466) * kDay - kSecond};
    std::mt19937_64 random(7);
    for (int i = 0; i < 20000; ++i) {
        const ULONGLONG ull = random() % ((109205 + 2958466) * kDay);
        times.push_back(i % 4 == 0 ? ull : ull / kSecond * kSecond); // most are whole seconds
    }
    for (const ULONGLONG ull : times) {
        const FILETIME time = {static_cast<DWORD>(ull), static_cast<DWORD>(ull >> 32)};
        UDATE parts = {};
        DATE expected = -1;
        ASSERT_TRUE(::FileTimeToSystemTime(&time, &parts.st)) << ull;
        ASSERT_EQ(S_OK, ::VarDateFromUdate(&parts, 0, &expected)) << ull;
        CEPROPVAL prop = Filled(CEVT_FILETIME);
        prop.val.filetime = time;
        _variant_t value(L"a text before");
        ASSERT_EQ(0, CRow::getVariantFromPropval(&prop, value)) << ull;
        ASSERT_EQ(VT_DATE, V_VT(&value));
        ASSERT_EQ(expected, V_DATE(&value)) << ull;
    }
}

TEST_F(PropvalTest, EveryDateBecomesTheFileTimeThatTheSystemMakesOfIt)
{
    std::vector<DATE> dates = {0,     0.5, 1,     2958465, 2958465.5, 36526.25, 36526 + 1e-9, 40000 - 1e-9,
                               -0.25, -1,  -1.75, -100000};
    std::mt19937_64 random(8);
    for (int i = 0; i < 20000; ++i) {
        const DATE seconds = static_cast<DATE>(random() % (2958466ULL * 86400));
        const DATE date = seconds / 86400;
        dates.push_back(i % 4 == 0 ? date + static_cast<DATE>(random() % 1000) / 86400000 : date);
    }
    for (const DATE date : dates) {
        UDATE parts = {};
        FILETIME expected = {};
        ASSERT_EQ(S_OK, ::VarUdateFromDate(date, 0, &parts)) << date;
        ASSERT_TRUE(::SystemTimeToFileTime(&parts.st, &expected)) << date;
        CEPROPVAL prop = Filled(CEVT_FILETIME);
        ASSERT_EQ(0, CRow::getPropvalFromVariant(&prop, Date(date))) << date;
        ASSERT_EQ(0, ::CompareFileTime(&expected, &prop.val.filetime)) << std::setprecision(20) << date;
    }
}

TEST_F(PropvalTest, ATextOfAnyLengthIsCopiedUpToItsTerminatorWhereverItBegins)
{
    for (size_t nLength = 0; nLength < 70; ++nLength) {
        for (size_t nStart = 0; nStart < 4; ++nStart) {
            std::vector<wchar_t> room(nStart, L'#');
            for (size_t i = 0; i < nLength; ++i) room.push_back(static_cast<wchar_t>(i % 3 == 0 ? 0x100 : 0x8000 + i));
            room.push_back(0);
            const std::wstring expected(room.data() + nStart, nLength);
            CEPROPVAL prop = Filled(CEVT_LPWSTR);
            prop.val.lpwstr = room.data() + nStart;
            // What is there is used again, or replaced.
            for (const std::wstring& before :
                 {std::wstring(), expected, expected + L'!', expected.substr(0, nLength / 2), std::wstring(90, L'?')}) {
                _variant_t value(before.c_str());
                ASSERT_EQ(0, CRow::getVariantFromPropval(&prop, value));
                ASSERT_EQ(VT_BSTR, V_VT(&value));
                ASSERT_EQ(expected, std::wstring(V_BSTR(&value), ::SysStringLen(V_BSTR(&value))))
                    << nLength << ' ' << nStart << ' ' << before.size();
            }
        }
    }
}

TEST_F(PropvalTest, ATextIsNotReadBeyondThePageThatItEndsIn)
{
    BYTE* const pPages = static_cast<BYTE*>(::VirtualAlloc(nullptr, 0x2000, MEM_RESERVE, PAGE_NOACCESS));
    ASSERT_TRUE(::VirtualAlloc(pPages, 0x1000, MEM_COMMIT, PAGE_READWRITE));
    const std::wstring longer(100, L'y');
    for (size_t nLength = 0; nLength < 40; ++nLength) {
        const std::wstring text(nLength, L'x');
        CEPROPVAL prop = Filled(CEVT_LPWSTR);
        prop.val.lpwstr = reinterpret_cast<LPWSTR>(pPages + 0x1000) - (nLength + 1);
        std::copy_n(text.c_str(), nLength + 1, prop.val.lpwstr);
        for (const std::wstring& before : {std::wstring(), text, longer}) {
            _variant_t value(before.c_str());
            ASSERT_EQ(0, CRow::getVariantFromPropval(&prop, value));
            ASSERT_EQ(text, std::wstring(V_BSTR(&value)));
        }
    }
    ::VirtualFree(pPages, 0, MEM_RELEASE);
}

TEST_F(PropvalTest, AVariantMayBeMadeOutOfItsOwnText)
{
    for (UINT nStart = 0; nStart < 3; ++nStart) {
        _variant_t value(L"its own text");
        CEPROPVAL prop = Filled(CEVT_LPWSTR);
        prop.val.lpwstr = V_BSTR(&value) + nStart;
        ASSERT_EQ(0, CRow::getVariantFromPropval(&prop, value));
        EXPECT_STREQ(L"its own text" + nStart, V_BSTR(&value));
    }
}

TEST_F(PropvalTest, AVariantsBytesThatAreNoWholeCharactersAreReplaced)
{
    for (UINT cb = 1; cb < 40; cb += 2) {
        const std::wstring text(cb / 2, L'x');
        CEPROPVAL prop = Filled(CEVT_LPWSTR);
        prop.val.lpwstr = const_cast<LPWSTR>(text.c_str());
        _variant_t value;
        V_VT(&value) = VT_BSTR;
        V_BSTR(&value) = ::SysAllocStringByteLen(nullptr, cb);
        ASSERT_EQ(0, CRow::getVariantFromPropval(&prop, value));
        ASSERT_EQ(cb / 2 * sizeof(wchar_t), ::SysStringByteLen(V_BSTR(&value)));
        ASSERT_EQ(text, std::wstring(V_BSTR(&value)));
    }
}

TEST_F(PropvalTest, ADateBeforeFileTimesIsTracedAndRaisesTheSystemsCode)
{
    CEPROPVAL prop = Filled(CEVT_FILETIME);
    const long lExpected = static_cast<long>(0x80070000 | ERROR_INVALID_PARAMETER);
    // 4 March 1500, 06:00:00
    EXPECT_ROW_RAISE(144, lExpected, "Call to SystemTimeToFileTime(...) failed",
                     CRow::getPropvalFromVariant(&prop, Date(-146037.25)));
    const std::string log = Log();
    const size_t atTrace = log.find("korvanedb/row(143) : 'dt.st'T : SYSTEMTIME {");
    ASSERT_NE(std::string::npos, atTrace);
    EXPECT_NE(std::string::npos, log.find("/1500  6:0:0:0", atTrace));
}

TEST_F(PropvalTest, ADateOutOfAllRangesGivesTheSystemsCodeUnraised)
{
    CEPROPVAL prop = Filled(CEVT_FILETIME);
    for (const double dDate : {2958466.0, 1e300, -657435.0, -1e300}) {
        const std::string before = Log();
        UDATE dt;
        const long lExpected = ::VarUdateFromDate(dDate, 0, &dt);
        EXPECT_GT(0, lExpected);
        EXPECT_EQ(lExpected, CRow::getPropvalFromVariant(&prop, Date(dDate)));
        EXPECT_EQ(before, Log());
    }
}

TEST_F(PropvalTest, EachPropertyTypeBecomesItsVariant)
{
    CEPROPVAL prop = Filled(CEVT_I2);
    prop.val.iVal = -5;
    _variant_t value;
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ("I2:-5", Describe(value));
    prop.propid = CEVT_UI2;
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ("UI2:65531", Describe(value));
    prop.val.lVal = -7;
    prop.propid = CEVT_I4;
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ("I4:-7", Describe(value));
    prop.propid = CEVT_UI4;
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ("UI4:4294967289", Describe(value));
    prop.propid = CEVT_BOOL;
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ("BOOL:-1", Describe(value));
    prop.val.boolVal = 0;
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ("BOOL:0", Describe(value));
    prop.propid = CEVT_R8;
    prop.val.dblVal = 1e300;
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ(1e300, V_R8(&value));
    prop.propid = CEVT_LPWSTR;
    prop.val.lpwstr = const_cast<wchar_t*>(L"abc");
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ("BSTR:abc", Describe(value));
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value)) << "over a text";
    EXPECT_EQ("BSTR:abc", Describe(value));
    prop.val.lpwstr = nullptr;
    EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ(VT_BSTR, V_VT(&value));
    EXPECT_EQ(nullptr, V_BSTR(&value));
}

TEST_F(PropvalTest, WhatIsNotFoundIsNullWhateverItsType)
{
    for (const WORD wType : kTypes) {
        CEPROPVAL prop = Filled(wType);
        prop.wFlags = CEDB_PROPNOTFOUND;
        _variant_t value = Bstr(L"before");
        EXPECT_EQ(0, CRow::getVariantFromPropval(&prop, value));
        EXPECT_EQ("NULL", Describe(value));
    }
}

TEST_F(PropvalTest, WhatCannotBeConvertedRaisesAndLeavesTheVariantAlone)
{
    _variant_t value = Bstr(L"before");
    CEPROPVAL prop = Filled(CEVT_BLOB);
    EXPECT_ROW_RAISE(238, E_NOTIMPL, "Blob type not ipmlemented", CRow::getVariantFromPropval(&prop, value));
    for (const WORD wType : {0, 1, 4, 6, 7, 8, 30, 66, 0xFFFF}) {
        prop = Filled(wType);
        EXPECT_ROW_RAISE(241, E_FAIL, "Unknown data type", CRow::getVariantFromPropval(&prop, value));
    }
    prop = Filled(CEVT_FILETIME);
    prop.val.filetime = {0, 0x80000000};
    EXPECT_ROW_RAISE(206, E_FAIL, "FileTimeToSystemTime failed", CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ("BSTR:before", Describe(value));
}

TEST_F(PropvalTest, ATimeBeyondDatesGivesTheSystemsCodeUnraised)
{
    _variant_t value = Bstr(L"before");
    CEPROPVAL prop = Filled(CEVT_FILETIME);
    prop.val.filetime = FileTime(9999, 12, 31, 23, 59, 59, 999);
    prop.val.filetime.dwHighDateTime += 0x10000000; // some thousand years later
    const std::string before = Log();
    EXPECT_GT(0, CRow::getVariantFromPropval(&prop, value));
    EXPECT_EQ(before, Log());
    EXPECT_EQ("BSTR:before", Describe(value));
}

TEST_F(PropvalTest, TimesToTheSecondComeBackUnchanged)
{
    // Every 97 days, 13 hours, 7 minutes and 11 seconds from 1900 on.
    for (int i = 0; i < 1200; ++i) {
        const ULONGLONG ullSeconds = static_cast<ULONGLONG>(i) * (((97 * 24 + 13) * 60 + 7) * 60 + 11);
        FILETIME time = FileTime(1900, 1, 1);
        ULARGE_INTEGER ticks = {{time.dwLowDateTime, time.dwHighDateTime}};
        ticks.QuadPart += ullSeconds * 10000000;
        CEPROPVAL prop = Filled(CEVT_FILETIME);
        prop.val.filetime = {ticks.LowPart, ticks.HighPart};
        _variant_t value;
        ASSERT_EQ(0, CRow::getVariantFromPropval(&prop, value));
        CEPROPVAL back = Filled(CEVT_FILETIME);
        ASSERT_EQ(0, CRow::getPropvalFromVariant(&back, value));
        ASSERT_EQ(0, ::CompareFileTime(&prop.val.filetime, &back.val.filetime)) << i;
    }
}

TEST_F(PropvalTest, AVariantThatCannotBeClearedEndsInAComError)
{
    _variant_t bad;
    V_VT(&bad) = 0x0FFF;
    CEPROPVAL prop = Filled(CEVT_LPWSTR);
    prop.val.lpwstr = const_cast<wchar_t*>(L"abc");
    long lCode = 0;
    try {
        CRow::getVariantFromPropval(&prop, bad);
    } catch (const _com_error& error) {
        lCode = error.Error();
    }
    EXPECT_EQ(static_cast<long>(DISP_E_BADVARTYPE), lCode);
    V_VT(&bad) = VT_EMPTY;
}
