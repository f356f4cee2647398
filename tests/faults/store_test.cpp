// The object store's own calls: each allocation and each call of the system fails in turn. A call that fails says what
// failed, which is never that the volume is damaged, and the volume has what it had; no file is left that was to be new.
#include "faults.h"
#include "objectstore/support.h"

#include <ntstatus.h>
#include <winternl.h>

#include <functional>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr wchar_t kVolume[] = L"faults.vol";
constexpr wchar_t kStore[] = L"korvanestore.dll";
constexpr CEPROPID kNumber = Prop(1, CEVT_I4);
constexpr CEPROPID kName = Prop(2, CEVT_LPWSTR);
constexpr int kMost = 24; // of each kind and operation, in the short form

// The calls of the system that the store makes.
class CFailingSystem
{
private:
    static constexpr DWORD kError = ERROR_NO_SYSTEM_RESOURCES;
    const CFailing<&::CreateFileW, 2> m_createFile{kStore, "CreateFileW", INVALID_HANDLE_VALUE, kError};
    const CFailing<&::ReadFile, 2> m_read{kStore, "ReadFile", FALSE, ERROR_CRC};
    const CFailing<&::WriteFile, 2> m_write{kStore, "WriteFile", FALSE, ERROR_DISK_FULL};
    const CFailing<&::FlushFileBuffers, 2> m_flush{kStore, "FlushFileBuffers", FALSE, ERROR_DISK_FULL};
    const CFailing<&::FlushViewOfFile, 2> m_flushView{kStore, "FlushViewOfFile", FALSE, ERROR_DISK_FULL};
    const CFailing<&::SetFilePointer, 2> m_pointer{kStore, "SetFilePointer", INVALID_SET_FILE_POINTER, kError};
    const CFailing<&::SetEndOfFile, 2> m_end{kStore, "SetEndOfFile", FALSE, ERROR_DISK_FULL};
    const CFailing<&::GetFileSize, 2> m_size{kStore, "GetFileSize", INVALID_FILE_SIZE, kError};
    const CFailing<&::GetFileSizeEx, 2> m_sizeEx{kStore, "GetFileSizeEx", FALSE, kError};
    const CFailing<&::GetFileInformationByHandleEx, 2> m_information{kStore, "GetFileInformationByHandleEx", FALSE,
                                                                     kError};
    const CFailing<&::NtQueryInformationFile, 2> m_query{kStore, "NtQueryInformationFile", STATUS_NO_MEMORY, kError};
    const CFailing<&::GetFullPathNameW, 2> m_fullPath{kStore, "GetFullPathNameW", 0, kError};
    const CFailing<&::MoveFileExW, 2> m_move{kStore, "MoveFileExW", FALSE, ERROR_ACCESS_DENIED};
    const CFailing<&::CreateFileMappingW, 2> m_mapping{kStore, "CreateFileMappingW", nullptr, kError};
    const CFailing<&::OpenFileMappingW, 2> m_openMapping{kStore, "OpenFileMappingW", nullptr, kError};
    const CFailing<&::MapViewOfFile, 2> m_map{kStore, "MapViewOfFile", nullptr, ERROR_NOT_ENOUGH_MEMORY};
    const CFailing<&::MapViewOfFileEx, 2> m_mapEx{kStore, "MapViewOfFileEx", nullptr, ERROR_NOT_ENOUGH_MEMORY};
    const CFailing<&::VirtualAlloc, 2> m_pages{kStore, "VirtualAlloc", nullptr, ERROR_NOT_ENOUGH_MEMORY};
    const CFailing<&::LockFileEx, 2> m_lock{kStore, "LockFileEx", FALSE, kError};
    const CFailing<&::OpenProcess, 2> m_process{kStore, "OpenProcess", nullptr, ERROR_ACCESS_DENIED};
    const CFailing<&::GetProcessTimes, 2> m_times{kStore, "GetProcessTimes", FALSE, kError};
    const CFailing<&::CreateEventW, 2> m_event{kStore, "CreateEventW", nullptr, kError};
    const CFailing<&::OpenEventW, 2> m_openEvent{kStore, "OpenEventW", nullptr, kError};
    const CFailing<&::CreateThread, 2> m_thread{kStore, "CreateThread", nullptr, kError};
    const CFailing<&::LCMapStringW, 2> m_sortKey{kStore, "LCMapStringW", 0, kError};
    const CFailing<&::LocalAlloc, 2> m_localAlloc{kStore, "LocalAlloc", nullptr, ERROR_NOT_ENOUGH_MEMORY};
    const CFailing<&::LocalReAlloc, 2> m_localRealloc{kStore, "LocalReAlloc", nullptr, ERROR_NOT_ENOUGH_MEMORY};
    const CFailing<&::PostMessageW, 2> m_post{kStore, "PostMessageW", FALSE, ERROR_NOT_ENOUGH_QUOTA};
};

