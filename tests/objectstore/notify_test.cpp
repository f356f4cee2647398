// Windows that are told of changes: by other threads and other processes, in both forms of message.
#include "agent.h"
#include "support/import_patch.h"

#include <functional>
#include <memory>

namespace {

constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr DWORD kLongestWait = 10000; // milliseconds for one message
constexpr DWORD kParam = 0xCAFE0001;

struct CTold
{
    UINT uMessage;
    WPARAM wParam;
    LPARAM lParam;
};

// A window without a picture, and the messages that it was posted.
class CWatcherWindow
{
public:
    CWatcherWindow()
        : m_hwnd(::CreateWindowW(L"STATIC", nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr))
    {
    }
    ~CWatcherWindow() { ::DestroyWindow(m_hwnd); }
    HWND Handle() const { return m_hwnd; }
    CENOTIFYREQUEST Request(HANDLE hHeap = nullptr) const
    {
        return {sizeof(CENOTIFYREQUEST), m_hwnd, CEDB_EXNOTIFICATION, hHeap, kParam};
    }
    // The next message; uMessage is 0 when none comes.
    CTold Next(DWORD dwWait = kLongestWait) const
    {
        MSG message;
        const DWORD dwStart = ::GetTickCount();
        while (!::PeekMessageW(&message, m_hwnd, 0, 0, PM_REMOVE)) {
            const DWORD dwGone = ::GetTickCount() - dwStart;
            if (dwGone >= dwWait) return {};
            ::MsgWaitForMultipleObjects(0, nullptr, FALSE, dwWait - dwGone, QS_ALLINPUT);
        }
        return {message.message, message.wParam, message.lParam};
    }
    // The next message's record, freed; all zero when there is none.
    CENOTIFICATION NextRecord() const
    {
        const CTold told = Next();
        if (told.uMessage != WM_DBNOTIFICATION || told.wParam != 0) {
            ADD_FAILURE() << "message " << told.uMessage << " with " << told.wParam;
            return {};
        }
        const auto pRecord = reinterpret_cast<CENOTIFICATION*>(told.lParam);
        const CENOTIFICATION record = *pRecord;
        CENOTIFYREQUEST request = Request();
        EXPECT_WORKS(::CeFreeNotification(&request, pRecord));
        return record;
    }

private:
    HWND m_hwnd;
};

using Work = std::function<void()>;

DWORD WINAPI RunWork(void* pWork)
{
    (*static_cast<Work*>(pWork))();
    return 0;
}

void InAnotherThread(Work work)
{
    const HANDLE hThread = ::CreateThread(nullptr, 0, RunWork, &work, 0, nullptr);
    ::WaitForSingleObject(hThread, INFINITE);
    CloseHandle(hThread);
}

class NotifyTest : public VolumeTest
{
protected:
    void SetUp() override
    {
        VolumeTest::SetUp();
        m_oid = MakeDatabase(m_guid, L"watched", {Order({{kNumber}})});
        m_oidLast = MakeDatabase(m_guid, L"last", {Order({{kNumber}})});
    }
    CDb Watch(const CWatcherWindow& window, CEOID oid, HANDLE hHeap = nullptr)
    {
        CENOTIFYREQUEST request = window.Request(hHeap);
        CDb db(::CeOpenDatabaseEx(&m_guid, &oid, nullptr, 0, 0, &request));
        EXPECT_TRUE(db.IsOpen());
        return db;
    }
    void ExpectTold(const CWatcherWindow& window, UINT uType, CEOID oid)
    {
        const CENOTIFICATION told = window.NextRecord();
        EXPECT_EQ(sizeof(CENOTIFICATION), told.dwSize);
        EXPECT_EQ(kParam, told.dwParam);
        EXPECT_EQ(uType, told.uType);
        EXPECT_TRUE(SameGuid(m_guid, told.guid));
        EXPECT_EQ(oid, told.oid);
        EXPECT_EQ(m_oid, told.oidParent);
    }
    // Changes are told in the order of their commits: what was not told before this one will not be.
    void ExpectNothingMore(const CWatcherWindow& window)
    {
        const CWatcherWindow other;
        const CDb db = Watch(other, m_oidLast);
        InAnotherThread([&] { EXPECT_WORKS(Write(OpenDb(m_guid, m_oidLast), 0, CProps().I4(1, 1))); });
        EXPECT_EQ(m_oidLast, other.NextRecord().oidParent);
        EXPECT_EQ(0u, window.Next(0).uMessage);
    }
    CEOID m_oid = 0, m_oidLast = 0;
};

TEST_F(NotifyTest, AnotherProcessCreatesChangesAndDeletes)
{
    const CWatcherWindow window;
    const CDb db = Watch(window, m_oid);
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    agent.Do("open watched");
    const CEOID oid = agent.DoForOid("write 0 5");
    ExpectTold(window, DB_CEOID_CREATED, oid);
    agent.Do("write " + std::to_string(oid) + " 6");
    ExpectTold(window, DB_CEOID_CHANGED, oid);
    agent.Do("remove " + std::to_string(oid));
    ExpectTold(window, DB_CEOID_RECORD_DELETED, oid);
    ExpectNothingMore(window);
}

TEST_F(NotifyTest, AnotherThreadIsToldOfAndOwnChangesAreNot)
{
    const CWatcherWindow window;
    const CDb db = Watch(window, m_oid);
    EXPECT_WORKS(Write(db, 0, CProps().I4(1, 1)));
    EXPECT_WORKS(Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 2))) << "the same thread, another handle";
    InAnotherThread([&] { EXPECT_WORKS(Write(db, 0, CProps().I4(1, 3))); });
    CEOID oid = 0;
    InAnotherThread([&] { oid = Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 4)); });
    ExpectTold(window, DB_CEOID_CREATED, oid);
    ExpectNothingMore(window);
}

