// The log: whatever allocation or file call fails, nothing is thrown, the last error stays, and all that is lost is the
// text of the call that failed; what cannot go into the file goes to the debugger output.
#include "base/dumps.h"
#include "base/errorutil.h"
#include "base/library.h"
#include "base/scopetracer.h"
#include "faults.h"
#include "registry/registrykey.h"
#include "support/log_capture.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace {

constexpr DWORD kLastError = 4711;
constexpr long kLost = -1;  // a text is nowhere
constexpr long kMoved = -2; // a text went to the debugger output

const std::string kPieces[] = {"one", "two\t", "-3", "        ", "4"};

std::string Whole(int nWithout = -1)
{
    std::string text;
    for (int i = 0; i < static_cast<int>(std::size(kPieces)); ++i) {
        if (i != nWithout) text += kPieces[i];
    }
    return text;
}

// The memory that the C++ library takes for the texts that the log makes: the memory checker cannot tell for whom.
class CRuntimeMemory
{
private:
    const CFailingC<&std::malloc> m_malloc{L"libstdc++-6.dll", "malloc", nullptr, ERROR_NOT_ENOUGH_MEMORY};
};

class LogFaultTest : public CFaultTest
{
protected:
    LogFaultTest() { gErrHRESULT = 0; }

    // A writer's whole life, with a text from each of its operations.
    long Write()
    {
        CDebugOutput::Texts().clear();
        {
            const CRuntimeMemory memory;
            ::SetLastError(kLastError);
            CStreamWriter writer(m_path.c_str());
            writer << "one";
            writer << L"two\t";
            EXPECT_EQ(kLastError, ::GetLastError());
            writer << -3;
            writer.IncTabs();
            writer.IncTabs();
            writer.WriteTabPrefix();
            const CStreamWriter copy = writer;
            writer << '\4';
            EXPECT_EQ(kLastError, ::GetLastError());
        }
        std::string all = ReadBytes(m_folder.File(L"log.txt"));
        m_bMoved = !CDebugOutput::Texts().empty();
        for (const std::wstring& text : CDebugOutput::Texts()) all.append(text.begin(), text.end());
        ::DeleteFileW(m_folder.File(L"log.txt").c_str());
        if (all != Whole()) {
            bool bOne = false;
            for (int i = 0; i < static_cast<int>(std::size(kPieces)); ++i) bOne = bOne || all == Whole(i);
            EXPECT_TRUE(bOne) << "more than one text is lost, or one is damaged: " << all;
            return kLost;
        }
        return m_bMoved ? kMoved : 0;
    }

    CTempFolder m_folder;
    const std::string m_path = ToNarrow(m_folder.File(L"log.txt"));
    const CDebugOutput m_output;
    bool m_bMoved = false;
    size_t m_cbLog = 0; // of the log that was looked at
};

// A log for the library while it lives.
class CLog
{
public:
    explicit CLog(const std::string& path) : m_writer(path.c_str()), m_pOld(std::exchange(theLogStream, &m_writer)) {}
    ~CLog() { theLogStream = m_pOld; }
    CLog(const CLog&) = delete;
    CLog& operator=(const CLog&) = delete;

private:
    CStreamWriter m_writer;
    CStreamWriter* m_pOld;
};

} // namespace

TEST_F(LogFaultTest, MemoryThatIsOutCostsATextOrTheFileAndThrowsNothing)
{
    FailEachAllocation(
        "write a log", [this] { return Write(); }, EAfterwards::kNothingLeft,
        [](EOutcome outcome, long) { EXPECT_EQ(EOutcome::kCode, outcome); });
}

TEST_F(LogFaultTest, AFileThatFailsTurnsTheWriterToTheDebuggerForGood)
{
    // Of the memory too: a text at a time.
    const CFailingC<&std::fopen> open(kLibrary, "fopen", nullptr, ERROR_ACCESS_DENIED);
    const CFailingC<&::_wfopen> reopen(kLibrary, "_wfopen", nullptr, ERROR_ACCESS_DENIED);
    const CFailingC<&std::fwrite> write(kLibrary, "fwrite", 0, ERROR_DISK_FULL);
    const CFailingC<&std::fflush> flush(kLibrary, "fflush", EOF, ERROR_DISK_FULL);
    const CFailingC<&std::fclose> close(kLibrary, "fclose", EOF, ERROR_DISK_FULL, EWork::kDone);
    const CFailing<&::WideCharToMultiByte> narrow(kLibrary, "WideCharToMultiByte", 0, ERROR_INVALID_PARAMETER);
    FailEachCall(
        "write a log", [this] { return Write(); },
        [](const char* pszFunction, int, long lResult) {
            if (IsOneOf(pszFunction, {"fopen"})) {
                EXPECT_EQ(kMoved, lResult);
            } else if (IsOneOf(pszFunction, {"_wfopen"})) {
                EXPECT_TRUE(lResult == kMoved || lResult == 0) << "the last one has nothing to write any more";
            } else if (IsOneOf(pszFunction, {"malloc"})) {
                EXPECT_TRUE(lResult == kMoved || lResult == kLost) << lResult;
            } else if (IsOneOf(pszFunction, {"fflush", "fclose"})) {
                EXPECT_EQ(0, lResult) << "it is written in the end";
            } else {
                EXPECT_EQ(kLost, lResult);
            }
        });
}

TEST_F(LogFaultTest, TracesAndMessagesThrowNothing)
{
    CLog log(m_path);
    CEOIDINFO info = {};
    info.wObjType = OBJTYPE_DATABASE;
    const CString file(L"a/file"), function(L"Function");
    const std::wstring message(600, L'x');
    const auto trace = [&] {
        {
            const CRuntimeMemory memory;
            const ___iCAutoWriter tracer(file, function, 12);
            KORVANE_TRACE(L"faults", 5, "value", 7L);
            *theLogStream << info;
            TraceError(L"%s %d %s", L"a message", 5, message.c_str());
        }
        const auto bytes = ReadBytes(m_folder.File(L"log.txt"));
        const std::string after = bytes.substr(std::min(bytes.size(), m_cbLog));
        m_cbLog = bytes.size();
        const bool bWhole = after.find("Entering Function") != std::string::npos &&
                            after.find("Leaving Function") != std::string::npos &&
                            after.find("'value'7") != std::string::npos &&
                            after.find("Error: a message 5 xxx") != std::string::npos;
        return bWhole ? 0L : kLost;
    };
    int nLost = 0;
    FailEachCall("trace", trace, [&](const char*, int, long lResult) { nLost += lResult == kLost; });
    EXPECT_GT(nLost, 0);
}

TEST_F(LogFaultTest, TheLibraryStartsWithoutALogWhenThereIsNoMemoryForIt)
{
    FailEachAllocation(
        "InitLib",
        [this] {
            InitLib(m_path.c_str());
            const bool bAll = theLogStream && CRegistryKey::HK_CLASSES_ROOT && CRegistryKey::HK_CURRENT_USER &&
                              CRegistryKey::HK_LOCAL_MACHINE && CRegistryKey::HK_USERS;
            const bool bFile = FileExists(m_folder.File(L"log.txt"));
            delete theLogStream; // which stays when the library ends
            DeInitLib();
            EXPECT_EQ(nullptr, theLogStream);
            ::DeleteFileW(m_folder.File(L"log.txt").c_str());
            return bAll && bFile ? 0L : kLost;
        },
        EAfterwards::kHandlesKept, // the root keys are new ones
        [](EOutcome outcome, long) {
            EXPECT_TRUE(outcome == EOutcome::kCode || outcome == EOutcome::kDone) << "nothing is thrown or recorded";
        });
}
