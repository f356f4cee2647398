// guarded.h - the C++ library's lack of memory as the framework's exception.
#ifndef KORVANEAFX_GUARDED_H
#define KORVANEAFX_GUARDED_H

#include "afx.h"

#include <new>

// Runs action. std::bad_alloc becomes a CMemoryException*, which hosts know.
template <class Action> void Guarded(Action action)
{
    bool bDone = false;
    try {
        action();
        bDone = true;
    } catch (const std::bad_alloc&) {
    }
    // Not from within the handler: the exception object would need memory while there is none.
    if (!bDone) AfxThrowMemoryException();
}

#endif
