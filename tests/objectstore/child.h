// child.h - second processes for tests: the test program itself, started in a role.
//
// Parent and child talk in lines over two pipes. A timer kills a child half a minute after the last word between them,
// so a parent that waits for its words never waits for ever.
#ifndef KORVANE_TESTS_OBJECTSTORE_CHILD_H
#define KORVANE_TESTS_OBJECTSTORE_CHILD_H

#include <windows.h>

#include <string>
#include <vector>

using CArguments = std::vector<std::wstring>;

class CChild
{
public:
    CChild(const std::wstring& strRole, const CArguments& arguments);
    ~CChild(); // kills what still runs
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    bool IsStarted() const { return m_hProcess != nullptr; }
    HANDLE Process() const { return m_hProcess; }
    void Send(const std::string& strLine);
    std::string ReadLine(); // without its end; "(gone)" when the child has ended
    void Kill();            // returns when the process is gone
    DWORD Finish();         // closes the child's input, waits for its end, returns its exit code

private:
    void Rearm();

    HANDLE m_hProcess = nullptr;
    HANDLE m_hInput = nullptr;  // written by us
    HANDLE m_hOutput = nullptr; // read by us
    HANDLE m_hTimer = nullptr;
    std::string m_strPending;
};

// A role is a function that a child runs instead of the tests; its result is the exit code.
using RoleFunction = int (*)(const CArguments& arguments);
struct CRole
{
    CRole(const wchar_t* pszName, RoleFunction pfnRun);
};

// Starts this program anew with these arguments, waits for its end and returns its exit code.
DWORD RunSelf(const CArguments& arguments);

// Runs the role that the arguments of this process name; false when they name none.
bool RunRole(CArguments arguments, int& nExitCode);

// In a child: one line to the parent, and the next line of the parent (false at the end).
void Say(const std::string& strLine);
bool Hear(std::string& strLine);

#endif