TEST_F(NotifyTest, AChangeThatFailsIsNotTold)
{
    const CWatcherWindow window;
    const CDb db = Watch(window, m_oid);
    InAnotherThread([&] {
        const CDb other = OpenDb(m_guid, m_oid);
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, Write(other, 4711, CProps().I4(1, 1)));
        EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeDeleteRecord(other, 4711));
    });
    ExpectNothingMore(window);
}

TEST_F(NotifyTest, EveryHandleIsToldAndOnlyOfItsDatabase)
{
    const CWatcherWindow first, second;
    const CDb one = Watch(first, m_oid), two = Watch(first, m_oid), three = Watch(second, m_oid);
    CEOID oid = 0;
    InAnotherThread([&] {
        EXPECT_WORKS(Write(OpenDb(m_guid, m_oidLast), 0, CProps().I4(1, 1)));
        oid = Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 2));
    });
    ExpectTold(first, DB_CEOID_CREATED, oid);
    ExpectTold(first, DB_CEOID_CREATED, oid);
    ExpectTold(second, DB_CEOID_CREATED, oid);
    ExpectNothingMore(first);
    ExpectNothingMore(second);
}

TEST_F(NotifyTest, TheRecordLiesInTheHeapThatWasNamed)
{
    const CWatcherWindow window;
    const HANDLE hHeap = ::HeapCreate(0, 0, 0);
    {
        const CDb db = Watch(window, m_oid, hHeap);
        InAnotherThread([&] { EXPECT_WORKS(Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 1))); });
        const CTold told = window.Next();
        ASSERT_EQ(static_cast<UINT>(WM_DBNOTIFICATION), told.uMessage);
        const auto pRecord = reinterpret_cast<CENOTIFICATION*>(told.lParam);
        EXPECT_EQ(sizeof(CENOTIFICATION), ::HeapSize(hHeap, 0, pRecord));
        CENOTIFYREQUEST request = window.Request(hHeap);
        EXPECT_WORKS(::CeFreeNotification(&request, pRecord));
        PROCESS_HEAP_ENTRY entry = {};
        while (::HeapWalk(hHeap, &entry))
            EXPECT_FALSE(entry.wFlags & PROCESS_HEAP_ENTRY_BUSY) << "a record that was not freed";
    }
    ::HeapDestroy(hHeap);
}

TEST_F(NotifyTest, ABatchIsToldWhenItIsCommittedAndNotWhenItIsAbandoned)
{
    const CWatcherWindow window;
    const CDb db = Watch(window, m_oid);
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    agent.Do("open watched");
    agent.Do("begin");
    EXPECT_NE(0u, agent.DoForOid("write 0 1"));
    EXPECT_EQ("1", agent.Do("abandon"));
    agent.Do("begin");
    std::vector<CEOID> oids;
    for (int i = 0; i < 20; ++i) oids.push_back(agent.DoForOid("write 0 " + std::to_string(i)));
    EXPECT_EQ(0u, window.Next(0).uMessage);
    EXPECT_EQ("1", agent.Do("commit"));
    for (const CEOID oid : oids) ExpectTold(window, DB_CEOID_CREATED, oid);
    ExpectNothingMore(window);
}

