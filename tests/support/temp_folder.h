// A folder of a test's own, under the system's temporary folder, removed with all that is in it at the end.
//
// Ownership  the object owns the folder; it is named after the process and a counter, and did not exist before.
// Errors     a folder that cannot be made ends the program: no test can go on without it.
#ifndef KORVANE_TESTS_SUPPORT_TEMP_FOLDER_H
#define KORVANE_TESTS_SUPPORT_TEMP_FOLDER_H

#include <set>
#include <string>

class CTempFolder
{
public:
    CTempFolder();
    ~CTempFolder();
    CTempFolder(const CTempFolder&) = delete;
    CTempFolder& operator=(const CTempFolder&) = delete;

    // The folder's full path, without a separator at its end.
    const std::wstring& Path() const { return m_path; }
    // The full path of a file in the folder.
    std::wstring File(const std::wstring& name) const { return m_path + L"\\" + name; }
    // The names of the files in it, not of folders.
    std::set<std::wstring> Files() const;

private:
    std::wstring m_path;
};

// Removes a folder with everything in it. True when it is gone afterwards.
bool RemoveFolder(const std::wstring& path);

#endif
