// A small volume for Atlas: seven countries.
#ifndef KORVANE_TESTS_ATLAS_VOLUME_H
#define KORVANE_TESTS_ATLAS_VOLUME_H

#include <string>

// Makes the volume at path, with kvol.exe. Tables but the one named without are made; false when kvol fails.
bool MakeVolume(const std::wstring& path, const std::wstring& without = L"");
// The same with all tables; it is made once for the program, and copied.
bool CopyVolume(const std::wstring& path);

// Runs kvol.exe beside this program, without its output; its exit code.
unsigned long Kvol(const std::wstring& arguments);

#endif
