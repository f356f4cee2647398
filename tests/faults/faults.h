// Faults put in by force, one after the other: each allocation of an operation, or each call of the platform, fails in
// turn. The operation says so or does without, leaves nothing behind, and works the next time.
#ifndef KORVANE_TESTS_FAULTS_FAULTS_H
#define KORVANE_TESTS_FAULTS_FAULTS_H

#include "support/import_patch.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstring>
#include <functional>
#include <initializer_list>
#include <iosfwd>

inline constexpr wchar_t kLibrary[] = L"korvaneLib.dll";
inline constexpr wchar_t kFramework[] = L"korvaneafx.dll";
inline constexpr wchar_t kDecoder[] = L"imgdecmp.dll";

// How an operation came back.
enum class EOutcome
{
    kDone,     // it succeeded: it did without
    kCode,     // a negative code, or the object's error
    kRecord,   // the last-error record holds it
    kMemory,   // the framework's CMemoryException
    kBadAlloc, // the C++ library's
    kComError, // _com_error, by which the automation types say it
};

std::ostream& operator<<(std::ostream& stream, EOutcome outcome);

// Not every operation lets go of all that it had when it failed.
enum class EAfterwards
{
    kNothingLeft,
    kHandlesKept
};

// An operation: negative when it failed.
using Operation = std::function<long()>;
// Looks at how the operation came back from an allocation's failure: the outcome, and the code or what the record has.
using OutcomeCheck = std::function<void(EOutcome outcome, long lCode)>;

// Which allocations fail: one, that one and the next, or that one and all behind it.
enum class EFails
{
    kOne,
    kTwo,
    kRest
};

// While it lives, no fault is put in, and nothing is counted: what an operation does for the test itself.
class CWithoutFaults
{
public:
    CWithoutFaults();
    ~CWithoutFaults();
    CWithoutFaults(const CWithoutFaults&) = delete;
    CWithoutFaults& operator=(const CWithoutFaults&) = delete;

private:
    const bool m_bBefore;
};

// While it lives, allocations that the run-time libraries make for themselves fail too: those of the C++ library's texts,
// which are compiled into it, are of that kind.
class CRuntimeFailsToo
{
public:
    CRuntimeFailsToo();
    ~CRuntimeFailsToo();
    CRuntimeFailsToo(const CRuntimeFailsToo&) = delete;
    CRuntimeFailsToo& operator=(const CRuntimeFailsToo&) = delete;
};

// While it lives, of the faults of one kind in one operation about `nMost` are tried, spread over all of it. In the long
// form (KORVANE_LONG) all are.
class CSampled
{
public:
    explicit CSampled(int nMost);
    ~CSampled();
    CSampled(const CSampled&) = delete;
    CSampled& operator=(const CSampled&) = delete;
};

// Runs the operation with its allocation number `nFails` (from 0 on) failing: malloc, new, HeapAlloc and SysAllocString
// alike, where a module of ours asks for the memory. Negative: none fails.
EOutcome Attempt(const Operation& operation, int nFails, long* plCode = nullptr, EFails fails = EFails::kOne);
// Lets each allocation of `operation` fail in turn, for the check, and then each with all that follow it, for what must
// hold whatever comes of it. REQUIRES: the memory checker is on (CFaultTest).
void FailEachAllocation(const char* pszName, const Operation& operation,
                        EAfterwards afterwards = EAfterwards::kNothingLeft, const OutcomeCheck& check = nullptr);

// Whether a call that fails has done its work nevertheless: what closes and frees would leave a leak behind else.
enum class EWork
{
    kNotDone,
    kDone
};

namespace faults_detail {

// Counts a call. True when it is the one that is to fail.
bool CountCall(const char* pszFunction);

// What there is for one function of one module, in static members: a replaced function is told nothing else.
template <class Tag, class Result, class Function> class CFailingCall
{
protected:
    using Base = CFailingCall;

    CFailingCall(const wchar_t* pszModule, const char* pszFunction, Function replacement, Result failure, DWORD dwError,
                 EWork work)
        : m_patch(pszModule, pszFunction, replacement)
    {
        s_call = {pszFunction, failure, dwError, work, reinterpret_cast<Function>(m_patch.Original())};
    }

    template <class... Arguments> static Result Make(Arguments... arguments)
    {
        if (!CountCall(s_call.pszFunction)) return s_call.pOriginal(arguments...);
        if (s_call.work == EWork::kDone) s_call.pOriginal(arguments...);
        ::SetLastError(s_call.dwError);
        return s_call.failure;
    }

private:
    struct State
    {
        const char* pszFunction;
        Result failure;
        DWORD dwError;
        EWork work;
        Function pOriginal;
    };

    static inline State s_call = {};
    const CImportPatch m_patch;
};

} // namespace faults_detail

