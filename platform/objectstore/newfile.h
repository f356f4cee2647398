// newfile.h - a file that does not stay when what it was made for fails, by an error or by an exception.
//
// Ownership  the path is the caller's and outlives the object; so does nothing that has the file open.
// Threads    one at a time.
// Errors     none: a file that another process has open by then stays.
#ifndef KORVANESTORE_NEWFILE_H
#define KORVANESTORE_NEWFILE_H

#include <windows.h>

namespace store {

class CNewFile
{
public:
    explicit CNewFile(const wchar_t* pszPath, bool bDelete = true) : m_pszPath(pszPath), m_bDelete(bDelete) {}
    ~CNewFile()
    {
        if (m_bDelete) ::DeleteFileW(m_pszPath);
    }
    CNewFile(const CNewFile&) = delete;
    CNewFile& operator=(const CNewFile&) = delete;

    // Whether it goes with the object.
    void SetDelete(bool bDelete) { m_bDelete = bDelete; }

private:
    const wchar_t* const m_pszPath;
    bool m_bDelete;
};

} // namespace store

#endif
