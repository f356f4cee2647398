// The test program of the object store: runs the tests, or the role of a child (child.h).
//
// The object store itself stays mounted until its process ends, so the tests run in a second process: this one then
// removes the folder that KORVANE_OBJECTSTORE pointed to.
#include "child.h"
#include "support/temp_folder.h"

#include <gtest/gtest.h>

int wmain(int argc, wchar_t** argv)
{
    const CArguments arguments(argv + 1, argv + argc);
    int nExitCode = 0;
    if (RunRole(arguments, nExitCode)) return nExitCode;
    wchar_t szInner[2] = L"";
    if (::GetEnvironmentVariableW(L"KORVANE_TEST_INNER", szInner, 2) == 0) {
        CTempFolder folder;
        ::SetEnvironmentVariableW(L"KORVANE_OBJECTSTORE", folder.Path().c_str());
        ::SetEnvironmentVariableW(L"KORVANE_TEST_INNER", L"1");
        return static_cast<int>(RunSelf(arguments));
    }
    ::testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