// What a volume has, as a text; with its own check, and every order walked.
std::string Content(CEGUID guid)
{
    std::string content = CheckVolume(guid);
    const CDb search(::CeFindFirstDatabaseEx(&guid, 0));
    while (const CEOID oidDatabase = ::CeFindNextDatabaseEx(search, nullptr)) {
        CEOIDINFOEX info = {};
        info.wVersion = CEOIDINFOEX_VERSION;
        ::CeOidGetInfoEx2(&guid, oidDatabase, &info);
        for (const wchar_t* psz = info.infDatabase.szDbaseName; *psz; ++psz) content += static_cast<char>(*psz);
        content += " " + std::to_string(info.infDatabase.wNumSortOrder) + " orders\n";
        const CDb db = OpenDb(guid, oidDatabase);
        for (const CEOID oid : WalkForward(db)) content += ReadOid(db, oid).strContent + "\n";
    }
    return content;
}

class StoreFaultTest : public CFaultTest
{
protected:
    StoreFaultTest() : m_path(m_folder.File(kVolume))
    {
        m_guid = MountVolume(m_path, CREATE_NEW);
        MakeDatabase(m_guid, L"other");
        m_oidTowns = MakeDatabase(m_guid, L"towns", {Order({{kNumber}}), Order({{kName}})});
        {
            const CDb db = OpenDb(m_guid, m_oidTowns);
            for (int i = 0; i < 40; ++i) {
                m_oidLast = ::Write(db, 0,
                                    CProps()
                                        .I4(1, i * 7 % 40)
                                        .Text(2, L"Town " + std::to_wstring(i))
                                        .Blob(3, std::vector<BYTE>(i == 20 ? 9000 : i)));
                EXPECT_NE(0u, m_oidLast);
            }
        }
        m_content = Content(m_guid);
        EXPECT_TRUE(::CeUnmountDBVol(&m_guid));
        m_bytes = ReadWholeFile(m_path);
    }

    using Work = std::function<BOOL(CEGUID& guid)>;

    // The folder and the volume as they were at first.
    void Restore()
    {
        for (const std::wstring& name : OtherFiles())
            EXPECT_TRUE(::DeleteFileW(m_folder.File(name).c_str())) << ::GetLastError();
        if (!FileExists(m_path) || ReadWholeFile(m_path) != m_bytes) WriteWholeFile(m_path, m_bytes);
    }
    std::set<std::wstring> OtherFiles() const
    {
        std::set<std::wstring> names = m_folder.Files();
        names.erase(kVolume);
        return names;
    }
    std::string ContentOf(const std::wstring& path)
    {
        CEGUID guid = MountVolume(path, OPEN_EXISTING);
        const std::string content = Content(guid);
        EXPECT_TRUE(::CeUnmountDBVol(&guid));
        return content;
    }
    // What the file of the volume is to have when the work has failed.
    enum class EFile
    {
        kAsItWas,
        kMayBeLost // it was being replaced
    };
    enum class ECalls
    {
        kSome,
        kNone // what it needs of the system is there already
    };
    // `bMounted`: the volume is mounted beforehand, and the work gets its GUID.
    void Fail(const char* pszName, bool bMounted, const Work& work, EFile file = EFile::kAsItWas,
              ECalls calls = ECalls::kSome)
    {
        SCOPED_TRACE(pszName);
        Restore();
        ASSERT_GE(Run(bMounted, work), 0) << m_dwError;
        const std::string expected = ContentOf(m_path);
        const std::set<std::wstring> files = OtherFiles();
        const auto run = [&]() -> long {
            {
                const CWithoutFaults pause;
                Restore();
            }
            const long lResult = Run(bMounted, work);
            const CWithoutFaults pause;
            SCOPED_TRACE("error " + std::to_string(m_dwError) + " " + FailedCall());
            if (lResult < 0) {
                if (file == EFile::kAsItWas) {
                    EXPECT_EQ(m_content, ContentOf(m_path));
                }
                EXPECT_TRUE(OtherFiles().empty());
                EXPECT_FALSE(m_dwError == 0 || m_dwError == ERROR_FILE_CORRUPT || m_dwError == ERROR_FILE_NOT_FOUND);
            } else {
                EXPECT_EQ(expected, ContentOf(m_path));
                EXPECT_EQ(files, OtherFiles());
            }
            return lResult;
        };
        const CSampled some(kMost);
        FailEachAllocation(pszName, run, EAfterwards::kNothingLeft, [](EOutcome outcome, long) {
            EXPECT_TRUE(outcome == EOutcome::kDone || outcome == EOutcome::kCode) << outcome;
        });
        if (calls == ECalls::kSome) {
            const CFailingSystem system;
            FailEachCall(pszName, run, [](const char*, int, long) {});
        }
        Restore();
    }
    long Run(bool bMounted, const Work& work)
    {
        CEGUID guid = InvalidGuid();
        if (bMounted) {
            const CWithoutFaults pause;
            guid = MountVolume(m_path, OPEN_EXISTING);
        }
        ::SetLastError(0);
        const BOOL bDone = work(guid);
        m_dwError = ::GetLastError();
        const CWithoutFaults pause;
        if (!IsInvalidGuid(guid)) {
            EXPECT_TRUE(::CeUnmountDBVol(&guid)) << ::GetLastError();
        }
        return bDone ? 0 : -1;
    }

