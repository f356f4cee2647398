// station.h - where the processes of a session meet: which volumes are open, and the block of shared memory of each.
//
// One section of the system holds a table of rows and the block of the first one; further volumes have sections of their
// own for their blocks. So a process that opens a volume mostly makes or opens one object. (Blocks for all rows in one
// section would be simpler; but under Wine the first touch of a new section costs 150 us for each megabyte of it.)
//
// A volume's row is found by the file's index and its path. The same index with another path is the same file under
// another name, or one of another disk: the two are told apart by a lock that is tried on both, which costs a tenth of
// asking for the disk's number. Nothing is locked for longer than that.
//
// Words in the section that are taken by one process name it by its number and start, so that one that died is found
// out.
//
// Ownership  the section and its view are the process's until it ends.
// Threads    any.
// Errors     Win32 codes.
#ifndef KORVANESTORE_STATION_H
#define KORVANESTORE_STATION_H

#include <windbase.h>

#include <string.h>
#include <string>
#include <vector>

namespace store {

struct CSharedBlock;

inline bool IsSame(const CEGUID& left, const CEGUID& right)
{
    return memcmp(&left, &right, sizeof left) == 0;
}

// Whether two handles, which can read or write, are of one file. An error says that it cannot be known.
DWORD AreSameFile(HANDLE hFile, HANDLE hOther, bool& bSame);

struct CMountRow
{
    CEGUID guid;
    std::wstring strPath;
};

// The block of a row, while it lives; null when it cannot be had.
class CBlockView
{
public:
    CBlockView() = default;
    ~CBlockView() { Close(); }
    CBlockView(const CBlockView&) = delete;
    CBlockView& operator=(const CBlockView&) = delete;

    // bMake: the block is made if it is not there. The station is open.
    DWORD Open(DWORD dwRow, bool bMake);
    void Close();
    CSharedBlock* Get() const { return m_pBlock; }

private:
    HANDLE m_hSection = nullptr; // owned, as the view is; null for the first row's
    CSharedBlock* m_pBlock = nullptr;
};

class CStation
{
public:
    static CStation& Instance();

    // The row of the file, a new one when nobody has it open, with the right to open and close its volume: one process
    // at a time has that, until LetGo. ERROR_NOT_ENOUGH_MEMORY: all rows are taken. Other errors: it cannot be known
    // whether somebody has it open.
    DWORD Take(HANDLE hFile, const std::wstring& strPath, DWORD& dwRow, CBlockView& view);
    // The same right for one who has the volume open, and its end. A row that has no process is free then.
    void TakeAgain(DWORD dwRow);
    bool TryTakeAgain(DWORD dwRow); // false: another process, or thread, has it
    void LetGo(DWORD dwRow, const CSharedBlock& block);

    // The volumes that any living process has mounted, each once, in the order of their rows.
    DWORD List(std::vector<CMountRow>& rows);

    // CollationStamp, asked of the system by the first process only: what it sorts by is the same for all of a session.
    DWORD Collation(LCID lcid);

    // While it lives, no process gets the right to open a volume.
    class CBan
    {
    public:
        CBan() { m_dwError = CStation::Instance().LockTable(); }
        ~CBan()
        {
            if (m_dwError == ERROR_SUCCESS) CStation::Instance().UnlockTable();
        }
        CBan(const CBan&) = delete;
        CBan& operator=(const CBan&) = delete;
        DWORD Error() const { return m_dwError; }

    private:
        DWORD m_dwError;
    };

private:
    friend class CBlockView;
    struct CTable;
    DWORD Open();
    DWORD LockTable();
    void UnlockTable();
    DWORD FindFree();
    DWORD IsFor(DWORD dwRow, HANDLE hFile, const std::wstring& strPath, bool& bIs);

    SRWLOCK m_lock = SRWLOCK_INIT; // of opening the section
    CTable* m_pTable = nullptr;    // view of the section
};

} // namespace store

#endif
