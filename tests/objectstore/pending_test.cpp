// What the calls of a batch leave to be put into the map later: everybody in the process sees it as if it were there,
// whatever he asks first, and it shares the batch's end.
#include "agent.h"
#include "support/import_patch.h"

#include <algorithm>
#include <map>
#include <new>
#include <random>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4), kText = Prop(2, CEVT_LPWSTR), kKey = Prop(3, CEVT_UI4);

// Different for all below a million, in no order.
long Shuffled(int i)
{
    return static_cast<long>(static_cast<ULONGLONG>(i) * 514229 % 1000003);
}

std::wstring TextOf(int i)
{
    std::wstring str = L"text ";
    for (long n = Shuffled(i) + 1; n > 0; n /= 26) str += static_cast<wchar_t>(L'a' + n % 26);
    return str;
}

// ---- Memory that is out --------------------------------------------------------------------------------------------

int g_nAllocation = 0, g_nFailAt = 0; // counted from 1; 0: none fails

bool IsToFail()
{
    return ++g_nAllocation == g_nFailAt;
}

void* FailingNew(size_t cb)
{
    if (IsToFail()) throw std::bad_alloc();
    return ::operator new(cb);
}

void* FailingMalloc(size_t cb)
{
    return IsToFail() ? nullptr : std::malloc(cb);
}

void* FailingRealloc(void* p, size_t cb)
{
    return IsToFail() ? nullptr : std::realloc(p, cb);
}

class CNoMemory
{
public:
    explicit CNoMemory(int nFailAt)
    {
        g_nAllocation = 0;
        g_nFailAt = nFailAt;
    }
    ~CNoMemory() { g_nFailAt = 0; }
    static bool Met() { return g_nAllocation >= g_nFailAt; }

private:
    CImportPatch m_new{L"korvanestore.dll", "_Znwj", &FailingNew};
    CImportPatch m_malloc{L"korvanestore.dll", "malloc", &FailingMalloc};
    CImportPatch m_realloc{L"korvanestore.dll", "realloc", &FailingRealloc};
};

// ---- The tests -----------------------------------------------------------------------------------------------------

class PendingTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oidDatabase = MakeDatabase(m_guid, L"pending", {Order({{kNumber}}), Order({{kText}})});
        m_db = OpenDb(m_guid, m_oidDatabase);
    }
    void TearDown() override
    {
        m_db.Close();
        VolumeTest::TearDown();
    }
    // Adds records of the numbers from the model's size on.
    void Add(int nCount)
    {
        for (; nCount > 0; --nCount) {
            const int i = static_cast<int>(m_oids.size());
            const CEOID oid = Write(m_db, 0, CProps().I4(1, Shuffled(i)).Text(2, TextOf(i)));
            ASSERT_WORKS(oid);
            m_oids.push_back(oid);
            m_byNumber[Shuffled(i)] = oid;
        }
    }
    void Begin() { ASSERT_WORKS(::CeBeginBatch(&m_guid)); }
    void Commit()
    {
        ASSERT_WORKS(::CeCommitBatch(&m_guid));
        ASSERT_EQ("", CheckVolume(m_guid));
    }
    std::vector<CEOID> SortedByNumber() const
    {
        std::vector<CEOID> oids;
        for (const auto& entry : m_byNumber) oids.push_back(entry.second);
        return oids;
    }
    CEOID Seek(HANDLE hDb, DWORD dwType, long n)
    {
        return ::CeSeekDatabase(hDb, dwType, CProps().I4(1, n).Address(), nullptr);
    }

    CEOID m_oidDatabase = 0;
    CDb m_db;                  // in the order of creation
    std::vector<CEOID> m_oids; // in that order
    std::map<long, CEOID> m_byNumber;
};

// The first block of the engine's own, which is that of a cursor.
void* NoCursor(size_t cb)
{
    return g_nFailAt && g_nAllocation++ == 0 ? nullptr : std::malloc(cb);
}

