// kvol's commands: each allocation, those of the C++ library's texts among them, and each call of the store, the library
// and the system fails in turn. The exit code is 0 with everything done and told, or 1 with a sentence that says what
// failed; then nothing has changed, and no file is left.
#include "base/errorutil.h"
#include "faults.h"
#include "kvol_module.h"
#include "support/temp_folder.h"

#include <korvanebatch.h>
#include <korvanelib.h>

#include <cstdio>
#include <set>
#include <string>
#include <vector>

namespace {

constexpr wchar_t kModule[] = L"kvol_faults.dll";
constexpr long kFailed = -1;
constexpr long kWrongUsage = -2;
constexpr int kMost = 12; // of each kind and command, in the short form

using Command = kvol::Request::Command;

std::string g_out, g_err; // what the commands print

// In place of the streams, which are the tests' own.
size_t __cdecl Note(const void* pv, size_t cb, size_t n, FILE* pFile)
{
    const CWithoutFaults pause;
    (pFile == stdout ? g_out : g_err).append(static_cast<const char*>(pv), cb * n);
    return n;
}

// The library shows one when it cannot mount a volume.
int WINAPI AnswerBox(HWND, LPCWSTR, LPCWSTR, UINT)
{
    return IDOK;
}

// A connection that could not be opened leaves the catalogues' handles to the end of the program (connection.h): that end
// has to be played here.
class CCatalogueHandles
{
public:
    CCatalogueHandles()
    {
        s_pOpen = reinterpret_cast<decltype(s_pOpen)>(m_open.Original());
        s_pClose = reinterpret_cast<decltype(s_pClose)>(m_close.Original());
    }
    // True when there were any.
    static bool Release()
    {
        const bool bAny = !s_handles.empty();
        for (const HANDLE h : s_handles) EXPECT_TRUE(s_pClose(h));
        s_handles.clear();
        return bAny;
    }

private:
    static HANDLE WINAPI Open(PCEGUID pguid, PCEOID poid, LPWSTR pszName, CEPROPID propid, DWORD dwFlags,
                              CENOTIFYREQUEST* pRequest)
    {
        const HANDLE h = s_pOpen(pguid, poid, pszName, propid, dwFlags, pRequest);
        const DWORD dwError = ::GetLastError();
        const CWithoutFaults pause;
        if (h != INVALID_HANDLE_VALUE) s_handles.insert(h);
        ::SetLastError(dwError);
        return h;
    }
    static BOOL WINAPI Close(HANDLE h)
    {
        const CWithoutFaults pause;
        s_handles.erase(h);
        return s_pClose(h);
    }

