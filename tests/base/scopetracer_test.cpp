#include "base/scopetracer.h"

#include "support/import_patch.h"
#include "support/log_capture.h"

#include <gtest/gtest.h>

namespace {

// The clock of the library while a ScopeTracerTest runs, and what was in the log when it was last asked.
SYSTEMTIME s_now = {};
CLogToFile* s_pLog = nullptr;
std::string s_logWhenAsked;
void WINAPI FakeLocalTime(SYSTEMTIME* pTime)
{
    *pTime = s_now;
    s_logWhenAsked = s_pLog->Bytes();
}

void SetClock(WORD wSecond, WORD wMilliseconds)
{
    s_now.wSecond = wSecond;
    s_now.wMilliseconds = wMilliseconds;
}

class ScopeTracerTest : public testing::Test
{
protected:
    ScopeTracerTest()
    {
        SetClock(0, 0);
        s_pLog = &m_log;
    }
    ~ScopeTracerTest() override { s_pLog = nullptr; }

    CLogToFile m_log;
    CImportPatch m_clock{L"korvaneLib.dll", "GetLocalTime", &FakeLocalTime};
};

const std::string kEntering = "\napp/view (12 )  : Entering Draw\n";

TEST_F(ScopeTracerTest, WritesEnteringAndLeaving)
{
    {
        ___iCAutoWriter tracer(L"app/view", L"Draw", 12);
        EXPECT_EQ(OnDisk(kEntering), m_log.Bytes());
        SetClock(3, 35);
    }
    EXPECT_EQ(OnDisk(kEntering + "\napp/view( 12 )  : Leaving Draw, elapsed time 3:35\n"), m_log.Bytes());
}

TEST_F(ScopeTracerTest, TheTimeStartsBehindTheEnteringLineAndEndsBeforeTheLeavingOne)
{
    {
        ___iCAutoWriter tracer(L"app/view", L"Draw", 12);
        EXPECT_EQ(OnDisk(kEntering), s_logWhenAsked);
        m_log.Writer() << "work";
    }
    EXPECT_EQ(OnDisk(kEntering) + "work", s_logWhenAsked);
}

TEST_F(ScopeTracerTest, ElapsedTimeComparesSecondsAndMillisecondsEachOnItsOwn)
{
    static constexpr struct
    {
        const char* pszWhy;
        WORD wSecond, wMilliseconds, wEndSecond, wEndMilliseconds;
        const char* pszElapsed;
    } kCases[] = {
        {"no borrow", 5, 900, 6, 200, "1:-700"},
        {"700 ms over a second's end", 5, 600, 6, 300, "1:-300"},
        {"no minutes", 59, 0, 1, 0, "-58:0"},
        {"no time at all", 7, 7, 7, 7, "0:0"},
    };
    for (const auto& c : kCases) {
        SCOPED_TRACE(c.pszWhy);
        CLogToFile log;
        {
            SetClock(c.wSecond, c.wMilliseconds);
            ___iCAutoWriter tracer(L"f", L"g", 1);
            SetClock(c.wEndSecond, c.wEndMilliseconds);
        }
        EXPECT_EQ(
            OnDisk(std::string("\nf (1 )  : Entering g\n\nf( 1 )  : Leaving g, elapsed time ") + c.pszElapsed + "\n"),
            log.Bytes());
    }
}

TEST_F(ScopeTracerTest, NestedScopesAreIndentedByFourBlanks)
{
    {
        ___iCAutoWriter outer(L"f", L"outer", 1);
        ___iCAutoWriter inner(L"f", L"inner", 2);
    }
    EXPECT_EQ(OnDisk("\nf (1 )  : Entering outer\n"
                     "\n    f (2 )  : Entering inner\n"
                     "\n    f( 2 )  : Leaving inner, elapsed time 0:0\n"
                     "\nf( 1 )  : Leaving outer, elapsed time 0:0\n"),
              m_log.Bytes());
}

TEST_F(ScopeTracerTest, ALineFromTheTopBitOnIsNegative)
{
    {
        ___iCAutoWriter tracer(L"f", L"g", 0xFFFFFFFF);
    }
    EXPECT_EQ(OnDisk("\nf (-1 )  : Entering g\n\nf( -1 )  : Leaving g, elapsed time 0:0\n"), m_log.Bytes());
}

TEST_F(ScopeTracerTest, ACopyWritesOnlyALeavingLine)
{
    {
        ___iCAutoWriter tracer(L"f", L"g", 1);
        const ___iCAutoWriter copy(tracer);
        EXPECT_EQ(OnDisk("\nf (1 )  : Entering g\n"), m_log.Bytes());
    }
    const std::string leaving = "\nf( 1 )  : Leaving g, elapsed time 0:0\n";
    EXPECT_EQ(OnDisk("\nf (1 )  : Entering g\n" + leaving + leaving), m_log.Bytes());
}

TEST_F(ScopeTracerTest, AssigningTakesAllFourMembers)
{
    {
        SetClock(10, 100);
        ___iCAutoWriter first(L"f", L"g", 1);
        SetClock(20, 200);
        ___iCAutoWriter second(L"x", L"y", 2);
        second = first;
    }
    const std::string leaving = "( 1 )  : Leaving g, elapsed time 10:100\n";
    EXPECT_NE(std::string::npos, m_log.Bytes().find(OnDisk("\n    f" + leaving + "\nf" + leaving)));
}

void Refresh()
{
    ___iCAutoWriter tracer(L"app/view", L"Refresh", __LINE__);
    s_now.wMilliseconds += 35;
}

TEST_F(ScopeTracerTest, TheHeadersSampleWritesWhatTheHeaderSays)
{
    Refresh();
    const std::string bytes = m_log.Bytes();
    EXPECT_NE(std::string::npos, bytes.find(" )  : Entering Refresh\r"));
    EXPECT_NE(std::string::npos, bytes.find(" )  : Leaving Refresh, elapsed time 0:35\r"));
}

TEST_F(ScopeTracerTest, WithoutALogNothingIsWritten)
{
    CStreamWriter* const pLog = std::exchange(theLogStream, nullptr);
    {
        ___iCAutoWriter tracer(L"f", L"g", 1);
    }
    theLogStream = pLog;
    EXPECT_EQ("", m_log.Bytes());
}

} // namespace
