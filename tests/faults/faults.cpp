#include "faults.h"

#include "base/errorutil.h"
#include "base/split.h"
#include "support/gdi_objects.h"
#include "support/guard/guard.h"
#include "support/handle_count.h"

#include <afx.h>
#include <comdef.h>

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>
#include <new>
#include <string>

namespace {

// How many are to come before the one that fails; below zero none does.
int g_nUntil = -1;
int g_nCounted = 0;
EFails g_fails = EFails::kOne;
const char* g_pszFailed = nullptr;
bool g_bFaults = true;
bool g_bRuntimeToo = false;
int g_nMost = INT_MAX;

bool FailOne()
{
    if (!g_bFaults) return false;
    ++g_nCounted;
    if (g_nUntil < 0) return false;
    if (g_nUntil > 0) {
        --g_nUntil;
        return false;
    }
    if (g_fails == EFails::kTwo) {
        g_fails = EFails::kOne;
    } else if (g_fails == EFails::kOne) {
        g_nUntil = -1;
    }
    return true;
}

// The record's code, which is taken out of it.
long TakeRecord()
{
    const long lCode = gErrHRESULT;
    gErrHRESULT = 0;
    return lCode;
}

long RunCalls(const Operation& operation, int nFails)
{
    g_nCounted = 0;
    g_pszFailed = nullptr;
    g_nUntil = nFails;
    const long lResult = operation();
    g_nUntil = -1;
    return lResult;
}

// The next one to fail of so many. The step varies, or it could be in time with a loop of the operation.
int Next(int i, int nCount)
{
    if (nCount <= g_nMost) return i + 1;
    const int nStep = nCount / g_nMost;
    return i + nStep + i % 2;
}

} // namespace

CWithoutFaults::CWithoutFaults() : m_bBefore(g_bFaults)
{
    g_bFaults = false;
}

CWithoutFaults::~CWithoutFaults()
{
    g_bFaults = m_bBefore;
}

CRuntimeFailsToo::CRuntimeFailsToo()
{
    g_bRuntimeToo = true;
}

CRuntimeFailsToo::~CRuntimeFailsToo()
{
    g_bRuntimeToo = false;
}

CSampled::CSampled(int nMost)
{
    wchar_t sz[2];
    if (!::GetEnvironmentVariableW(L"KORVANE_LONG", sz, ARRAYSIZE(sz))) g_nMost = nMost;
}

CSampled::~CSampled()
{
    g_nMost = INT_MAX;
}

std::ostream& operator<<(std::ostream& stream, EOutcome outcome)
{
    static constexpr const char* kNames[] = {"done",      "a code",    "the record", "CMemoryException",
                                             "bad_alloc", "_com_error"};
    return stream << kNames[static_cast<int>(outcome)];
}

EOutcome Attempt(const Operation& operation, int nFails, long* plCode, EFails fails)
{
    EOutcome outcome = EOutcome::kDone;
    long lCode = 0;
    g_nCounted = 0;
    g_pszFailed = nullptr;
    g_nUntil = nFails;
    g_fails = fails;
    guard::SetFail(&FailOne, g_bRuntimeToo ? guard::EWhose::kRuntimesToo : guard::EWhose::kOurs);
    try {
        lCode = operation();
        if (lCode < 0) outcome = EOutcome::kCode;
    } catch (CMemoryException* pException) {
        outcome = EOutcome::kMemory;
        pException->Delete();
    } catch (const std::bad_alloc&) {
        outcome = EOutcome::kBadAlloc;
    } catch (const _com_error& error) {
        outcome = EOutcome::kComError;
        lCode = error.Error();
    }
    guard::SetFail(nullptr);
    g_nUntil = -1;
    g_fails = EFails::kOne;
    // Where there is no result to give, the record takes the failure.
    if (const long lRecord = TakeRecord(); lRecord < 0) {
        if (outcome == EOutcome::kDone) outcome = EOutcome::kRecord;
        lCode = lRecord;
    }
    if (plCode) *plCode = lCode;
    return outcome;
}

namespace {

// The C++ library throws out of a reserve when there is no memory for the exception itself. The lock of the reserve is
// made when it is first needed, and without memory for that one too the library never comes back: it is made before the
// tests, while the allocation that fails and that of its exception are the only ones.
class CReserve : public testing::Environment
{
protected:
    void SetUp() override
    {
        guard::TurnOn(guard::EPlace::kBehind);
        const auto split = [] { return Split(CString(L"a,b"), CString(L","), 0, -1).empty() ? -1L : 0L; };
        for (int i = 0; i < 10; ++i) Attempt(split, i, nullptr, EFails::kTwo);
    }
};

testing::Environment* const g_pReserve = testing::AddGlobalTestEnvironment(new CReserve);

} // namespace