class CNoCursor
{
public:
    CNoCursor()
    {
        g_nAllocation = 0;
        g_nFailAt = 1;
    }
    ~CNoCursor() { g_nFailAt = 0; }

private:
    CImportPatch m_malloc{L"korvanestore.dll", "malloc", &NoCursor};
};

TEST_F(PendingTest, APointerOutlivesALookForWhichThereIsNoMemory)
{
    Begin();
    Add(3);
    for (const DWORD dwFlags : {DWORD{0}, DWORD{CEDB_AUTOINCREMENT}}) {
        const CDb db = OpenDb(m_guid, m_oidDatabase, 0, dwFlags);
        EXPECT_EQ(m_oids[0], ::CeSeekDatabase(db, CEDB_SEEK_BEGINNING, 0, nullptr));
        EXPECT_WORKS(Write(m_db, m_oids[2], CProps().I4(1, -1)));
        {
            const CNoCursor noCursor;
            EXPECT_EQ(DWORD{ERROR_NOT_ENOUGH_MEMORY}, Read(db).dwError);
        }
        EXPECT_EQ(m_oids[0], Read(db).oid);
    }
    m_byNumber.clear();
    Commit();
}

TEST_F(PendingTest, ACheckOfAUniqueKeyForWhichThereIsNoMemoryRefusesTheOneRecord)
{
    const CEOID oidUnique = MakeDatabase(m_guid, L"unique", {Order({{kKey}}, CEDB_SORT_UNIQUE)});
    const CDb db = OpenDb(m_guid, oidUnique);
    EXPECT_WORKS(Write(db, 0, CProps().UI4(3, 1)));
    Begin();
    EXPECT_WORKS(Write(db, 0, CProps().UI4(3, 2)));
    {
        const CNoCursor noCursor;
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, Write(db, 0, CProps().UI4(3, 3)));
    }
    EXPECT_WORKS(Write(db, 0, CProps().UI4(3, 4)));
    Commit();
    EXPECT_EQ(3u, CountRecords(m_guid, oidUnique));
}

TEST_F(PendingTest, AnEnumerationGoesOnBehindALookForWhichThereIsNoMemory)
{
    for (int i = 0; i < 5; ++i) MakeDatabase(m_guid, L"more " + std::to_wstring(i));
    const CDb search(::CeFindFirstDatabaseEx(&m_guid, 0));
    std::vector<CEOID> oids;
    for (int i = 0; i < 3; ++i) oids.push_back(::CeFindNextDatabaseEx(search, nullptr));
    {
        const CNoCursor noCursor;
        EXPECT_FAILS(ERROR_NOT_ENOUGH_MEMORY, ::CeFindNextDatabaseEx(search, nullptr));
    }
    while (const CEOID oid = ::CeFindNextDatabaseEx(search, nullptr)) oids.push_back(oid);
    EXPECT_EQ(6u, oids.size());
    EXPECT_TRUE(std::is_sorted(oids.begin(), oids.end()));
}

TEST_F(PendingTest, ASeekByValueFindsWhatTheBatchHasJustWritten)
{
    const CDb byNumber = OpenDb(m_guid, m_oidDatabase, kNumber), byText = OpenDb(m_guid, m_oidDatabase, kText);
    Add(500);
    Begin();
    for (int i = 0; i < 20; ++i) {
        Add(100);
        const int nLast = static_cast<int>(m_oids.size()) - 1;
        EXPECT_EQ(m_oids.back(), Seek(byNumber, CEDB_SEEK_VALUEFIRSTEQUAL, Shuffled(nLast)));
        EXPECT_EQ(m_byNumber.begin()->second, Seek(byNumber, CEDB_SEEK_VALUEGREATER, -1));
        EXPECT_EQ(m_byNumber.rbegin()->second, Seek(byNumber, CEDB_SEEK_VALUESMALLER, 2000000));
        EXPECT_EQ(m_oids[nLast / 2], ::CeSeekDatabase(byText, CEDB_SEEK_VALUEFIRSTEQUAL,
                                                      CProps().Text(2, TextOf(nLast / 2)).Address(), nullptr));
        EXPECT_EQ(0u, Seek(byNumber, CEDB_SEEK_VALUEFIRSTEQUAL, Shuffled(nLast + 1)));
    }
    Commit();
}