    static inline HANDLE(WINAPI* s_pOpen)(PCEGUID, PCEOID, LPWSTR, CEPROPID, DWORD, CENOTIFYREQUEST*) = nullptr;
    static inline BOOL(WINAPI* s_pClose)(HANDLE) = nullptr;
    static inline std::set<HANDLE> s_handles;
    const CImportPatch m_open{kLibrary, "CeOpenDatabaseEx@24", &Open};
    const CImportPatch m_close{kLibrary, "CeCloseHandle@4", &Close};
};

// The calls that kvol's commands make themselves, and SQLite in them.
class CFailingKvol
{
private:
    static constexpr DWORD kError = ERROR_NOT_ENOUGH_MEMORY;
    const CFailing<&::CeMountDBVol, 1> m_mount{kModule, "CeMountDBVol@12", FALSE, kError};
    const CFailing<&::CeUnmountDBVol, 1> m_unmount{kModule, "CeUnmountDBVol@4", FALSE, kError, EWork::kDone};
    const CFailing<&::CeOpenDatabaseEx, 1> m_open{kModule, "CeOpenDatabaseEx@24", INVALID_HANDLE_VALUE, kError};
    const CFailing<&::CeCreateDatabaseEx, 1> m_createDb{kModule, "CeCreateDatabaseEx@8", 0, kError};
    const CFailing<&::CeDeleteDatabaseEx, 1> m_deleteDb{kModule, "CeDeleteDatabaseEx@8", FALSE, kError};
    const CFailing<&::CeOidGetInfoEx, 1> m_info{kModule, "CeOidGetInfoEx@12", FALSE, kError};
    const CFailing<&::CeFindFirstDatabaseEx, 1> m_find{kModule, "CeFindFirstDatabaseEx@8", INVALID_HANDLE_VALUE,
                                                       kError};
    const CFailing<&::CeFindNextDatabaseEx, 1> m_next{kModule, "CeFindNextDatabaseEx@8", 0, kError};
    const CFailing<&::CeSeekDatabase, 1> m_seek{kModule, "CeSeekDatabase@16", 0, kError};
    const CFailing<&::CeReadRecordPropsEx, 1> m_readRecord{kModule, "CeReadRecordPropsEx@28", 0, kError};
    const CFailing<&::CeWriteRecordProps, 1> m_writeRecord{kModule, "CeWriteRecordProps@16", 0, kError};
    const CFailing<&::CeBeginBatch, 1> m_begin{kModule, "CeBeginBatch@4", FALSE, kError};
    const CFailing<&::CeCommitBatch, 1> m_commit{kModule, "CeCommitBatch@4", FALSE, ERROR_DISK_FULL};
    const CFailing<&::CeAbandonBatch, 1> m_abandon{kModule, "CeAbandonBatch@4", FALSE, kError, EWork::kDone};
    const CFailing<&::CeCheckDBVol, 1> m_check{kModule, "CeCheckDBVol@12", FALSE, kError};
    const CFailing<&::CeCompactDBVol, 1> m_compact{kModule, "CeCompactDBVol@12", FALSE, ERROR_DISK_FULL};
    const CFailing<&::CeSalvageDBVol, 1> m_salvage{kModule, "CeSalvageDBVol@20", FALSE, ERROR_DISK_FULL};
    const CFailing<&::CeSetDatabaseInfoEx, 1> m_setInfo{kModule, "CeSetDatabaseInfoEx@12", FALSE, kError};
    const CFailing<&::CreateFileW, 1> m_create{kModule, "CreateFileW", INVALID_HANDLE_VALUE, ERROR_DISK_FULL};
    const CFailing<&::ReadFile, 1> m_read{kModule, "ReadFile", FALSE, ERROR_CRC};
    const CFailing<&::WriteFile, 1> m_write{kModule, "WriteFile", FALSE, ERROR_DISK_FULL};
    const CFailing<&::GetFileSizeEx, 1> m_size{kModule, "GetFileSizeEx", FALSE, kError};
    const CFailing<&::GetFileAttributesExW, 1> m_attributes{kModule, "GetFileAttributesExW", FALSE, kError};
    const CFailing<&::MoveFileExW, 1> m_move{kModule, "MoveFileExW", FALSE, ERROR_DISK_FULL};
    const CFailingC<&std::fflush, 1> m_flush{kModule, "fflush", EOF, ERROR_DISK_FULL};
};

// The store's calls that the library makes for them.
class CFailingLibrary
{
private:
    static constexpr DWORD kError = ERROR_NOT_ENOUGH_MEMORY;
    const CFailing<&::CeMountDBVol> m_mount{kLibrary, "CeMountDBVol@12", FALSE, kError};
    const CFailing<&::CeOpenDatabaseEx> m_open{kLibrary, "CeOpenDatabaseEx@24", INVALID_HANDLE_VALUE, kError};
    const CFailing<&::CeOpenDatabaseEx2> m_open2{kLibrary, "CeOpenDatabaseEx2@24", INVALID_HANDLE_VALUE, kError};
    const CFailing<&::CeSeekDatabase> m_seek{kLibrary, "CeSeekDatabase@16", 0, kError};
    const CFailing<&::CeReadRecordPropsEx> m_read{kLibrary, "CeReadRecordPropsEx@28", 0, kError};
    const CFailing<&::CeWriteRecordProps> m_write{kLibrary, "CeWriteRecordProps@16", 0, kError};
    const CFailing<&::CeDeleteRecord> m_delete{kLibrary, "CeDeleteRecord@8", FALSE, kError};
    const CFailing<&::CeOidGetInfoEx> m_info{kLibrary, "CeOidGetInfoEx@12", FALSE, kError};
};

class KvolFaultTest : public CFaultTest
{
protected:
    KvolFaultTest()
    {
        ImportTowns();
        WriteText(L"more.csv", "name,people\nDavos,10900\nErlach,1300\n");
        WriteText(L"more.json", "[{\"name\":\"Davos\",\"people\":10900},{\"name\":\"Erlach\"}]");
        kvol::Request request = Asks(Command::Export);
        request.options.file = Path(L"towns.sqlite");
        EXPECT_EQ(0, Quiet(request)) << g_err;
        request = Asks(Command::Import);
        request.options.file = Path(L"more.csv");
        request.options.bAppend = true;
        EXPECT_EQ(0, Quiet(request)) << g_err;
        m_files = m_folder.Files();
        m_volumeBytes = ReadBytes(m_folder.File(L"towns.vol"));
        m_content = Content();
    }

