// apiedge.h - where the store's own way of reporting (a Win32 code) becomes the API's: a value and the last error.
//
// No exception passes here: std::bad_alloc becomes ERROR_NOT_ENOUGH_MEMORY.
#ifndef KORVANESTORE_APIEDGE_H
#define KORVANESTORE_APIEDGE_H

#include <windbase.h>

#include <new>

namespace store {

// Calls under way in the process that have no database handle (a handle counts its own). At the process's end, threads
// that were ended inside a call leave the store as after a kill.
extern volatile LONG g_nCalls;

class CCallCount
{
public:
    CCallCount() { ::InterlockedIncrement(&g_nCalls); }
    ~CCallCount() { ::InterlockedDecrement(&g_nCalls); }
    CCallCount(const CCallCount&) = delete;
    CCallCount& operator=(const CCallCount&) = delete;
};

// Runs a call, DWORD call(T& result), and answers for it. The last error stays as it was when all is well: what the
// call does may have touched it. The quick form is for calls on database handles that do not touch it.
template <class T, class TCall> T AnswerQuickly(T failure, TCall call)
{
    T result = failure;
    DWORD dwError;
    try {
        dwError = call(result);
    } catch (const std::bad_alloc&) {
        dwError = ERROR_NOT_ENOUGH_MEMORY;
    }
    if (dwError == ERROR_SUCCESS) return result;
    ::SetLastError(dwError);
    return failure;
}

template <class T, class TCall> T Answer(T failure, TCall call)
{
    const CCallCount count;
    const DWORD dwKeep = ::GetLastError();
    bool bDone = false;
    const T result = AnswerQuickly(failure, [&](T& value) {
        const DWORD dwError = call(value);
        bDone = dwError == ERROR_SUCCESS;
        return dwError;
    });
    if (bDone) ::SetLastError(dwKeep);
    return result;
}

// For calls that succeed or fail and have nothing else to tell.
template <class TCall> BOOL AnswerBool(TCall call)
{
    return Answer(FALSE, [&](BOOL& bResult) {
        const DWORD dwError = call();
        bResult = dwError == ERROR_SUCCESS;
        return dwError;
    });
}

} // namespace store

#endif
