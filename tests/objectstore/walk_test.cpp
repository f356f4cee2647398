// Walks: reads and steps one after the other, with a buffer that is there. They go a short way as long as nothing changes,
// and must never tell anything else than a walk that goes the long way.
#include "support.h"

#include <map>
#include <random>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr CEPROPID kReal = Prop(3, CEVT_R8);
constexpr CEPROPID kFlag = Prop(4, CEVT_BOOL);
constexpr CEPROPID kData = Prop(5, CEVT_BLOB);
constexpr CEPROPID kTime = Prop(6, CEVT_FILETIME);
constexpr CEPROPID kWord = Prop(7, CEVT_UI2);
constexpr CEPROPID kAll[] = {kNumber, kName, kReal, kFlag, kData, kTime, kWord};

class WalkTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        // Tables before and behind it in the volume: a walk must end where its own does.
        Write(OpenDb(m_guid, MakeDatabase(m_guid, L"before", {Order({{kNumber}})})), 0, CProps().I4(1, 1));
        m_oidDatabase = MakeDatabase(m_guid, L"records", {Order({{kNumber}}), Order({{kName, CEDB_SORT_DESCENDING}})});
        Write(OpenDb(m_guid, MakeDatabase(m_guid, L"behind", {Order({{kNumber}})})), 0, CProps().I4(1, 1));
        m_writer = OpenDb(m_guid, m_oidDatabase);
    }
    void TearDown() override
    {
        m_writer.Close();
        VolumeTest::TearDown();
    }

    // Most records have all properties, some lack some, one in forty takes pages of its own.
    CProps RandomRecord()
    {
        CProps props;
        props.I4(1, static_cast<long>(m_random() % 1000) - 500);
        if (m_random() % 10) {
            std::wstring strName(m_random() % 40, L'a');
            for (wchar_t& c : strName)
                c = static_cast<wchar_t>(m_random() % 8 ? L'a' + m_random() % 26 : 0x3B1 + m_random() % 20);
            props.Text(2, strName);
        }
        if (m_random() % 10) props.R8(3, m_random() / 8.0);
        props.Bool(4, m_random() % 2);
        if (m_random() % 4 == 0) {
            std::vector<BYTE> data(m_random() % 40 ? m_random() % 60 : 3000 + m_random() % 6000);
            for (BYTE& b : data) b = static_cast<BYTE>(m_random());
            props.Blob(5, data);
        }
        props.Time(6, static_cast<ULONGLONG>(m_random()) << 20).UI2(7, static_cast<USHORT>(m_random()));
        return props;
    }
    void Put(CEOID oid)
    {
        const CProps props = RandomRecord();
        const CEOID oidWritten = Write(m_writer, oid, props);
        ASSERT_NE(0u, oidWritten);
        CRecord known = ReadOid(m_writer, oidWritten); // all its properties: the long way
        m_known[oidWritten] = known.strContent;
    }
    void Delete(CEOID oid)
    {
        ASSERT_WORKS(::CeDeleteRecord(m_writer, oid));
        m_known.erase(oid);
    }
    CEOID Pick()
    {
        auto it = m_known.lower_bound(m_random() % (m_known.rbegin()->first + 1));
        return it->first;
    }

    // The record where the handle stands, into a buffer that is large enough. Its content without what it lacks.
    CEOID ReadIntoBuffer(HANDLE hDb, std::string& strContent)
    {
        CEPROPID rgProps[ARRAYSIZE(kAll)];
        std::copy(std::begin(kAll), std::end(kAll), rgProps);
        WORD wCount = ARRAYSIZE(kAll);
        BYTE* pBuffer = m_rgBuffer;
        DWORD cbBuffer = sizeof m_rgBuffer;
        const CEOID oid = ::CeReadRecordProps(hDb, 0, &wCount, rgProps, &pBuffer, &cbBuffer);
        if (!oid) return 0;
        EXPECT_EQ(ARRAYSIZE(kAll), wCount);
        EXPECT_EQ(m_rgBuffer, pBuffer);
        CEPROPVAL* const pEnd =
            std::remove_if(reinterpret_cast<CEPROPVAL*>(pBuffer), reinterpret_cast<CEPROPVAL*>(pBuffer) + wCount,
                           [](const CEPROPVAL& value) { return value.wFlags & CEDB_PROPNOTFOUND; });
        strContent = Render(reinterpret_cast<CEPROPVAL*>(pBuffer), pEnd - reinterpret_cast<CEPROPVAL*>(pBuffer));
        return oid;
    }

    // A whole walk by steps and reads, and one by reads that move on: each record once, as it is known.
    void ExpectWalks(CEPROPID propid)
    {
        SCOPED_TRACE(propid);
        std::vector<CEOID> orders[2];
        for (const bool bAuto : {false, true}) {
            const CDb db = OpenDb(m_guid, m_oidDatabase, propid, bAuto ? CEDB_AUTOINCREMENT : 0);
            std::map<CEOID, std::string> seen;
            std::string strContent;
            CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr);
            while (oid) {
                const CEOID oidRead = ReadIntoBuffer(db, strContent);
                if (bAuto && !oidRead) break;
                if (!bAuto) {
                    ASSERT_EQ(oid, oidRead);
                }
                ASSERT_TRUE(seen.emplace(oidRead, strContent).second) << oidRead << " came twice";
                orders[bAuto].push_back(oidRead);
                ::SetLastError(kNoLastError);
                if (!bAuto) oid = ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr);
            }
            EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), ::GetLastError());
            EXPECT_EQ(m_known, seen);
        }
        EXPECT_EQ(orders[0], orders[1]);
        EXPECT_EQ(WalkForward(OpenDb(m_guid, m_oidDatabase, propid)), orders[0]);
    }

    std::mt19937 m_random{11};
    CEOID m_oidDatabase = 0;
    CDb m_writer;
    std::map<CEOID, std::string> m_known;
    alignas(CEPROPVAL) BYTE m_rgBuffer[32 * 1024];
};