    CTempFolder m_folder;
    const std::wstring m_path;
    CEGUID m_guid;
    CEOID m_oidTowns = 0, m_oidLast = 0;
    std::string m_content;
    std::vector<BYTE> m_bytes;
    DWORD m_dwError = 0;
};

// The result of a call that has none, by the last error.
template <class Call> BOOL WithoutError(Call call)
{
    ::SetLastError(0);
    call();
    return ::GetLastError() == 0;
}

} // namespace

TEST_F(StoreFaultTest, AVolumeThatThereIsIsMountedOrLeftAsItWas)
{
    for (const DWORD dwFlags : {OPEN_EXISTING, OPEN_ALWAYS}) {
        Fail("CeMountDBVol, a volume that there is", false,
             [&](CEGUID& guid) { return ::CeMountDBVol(&guid, const_cast<LPWSTR>(m_path.c_str()), dwFlags); });
    }
}

TEST_F(StoreFaultTest, AVolumeThatCouldNotBeMadeLeavesNoFile)
{
    const std::wstring path = m_folder.File(L"new.vol");
    for (const DWORD dwFlags : {CREATE_NEW, CREATE_ALWAYS, OPEN_ALWAYS}) {
        Fail("CeMountDBVol, a new volume", false, [&](CEGUID& guid) {
            const BOOL bDone = ::CeMountDBVol(&guid, const_cast<LPWSTR>(path.c_str()), dwFlags);
            const DWORD dwError = ::GetLastError();
            const CWithoutFaults pause;
            if (bDone) {
                EXPECT_EQ("", Content(guid));
            }
            ::SetLastError(dwError);
            return bDone;
        });
    }
}

TEST_F(StoreFaultTest, AVolumeThatCouldNotBeReplacedCanBeReplacedTheNextTime)
{
    for (const DWORD dwFlags : {CREATE_ALWAYS, TRUNCATE_EXISTING}) {
        Fail(
            "CeMountDBVol, a volume that is replaced", false,
            [&](CEGUID& guid) { return ::CeMountDBVol(&guid, const_cast<LPWSTR>(m_path.c_str()), dwFlags); },
            EFile::kMayBeLost);
    }
}

TEST_F(StoreFaultTest, ADatabaseIsMadeWhollyOrNotAtAll)
{
    Fail("CeCreateDatabaseEx2", true, [&](CEGUID& guid) {
        CEDBASEINFOEX info = BaseInfo(L"new", {Order({{kName}, {kNumber}}), Order({{kNumber}})});
        return ::CeCreateDatabaseEx2(&guid, &info) != 0;
    });
}

TEST_F(StoreFaultTest, ADatabaseIsChangedWhollyOrNotAtAll)
{
    Fail("CeSetDatabaseInfoEx2, a name", true, [&](CEGUID& guid) {
        CEDBASEINFOEX info = BaseInfo(L"villages");
        info.dwFlags = CEDB_VALIDNAME;
        return ::CeSetDatabaseInfoEx2(&guid, m_oidTowns, &info);
    });
    Fail("CeSetDatabaseInfoEx2, sort orders", true, [&](CEGUID& guid) {
        CEDBASEINFOEX info = BaseInfo(L"towns", {Order({{kName, CEDB_SORT_DESCENDING}}), Order({{kName}, {kNumber}})});
        info.dwFlags = CEDB_VALIDSORTSPEC;
        return ::CeSetDatabaseInfoEx2(&guid, m_oidTowns, &info);
    });
    Fail("CeChangeDatabaseLCID", true, [&](CEGUID& guid) {
        return WithoutError([&] { ::CeChangeDatabaseLCID(&guid, MAKELCID(MAKELANGID(LANG_FRENCH, 1), SORT_DEFAULT)); });
    });
}

