// translated.h - what the library and the framework throw, as this program's own failures.
#ifndef KVOL_TRANSLATED_H
#define KVOL_TRANSLATED_H

#include "failure.h"

#include <korvanelib.h>

#include <new>

namespace kvol {

// Runs action and returns what it does. Memory that is out is std::bad_alloc, whoever found it; anything else is a CFailure.
template <class Action> auto Translated(Action action) -> decltype(action())
{
    HRESULT hr = S_OK;
    try {
        return action();
    } catch (CException* pException) {
        // A CString: the program uses nothing else of the framework's that throws.
        if (!pException->IsKindOf(RUNTIME_CLASS(CMemoryException))) hr = E_FAIL;
        pException->Delete();
    } catch (const _com_error& error) {
        if (error.Error() != E_OUTOFMEMORY) hr = error.Error();
    }
    if (hr == S_OK) throw std::bad_alloc();
    throw CFailure("a value could not be copied: " + SystemText(static_cast<DWORD>(hr)));
}

} // namespace kvol

#endif