void FailEachAllocation(const char* pszName, const Operation& operation, EAfterwards afterwards,
                        const OutcomeCheck& check)
{
    SCOPED_TRACE(pszName);
    // What is made on first use is made now.
    for (int i = 0; i < 2; ++i) ASSERT_EQ(EOutcome::kDone, Attempt(operation, -1));
    const int nAllocations = g_nCounted;
    EXPECT_GT(nAllocations, 0) << "there is nothing to fail";
    // The unwinder keeps what it has found out about each module that an exception passed through.
    for (int i = 0; i < nAllocations; i = Next(i, nAllocations)) Attempt(operation, i);
    int nTried = 0, nReported = 0;
    const int nHandles = CountHandles(), nObjects = CountGdiObjects();
    for (const EFails fails : {EFails::kOne, EFails::kRest}) {
        for (int i = 0; i < nAllocations; i = Next(i, nAllocations)) {
            SCOPED_TRACE("allocation " + std::to_string(i) + " of " + std::to_string(nAllocations) +
                         (fails == EFails::kOne ? "" : " and all behind it"));
            const ULONGLONG ullBefore = guard::LastBlock();
            long lCode = 0;
            const EOutcome outcome = Attempt(operation, i, &lCode, fails);
            if (fails == EFails::kOne) {
                ++nTried;
                nReported += outcome != EOutcome::kDone;
                if (check) check(outcome, lCode);
            }
            const DWORD n = afterwards == EAfterwards::kNothingLeft ? guard::CountOurs(ullBefore) : 0;
            if (n) {
                ADD_FAILURE() << n << " blocks left behind";
                guard::TellOurs(ullBefore);
            }
            if (fails == EFails::kOne) {
                EXPECT_EQ(EOutcome::kDone, Attempt(operation, -1)) << "it has not recovered";
            }
        }
    }
    EXPECT_EQ(EOutcome::kDone, Attempt(operation, -1)) << "it has not recovered";
    if (afterwards == EAfterwards::kNothingLeft) {
        EXPECT_EQ(nHandles, CountHandles());
    }
    EXPECT_EQ(nObjects, CountGdiObjects());
    EXPECT_GT(nReported, 0) << "no failure was noticed at all";
    std::printf("%s: %d of %d allocations failed in turn, %d reported\n", pszName, nTried, nAllocations, nReported);
}

namespace faults_detail {

bool CountCall(const char* pszFunction)
{
    if (!FailOne()) return false;
    g_pszFailed = pszFunction;
    return true;
}

} // namespace faults_detail

const char* FailedCall()
{
    return g_pszFailed ? g_pszFailed : "";
}

bool IsOneOf(const char* pszFunction, std::initializer_list<const char*> functions)
{
    return std::any_of(functions.begin(), functions.end(),
                       [=](const char* pszOne) { return std::strcmp(pszFunction, pszOne) == 0; });
}

void FailEachCall(const char* pszName, const Operation& operation, const CallCheck& check)
{
    SCOPED_TRACE(pszName);
    for (int i = 0; i < 2; ++i) ASSERT_GE(RunCalls(operation, -1), 0);
    const int nCalls = g_nCounted;
    EXPECT_GT(nCalls, 0) << "there is nothing to fail";
    int nTried = 0, nReported = 0;
    for (int i = 0; i < nCalls; i = Next(i, nCalls)) {
        const ULONGLONG ullBefore = guard::LastBlock();
        const int nHandles = CountHandles(), nObjects = CountGdiObjects();
        const long lResult = RunCalls(operation, i);
        SCOPED_TRACE("call " + std::to_string(i) + " of " + std::to_string(nCalls) + ", " +
                     (g_pszFailed ? g_pszFailed : "which did not come"));
        ++nTried;
        nReported += lResult < 0;
        EXPECT_TRUE(g_pszFailed);
        check(FailedCall(), i, lResult);
        if (const DWORD n = guard::CountOurs(ullBefore)) {
            ADD_FAILURE() << n << " blocks left behind";
            guard::TellOurs(ullBefore);
        }
        EXPECT_EQ(nHandles, CountHandles());
        EXPECT_EQ(nObjects, CountGdiObjects());
        EXPECT_GE(RunCalls(operation, -1), 0) << "it has not recovered";
    }
    std::printf("%s: %d of %d calls failed in turn, %d reported\n", pszName, nTried, nCalls, nReported);
}

CFaultTest::CFaultTest()
{
    guard::TurnOn(guard::EPlace::kBehind);
    EXPECT_EQ(0, gErrHRESULT);
}

CFaultTest::~CFaultTest()
{
    EXPECT_EQ(0, gErrHRESULT);
    gErrHRESULT = 0;
}