TEST_F(NotifyTest, ManyChangesAtOnceAreAllToldInTheirOrder)
{
    const CWatcherWindow window;
    const CDb db = Watch(window, m_oid);
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    agent.Do("open watched");
    agent.Do("begin");
    EXPECT_EQ("done", agent.Do("fill 6000"));
    EXPECT_EQ("1", agent.Do("commit"));
    CEOID oidBefore = 0;
    for (int i = 0; i < 6000; ++i) {
        const CENOTIFICATION told = window.NextRecord();
        ASSERT_EQ(static_cast<UINT>(DB_CEOID_CREATED), told.uType) << i;
        ASSERT_GT(told.oid, oidBefore) << i;
        oidBefore = told.oid;
    }
    ExpectNothingMore(window);
}

TEST_F(NotifyTest, AClosedHandleIsToldNothing)
{
    const CWatcherWindow window;
    CDb db = Watch(window, m_oid);
    db.Close();
    InAnotherThread([&] { EXPECT_WORKS(Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 1))); });
    ExpectNothingMore(window);
    db = Watch(window, m_oid);
    CEOID oid = 0;
    InAnotherThread([&] { oid = Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 2)); });
    ExpectTold(window, DB_CEOID_CREATED, oid);
}

TEST_F(NotifyTest, AWindowThatIsGoneDisturbsNobody)
{
    auto pGone = std::make_unique<CWatcherWindow>();
    const CDb db = Watch(*pGone, m_oid);
    const CWatcherWindow window;
    const CDb other = Watch(window, m_oid);
    pGone.reset();
    CEOID oid = 0;
    InAnotherThread([&] { oid = Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 1)); });
    ExpectTold(window, DB_CEOID_CREATED, oid);
}

TEST_F(NotifyTest, AWatchingProcessThatIsKilledIsForgotten)
{
    CAgent agent(m_strPath);
    agent.Do("mount 3");
    ASSERT_EQ(std::to_string(m_oid), agent.Do("watch watched"));
    EXPECT_WORKS(Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 1)));
    agent.Kill();
    // More than the store keeps for a reader that is behind: it would be waited for, again and again.
    const CDb db = OpenDb(m_guid, m_oid);
    const DWORD dwStart = ::GetTickCount();
    for (long i = 0; i < 5000; ++i) ASSERT_WORKS(Write(db, 0, CProps().I4(1, i)));
    EXPECT_LT(::GetTickCount() - dwStart, 20000u);
}

// The old messages, on the object store.
class OldNotifyTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_oid = ::CeCreateDatabase(const_cast<LPWSTR>(L"old watched"), 0, 0, nullptr);
        ASSERT_WORKS(m_oid);
    }
    void TearDown() override { EXPECT_WORKS(::CeDeleteDatabase(m_oid)); }
    void ExpectTold(const CWatcherWindow& window, UINT uMessage, CEOID oid)
    {
        const CTold told = window.Next();
        EXPECT_EQ(uMessage, told.uMessage);
        EXPECT_EQ(oid, told.wParam);
        EXPECT_EQ(static_cast<LPARAM>(m_oid), told.lParam);
    }
    CEOID m_oid = 0;
};

TEST_F(OldNotifyTest, TheMessagesNameRecordAndDatabase)
{
    const CWatcherWindow window;
    const CDb db(::CeOpenDatabase(&m_oid, nullptr, 0, 0, window.Handle()));
    ASSERT_TRUE(db.IsOpen());
    CEOID oid = 0;
    InAnotherThread([&] {
        const CDb other(::CeOpenDatabase(&m_oid, nullptr, 0, 0, nullptr));
        oid = Write(other, 0, CProps().I4(1, 1));
        EXPECT_WORKS(Write(other, oid, CProps().I4(1, 2)));
        EXPECT_WORKS(::CeDeleteRecord(other, oid));
    });
    ExpectTold(window, DB_CEOID_CREATED, oid);
    ExpectTold(window, DB_CEOID_CHANGED, oid);
    ExpectTold(window, DB_CEOID_RECORD_DELETED, oid);
    EXPECT_EQ(0u, window.Next(0).uMessage);
}

