// CComRef: one counted reference to a COM object, released at the end.
#ifndef KORVANE_IMGDECMP_COMREF_H
#define KORVANE_IMGDECMP_COMREF_H

template <class T> class CComRef
{
public:
    CComRef() = default;
    // Takes the caller's reference over.
    explicit CComRef(T* p) : m_p(p) {}
    ~CComRef()
    {
        if (m_p) m_p->Release();
    }
    CComRef(const CComRef&) = delete;
    CComRef& operator=(const CComRef&) = delete;

    T* operator->() const { return m_p; }
    T* Get() const { return m_p; }
    // For out-parameters. REQUIRES: empty.
    T** Receive() { return &m_p; }
    // Hands the reference over.
    T* Detach()
    {
        T* const p = m_p;
        m_p = nullptr;
        return p;
    }

private:
    T* m_p = nullptr; // one reference; null means empty
};

#endif