// While it lives, the calls that a module makes of one imported function count, and FailEachCall lets them fail.
// `nWhich` tells the modules apart when several of them are watched for the same function.
template <auto pFunction, int nWhich = 0> class CFailing;

template <class Result, class... Arguments, Result(WINAPI* pFunction)(Arguments...), int nWhich>
class CFailing<pFunction, nWhich>
    : faults_detail::CFailingCall<CFailing<pFunction, nWhich>, Result, decltype(pFunction)>
{
public:
    // What the call gives when it fails, and its last error.
    CFailing(const wchar_t* pszModule, const char* pszFunction, Result failure, DWORD dwError,
             EWork work = EWork::kNotDone)
        : CFailing::Base(pszModule, pszFunction, &Call, failure, dwError, work)
    {
    }

private:
    static Result WINAPI Call(Arguments... arguments) { return CFailing::Make(arguments...); }
};

// The same for the C library's functions, which leave the stack to the caller.
template <auto pFunction, int nWhich = 0> class CFailingC;

template <class Result, class... Arguments, Result(__cdecl* pFunction)(Arguments...), int nWhich>
class CFailingC<pFunction, nWhich>
    : faults_detail::CFailingCall<CFailingC<pFunction, nWhich>, Result, decltype(pFunction)>
{
public:
    CFailingC(const wchar_t* pszModule, const char* pszFunction, Result failure, DWORD dwError,
              EWork work = EWork::kNotDone)
        : CFailingC::Base(pszModule, pszFunction, &Call, failure, dwError, work)
    {
    }

private:
    static Result __cdecl Call(Arguments... arguments) { return CFailingC::Make(arguments...); }
};

// The same for a method of a component's objects, all that have the table of methods of `pObject`.
template <class Result, class Object, class... Arguments, Result (STDMETHODCALLTYPE Object::*pMethod)(Arguments...),
          int nWhich>
class CFailing<pMethod, nWhich>
{
public:
    CFailing(Object* pObject, const char* pszMethod, Result failure) : m_pSlot(Slot(pObject))
    {
        s_pszMethod = pszMethod;
        s_failure = failure;
        s_pOriginal = reinterpret_cast<Function*>(*m_pSlot);
        Set(reinterpret_cast<DWORD>(&Call));
    }
    ~CFailing() { Set(reinterpret_cast<DWORD>(s_pOriginal)); }
    CFailing(const CFailing&) = delete;
    CFailing& operator=(const CFailing&) = delete;

private:
    using Function = Result WINAPI(Object*, Arguments...);

    static Result WINAPI Call(Object* pObject, Arguments... arguments)
    {
        return faults_detail::CountCall(s_pszMethod) ? s_failure : s_pOriginal(pObject, arguments...);
    }
    // A pointer to a virtual method holds the place of the method in the table, plus one.
    static DWORD* Slot(Object* pObject)
    {
        const auto method = pMethod;
        DWORD dwPlace;
        std::memcpy(&dwPlace, &method, sizeof(dwPlace));
        return *reinterpret_cast<DWORD**>(pObject) + (dwPlace - 1) / sizeof(DWORD);
    }
    void Set(DWORD dwAddress)
    {
        DWORD dwOld = 0;
        ::VirtualProtect(m_pSlot, sizeof(*m_pSlot), PAGE_READWRITE, &dwOld);
        *m_pSlot = dwAddress;
        ::VirtualProtect(m_pSlot, sizeof(*m_pSlot), dwOld, &dwOld);
    }

    static inline const char* s_pszMethod = nullptr;
    static inline Result s_failure = {};
    static inline Function* s_pOriginal = nullptr;
    DWORD* const m_pSlot;
};

// Looks at what came of an operation in which a call of `pszFunction` failed, number `nCall` of all calls from 0 on.
using CallCheck = std::function<void(const char* pszFunction, int nCall, long lResult)>;

// The function of which a call has failed in the operation that is running, "" as long as none has.
const char* FailedCall();

// Whether `pszFunction` is one of those.
bool IsOneOf(const char* pszFunction, std::initializer_list<const char*> functions);

// Lets each counted call of `operation` fail in turn. Afterwards there are as many handles and GDI objects as before,
// and no more memory of ours, and the operation works again.
void FailEachCall(const char* pszName, const Operation& operation, const CallCheck& check);

// A test of such faults: the memory checker is on, and no error is parked before and after it.
class CFaultTest : public testing::Test
{
protected:
    CFaultTest();
    ~CFaultTest() override;
};

#endif