TEST_F(StoreFaultTest, ADatabaseIsDeletedWhollyOrNotAtAll)
{
    Fail("CeDeleteDatabaseEx", true, [&](CEGUID& guid) { return ::CeDeleteDatabaseEx(&guid, m_oidTowns); });
}

TEST_F(StoreFaultTest, ADatabaseIsOpenedFoundAndRead)
{
    Fail(
        "CeOpenDatabaseEx, by name", true,
        [&](CEGUID& guid) {
            CEOID oid = 0;
            const CDb db(::CeOpenDatabaseEx(&guid, &oid, const_cast<LPWSTR>(L"towns"), kName, 0, nullptr));
            return db.IsOpen();
        },
        EFile::kAsItWas, ECalls::kNone);
    Fail("a walk, each record read", true, [&](CEGUID& guid) -> BOOL {
        DWORD dwError = 0;
        {
            const CDb db(::CeOpenDatabaseEx(&guid, &m_oidTowns, nullptr, kName, CEDB_AUTOINCREMENT, nullptr));
            if (!db.IsOpen()) return FALSE;
            BYTE* pBuffer = nullptr;
            DWORD cb = 0, n = 0;
            WORD wProps = 0;
            while (::CeReadRecordPropsEx(db, CEDB_ALLOWREALLOC, &wProps, nullptr, &pBuffer, &cb, nullptr)) ++n;
            dwError = ::GetLastError();
            ::LocalFree(pBuffer);
            if (dwError == ERROR_NO_MORE_ITEMS) {
                EXPECT_EQ(40u, n);
            }
        }
        ::SetLastError(dwError);
        return dwError == ERROR_NO_MORE_ITEMS;
    });
    Fail(
        "seeks by value", true,
        [&](CEGUID& guid) -> BOOL {
            const CDb db(::CeOpenDatabaseEx(&guid, &m_oidTowns, nullptr, kName, 0, nullptr));
            if (!db.IsOpen()) return FALSE;
            CEPROPVAL value = {};
            value.propid = kName;
            value.val.lpwstr = const_cast<LPWSTR>(L"Town 20");
            const DWORD dwValue = reinterpret_cast<DWORD>(&value);
            DWORD dwIndex = 0;
            return ::CeSeekDatabase(db, CEDB_SEEK_VALUEFIRSTEQUAL, dwValue, &dwIndex) &&
                   ::CeSeekDatabase(db, CEDB_SEEK_VALUEGREATER, dwValue, nullptr) &&
                   ::CeSeekDatabase(db, CEDB_SEEK_VALUESMALLER, dwValue, nullptr);
        },
        EFile::kAsItWas, ECalls::kNone);
    Fail("databases and volumes, enumerated and described", true, [&](CEGUID& guid) -> BOOL {
        const CDb search(::CeFindFirstDatabaseEx(&guid, 0));
        if (!search.IsOpen()) return FALSE;
        DWORD n = 0;
        while (const CEOID oid = ::CeFindNextDatabaseEx(search, nullptr)) {
            CEOIDINFOEX info = {};
            info.wVersion = CEOIDINFOEX_VERSION;
            if (!::CeOidGetInfoEx2(&guid, oid, &info)) return FALSE;
            ++n;
        }
        if (::GetLastError() != ERROR_NO_MORE_ITEMS) return FALSE;
        EXPECT_EQ(2u, n);
        CEGUID volume = InvalidGuid();
        wchar_t szPath[MAX_PATH];
        return ::CeEnumDBVolumes(&volume, szPath, MAX_PATH);
    });
}

