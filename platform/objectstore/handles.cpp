#include "handles.h"

namespace store {

namespace {

constexpr DWORD kLastGeneration = 0x3FFF;

} // namespace

CHandleSlot* volatile g_rgSlotChunks[kSlotChunks];

namespace {

SRWLOCK g_lock = SRWLOCK_INIT; // guards the free list and the opening and closing of slots
DWORD g_nSlots = 0;
DWORD g_nFirstFree = 0; // slot number + 1

CHandleSlot& Slot(DWORD nSlot)
{
    return g_rgSlotChunks[nSlot / kSlotsInChunk][nSlot % kSlotsInChunk];
}

HANDLE HandleOf(DWORD nSlot, LONG nGeneration)
{
    return reinterpret_cast<HANDLE>(static_cast<DWORD>(nGeneration) << kGenerationShift | nSlot << 1 | 1);
}

} // namespace

void WaitForSlot(CHandleSlot& slot)
{
    for (DWORD dwTry = 1; ::InterlockedCompareExchange(&slot.bInUse, 1, 0) != 0; ++dwTry) {
        if (dwTry % 64 != 0)
            YieldProcessor();
        else
            ::Sleep(dwTry % 1024 != 0 ? 0 : 1);
    }
}

HANDLE AddHandle(std::unique_ptr<CHandleObject> pObject)
{
    ::AcquireSRWLockExclusive(&g_lock);
    HANDLE h = INVALID_HANDLE_VALUE;
    if (!g_nFirstFree && g_nSlots < kSlotChunks * kSlotsInChunk) {
        CHandleSlot* const pChunk = new (std::nothrow) CHandleSlot[kSlotsInChunk];
        if (pChunk) {
            for (DWORD i = 0; i < kSlotsInChunk; ++i)
                pChunk[i].nNextFree = i + 1 < kSlotsInChunk ? g_nSlots + i + 2 : 0;
            g_rgSlotChunks[g_nSlots / kSlotsInChunk] = pChunk;
            g_nFirstFree = g_nSlots + 1;
            g_nSlots += kSlotsInChunk;
        }
    }
    if (g_nFirstFree) {
        const DWORD nSlot = g_nFirstFree - 1;
        CHandleSlot& slot = Slot(nSlot);
        g_nFirstFree = slot.nNextFree;
        slot.pObject = pObject.release();
        slot.bOpen = true;
        h = HandleOf(nSlot, slot.nGeneration);
    }
    ::ReleaseSRWLockExclusive(&g_lock);
    return h;
}

bool CloseStoreHandle(HANDLE h)
{
    LONG nGeneration;
    CHandleSlot* const pSlot = SlotOf(h, nGeneration);
    if (!pSlot) return false;
    ::AcquireSRWLockExclusive(&g_lock);
    const bool bOpen = pSlot->bOpen && pSlot->nGeneration == nGeneration;
    if (bOpen) {
        pSlot->bOpen = false;
        ::InterlockedExchange(&pSlot->nGeneration,
                              nGeneration < static_cast<LONG>(kLastGeneration) ? nGeneration + 1 : 1);
    }
    ::ReleaseSRWLockExclusive(&g_lock);
    if (!bOpen) return false;
    // No call can begin on the handle any more. Those that have begun are short, even one on a number that was never
    // given out and happens to be the slot's next.
    if (::InterlockedCompareExchange(&pSlot->bInUse, 1, 0) != 0) WaitForSlot(*pSlot);
    const std::unique_ptr<CHandleObject> pObject(pSlot->pObject);
    pSlot->pObject = nullptr;
    __atomic_store_n(&pSlot->bInUse, 0, __ATOMIC_RELEASE);
    ::AcquireSRWLockExclusive(&g_lock);
    pSlot->nNextFree = g_nFirstFree;
    g_nFirstFree = (reinterpret_cast<DWORD>(h) >> 1 & 0xFFFF) + 1;
    ::ReleaseSRWLockExclusive(&g_lock);
    return true;
}

bool IsAnyHandleInUse()
{
    for (DWORD nSlot = 0; nSlot < g_nSlots; ++nSlot)
        if (Slot(nSlot).bInUse) return true;
    return false;
}

void CloseAllHandles()
{
    for (DWORD nSlot = 0; nSlot < g_nSlots; ++nSlot) {
        const CHandleSlot& slot = Slot(nSlot);
        if (slot.bOpen) CloseStoreHandle(HandleOf(nSlot, slot.nGeneration));
    }
}

} // namespace store
