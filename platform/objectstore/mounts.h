// mounts.h - the volumes that this process has mounted or open, and the object store.
//
// Ownership  a file has one COpenVolume in the process, whatever path led to it. It stays open while it is mounted and
//            while somebody holds a CVolumeRef on it; the object store, once used, until the process ends.
// Threads    any.
// Errors     Win32 codes.
#ifndef KORVANESTORE_MOUNTS_H
#define KORVANESTORE_MOUNTS_H

#include "openvolume.h"
#include "station.h"

namespace store {

// Keeps a volume open.
class CVolumeRef
{
public:
    CVolumeRef() = default;
    CVolumeRef(CVolumeRef&& other) noexcept : m_pVolume(other.m_pVolume) { other.m_pVolume = nullptr; }
    CVolumeRef(const CVolumeRef& other);
    CVolumeRef& operator=(CVolumeRef other) noexcept
    {
        std::swap(m_pVolume, other.m_pVolume);
        return *this;
    }
    ~CVolumeRef();

    COpenVolume* operator->() const { return m_pVolume; }
    COpenVolume& operator*() const { return *m_pVolume; }
    explicit operator bool() const { return m_pVolume != nullptr; }

private:
    friend class CMounts;
    COpenVolume* m_pVolume = nullptr;
};

class CMounts
{
public:
    static CMounts& Instance();

    // bExisted: there was a file. The caller has checked its arguments, but not the path's length.
    DWORD Mount(const wchar_t* pszPath, DWORD dwDisposition, CEGUID& guid, bool& bExisted);
    // ERROR_INVALID_PARAMETER for a volume that this process has not mounted.
    DWORD Unmount(const CEGUID& guid);

    // The volume of this name, opened if only another process has it mounted. ERROR_INVALID_PARAMETER.
    DWORD Find(const CEGUID& guid, CVolumeRef& volume);
    // A batch keeps its volume open until it is committed or abandoned; unmounting abandons it.
    DWORD BeginBatch(const CEGUID& guid);
    DWORD EndBatch(const CEGUID& guid, bool bCommit);

    // The object store, then what this process has mounted, in the order of mounting.
    DWORD All(std::vector<CVolumeRef>& volumes, std::vector<CEGUID>& guids);
    // What all processes have mounted.
    DWORD List(std::vector<CMountRow>& rows);

    // Closes everything, when the process ends in good order.
    void CloseAll();

private:
    friend class CVolumeRef;
    struct CMounted;
    CMounts();
    ~CMounts() = delete; // there is one, and it lives until the process ends
    DWORD OpenObjectStore(COpenVolume*& pVolume);
    CMounted* FindOpen(const wchar_t* pszPath);
    CMounted* FindOpen(const COpenVolume* pVolume);
    DWORD OpenFile(const wchar_t* pszPath, DWORD dwDisposition, bool& bExisted, CMounted*& pMounted);
    void AddRef(COpenVolume* pVolume);
    void Release(COpenVolume* pVolume);
    void CloseUnused();

    CRITICAL_SECTION m_cs; // guards all below; held while a file is opened or closed
    std::vector<CMounted> m_open;
    COpenVolume* m_pObjectStore = nullptr; // one of m_open, which has a reference for it
};

inline CEGUID SystemGuid()
{
    CEGUID guid;
    CREATE_SYSTEMGUID(&guid);
    return guid;
}

inline DWORD FindVolume(const CEGUID* pguid, CVolumeRef& volume)
{
    return pguid ? CMounts::Instance().Find(*pguid, volume) : ERROR_INVALID_PARAMETER;
}

} // namespace store

#endif
