// CSmartPtr<T>: holds one reference of an object with AddRef and Release, as CRefCntBase gives them.
//
// Ownership  taking an object adds one to its count, letting go releases it: the last pointer's release deletes it.
// Threads    one thread at a time, as the counts are.
// Errors     none. Using a null pointer is not checked.
//
// Assigning releases the old object before it touches the new one. So `p = p->next` on the last reference uses the
// deleted `*p`: hold the new one first (`CSmartPtr<T> next = p->next; p = next;`).
#ifndef KORVANE_BASE_SMARTPTR_H
#define KORVANE_BASE_SMARTPTR_H

template <class T> class CSmartPtr
{
public:
    // Null. Constant, so that a static pointer is null before any initialiser runs and is not reset by its own.
    constexpr CSmartPtr() noexcept = default;
    CSmartPtr(T* p) { *this = p; }
    CSmartPtr(const CSmartPtr& rOther) { *this = rOther.m_p; }
    // Takes over the other one's reference, which becomes null.
    CSmartPtr(CSmartPtr&& rOther) noexcept : m_p(rOther.m_p) { rOther.m_p = nullptr; }
    ~CSmartPtr()
    {
        if (m_p) m_p->Release();
    }

    // The same object again: nothing, no count changes. Otherwise releases what is held, becomes null, takes the new
    // one.
    CSmartPtr& operator=(T* p)
    {
        if (p == m_p) return *this;
        Clear();
        if (p) p->AddRef();
        m_p = p;
        return *this;
    }
    CSmartPtr& operator=(const CSmartPtr& rOther) { return *this = rOther.m_p; }
    CSmartPtr& operator=(CSmartPtr&& rOther) noexcept
    {
        if (rOther.m_p == m_p) return *this;
        T* const p = rOther.m_p;
        rOther.m_p = nullptr;
        Clear();
        m_p = p;
        return *this;
    }

    T* operator->() const { return m_p; }
    T& operator*() const { return *m_p; }
    operator T*() const { return m_p; }

private:
    void Clear()
    {
        if (m_p) m_p->Release();
        m_p = nullptr;
    }

    T* m_p = nullptr;
};

#endif