TEST_F(WalkTest, EachRecordComesOnceInEveryOrderWithoutGapsInTheNumbersAndWithMany)
{
    ASSERT_WORKS(::CeBeginBatch(&m_guid));
    for (int i = 0; i < 3000; ++i) Put(0);
    ASSERT_WORKS(::CeCommitBatch(&m_guid));
    for (const CEPROPID propid : {CEPROPID{0}, kNumber, kName}) ExpectWalks(propid);

    ASSERT_WORKS(::CeBeginBatch(&m_guid));
    for (int i = 0; i < 2000; ++i) Delete(Pick());
    const CEOID oidSolid = m_known.rbegin()->first - 500; // long gaps, and none
    for (auto it = m_known.begin(); it != m_known.end() && it->first < oidSolid;) {
        const CEOID oid = (it++)->first;
        if (oid % 700 > 3) Delete(oid);
    }
    ASSERT_WORKS(::CeCommitBatch(&m_guid));
    for (const CEPROPID propid : {CEPROPID{0}, kNumber, kName}) ExpectWalks(propid);
    for (CEOID oid = 1; oid < m_known.rbegin()->first + 10; ++oid)
        ASSERT_EQ(m_known.count(oid) ? oid : 0, ::CeSeekDatabase(m_writer, CEDB_SEEK_CEOID, oid, nullptr)) << oid;
}

