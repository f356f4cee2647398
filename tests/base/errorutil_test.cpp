#include "base/errorutil.h"

#include "support/log_capture.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <utility>

namespace {

constexpr long kPending = static_cast<long>(0x80070057);

class ErrorRecordTest : public testing::Test
{
protected:
    ErrorRecordTest() { Clear(); }
    ~ErrorRecordTest() override { Clear(); }
    static void Clear()
    {
        gErrHRESULT = 0;
        gErrFilename = nullptr;
        gErrLinenumber = 0;
    }
};

using CheckpointTest = ErrorRecordTest;

constexpr long kWentOn = 77;

long CheckThenGoOn(long result)
{
    KORVANE_CHECK(result);
    return kWentOn;
}

long RaiseThenGoOn(long code)
{
    KORVANE_RAISE(L"base/test", 12, code, L"General error");
    return kWentOn;
}

long ParkAndSucceed()
{
    __iRecordErr(kPending);
    return 0;
}

long CallWhatParks()
{
    KORVANE_CHECK(ParkAndSucceed());
    return kWentOn;
}

TEST_F(ErrorRecordTest, ARaiseReturnsItsCodeAndLeavesTheRecordAlone)
{
    ::SetLastError(1234);
    EXPECT_EQ(E_FAIL, __iThrowErr(L"korvanedb/row", 37, E_FAIL, L"General error"));
    EXPECT_EQ(0, __iThrowErr(L"korvanedb/row", 37, 0, L""));
    EXPECT_EQ(5, __iThrowErr(nullptr, 0, 5, nullptr));
    EXPECT_EQ(0, gErrHRESULT);
    EXPECT_EQ(nullptr, gErrFilename);
    EXPECT_EQ(0, gErrLinenumber);
    EXPECT_EQ(1234u, ::GetLastError());
}

TEST_F(ErrorRecordTest, ARaiseKeepsAPendingRecord)
{
    __iRecordErr(kPending);
    __iThrowErr(L"korvanedb/row", 37, E_FAIL, L"General error");
    EXPECT_EQ(kPending, gErrHRESULT);
}

TEST_F(ErrorRecordTest, OnlyTheDiagnosticBuildLogsARaise)
{
    CLogToFile log;
    __iThrowErr(L"korvanedb/row", 37, static_cast<long>(0x8000400A), L"ERROR_NO_MORE_ITEMS ");
#ifdef KORVANE_DIAGNOSTIC
    EXPECT_EQ(OnDisk("\nkorvanedb/row(37) : raised 0x8000400A \"ERROR_NO_MORE_ITEMS \""), log.Bytes());
#else
    EXPECT_EQ("", log.Bytes());
#endif
}

TEST_F(ErrorRecordTest, ARaiseNeedsNoWriter)
{
    CStreamWriter* const pOld = std::exchange(theLogStream, nullptr);
    EXPECT_EQ(E_FAIL, __iThrowErr(L"korvanedb/row", 37, E_FAIL, L"General error"));
    theLogStream = pOld;
}

TEST_F(ErrorRecordTest, AReportDoesNothing)
{
    CLogToFile log;
    __iReportError(L"korvanedb/row", 37, E_FAIL, 0);
    EXPECT_EQ(0, gErrHRESULT);
    EXPECT_EQ("", log.Bytes());
}

TEST_F(ErrorRecordTest, OnlyNegativeCodesAreRecorded)
{
    for (long code : {0l, 5l, LONG_MAX}) {
        __iRecordErr(code);
        EXPECT_EQ(0, gErrHRESULT) << code;
        EXPECT_EQ(nullptr, gErrFilename);
        EXPECT_EQ(0, gErrLinenumber);
    }
    __iRecordErr(-1);
    EXPECT_EQ(-1, gErrHRESULT);
    EXPECT_STREQ(L"base/errorutil", gErrFilename);
    EXPECT_EQ(61, gErrLinenumber);
}

TEST_F(ErrorRecordTest, ASuccessfulCodeKeepsWhatIsRecordedAndAFailureReplacesIt)
{
    __iRecordErr(kPending);
    __iRecordErr(0);
    EXPECT_EQ(kPending, gErrHRESULT);
    __iRecordErr(E_FAIL);
    EXPECT_EQ(E_FAIL, gErrHRESULT);
}

TEST_F(CheckpointTest, ACheckPassesSuccessAndReturnsFailure)
{
    EXPECT_EQ(kWentOn, CheckThenGoOn(0));
    EXPECT_EQ(kWentOn, CheckThenGoOn(1));
    EXPECT_EQ(E_FAIL, CheckThenGoOn(E_FAIL));
}

TEST_F(CheckpointTest, APendingFailureSurfacesAfterASuccessfulCallOnce)
{
    __iRecordErr(kPending);
    EXPECT_EQ(kPending, CheckThenGoOn(0));
    EXPECT_EQ(0, gErrHRESULT);
    EXPECT_EQ(kWentOn, CheckThenGoOn(0));
}

TEST_F(CheckpointTest, APendingFailureWinsOverTheCalledFunctions)
{
    __iRecordErr(kPending);
    EXPECT_EQ(kPending, CheckThenGoOn(E_FAIL));
    EXPECT_EQ(E_FAIL, CheckThenGoOn(E_FAIL));
}

TEST_F(CheckpointTest, WhatTheCalledFunctionParksIsSeen)
{
    EXPECT_EQ(kPending, CallWhatParks());
    EXPECT_EQ(0, gErrHRESULT);
}

TEST_F(CheckpointTest, APositiveRecordIsNotPending)
{
    gErrHRESULT = 5;
    EXPECT_EQ(kWentOn, CheckThenGoOn(0));
    EXPECT_EQ(5, gErrHRESULT);
}

TEST_F(CheckpointTest, ARaiseReturnsItsCode)
{
    EXPECT_EQ(E_FAIL, RaiseThenGoOn(E_FAIL));
    EXPECT_EQ(E_NOTIMPL, RaiseThenGoOn(E_NOTIMPL));
}

TEST_F(CheckpointTest, APendingFailureWinsOverTheRaise)
{
    __iRecordErr(kPending);
    EXPECT_EQ(kPending, RaiseThenGoOn(E_FAIL));
    EXPECT_EQ(0, gErrHRESULT);
}

TEST_F(CheckpointTest, ARaiseOfACodeThatIsNoFailureGoesOn)
{
    EXPECT_EQ(kWentOn, RaiseThenGoOn(0));
}

TEST(TraceLineTest, HasNewlineSourceLineExpressionAndValue)
{
    CLogToFile log;
    const CString name = L"Countries";
    KORVANE_TRACE(L"korvanedb/connection", 64, "sDBName", name);
    KORVANE_TRACE(L"korvanedb/connection", 88, "GetLastError()", 2ul);
    KORVANE_TRACE(L"korvanedb/row", 353, "text", L"literal");
    EXPECT_EQ(OnDisk("\nkorvanedb/connection(64) : 'sDBName'Countries"
                     "\nkorvanedb/connection(88) : 'GetLastError()'2"
                     "\nkorvanedb/row(353) : 'text'literal"),
              log.Bytes());
}

TEST(TraceLineTest, TheLastErrorCanBeTracedAndIsKept)
{
    CLogToFile log;
    ::SetLastError(112);
    KORVANE_TRACE(L"korvanedb/connection", 88, "GetLastError()", ::GetLastError());
    EXPECT_EQ(112u, ::GetLastError());
    EXPECT_EQ(OnDisk("\nkorvanedb/connection(88) : 'GetLastError()'112"), log.Bytes());
}

TEST(TraceLineTest, WithoutAWriterNothingIsWritten)
{
    CStreamWriter* const pOld = std::exchange(theLogStream, nullptr);
    int nEvaluated = 0;
    KORVANE_TRACE(L"korvanedb/row", 1, "value", ++nEvaluated);
    EXPECT_EQ(1, nEvaluated);
    theLogStream = pOld;
}

TEST(TraceErrorTest, WritesErrorTheMessageAndALineFeed)
{
    CLogToFile log;
    TraceError(L"%s: %d of %S, 0x%X", L"wide", -3, "narrow", 255);
    EXPECT_EQ(OnDisk("Error: wide: -3 of narrow, 0xFF\n"), log.Bytes());
}

TEST(TraceErrorTest, IsOneWideText)
{
    CDebugOutput output;
    CStreamWriter writer("");
    CStreamWriter* const pOld = std::exchange(theLogStream, &writer);
    writer.IncTabs();
    TraceError(L"a\tb");
    theLogStream = pOld;
    EXPECT_EQ(std::vector<std::wstring>{L"Error: a\t    b\n\n\r"}, output.Texts());
}

TEST(TraceErrorTest, AMessageIsAsLongAsItNeedsToBe)
{
    const std::wstring text(100000, L'm');
    CLogToFile log;
    TraceError(L"%s", text.c_str());
    EXPECT_EQ(OnDisk("Error: " + std::string(100000, 'm') + "\n"), log.Bytes());
}

int __cdecl CannotBeFormatted(wchar_t*, size_t, const wchar_t*, va_list)
{
    return -1;
}

TEST(TraceErrorTest, AFormatThatCannotBeCarriedOutIsWrittenAsItStands)
{
    CLogToFile log;
    const CImportPatch patch(L"korvaneLib.dll", "_vsnwprintf", &CannotBeFormatted);
    TraceError(L"100 %% of %d", 1);
    EXPECT_EQ(OnDisk("Error: 100 %% of %d\n"), log.Bytes());
}

TEST(TraceErrorTest, AZeroThatAnArgumentPutsInEndsTheMessageAndNotTheLine)
{
    CLogToFile log;
    TraceError(L"a%cb", 0);
    EXPECT_EQ(OnDisk("Error: a\n"), log.Bytes());
}

TEST(TraceErrorTest, AnEmptyMessageHasItsFrame)
{
    CLogToFile log;
    TraceError(L"");
    EXPECT_EQ(OnDisk("Error: \n"), log.Bytes());
}

TEST(TraceErrorTest, WithoutWriterOrFormatNothingIsWritten)
{
    CLogToFile log;
    TraceError(nullptr);
    EXPECT_EQ("", log.Bytes());
    CStreamWriter* const pOld = std::exchange(theLogStream, nullptr);
    TraceError(L"text");
    theLogStream = pOld;
    EXPECT_EQ("", log.Bytes());
}

} // namespace