    std::string Path(const wchar_t* pszName) const
    {
        const std::wstring path = m_folder.File(pszName);
        return std::string(path.begin(), path.end()); // a temporary folder's: ASCII
    }
    static std::string ReadBytes(const std::wstring& path)
    {
        std::string bytes;
        FILE* pFile = ::_wfopen(path.c_str(), L"rb");
        if (!pFile) return bytes;
        char buffer[4096];
        while (const size_t cb = std::fread(buffer, 1, sizeof buffer, pFile)) bytes.append(buffer, cb);
        std::fclose(pFile);
        return bytes;
    }
    static void WriteBytes(const std::wstring& path, const std::string& bytes)
    {
        FILE* pFile = ::_wfopen(path.c_str(), L"wb");
        ASSERT_TRUE(pFile);
        EXPECT_EQ(bytes.size(), std::fwrite(bytes.data(), 1, bytes.size(), pFile));
        std::fclose(pFile);
    }
    void WriteText(const wchar_t* pszName, const std::string& text) const { WriteBytes(m_folder.File(pszName), text); }
    kvol::Request Asks(Command command) const
    {
        kvol::Request request;
        request.command = command;
        request.options.volume = Path(L"towns.vol");
        request.options.table = "towns";
        return request;
    }
    // Without faults: the exit code.
    static int Quiet(const kvol::Request& request)
    {
        g_out.clear();
        g_err.clear();
        const int nExitCode = KvolRequest(request);
        gErrHRESULT = 0;
        return nExitCode;
    }
    void ImportTowns()
    {
        WriteText(L"towns.csv", "name,people,since,at\n"
                                "Aarau,21000,1803-02-19,1.5\nBern,134000,1191-01-01,2.5\nChur,,,\n");
        kvol::Request request = Asks(Command::Import);
        request.options.file = Path(L"towns.csv");
        request.options.indexes = {{"ByName", "name"}, {"ByPeople", "people,desc"}};
        EXPECT_EQ(0, Quiet(request)) << g_err;
    }
    // Everything that a volume has, as texts.
    std::string Content() const
    {
        kvol::Request request = Asks(Command::Schema);
        request.options.table.clear();
        EXPECT_EQ(0, Quiet(request)) << g_err;
        std::string content = g_out;
        request = Asks(Command::Dump);
        request.options.format = kvol::Format::Csv;
        EXPECT_EQ(0, Quiet(request)) << g_err;
        return content + g_out;
    }
    // The folder as it was before the command.
    void Restore() const
    {
        for (const std::wstring& name : m_folder.Files()) {
            if (!m_files.count(name)) {
                EXPECT_TRUE(::DeleteFileW(m_folder.File(name).c_str())) << ::GetLastError();
            }
        }
        if (ReadBytes(m_folder.File(L"towns.vol")) != m_volumeBytes)
            WriteBytes(m_folder.File(L"towns.vol"), m_volumeBytes);
    }