TEST_F(WalkTest, WhatChangesUnderAWalkIsSeenAtOnce)
{
    for (int i = 0; i < 400; ++i) Put(0);
    for (const CEPROPID propid : {CEPROPID{0}, kNumber, kName}) {
        SCOPED_TRACE(propid);
        const CDb db = OpenDb(m_guid, m_oidDatabase, propid);
        bool bBatch = false;
        std::string strContent;
        CEOID oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr);
        for (int nStep = 0; nStep < 2000; ++nStep) {
            switch (m_random() % 12) {
            case 0:
                Put(0);
                break;
            case 1:
                Put(Pick());
                break;
            case 2:
                Put(oid ? oid : Pick()); // in an index it may move
                break;
            case 3:
                Delete(Pick());
                break;
            case 4:
                if (m_random() % 4 != 0) break;
                ASSERT_WORKS(bBatch ? ::CeCommitBatch(&m_guid) : ::CeBeginBatch(&m_guid));
                bBatch = !bBatch;
                break;
            default:
                break;
            }
            if (oid && !m_known.count(oid)) {
                EXPECT_FAILS(ERROR_KEY_DELETED, ReadIntoBuffer(db, strContent));
            } else if (oid) {
                ASSERT_EQ(oid, ReadIntoBuffer(db, strContent));
                ASSERT_EQ(m_known[oid], strContent) << nStep;
            }
            oid = ::CeSeekDatabase(db, CEDB_SEEK_CURRENT, 1, nullptr);
            if (oid) {
                ASSERT_TRUE(m_known.count(oid)) << oid;
            } else {
                ASSERT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), ::GetLastError());
                oid = ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr);
            }
        }
        if (bBatch) {
            ASSERT_WORKS(::CeCommitBatch(&m_guid));
        }
    }
}

TEST_F(WalkTest, ABufferThatIsTooSmallForTheNextRecordLeavesTheWalkWhereItIs)
{
    for (const wchar_t* psz : {L"a", L"bb", L"a much longer name than those before it", L"d"})
        m_known[Write(m_writer, 0, CProps().I4(1, 1).Text(2, psz))];
    const CDb db = OpenDb(m_guid, m_oidDatabase, 0, CEDB_AUTOINCREMENT);
    for (const auto& [oid, strUnused] : m_known) {
        CEPROPID rgProps[] = {kName, kNumber};
        WORD wCount = 2;
        BYTE* pBuffer = m_rgBuffer;
        DWORD cbBuffer = 2 * sizeof(CEPROPVAL) + 8;
        CEOID oidRead = ::CeReadRecordProps(db, 0, &wCount, rgProps, &pBuffer, &cbBuffer);
        if (!oidRead) {
            EXPECT_EQ(static_cast<DWORD>(ERROR_INSUFFICIENT_BUFFER), ::GetLastError());
            EXPECT_EQ(2 * sizeof(CEPROPVAL) + 80, cbBuffer);
            oidRead = ::CeReadRecordProps(db, 0, &wCount, rgProps, &pBuffer, &cbBuffer);
        }
        EXPECT_EQ(oid, oidRead);
    }
}

TEST_F(WalkTest, AnotherListOfPropertiesIsReadAtTheNextStep)
{
    for (int i = 0; i < 3; ++i) Write(m_writer, 0, CProps().I4(1, i).UI2(7, static_cast<USHORT>(10 + i)));
    const CDb db = OpenDb(m_guid, m_oidDatabase, 0, CEDB_AUTOINCREMENT);
    for (int i = 0; i < 3; ++i) {
        CEPROPID rgProps[] = {i == 1 ? kNumber : kWord, kWord};
        WORD wCount = static_cast<WORD>(1 + i % 2);
        BYTE* pBuffer = m_rgBuffer;
        DWORD cbBuffer = sizeof m_rgBuffer;
        ASSERT_NE(0u, ::CeReadRecordProps(db, 0, &wCount, rgProps, &pBuffer, &cbBuffer));
        const CEPROPVAL* const pValues = reinterpret_cast<CEPROPVAL*>(m_rgBuffer);
        EXPECT_EQ(1 + i % 2, wCount);
        EXPECT_EQ(wCount * sizeof(CEPROPVAL), cbBuffer);
        EXPECT_EQ(i == 1 ? i : 10 + i, pValues[0].val.uiVal);
        if (i == 1) {
            EXPECT_EQ(11, pValues[1].val.uiVal);
        }
    }
}

} // namespace
