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

struct CHandleSlot;

// The object behind a handle for the length of a call.
class CPin
{
public:
    CPin(HANDLE h, CHandleObject::EKind kind);
    ~CPin();
    CPin(const CPin&) = delete;
    CPin& operator=(const CPin&) = delete;
    CHandleObject* Get() const { return m_pObject; } // null: no open handle of this kind

private:
    CHandleSlot* m_pSlot = nullptr;
    CHandleObject* m_pObject = nullptr;
};

// INVALID_HANDLE_VALUE when all slots are taken; the object is then gone.
HANDLE AddHandle(std::unique_ptr<CHandleObject> pObject);
bool IsStoreHandle(HANDLE h); // by its form
bool CloseStoreHandle(HANDLE h);
// Whether a call is under way on any handle.
bool IsAnyHandleInUse();
// Closes what is left, when the process ends in good order.
void CloseAllHandles();

} // namespace store

#endif