TEST_F(StoreFaultTest, ARecordIsWrittenWhollyOrNotAtAll)
{
    // The handle is there beforehand.
    const auto fail = [&](const char* pszName, const std::function<BOOL(HANDLE)>& change) {
        Fail(pszName, true, [&](CEGUID& guid) {
            CDb db;
            {
                const CWithoutFaults pause;
                db = OpenDb(guid, m_oidTowns, kName);
            }
            const BOOL bDone = change(db);
            const DWORD dwError = ::GetLastError();
            const CWithoutFaults pause;
            db.Close();
            ::SetLastError(dwError);
            return bDone;
        });
    };
    const std::vector<BYTE> many(5000, 0x55);
    CProps added, changed, shape;
    added.I4(1, 1000).Text(2, L"Zug").Blob(3, many);
    changed.I4(1, -1).Text(2, L"Aarau").Blob(3, many);
    shape.R8(9, 1.5);
    fail("CeWriteRecordProps, a new record", [&](HANDLE h) { return ::Write(h, 0, added) != 0; });
    fail("CeWriteRecordProps, a record that there is", [&](HANDLE h) { return ::Write(h, m_oidLast, changed) != 0; });
    fail("CeWriteRecordProps, a property of its own", [&](HANDLE h) { return ::Write(h, m_oidLast, shape) != 0; });
    fail("CeDeleteRecord", [&](HANDLE h) { return ::CeDeleteRecord(h, m_oidLast); });
}

TEST_F(StoreFaultTest, ABatchIsWholeOrHasNotBeen)
{
    std::vector<CProps> records(20);
    for (int i = 0; i < 20; ++i) records[i].I4(1, 100 - i).Text(2, L"New " + std::to_wstring(i * 7 % 20));
    Fail("a batch", true, [&](CEGUID& guid) {
        DWORD dwError = 0;
        if (!::CeBeginBatch(&guid)) return FALSE;
        BOOL bDone = FALSE;
        {
            const CDb db(::CeOpenDatabaseEx(&guid, &m_oidTowns, nullptr, kName, 0, nullptr));
            bDone = db.IsOpen();
            for (size_t i = 0; bDone && i < records.size(); ++i) bDone = ::Write(db, 0, records[i]) != 0;
            if (bDone) bDone = ::CeDeleteRecord(db, m_oidLast);
            dwError = ::GetLastError();
        }
        if (bDone) {
            bDone = ::CeCommitBatch(&guid);
            dwError = ::GetLastError();
            if (bDone) return TRUE;
        }
        const CWithoutFaults pause;
        ::CeAbandonBatch(&guid); // unless the commit has ended it
        ::SetLastError(dwError);
        return FALSE;
    });
}

TEST_F(StoreFaultTest, AWatchThatCouldNotBeSetLeavesNothing)
{
    const HWND hwnd = ::CreateWindowW(L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
    ASSERT_TRUE(hwnd);
    Fail("CeOpenDatabaseEx with a request for notifications", true, [&](CEGUID& guid) {
        CENOTIFYREQUEST request = {};
        request.dwSize = sizeof request;
        request.hwnd = hwnd;
        request.dwFlags = CEDB_EXNOTIFICATION;
        CDb db(::CeOpenDatabaseEx(&guid, &m_oidTowns, nullptr, 0, 0, &request));
        const DWORD dwError = ::GetLastError();
        const CWithoutFaults pause;
        const BOOL bDone = db.IsOpen();
        db.Close();
        ::SetLastError(dwError);
        return bDone;
    });
    ::DestroyWindow(hwnd);
}

TEST_F(StoreFaultTest, AVolumeIsCheckedOrNothingIsSaidOfIt)
{
    Fail(
        "CeCheckDBVol", true,
        [&](CEGUID& guid) {
            wchar_t szProblem[200] = L"?";
            const BOOL bDone = ::CeCheckDBVol(&guid, szProblem, ARRAYSIZE(szProblem));
            EXPECT_STREQ(L"", szProblem);
            return bDone;
        },
        EFile::kAsItWas, ECalls::kNone);
}

TEST_F(StoreFaultTest, ACompactionThatFailsLeavesTheVolumeAndNothingElse)
{
    Fail("CeCompactDBVol", false, [&](CEGUID&) {
        wchar_t szProblem[200] = L"?";
        const BOOL bDone = ::CeCompactDBVol(m_path.c_str(), szProblem, ARRAYSIZE(szProblem));
        EXPECT_STREQ(L"", szProblem);
        return bDone;
    });
}

TEST_F(StoreFaultTest, ARecoveryThatFailsLeavesNoNewVolume)
{
    const std::wstring path = m_folder.File(L"new.vol");
    Fail("CeSalvageDBVol", false, [&](CEGUID&) {
        CESALVAGEINFO info = {};
        const BOOL bDone = ::CeSalvageDBVol(m_path.c_str(), path.c_str(), &info, nullptr, nullptr);
        const DWORD dwError = ::GetLastError();
        const CWithoutFaults pause;
        // A page that the disk does not give is one that is lost, and said to be.
        if (bDone && info.nDamagedPages == 0) {
            EXPECT_EQ(m_content, ContentOf(path));
        }
        ::SetLastError(dwError);
        return bDone;
    });
}
