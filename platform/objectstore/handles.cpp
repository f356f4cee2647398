#include "handles.h"

namespace store {

namespace {

constexpr DWORD kSlotsInChunk = 256;
constexpr DWORD kChunks = 255; // slot numbers take 16 bits, and none is 0xFFFF
constexpr DWORD kLastGeneration = 0x3FFF;
constexpr DWORD kGenerationShift = 17;

} // namespace

// Slots are never freed, so that a call with a stale handle may look at one at any time.
struct CHandleSlot
{
    volatile LONG nUsers = 0;      // calls under way
    volatile LONG nGeneration = 1; // of the open handle; another number while closed
    CHandleObject* pObject = nullptr;
    DWORD nNextFree = 0; // slot number + 1
    bool bOpen = false;
};

namespace {

CHandleSlot* volatile g_rgChunks[kChunks];
SRWLOCK g_lock = SRWLOCK_INIT; // guards the free list and the opening and closing of slots
DWORD g_nSlots = 0;
DWORD g_nFirstFree = 0; // slot number + 1

CHandleSlot& Slot(DWORD nSlot)
{
    return g_rgChunks[nSlot / kSlotsInChunk][nSlot % kSlotsInChunk];
}

HANDLE HandleOf(DWORD nSlot, LONG nGeneration)
{
    return reinterpret_cast<HANDLE>(static_cast<DWORD>(nGeneration) << kGenerationShift | nSlot << 1 | 1);
}

CHandleSlot* SlotOf(HANDLE h, LONG& nGeneration)
{
    const DWORD dw = reinterpret_cast<DWORD>(h);
    const DWORD nSlot = dw >> 1 & 0xFFFF;
    if (!IsStoreHandle(h) || nSlot / kSlotsInChunk >= kChunks || !g_rgChunks[nSlot / kSlotsInChunk]) return nullptr;
    nGeneration = static_cast<LONG>(dw >> kGenerationShift);
    return &Slot(nSlot);
}

} // namespace

bool IsStoreHandle(HANDLE h)
{
    const DWORD dw = reinterpret_cast<DWORD>(h);
    return (dw & 1) && dw < 0x80000000 && dw >> kGenerationShift != 0;
}

CPin::CPin(HANDLE h, CHandleObject::EKind kind)
{
    LONG nGeneration;
    CHandleSlot* pSlot = SlotOf(h, nGeneration);
    if (!pSlot) return;
    ::InterlockedIncrement(&pSlot->nUsers);
    m_pSlot = pSlot;
    // A slot that is closed has no object; one that is open now cannot be closed before nUsers falls.
    if (pSlot->nGeneration == nGeneration && pSlot->pObject && pSlot->pObject->Kind() == kind)
        m_pObject = pSlot->pObject;
}

CPin::~CPin()
{
    if (m_pSlot) ::InterlockedDecrement(&m_pSlot->nUsers);
}

HANDLE AddHandle(std::unique_ptr<CHandleObject> pObject)
{
    ::AcquireSRWLockExclusive(&g_lock);
    HANDLE h = INVALID_HANDLE_VALUE;
    if (!g_nFirstFree && g_nSlots < kChunks * kSlotsInChunk) {
        CHandleSlot* const pChunk = new (std::nothrow) CHandleSlot[kSlotsInChunk];
        if (pChunk) {
            for (DWORD i = 0; i < kSlotsInChunk; ++i)
                pChunk[i].nNextFree = i + 1 < kSlotsInChunk ? g_nSlots + i + 2 : 0;
            g_rgChunks[g_nSlots / kSlotsInChunk] = pChunk;
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
    // No call can begin on the handle any more. Those that have begun are short.
    while (::InterlockedCompareExchange(&pSlot->nUsers, 0, 0) != 0) ::Sleep(0);
    const std::unique_ptr<CHandleObject> pObject(pSlot->pObject);
    pSlot->pObject = nullptr;
    ::AcquireSRWLockExclusive(&g_lock);
    pSlot->nNextFree = g_nFirstFree;
    g_nFirstFree = (reinterpret_cast<DWORD>(h) >> 1 & 0xFFFF) + 1;
    ::ReleaseSRWLockExclusive(&g_lock);
    return true;
}

bool IsAnyHandleInUse()
{
    for (DWORD nSlot = 0; nSlot < g_nSlots; ++nSlot)
        if (Slot(nSlot).nUsers != 0) return true;
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