TEST_F(OldNotifyTest, AnotherProcessIsToldOfToo)
{
    wchar_t szFolder[MAX_PATH] = L"";
    ASSERT_NE(0u, ::GetEnvironmentVariableW(L"KORVANE_OBJECTSTORE", szFolder, MAX_PATH));
    CAgent agent(szFolder + std::wstring(L"\\objectstore.vol"));
    agent.Do("mount 3");
    ASSERT_EQ("error 2", agent.Do("open nothing"));
    const CWatcherWindow window;
    CENOTIFYREQUEST request = {sizeof request, window.Handle(), 0, nullptr, 0};
    CEGUID store = SystemGuid();
    const CDb db(::CeOpenDatabaseEx2(&store, &m_oid, nullptr, nullptr, 0, &request));
    ASSERT_TRUE(db.IsOpen());
    // Names without spaces are all that an agent's command can say.
    const CEOID oidOther = ::CeCreateDatabase(const_cast<LPWSTR>(L"oldwatched"), 0, 0, nullptr);
    {
        const CDb other(::CeOpenDatabaseEx2(&store, const_cast<CEOID*>(&oidOther), nullptr, nullptr, 0, &request));
        ASSERT_NE(0u, agent.DoForOid("open oldwatched"));
        const CEOID oid = agent.DoForOid("write 0 7");
        const CTold told = window.Next();
        EXPECT_EQ(static_cast<UINT>(DB_CEOID_CREATED), told.uMessage);
        EXPECT_EQ(oid, told.wParam);
        EXPECT_EQ(static_cast<LPARAM>(oidOther), told.lParam);
        EXPECT_EQ("1", agent.Do("shut"));
    }
    EXPECT_WORKS(::CeDeleteDatabase(oidOther));
}

TEST_F(NotifyTest, BadRequestsAreRefused)
{
    const CWatcherWindow window;
    CEOID oid = m_oid;
    const auto open = [&](CENOTIFYREQUEST request) {
        return ::CeOpenDatabaseEx(&m_guid, &oid, nullptr, 0, 0, &request);
    };
    CENOTIFYREQUEST request = window.Request();
    request.dwSize = 16;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, open(request));
    request = window.Request();
    request.hwnd = nullptr;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, open(request));
    request = window.Request();
    request.dwFlags = 2;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, open(request));
    request.dwFlags = 0;
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, open(request)) << "the old messages name no volume";
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOpenDatabaseEx2(&m_guid, &oid, nullptr, nullptr, 0, &request));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeOpenDatabase(&oid, nullptr, 0, 0, reinterpret_cast<HWND>(0x7FFFFFF0)));
    CENOTIFICATION notification = {};
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFreeNotification(nullptr, &notification));
    EXPECT_FAILS(ERROR_INVALID_PARAMETER, ::CeFreeNotification(&request, nullptr));
    // Nothing is left open by a refused request.
    EXPECT_WORKS(::CeDeleteDatabaseEx(&m_guid, m_oid));
}

LONG g_nThreads, g_nEvents;

HANDLE WINAPI CountThread(LPSECURITY_ATTRIBUTES pSecurity, SIZE_T cbStack, LPTHREAD_START_ROUTINE pfn, LPVOID p,
                          DWORD dwFlags, LPDWORD pdwId)
{
    ++g_nThreads;
    return ::CreateThread(pSecurity, cbStack, pfn, p, dwFlags, pdwId);
}

HANDLE WINAPI CountEvent(DWORD dwAccess, BOOL bInherit, LPCWSTR pszName)
{
    ++g_nEvents;
    return ::OpenEventW(dwAccess, bInherit, pszName);
}

TEST_F(NotifyTest, OneThreadServesAllHandlesAndNobodyPaysWithoutThem)
{
    const CImportPatch threads(L"korvanestore.dll", "CreateThread", &CountThread);
    const CImportPatch events(L"korvanestore.dll", "OpenEventW", &CountEvent);
    g_nThreads = g_nEvents = 0;
    const std::wstring strOther = m_folder.File(L"other.vol");
    CEGUID other = MountVolume(strOther, CREATE_NEW);
    const CEOID oidOther = MakeDatabase(other, L"unwatched");
    {
        const CDb unwatched = OpenDb(other, oidOther);
        for (long i = 0; i < 100; ++i) EXPECT_WORKS(Write(unwatched, 0, CProps().I4(1, i)));
        EXPECT_EQ(0, g_nThreads);
        const CWatcherWindow window;
        std::vector<CDb> watched;
        for (int i = 0; i < 20; ++i) watched.push_back(Watch(window, i % 2 ? m_oid : m_oidLast));
        EXPECT_LE(g_nThreads, 1) << "the thread of an earlier test may still be there";
        // Another volume's handles are nobody's concern.
        for (long i = 0; i < 100; ++i) EXPECT_WORKS(Write(unwatched, 0, CProps().I4(1, i)));
        EXPECT_EQ(0, g_nEvents);
        InAnotherThread([&] { EXPECT_WORKS(Write(OpenDb(m_guid, m_oid), 0, CProps().I4(1, 1))); });
        EXPECT_EQ(1, g_nEvents);
        for (int i = 0; i < 10; ++i) EXPECT_EQ(m_oid, window.NextRecord().oidParent);
    }
    EXPECT_WORKS(::CeUnmountDBVol(&other));
}

} // namespace
