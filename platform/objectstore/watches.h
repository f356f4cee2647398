// watches.h - the database handles of this process whose windows are told of what others change, and the one thread
// that tells them.
//
// A write notes its change in the block that the processes share, if any process watches the volume, and wakes those
// that do (shared.h). Each of them has one thread, while it has a handle to tell: it takes the notes and posts them,
// because a notification's record lies in a heap of the process that receives it.
//
// Ownership  a watch ends with its handle; a posted record belongs to whoever receives it.
// Threads    any. The thread is inside the store only while it takes and posts notes.
// Errors     Win32 codes.
#ifndef KORVANESTORE_WATCHES_H
#define KORVANESTORE_WATCHES_H

#include "databasehandle.h"
#include "shared.h"

namespace store {

class CWatches
{
public:
    static CWatches& Instance();

    // The request was checked. Changes made by the present thread are not told.
    DWORD Add(CDatabaseHandle& handle, const CENOTIFYREQUEST& request);
    // Afterwards nothing is posted any more on the handle's behalf.
    void Remove(CDatabaseHandle& handle);

private:
    struct CWatch
    {
        CDatabaseHandle* pHandle;
        CVolume* pVolume;
        CENOTIFYREQUEST request;
        DWORD dwThread; // that opened the handle
    };
    CWatches() = default;
    ~CWatches() = delete; // there is one, and it lives until the process ends
    static DWORD WINAPI Run(void* pWatches);
    DWORD Start();
    bool TellAll();
    static void Tell(const CWatch& watch, const CChangeNote& note);

    SRWLOCK m_lock = SRWLOCK_INIT; // taken before any volume
    std::vector<CWatch> m_watches;
    HANDLE m_hEvent = nullptr; // wakes the thread; never closed
    bool m_bRunning = false;
};

} // namespace store

#endif