TEST_F(PendingTest, WalksAndCountsOfABatchAreThoseOfAllThatItHasWritten)
{
    const CDb byNumber = OpenDb(m_guid, m_oidDatabase, kNumber), byText = OpenDb(m_guid, m_oidDatabase, kText);
    Begin();
    for (int i = 0; i < 4; ++i) {
        Add(700);
        std::vector<CEOID> sorted = SortedByNumber();
        EXPECT_EQ(sorted, WalkForward(byNumber));
        EXPECT_EQ(m_oids, WalkForward(m_db));
        EXPECT_EQ(m_oids.size(), CountRecords(m_guid, m_oidDatabase));
        Add(50);
        sorted = SortedByNumber();
        std::reverse(sorted.begin(), sorted.end());
        EXPECT_EQ(sorted, WalkBackward(byNumber));
        Add(50);
        DWORD dwIndex = 0;
        const DWORD nMiddle = static_cast<DWORD>(m_oids.size() / 2);
        EXPECT_EQ(SortedByNumber()[nMiddle], ::CeSeekDatabase(byNumber, CEDB_SEEK_BEGINNING, nMiddle, &dwIndex));
        EXPECT_EQ(nMiddle, dwIndex);
        Add(50);
        EXPECT_EQ(m_oids.size(), WalkForward(byText).size());
        EXPECT_EQ("", CheckVolume(m_guid));
        Add(50);
    }
    Commit();
    EXPECT_EQ(SortedByNumber(), WalkForward(byNumber));
}

TEST_F(PendingTest, APointerStepsOverWhatIsWrittenMeanwhile)
{
    const CDb byNumber = OpenDb(m_guid, m_oidDatabase, kNumber, CEDB_AUTOINCREMENT);
    Begin();
    for (const long n : {10, 30, 50}) EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, n)));
    EXPECT_WORKS(::CeSeekDatabase(byNumber, CEDB_SEEK_BEGINNING, 0, nullptr));
    EXPECT_EQ("1:I4=10", Read(byNumber).strContent);
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 40)));
    EXPECT_EQ("1:I4=30", Read(byNumber).strContent);
    EXPECT_EQ("1:I4=40", Read(byNumber).strContent);
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 45)));
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 60)));
    EXPECT_EQ("1:I4=50", Read(byNumber).strContent) << "the pointer was on it before 45 came";
    EXPECT_EQ("1:I4=60", Read(byNumber).strContent);
    EXPECT_EQ(static_cast<DWORD>(ERROR_NO_MORE_ITEMS), Read(byNumber).dwError);
    Commit();
}

TEST_F(PendingTest, AReadInTheOrderOfCreationStaysWhereItIsWhileAnotherHandleSeeks)
{
    const CDb byNumber = OpenDb(m_guid, m_oidDatabase, kNumber);
    CDb walker = OpenDb(m_guid, m_oidDatabase, 0, CEDB_AUTOINCREMENT);
    Begin();
    Add(3000);
    EXPECT_WORKS(::CeSeekDatabase(walker, CEDB_SEEK_BEGINNING, 0, nullptr));
    for (int i = 0; i < 3000; ++i) {
        const CRecord record = Read(walker);
        ASSERT_EQ(m_oids[i], record.oid);
        ASSERT_EQ(CProps().I4(1, Shuffled(i)).Text(2, TextOf(i)).Render(), record.strContent);
        // The walk goes on for a while between the two.
        if (i % 100 == 50) Add(30);
        if (i % 100 == 60) {
            const long n = Shuffled(static_cast<int>(m_oids.size()) - 1);
            ASSERT_EQ(m_oids.back(), Seek(byNumber, CEDB_SEEK_VALUEFIRSTEQUAL, n));
        }
    }
    walker.Close();
    Commit();
}