    // What a command changes: nothing, or the volume, or a new file.
    enum class EChanges
    {
        kNothing,
        kVolume,
        kNewFile
    };
    struct Done
    {
        std::string out, content;
        std::set<std::wstring> files;
    };
    Done Look(EChanges changes, const wchar_t* pszNew) const
    {
        Done done;
        done.out = g_out;
        done.files = m_folder.Files();
        if (changes == EChanges::kVolume) done.content = Content();
        if (changes == EChanges::kNewFile) done.content = ReadBytes(m_folder.File(pszNew));
        return done;
    }
    // `bReports`: the command tells on standard output what it found, and exit code 1 may mean that.
    void FailCommand(const char* pszName, const kvol::Request& request, EChanges changes, const wchar_t* pszNew = L"",
                     bool bReports = false)
    {
        SCOPED_TRACE(pszName);
        Restore();
        ASSERT_EQ(0, Quiet(request)) << g_err;
        const Done expected = Look(changes, pszNew);
        bool bOutput = false; // all was done but for the telling
        const auto run = [&]() -> long {
            {
                const CWithoutFaults pause;
                Restore();
                g_out.clear();
                g_err.clear();
                bOutput = false;
            }
            const int nExitCode = KvolRequest(request);
            const CWithoutFaults pause;
            gErrHRESULT = 0; // a failure ends the program, and the record with it
            const bool bKept = CCatalogueHandles::Release();
            if (nExitCode == 0) {
                EXPECT_EQ("", g_err);
                EXPECT_FALSE(bKept);
                const Done done = Look(changes, pszNew);
                EXPECT_EQ(expected.out, done.out);
                EXPECT_EQ(expected.content, done.content);
                EXPECT_EQ(expected.files, done.files);
                return 0;
            }
            EXPECT_EQ(1, nExitCode);
            bOutput = g_err.find("the output could not be written") != std::string::npos;
            const bool bReported = bReports && g_err.empty();
            if (bReported) {
                EXPECT_NE("", g_out);
            } else {
                EXPECT_EQ(0u, g_err.find("kvol: ")) << g_err;
                EXPECT_EQ(g_err.size() - 1, g_err.find('\n')) << g_err;
                EXPECT_TRUE(g_err.find('"') != std::string::npos || g_err.find("towns.") != std::string::npos ||
                            g_err.find("more.") != std::string::npos ||
                            g_err.find("out of memory") != std::string::npos || bOutput)
                    << g_err;
            }
            // What is done is done when only the report of it is lost.
            if (!bOutput && !bReported) {
                const std::string err = g_err;
                std::set<std::wstring> files = m_folder.Files();
                // It could not be deleted while the catalogues were open.
                if (bKept) files.erase(L"new.vol");
                EXPECT_EQ(m_files, files) << err;
                EXPECT_EQ(m_content, Content()) << err;
            }
            return kFailed;
        };
        const CSampled some(kMost);
        {
            const CRuntimeFailsToo runtime;
            FailEachAllocation(pszName, run, EAfterwards::kNothingLeft, [](EOutcome outcome, long) {
                EXPECT_TRUE(outcome == EOutcome::kDone || outcome == EOutcome::kCode) << outcome;
            });
        }
        const CFailingKvol system;
        const CFailingLibrary library;
        FailEachCall(pszName, run, [&](const char* pszFunction, int, long) {
            if (bOutput) {
                EXPECT_STREQ("fflush", pszFunction);
            }
        });
        Restore();
    }

    CTempFolder m_folder;
    const CImportPatch m_note{kModule, "fwrite", &Note};
    const CCatalogueHandles m_handles;
    const CImportPatch m_box{kLibrary, "MessageBoxW", &AnswerBox};
    std::set<std::wstring> m_files;
    std::string m_volumeBytes, m_content;
};

} // namespace

TEST_F(KvolFaultTest, AnImportIsWholeOrHasNotBeen)
{
    kvol::Request request = Asks(Command::Import);
    request.options.file = Path(L"more.csv");
    request.options.bAppend = true;
    FailCommand("import --append", request, EChanges::kVolume);
    request.options.bAppend = false;
    request.options.bReplace = true;
    request.options.file = Path(L"more.json");
    FailCommand("import --replace", request, EChanges::kVolume);
}

TEST_F(KvolFaultTest, AnImportOfSqliteIsWholeOrHasNotBeen)
{
    kvol::Request request = Asks(Command::ImportSqlite);
    request.options.file = Path(L"towns.sqlite");
    request.options.bReplace = true;
    FailCommand("import-sqlite --replace", request, EChanges::kVolume);
}

