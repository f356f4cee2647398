// threadstate.h - what the framework keeps for each thread.
//
// Ownership  made when a thread first asks for it, deleted when the thread ends or the library is unloaded. When the
// whole
//            process ends it stays: the host's static objects may still need it.
// Errors     CMemoryException* when memory is out.
#ifndef KORVANEAFX_THREADSTATE_H
#define KORVANEAFX_THREADSTATE_H

#include "handlemap.h"

#include "afx_dc.h"

inline void SetMappedHandle(CGdiObject& object, HANDLE hHandle)
{
    object.m_hObject = hHandle;
}

inline void SetMappedHandle(CDC& dc, HANDLE hHandle)
{
    dc.m_hDC = dc.m_hAttribDC = static_cast<HDC>(hHandle);
}

struct CThreadState
{
    CHandleMap<CGdiObject> m_gdiObjects;
    CHandleMap<CDC> m_contexts;

    // The calling thread's.
    static CThreadState& Get();
    // NULL if the calling thread has none: there is nothing to look up or to remove then.
    static CThreadState* GetIfAny();
};

#endif