TEST_F(PendingTest, RecordsOfTheBatchAreChangedAndDeletedByIt)
{
    const CDb byNumber = OpenDb(m_guid, m_oidDatabase, kNumber);
    Add(50);
    Begin();
    Add(400);
    const auto keyOf = [](size_t i) { return Shuffled(static_cast<int>(i)); };
    for (size_t i = 0; i < 450; i += 3) {
        EXPECT_EQ(m_oids[i], Write(byNumber, m_oids[i], CProps().I4(1, 2000000 + keyOf(i))));
        m_byNumber.erase(keyOf(i));
        m_byNumber[2000000 + keyOf(i)] = m_oids[i];
        Add(1);
    }
    for (size_t i = 1; i < 450; i += 3) {
        EXPECT_WORKS(::CeDeleteRecord(m_db, m_oids[i]));
        m_byNumber.erase(keyOf(i));
        Add(1);
    }
    EXPECT_EQ(m_byNumber.size(), CountRecords(m_guid, m_oidDatabase));
    EXPECT_EQ(SortedByNumber(), WalkForward(byNumber));
    Add(10);
    Commit();
    EXPECT_EQ(SortedByNumber(), WalkForward(byNumber));
}

TEST_F(PendingTest, AKeyThatRepeatsOneOfTheBatchIsRefusedAtOnce)
{
    const CEOID oidUnique =
        MakeDatabase(m_guid, L"unique", {Order({{kNumber}}), Order({{kKey}}, CEDB_SORT_UNIQUE), Order({{kText}})});
    const CDb db = OpenDb(m_guid, oidUnique);
    Begin();
    for (int i = 0; i < 300; ++i) {
        EXPECT_WORKS(Write(db, 0, CProps().I4(1, i % 7).Text(2, TextOf(i)).UI4(3, Shuffled(i))));
        EXPECT_FAILS(ERROR_REPEATED_KEY, Write(db, 0, CProps().I4(1, 1).Text(2, L"again").UI4(3, Shuffled(i / 2))));
    }
    EXPECT_EQ(300u, CountRecords(m_guid, oidUnique));
    Commit();
    EXPECT_EQ(300u, CountRecords(m_guid, oidUnique));
}

TEST_F(PendingTest, ABatchThatIsGivenUpLeavesNothingOfIt)
{
    const CDb byNumber = OpenDb(m_guid, m_oidDatabase, kNumber);
    Add(100);
    const std::vector<CEOID> oids = m_oids, sorted = SortedByNumber();
    Begin();
    Add(2000);
    EXPECT_EQ(SortedByNumber(), WalkForward(byNumber));
    Add(2000);
    EXPECT_WORKS(::CeAbandonBatch(&m_guid));
    EXPECT_EQ(oids, WalkForward(m_db));
    EXPECT_EQ(sorted, WalkForward(byNumber));
    EXPECT_EQ(100u, CountRecords(m_guid, m_oidDatabase));
    Begin();
    EXPECT_EQ(sorted, WalkForward(byNumber)) << "something of the last batch is in this one";
    Commit();
    EXPECT_EQ(sorted, WalkForward(byNumber));
}

