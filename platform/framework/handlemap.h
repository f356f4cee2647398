// handlemap.h - which object of a thread stands for which handle of the system.
//
// A map is of one kind of handle. It has the permanent objects, each of which entered itself with the handle it owns,
// and the temporary ones, made for handles that come from elsewhere.
//
// Ownership  temporary objects are the map's, permanent ones are not. No object in the map deletes a handle through it.
// Threads    one map a thread: see threadstate.h.
// Errors     CMemoryException* when memory is out; the map is then unchanged.
#ifndef KORVANEAFX_HANDLEMAP_H
#define KORVANEAFX_HANDLEMAP_H

#include "guarded.h"

#include <map>
#include <memory>
#include <unordered_map>
#include <utility>

// REQUIRES: SetMappedHandle(Object&, HANDLE), which makes an object stand for a handle, or with NULL for none.
template <class Object> class CHandleMap
{
public:
    CHandleMap() = default;
    ~CHandleMap() { DeleteTemporaries(); }
    CHandleMap(const CHandleMap&) = delete;
    CHandleMap& operator=(const CHandleMap&) = delete;

    // NULL if there is none.
    Object* FindPermanent(HANDLE hHandle) const
    {
        const auto found = m_permanent.find(hHandle);
        return found == m_permanent.end() ? NULL : found->second;
    }
    void SetPermanent(HANDLE hHandle, Object* pObject)
    {
        Guarded([&] { m_permanent[hHandle] = pObject; });
    }
    // Another object's entry stays: two may have been given one handle, such as a system brush, and the last one
    // counts.
    void RemovePermanent(HANDLE hHandle, const Object* pObject)
    {
        const auto found = m_permanent.find(hHandle);
        if (found != m_permanent.end() && found->second == pObject) m_permanent.erase(found);
    }
    // The permanent object if it is a pClass, else the temporary one of the class, made if need be. The class is part
    // of the key, because the system uses the number of a deleted handle again, for a handle of another kind.
    Object* FromHandle(HANDLE hHandle, CRuntimeClass* pClass)
    {
        if (Object* const pPermanent = FindPermanent(hHandle)) {
            if (pPermanent->IsKindOf(pClass)) return pPermanent;
        }
        const Key key(hHandle, pClass);
        const auto found = m_temporary.find(key);
        if (found != m_temporary.end()) {
            // Who had it may have taken the handle from it: Detach and its like know nothing of this map.
            SetMappedHandle(*found->second, hHandle);
            return found->second.get();
        }
        std::unique_ptr<Object> pNew(static_cast<Object*>(pClass->CreateObject()));
        if (!pNew) AfxThrowMemoryException();
        Object* const pObject = pNew.get();
        Guarded([&] { m_temporary.emplace(key, std::move(pNew)); });
        SetMappedHandle(*pObject, hHandle);
        return pObject;
    }
    void DeleteTemporaries()
    {
        // Out of the map first: the destructors are virtual, and what they call may come back here.
        std::map<Key, std::unique_ptr<Object>> gone;
        gone.swap(m_temporary);
        for (auto& entry : gone) SetMappedHandle(*entry.second, NULL);
    }

private:
    using Key = std::pair<HANDLE, CRuntimeClass*>;

    std::unordered_map<HANDLE, Object*> m_permanent;
    std::map<Key, std::unique_ptr<Object>> m_temporary;
};

#endif
