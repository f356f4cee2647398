// What the tests of the database layer's faults share: a store whose calls can fail, and the raise that a call made.
#ifndef KORVANE_TESTS_FAULTS_DATABASE_FIXTURE_H
#define KORVANE_TESTS_FAULTS_DATABASE_FIXTURE_H

#include "db_fixture.h"
#include "faults.h"
#include "support/guard/guard.h"

#include <cstdio>
#include <string>
#include <vector>

// What a call of the store can fail for.
inline constexpr DWORD kErrors[] = {ERROR_NOT_ENOUGH_MEMORY, ERROR_DISK_FULL, ERROR_KEY_DELETED, ERROR_SUCCESS};

// An opening that fails while it reads a catalogue leaves the catalogues' handles open: they are noted, and closed in the
// end.
class CNoteOpened
{
public:
    CNoteOpened() : m_patch(kLibrary, "CeOpenDatabaseEx@24", &Open)
    {
        s_pOriginal = reinterpret_cast<decltype(&Open)>(m_patch.Original());
    }
    ~CNoteOpened() { CloseAll(); }
    CNoteOpened(const CNoteOpened&) = delete;
    CNoteOpened& operator=(const CNoteOpened&) = delete;

    static void CloseAll()
    {
        for (const HANDLE hDatabase : s_opened) ::CeCloseHandle(hDatabase);
        s_opened.clear();
    }

private:
    static HANDLE WINAPI Open(PCEGUID pguid, PCEOID poid, LPWSTR pszName, CEPROPID propid, DWORD dwFlags,
                              CENOTIFYREQUEST* pRequest)
    {
        const HANDLE hDatabase = s_pOriginal(pguid, poid, pszName, propid, dwFlags, pRequest);
        if (hDatabase != INVALID_HANDLE_VALUE) s_opened.push_back(hDatabase);
        return hDatabase;
    }

    static inline std::vector<HANDLE> s_opened;
    static inline decltype(&Open) s_pOriginal = nullptr;
    const CImportPatch m_patch;
};

// All calls of the store that the library makes. With EWork::kDone what closes has closed when it says that it failed.
class CFailingStore
{
public:
    explicit CFailingStore(DWORD dwError, EWork closing = EWork::kNotDone)
        : m_mount(kLibrary, "CeMountDBVol@12", FALSE, dwError),
          m_unmount(kLibrary, "CeUnmountDBVol@4", FALSE, dwError, closing),
          m_open(kLibrary, "CeOpenDatabaseEx@24", INVALID_HANDLE_VALUE, dwError),
          m_open2(kLibrary, "CeOpenDatabaseEx2@24", INVALID_HANDLE_VALUE, dwError),
          m_close(kLibrary, "CeCloseHandle@4", FALSE, dwError, closing),
          m_seek(kLibrary, "CeSeekDatabase@16", 0, dwError), m_read(kLibrary, "CeReadRecordPropsEx@28", 0, dwError),
          m_write(kLibrary, "CeWriteRecordProps@16", 0, dwError),
          m_delete(kLibrary, "CeDeleteRecord@8", FALSE, dwError), m_info(kLibrary, "CeOidGetInfoEx@12", FALSE, dwError),
          m_heap(kLibrary, "GetProcessHeap", nullptr, dwError)
    {
    }

private:
    const CFailing<&::CeMountDBVol> m_mount;
    const CFailing<&::CeUnmountDBVol> m_unmount;
    const CFailing<&::CeOpenDatabaseEx> m_open;
    const CFailing<&::CeOpenDatabaseEx2> m_open2;
    const CFailing<&::CeCloseHandle> m_close;
    const CFailing<&::CeSeekDatabase> m_seek;
    const CFailing<&::CeReadRecordPropsEx> m_read;
    const CFailing<&::CeWriteRecordProps> m_write;
    const CFailing<&::CeDeleteRecord> m_delete;
    const CFailing<&::CeOidGetInfoEx> m_info;
    const CFailing<&::GetProcessHeap> m_heap;
};

class DatabaseFaultTest : public CItemsTest
{
protected:
    DatabaseFaultTest() { guard::TurnOn(guard::EPlace::kBehind); }

    // Makes the call that may raise, and keeps what the log has of its last raise in the diagnostic build.
    template <class Call> long Raised(Call call)
    {
        m_raise.clear();
#ifdef KORVANE_DIAGNOSTIC
        const size_t cbBefore = Log().size();
#endif
        const long hr = call();
#ifdef KORVANE_DIAGNOSTIC
        const std::string news = Log().substr(cbBefore);
        const size_t at = news.rfind(" : raised ");
        if (at == std::string::npos) return hr;
        const size_t begin = news.find_last_of("\r\n", at) + 1;
        m_raise = news.substr(begin, news.find_first_of("\r\n", at) - begin);
#endif
        return hr;
    }
    void ExpectRaise(const char* pszSource, unsigned long ulLine, long lCode, const std::string& message,
                     long lResult) const
    {
        EXPECT_EQ(lCode, lResult);
#ifdef KORVANE_DIAGNOSTIC
        char sz[256];
        std::snprintf(sz, sizeof sz, "%s(%lu) : raised 0x%08lX \"%s\"", pszSource, ulLine, lCode, message.c_str());
        EXPECT_EQ(sz, m_raise);
#else
        (void)pszSource, (void)ulLine, (void)message;
#endif
    }
    void ExpectConnection(unsigned long ulLine, const char* pszMessage, long lResult) const
    {
        ExpectRaise("korvanedb/connection", ulLine, E_FAIL, pszMessage, lResult);
    }
    void ExpectRow(unsigned long ulLine, const char* pszMessage, long lResult) const
    {
        ExpectRaise("korvanedb/row", ulLine, E_FAIL, pszMessage, lResult);
    }
    void ExpectReadRaise(DWORD dwError, long lResult) const
    {
        if (dwError == ERROR_KEY_DELETED) {
            ExpectRow(98, "ERROR_KEY_DELETED", lResult);
        } else {
            ExpectRow(102, "Call to function CeReadRecordPropsEx(...) failed", lResult);
        }
    }
    void ExpectNone(long lResult) const
    {
        EXPECT_EQ(0, lResult);
        EXPECT_EQ("", m_raise);
    }
    // The record that a row's end leaves when its handle or buffer could not be let go, which is taken out.
    static void ExpectRecordOfRow()
    {
        EXPECT_EQ(E_FAIL, gErrHRESULT);
        EXPECT_STREQ(L"korvanedb/row", gErrFilename);
        EXPECT_EQ(37, gErrLinenumber);
        gErrHRESULT = 0;
    }
    CSmartPtr<CRow> OpenRow()
    {
        CSmartPtr<CRow> row;
        EXPECT_EQ(0, m_connection.OpenTable(L"Items", row));
        return row;
    }

    std::string m_raise;
};

#endif