TEST_F(PendingTest, ABatchOfMoreThanIsKeptBackIsWhole)
{
    m_db.Close();
    // Keys of 400 bytes and more, so that there are many megabytes of them.
    const CEOID oid = MakeDatabase(m_guid, L"long", {Order({{kText}}), Order({{kNumber}, {kText}})});
    CDb db = OpenDb(m_guid, oid), byText = OpenDb(m_guid, oid, kText);
    constexpr int kRecords = 12000;
    std::map<std::wstring, CEOID> byDigits;
    Begin();
    for (int i = 0; i < kRecords; ++i) {
        const std::wstring strDigits = std::to_wstring(2000000 + Shuffled(i));
        const CEOID oidRecord = Write(db, 0, CProps().I4(1, i % 10).Text(2, std::wstring(190, L'x') + strDigits));
        ASSERT_WORKS(oidRecord);
        byDigits[strDigits] = oidRecord;
        if (i == 3 * kRecords / 4) {
            EXPECT_EQ(byDigits.begin()->second, ::CeSeekDatabase(byText, CEDB_SEEK_BEGINNING, 0, nullptr));
        }
    }
    Commit();
    std::vector<CEOID> sorted;
    for (const auto& entry : byDigits) sorted.push_back(entry.second);
    EXPECT_EQ(sorted, WalkForward(byText));
    byText.Close();
    db.Close();
    Remount();
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_EQ(static_cast<DWORD>(kRecords), CountRecords(m_guid, oid));
}

TEST_F(PendingTest, KeysThatComeInWhateverOrderInBatchesOfWhateverSizeEndUpInTheirs)
{
    std::mt19937 random(5);
    std::multimap<long, CEOID> model;
    const CDb byNumber = OpenDb(m_guid, m_oidDatabase, kNumber);
    int nNext = 0;
    for (int nBatch = 0; nBatch < 30; ++nBatch) {
        Begin();
        const int nWay = static_cast<int>(random() % 4), nCount = static_cast<int>(random() % 1500);
        for (int i = 0; i < nCount; ++i) {
            const long n = nWay == 0   ? ++nNext
                           : nWay == 1 ? 1000000 - nBatch * 2000 - i
                           : nWay == 2 ? static_cast<long>(random() % 100000)
                                       : static_cast<long>(random() % 5) * 1000 + i;
            const CEOID oid = Write(m_db, 0, CProps().I4(1, n).Text(2, std::wstring(random() % 60, L'f')));
            ASSERT_WORKS(oid);
            model.emplace(n, oid);
            if (random() % 300 == 0) {
                ASSERT_WORKS(Seek(byNumber, CEDB_SEEK_VALUEFIRSTEQUAL, n));
            }
            if (random() % 20 == 0) {
                auto at = model.lower_bound(static_cast<long>(random() % 100000));
                if (at == model.end()) continue;
                ASSERT_WORKS(::CeDeleteRecord(byNumber, at->second));
                model.erase(at);
            }
        }
        ASSERT_WORKS(::CeCommitBatch(&m_guid));
    }
    EXPECT_EQ("", CheckVolume(m_guid));
    std::vector<CEOID> sorted;
    for (const auto& entry : model) sorted.push_back(entry.second);
    EXPECT_EQ(sorted, WalkForward(byNumber));
}

TEST_F(PendingTest, ABatchOverManyDatabasesKeepsTheirCountsAndOrdersApart)
{
    constexpr int kDatabases = 9, kRecords = 60;
    std::vector<CEOID> databases;
    std::vector<CDb> handles;
    Begin();
    for (int i = 0; i < kDatabases; ++i) {
        databases.push_back(MakeDatabase(m_guid, L"db" + std::to_wstring(i), {Order({{kNumber}}), Order({{kText}})}));
        handles.push_back(OpenDb(m_guid, databases.back()));
    }
    for (int n = 0; n < kRecords; ++n)
        for (int i = 0; i < kDatabases; ++i)
            ASSERT_WORKS(Write(handles[i], 0, CProps().I4(1, Shuffled(n * kDatabases + i)).Text(2, TextOf(n))));
    for (int i = 0; i < kDatabases; ++i) {
        EXPECT_EQ(static_cast<DWORD>(kRecords), CountRecords(m_guid, databases[i]));
        if (i % 2) {
            EXPECT_EQ(static_cast<size_t>(kRecords), WalkForward(OpenDb(m_guid, databases[i], kText)).size());
        }
        ASSERT_WORKS(Write(handles[i], 0, CProps().I4(1, -1)));
    }
    handles.clear();
    Commit();
    m_db.Close();
    Remount();
    EXPECT_EQ("", CheckVolume(m_guid));
    for (const CEOID oid : databases) EXPECT_EQ(kRecords + 1u, CountRecords(m_guid, oid));
}

