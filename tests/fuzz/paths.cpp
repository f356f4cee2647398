// Paths and lists: two texts, and two numbers for the splitting.
#include "target.h"

#include "base/path.h"
#include "base/split.h"

void fuzz::paths(const uint8_t* data, size_t size)
{
    CInput input(data, size);
    const int start = static_cast<int8_t>(input.Byte()), count = static_cast<int8_t>(input.Byte());
    const std::wstring first = input.Text(), second = input.Text();

    // Exactly as much room as the four parts are promised to need.
    wchar_t* const drive = new wchar_t[3];
    wchar_t* const parts[] = {new wchar_t[256], new wchar_t[256], new wchar_t[256]};
    _tsplitpath(first.c_str(), drive, parts[0], parts[1], parts[2]);
    if (first.size() < 250) FUZZ_EXPECT(std::wstring(drive) + parts[0] + parts[1] + parts[2] == first);
    delete[] drive;
    for (wchar_t* const part : parts) delete[] part;

    const CString a(first.c_str(), static_cast<int>(first.size())), b(second.c_str(), static_cast<int>(second.size()));
    CString relative(L"?"), whole(L"?");
    FUZZ_EXPECT(getRelPath(a, b, relative) == 1 || relative == L"?");
    FUZZ_EXPECT(buildFullPath(a, b, whole) == 1);
    CString appended(a);
    CUtil::AppendPath(appended, second.c_str());
    FUZZ_EXPECT(appended.GetLength() >= a.GetLength() + b.GetLength());
    CUtil::AppendPath(appended, appended);

    const std::vector<CString> pieces = Split(a, b, start, count);
    int length = 0;
    for (const CString& piece : pieces) length += piece.GetLength();
    FUZZ_EXPECT(length <= a.GetLength() + static_cast<int>(pieces.size()) * b.GetLength());
}
