#include "base/path.h"

#include <afxcoll.h>

#include <algorithm>
#include <cwchar>

namespace {

constexpr int kMaxDrive = 2;       // characters, without the terminating zero
constexpr int kMaxComponent = 255; // likewise

void CopyPart(TCHAR* target, const TCHAR* begin, const TCHAR* end)
{
    if (target == nullptr) return;
    const ptrdiff_t length = std::min<ptrdiff_t>(end - begin, kMaxComponent);
    std::wmemcpy(target, begin, length);
    target[length] = 0;
}

struct Parts
{
    explicit Parts(const CString& path)
    {
        TCHAR driveText[kMaxDrive + 1], dirText[kMaxComponent + 1], nameText[kMaxComponent + 1],
            extText[kMaxComponent + 1];
        _tsplitpath(path, driveText, dirText, nameText, extText);
        drive = trimmedDrive = driveText;
        trimmedDrive.TrimLeft();
        trimmedDrive.TrimRight();
        SplitDir(dirText);
        file = CString(nameText) + extText;
    }

    // The folders `first` and following, below `end`, each with a "\" behind it.
    void AppendDirs(CString& text, int first, int end) const
    {
        for (int i = first; i < end; ++i) text += dirs[i] + L'\\';
    }

    CString drive;
    CString trimmedDrive;
    CStringArray dirs;
    CString file; // name and extension

private:
    // A part that ends in "\" counts even when it is empty, so a leading "\" is a part; what is behind the last "\"
    // only counts when there is something.
    void SplitDir(CString text)
    {
        text.TrimLeft();
        text.TrimRight();
        int position = 0;
        for (int found; (found = text.Find(L'\\', position)) >= 0; position = found + 1) {
            dirs.Add(Trimmed(text.Mid(position, found - position)));
        }
        const CString rest = Trimmed(text.Mid(position));
        if (!rest.IsEmpty()) dirs.Add(rest);
    }

    static CString Trimmed(CString text)
    {
        text.TrimLeft();
        text.TrimRight();
        return text;
    }
};

} // namespace

void _tsplitpath(const TCHAR* path, TCHAR* drive, TCHAR* dir, TCHAR* fname, TCHAR* ext)
{
    if (path == nullptr) path = L"";
    const TCHAR* rest = path[0] != 0 && path[1] == L':' ? path + kMaxDrive : path;
    CopyPart(drive, path, rest);

    const TCHAR* name = rest;
    const TCHAR* dot = nullptr;
    const TCHAR* end = rest;
    for (; *end != 0; ++end) {
        if (*end == L'\\' || *end == L'/') name = end + 1;
        if (*end == L'.') dot = end;
    }
    const TCHAR* nameEnd = dot != nullptr && dot >= name ? dot : end;
    CopyPart(dir, rest, name);
    CopyPart(fname, name, nameEnd);
    CopyPart(ext, nameEnd, end);
}

int getRelPath(CString base, CString target, CString& result)
{
    const Parts from(base);
    const Parts to(target);
    if (from.trimmedDrive != to.trimmedDrive) return 0;

    const int shorter = std::min<int>(from.dirs.GetSize(), to.dirs.GetSize());
    int common = 0;
    while (common < shorter && from.dirs[common] == to.dirs[common]) ++common;

    CString way;
    for (int i = common; i < from.dirs.GetSize(); ++i) way += L"..\\";
    to.AppendDirs(way, common, to.dirs.GetSize());
    result = way + to.file;
    return 1;
}

int buildFullPath(CString base, CString relative, CString& result)
{
    const Parts from(base);
    const Parts to(relative);
    if (!to.trimmedDrive.IsEmpty() || (to.dirs.GetSize() > 0 && to.dirs[0].IsEmpty())) {
        result = relative;
        return 1;
    }
    int up = 0;
    while (up < to.dirs.GetSize() && to.dirs[up] == L"..") ++up;

    CString whole = from.drive;
    from.AppendDirs(whole, 0, from.dirs.GetSize() - up);
    to.AppendDirs(whole, up, to.dirs.GetSize());
    result = whole + to.file;
    return 1;
}

void CUtil::AppendPath(CString& path, CString& more)
{
    const CString tail = more; // `more` may be `path`
    if (path.Right(1) != L"\\" && tail.Left(1) != L"\\") path += L'\\';
    path += tail;
}

void CUtil::AppendPath(CString& path, const TCHAR* more)
{
    CString tail(more);
    AppendPath(path, tail);
}