TEST_F(PendingTest, ADatabaseIsDeletedWithWhatTheBatchHasAddedToIt)
{
    const CEOID oidOther = MakeDatabase(m_guid, L"other", {Order({{kNumber}})});
    {
        const CDb other = OpenDb(m_guid, oidOther);
        Add(10);
        Begin();
        Add(200);
        for (int i = 0; i < 200; ++i) EXPECT_WORKS(Write(other, 0, CProps().I4(1, Shuffled(i))));
    }
    EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, oidOther));
    CEOIDINFO info;
    EXPECT_FAILS(ERROR_INVALID_HANDLE, ::CeOidGetInfoEx(&m_guid, oidOther, &info));
    const CEOID oidAgain = MakeDatabase(m_guid, L"other", {Order({{kNumber}})});
    EXPECT_EQ(0u, WalkForward(OpenDb(m_guid, oidAgain, kNumber)).size());
    Add(5);
    Commit();
    EXPECT_EQ(m_oids, WalkForward(m_db));
    EXPECT_EQ(SortedByNumber(), WalkForward(OpenDb(m_guid, m_oidDatabase, kNumber)));
}

TEST_F(PendingTest, NewSortOrdersHoldWhatTheBatchHasAddedBefore)
{
    Begin();
    Add(300);
    m_db.Close();
    CEDBASEINFOEX info = BaseInfo(L"", {Order({{kNumber, CEDB_SORT_DESCENDING}}), Order({{kText}})});
    info.dwFlags = CEDB_VALIDSORTSPEC;
    EXPECT_WORKS(::CeSetDatabaseInfoEx2(&m_guid, m_oidDatabase, &info));
    m_db = OpenDb(m_guid, m_oidDatabase);
    Add(300);
    std::vector<CEOID> sorted = SortedByNumber();
    std::reverse(sorted.begin(), sorted.end());
    EXPECT_EQ(sorted, WalkForward(OpenDb(m_guid, m_oidDatabase, kNumber)));
    Add(10);
    Commit();
    EXPECT_EQ(610u, WalkForward(OpenDb(m_guid, m_oidDatabase, kText)).size());
}

TEST_F(PendingTest, OtherProcessesSeeNothingOfItBeforeItsEnd)
{
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    agent.Do("open pending " + std::to_string(kNumber));
    Begin();
    for (const long n : {4, 1, 3}) EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, n)));
    EXPECT_WORKS(Seek(OpenDb(m_guid, m_oidDatabase, kNumber), CEDB_SEEK_VALUEFIRSTEQUAL, 3));
    EXPECT_WORKS(Write(m_db, 0, CProps().I4(1, 2)));
    EXPECT_EQ("list", agent.Do("list"));
    EXPECT_EQ("check ", agent.Do("check"));
    Commit();
    EXPECT_EQ("list 1:I4=1 1:I4=2 1:I4=3 1:I4=4", agent.Do("list"));
    agent.Do("shut");
}

TEST_F(PendingTest, AKilledProcessTakesItAlong)
{
    Add(100);
    {
        CAgent agent(m_strPath);
        agent.Do("mount 3");
        agent.Do("open pending " + std::to_string(kNumber));
        EXPECT_EQ("1", agent.Do("begin"));
        EXPECT_NE("error", agent.Do("fill 20000").substr(0, 5));
        agent.Kill();
    }
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_EQ(m_oids, WalkForward(m_db));
    Begin();
    Add(100);
    Commit();
    EXPECT_EQ(SortedByNumber(), WalkForward(OpenDb(m_guid, m_oidDatabase, kNumber)));
}

