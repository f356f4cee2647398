// mounttable.h - which volume files are mounted by which process: a table that all processes of the session share.
//
// It serves CeEnumDBVolumes, and a process that was handed the GUID of a volume that only another one has mounted.
//
// Ownership  the table lives in a named section for as long as a process has it open; rows of dead processes go.
// Threads    any; a named mutex guards the table, so it is for rare calls only.
// Errors     Win32 codes.
#ifndef KORVANESTORE_MOUNTTABLE_H
#define KORVANESTORE_MOUNTTABLE_H

#include <windbase.h>

#include <string.h>
#include <string>
#include <vector>

namespace store {

inline bool IsSame(const CEGUID& left, const CEGUID& right)
{
    return memcmp(&left, &right, sizeof left) == 0;
}

struct CMountRow
{
    CEGUID guid;
    std::wstring strPath;
};

class CMountTable
{
public:
    CMountTable() = default;
    ~CMountTable();
    CMountTable(const CMountTable&) = delete;
    CMountTable& operator=(const CMountTable&) = delete;

    // This process's row for a volume: added by its first mount, removed by its last unmount.
    // ERROR_NOT_ENOUGH_MEMORY when the table is full.
    DWORD Add(const CEGUID& guid, const std::wstring& strPath);
    void Remove(const CEGUID& guid);

    // The volumes mounted by any living process, each once, in the order of their rows.
    DWORD List(std::vector<CMountRow>& rows);

private:
    struct CRow;
    class CLock;
    DWORD Open();

    HANDLE m_hMutex = nullptr;   // owned
    HANDLE m_hSection = nullptr; // owned
    CRow* m_pRows = nullptr;     // view of the section
};

} // namespace store

#endif
