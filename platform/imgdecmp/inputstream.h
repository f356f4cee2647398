// CInputStream: the compressed bytes, fetched through the caller's function only when something asks for them.
//
// The imaging component wants to seek, the caller's function cannot: what has been fetched is kept. Nothing is fetched
// beyond what is asked for, since there are callers whose function goes on delivering behind the end of the picture.
//
// Threads    the decoding thread only.
// Errors     IStream's. HasOverrun() tells that the caller's function claimed more than its buffer holds; the data ends
// there.
#ifndef KORVANE_IMGDECMP_INPUTSTREAM_H
#define KORVANE_IMGDECMP_INPUTSTREAM_H

#include <imgdecmp.h>
#include <objidl.h>

#include <vector>

class CInputStream final : public IStream
{
public:
    // REQUIRES: a record whose buffer, sizes and function have been checked, and which outlives this object's Read.
    explicit CInputStream(const DecompressImageInfo& info);
    CInputStream(const CInputStream&) = delete;
    CInputStream& operator=(const CInputStream&) = delete;

    // `cb` bytes from `at` on, or null when the data ends before. The pointer lives until the next call.
    const BYTE* Peek(size_t at, size_t cb);
    // The data ends at `cb`, with `last` behind it. REQUIRES: that much has been fetched.
    void EndAt(size_t cb, BYTE last);
    bool HasOverrun() const { return m_bOverrun; }
    // Whether a call of the component's failed for want of memory.
    bool IsOutOfMemory() const { return m_bOutOfMemory; }

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID riid, void** ppv) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;
    HRESULT STDMETHODCALLTYPE Read(void* pv, ULONG cb, ULONG* pcbRead) override;
    HRESULT STDMETHODCALLTYPE Seek(LARGE_INTEGER move, DWORD dwOrigin, ULARGE_INTEGER* pPosition) override;
    HRESULT STDMETHODCALLTYPE Stat(STATSTG* pStat, DWORD dwFlags) override;
    // Refused: the data is read only and has one reader.
    HRESULT STDMETHODCALLTYPE Write(const void*, ULONG, ULONG*) override { return STG_E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE SetSize(ULARGE_INTEGER) override { return STG_E_ACCESSDENIED; }
    HRESULT STDMETHODCALLTYPE CopyTo(IStream*, ULARGE_INTEGER, ULARGE_INTEGER*, ULARGE_INTEGER*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE Commit(DWORD) override { return S_OK; }
    HRESULT STDMETHODCALLTYPE Revert() override { return S_OK; }
    HRESULT STDMETHODCALLTYPE LockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override
    {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT STDMETHODCALLTYPE UnlockRegion(ULARGE_INTEGER, ULARGE_INTEGER, DWORD) override
    {
        return STG_E_INVALIDFUNCTION;
    }
    HRESULT STDMETHODCALLTYPE Clone(IStream**) override { return E_NOTIMPL; }

private:
    ~CInputStream() = default;
    // Fetches until there are `cb` bytes or no more come. Throws std::bad_alloc.
    void FetchUpTo(unsigned long long cb);

    const DecompressImageInfo& m_info;
    std::vector<BYTE> m_bytes;         // all that has been fetched
    unsigned long long m_position = 0; // of the next Read; may lie behind the end
    LONG m_nReferences = 1;
    bool m_bEnded = false;   // the caller's function is not to be asked again
    bool m_bOverrun = false; // because it claimed more than its buffer holds
    bool m_bOutOfMemory = false;
};

#endif