TEST_F(PendingTest, ABatchWithoutSomeMemoryIsWholeOrNothing)
{
    CDb byNumber = OpenDb(m_guid, m_oidDatabase, kNumber);
    CEGUID guid = m_guid;
    const auto run = [&]() -> BOOL {
        if (!::CeBeginBatch(&guid)) return FALSE;
        DWORD dwError = 0;
        for (int i = 0; i < 900 && !dwError; ++i) {
            if (!Write(m_db, 0, CProps().I4(1, Shuffled(i)).Text(2, TextOf(i)))) dwError = ::GetLastError();
            if (i % 300 == 250 && !Seek(byNumber, CEDB_SEEK_VALUEFIRSTEQUAL, Shuffled(i))) dwError = ::GetLastError();
        }
        if (!dwError && ::CeCommitBatch(&guid)) return TRUE;
        if (!dwError) dwError = ::GetLastError();
        ::CeAbandonBatch(&guid);
        ::SetLastError(dwError);
        return FALSE;
    };
    DWORD nDue = 0;
    int nFailed = 0, nDone = 0;
    for (int nFailAt = 1, bMet = 1; bMet; ++nFailAt) {
        SCOPED_TRACE(nFailAt);
        ASSERT_LT(nFailAt, 500);
        {
            const CNoMemory out(nFailAt);
            const BOOL bDone = run();
            const DWORD dwLast = ::GetLastError();
            bMet = out.Met();
            ASSERT_TRUE(bDone || dwLast == ERROR_NOT_ENOUGH_MEMORY) << dwLast;
            ASSERT_TRUE(bDone || bMet);
            nFailed += !bDone;
            nDone += bDone && bMet;
            nDue += bDone ? 900 : 0;
        }
        ASSERT_EQ(nDue, CountRecords(m_guid, m_oidDatabase));
        if (nDue < 50000) continue;
        // The database is full soon.
        byNumber.Close();
        m_db.Close();
        ASSERT_EQ("", CheckVolume(m_guid));
        ASSERT_WORKS(::CeDeleteDatabaseEx(&m_guid, m_oidDatabase));
        m_oidDatabase = MakeDatabase(m_guid, L"pending", {Order({{kNumber}}), Order({{kText}})});
        m_db = OpenDb(m_guid, m_oidDatabase);
        byNumber = OpenDb(m_guid, m_oidDatabase, kNumber);
        nDue = 0;
    }
    EXPECT_EQ("", CheckVolume(m_guid));
    EXPECT_GT(nFailed, 0);
    EXPECT_GT(nDone, 10) << "what cannot be kept back is put at once";
}

TEST_F(PendingTest, TheTimeOfTheLastChangeIsNotBeforeTheBatch)
{
    FILETIME ftBefore, ftAfter;
    CEOIDINFO info;
    const auto timeOf = [&] {
        EXPECT_WORKS(::CeOidGetInfoEx(&m_guid, m_oidDatabase, &info));
        return info.infDatabase.ftLastModified;
    };
    ::GetSystemTimeAsFileTime(&ftBefore);
    Begin();
    Add(2);
    const FILETIME ftFirst = timeOf();
    EXPECT_LE(::CompareFileTime(&ftBefore, &ftFirst), 0);
    // Until the clock has gone on, which the batch looks at now and then.
    FILETIME ftLater;
    const DWORD dwStart = ::GetTickCount();
    do {
        Add(1);
        ftLater = timeOf();
    } while (::CompareFileTime(&ftFirst, &ftLater) == 0 && ::GetTickCount() - dwStart < 10000);
    EXPECT_LT(::CompareFileTime(&ftFirst, &ftLater), 0);
    Commit();
    ::GetSystemTimeAsFileTime(&ftAfter);
    const FILETIME ftLast = timeOf();
    EXPECT_LE(::CompareFileTime(&ftLast, &ftAfter), 0);
    EXPECT_EQ(0, ::CompareFileTime(&ftLater, &ftLast));
}

} // namespace