TEST_F(KvolFaultTest, AnImportThatFailsMakesNoNewVolume)
{
    kvol::Request request = Asks(Command::Import);
    request.options.file = Path(L"more.csv");
    request.options.volume = Path(L"new.vol");
    FailCommand("import into a new volume", request, EChanges::kNothing);
    request = Asks(Command::ImportSqlite);
    request.options.file = Path(L"towns.sqlite");
    request.options.volume = Path(L"new.vol");
    FailCommand("import-sqlite into a new volume", request, EChanges::kNothing);
}

TEST_F(KvolFaultTest, AnExportLeavesNoHalfFile)
{
    kvol::Request request = Asks(Command::Export);
    request.options.file = Path(L"new.sqlite");
    FailCommand("export", request, EChanges::kNewFile, L"new.sqlite");
}

TEST_F(KvolFaultTest, WhatIsShownIsShownWholeOrFails)
{
    kvol::Request request = Asks(Command::Dump);
    request.options.index = "ByName";
    FailCommand("dump", request, EChanges::kNothing);
    request.options.format = kvol::Format::Json;
    request.options.equal = "Bern";
    FailCommand("dump --equal --format json", request, EChanges::kNothing);
    FailCommand("tables", Asks(Command::Tables), EChanges::kNothing);
    FailCommand("schema", Asks(Command::Schema), EChanges::kNothing);
    request = Asks(Command::Seek);
    request.options.index = "ByName";
    request.options.value = "Aarau";
    FailCommand("seek", request, EChanges::kNothing);
}

TEST_F(KvolFaultTest, AChangeIsWholeOrHasNotBeen)
{
    kvol::Request request = Asks(Command::Set);
    request.options.index = "ByName";
    request.options.value = "Bern";
    request.options.changes = {"people=140000", "at="};
    FailCommand("set", request, EChanges::kVolume);
    request.command = Command::Delete;
    request.options.changes.clear();
    FailCommand("delete", request, EChanges::kVolume);
}

TEST_F(KvolFaultTest, ATableIsDroppedWhollyOrNotAtAll)
{
    FailCommand("drop", Asks(Command::Drop), EChanges::kNothing);
}

TEST_F(KvolFaultTest, ACheckThatCouldNotBeMadeFindsTheVolumeNotSound)
{
    FailCommand("check", Asks(Command::Check), EChanges::kNothing, L"", true);
}

TEST_F(KvolFaultTest, ACompactionLeavesTheVolumeAndNothingBesideIt)
{
    FailCommand("compact", Asks(Command::Compact), EChanges::kVolume);
}

TEST_F(KvolFaultTest, ARecoveryMakesANewVolumeOrNone)
{
    kvol::Request request = Asks(Command::Recover);
    request.options.file = Path(L"towns.vol");
    request.options.volume = Path(L"new.vol");
    FailCommand("recover", request, EChanges::kNothing, L"", true);
}

TEST_F(KvolFaultTest, ACommandLineThatMemoryIsOutForIsNoWrongUsage)
{
    const std::vector<std::string> arguments = {"dump", Path(L"towns.vol"), "towns", "--format",
                                                "json", "--index",          "ByName"};
    kvol::Request request = Asks(Command::Dump);
    request.options.index = "ByName";
    request.options.format = kvol::Format::Json;
    ASSERT_EQ(0, Quiet(request)) << g_err;
    const std::string expected = g_out;
    const CSampled some(4 * kMost);
    const CRuntimeFailsToo runtime;
    FailEachAllocation(
        "a command line",
        [&]() -> long {
            {
                const CWithoutFaults pause;
                g_out.clear();
                g_err.clear();
            }
            const int nExitCode = KvolArguments(arguments);
            const CWithoutFaults pause;
            delete theLogStream; // which stays when the library ends
            DeInitLib();
            gErrHRESULT = 0;
            CCatalogueHandles::Release();
            if (nExitCode == 0) {
                EXPECT_EQ(expected, g_out);
                return 0;
            }
            EXPECT_EQ(0u, g_err.find("kvol: ")) << g_err;
            return nExitCode == 2 ? kWrongUsage : kFailed;
        },
        EAfterwards::kHandlesKept, // the root keys of the registry are new ones
        [](EOutcome, long lCode) { EXPECT_NE(kWrongUsage, lCode) << g_err; });
}
