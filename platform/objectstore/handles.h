// handles.h - the store's handles: numbers that no handle of the system has, and what stands behind them.
//
// A handle is odd (the system's are multiples of four) and below 0x80000000; it carries the number of its slot and the
// slot's generation, so that one which was closed stays invalid when the slot is used again.
//
// Ownership  the table owns the objects; CPin keeps one from being closed while a call works with it.
// Threads    any. Closing waits for the calls that are under way on the handle.
// Errors     an unknown handle is a null object.
#ifndef KORVANESTORE_HANDLES_H
#define KORVANESTORE_HANDLES_H

#include <windbase.h>

#include <memory>

namespace store {

class CHandleObject
{
public:
    enum EKind
    {
        kDatabase,
        kEnumeration
    };
    explicit CHandleObject(EKind kind) : m_kind(kind) {}
    virtual ~CHandleObject() = default;
    CHandleObject(const CHandleObject&) = delete;
    CHandleObject& operator=(const CHandleObject&) = delete;
    EKind Kind() const { return m_kind; }

private:
    const EKind m_kind;
};

// Slots are never freed, so that a call with a stale handle may look at one at any time.
struct CHandleSlot
{
    volatile LONG bInUse = 0;      // a call is under way
    volatile LONG nGeneration = 1; // of the open handle; another number while closed
    CHandleObject* pObject = nullptr;
    DWORD nNextFree = 0; // slot number + 1
    bool bOpen = false;
};

constexpr DWORD kSlotsInChunk = 256;
constexpr DWORD kSlotChunks = 255; // slot numbers take 16 bits, and none is 0xFFFF
constexpr DWORD kGenerationShift = 17;
extern CHandleSlot* volatile g_rgSlotChunks[kSlotChunks];

inline bool IsStoreHandle(HANDLE h) // by its form
{
    const DWORD dw = reinterpret_cast<DWORD>(h);
    return (dw & 1) && dw < 0x80000000 && dw >> kGenerationShift != 0;
}

// The slot of a handle, open or not; null when there is none.
inline CHandleSlot* SlotOf(HANDLE h, LONG& nGeneration)
{
    const DWORD dw = reinterpret_cast<DWORD>(h);
    const DWORD nSlot = dw >> 1 & 0xFFFF;
    if (!IsStoreHandle(h) || nSlot / kSlotsInChunk >= kSlotChunks) return nullptr;
    CHandleSlot* const pChunk = g_rgSlotChunks[nSlot / kSlotsInChunk];
    nGeneration = static_cast<LONG>(dw >> kGenerationShift);
    return pChunk ? pChunk + nSlot % kSlotsInChunk : nullptr;
}

// Until the slot is this call's.
void WaitForSlot(CHandleSlot& slot);

// The object behind a handle for the length of a call, which other calls on the handle wait for.
class CPin
{
public:
    CPin(HANDLE h, CHandleObject::EKind kind)
    {
        LONG nGeneration;
        CHandleSlot* const pSlot = SlotOf(h, nGeneration);
        if (!pSlot) return;
        if (::InterlockedCompareExchange(&pSlot->bInUse, 1, 0) != 0) WaitForSlot(*pSlot);
        m_pSlot = pSlot;
        // A slot that is closed has no object; one that is open now cannot be closed while it is in use.
        if (pSlot->nGeneration == nGeneration && pSlot->pObject && pSlot->pObject->Kind() == kind)
            m_pObject = pSlot->pObject;
    }
    ~CPin()
    {
        if (m_pSlot) __atomic_store_n(&m_pSlot->bInUse, 0, __ATOMIC_RELEASE);
    }
    CPin(const CPin&) = delete;
    CPin& operator=(const CPin&) = delete;
    CHandleObject* Get() const { return m_pObject; } // null: no open handle of this kind

private:
    CHandleSlot* m_pSlot = nullptr;
    CHandleObject* m_pObject = nullptr;
};

// INVALID_HANDLE_VALUE when all slots are taken; the object is then gone.
HANDLE AddHandle(std::unique_ptr<CHandleObject> pObject);
bool CloseStoreHandle(HANDLE h);
// Whether a call is under way on any handle.
bool IsAnyHandleInUse();
// Closes what is left, when the process ends in good order.
void CloseAllHandles();

} // namespace store

#endif
