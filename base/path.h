// Paths: taking them apart, joining them, and turning absolute ones into relative ones and back.
//
// The device has one root and no current folder. A backslash separates, and a path may carry a drive of two characters that
// ends in a colon. The functions work on the text alone and never ask the file system.
//
// Ownership  texts are copied; nothing is kept.
// Threads    any; there is no state.
// Errors     only getRelPath can fail, and says so with 0. Components longer than 255 characters are cut silently.
//
//     TCHAR drive[3], dir[256], name[256], ext[256];
//     _tsplitpath(L"C:\\maps\\city.idx", drive, dir, name, ext); // "C:", "\maps\", "city", ".idx"
//
//     CString shorter, whole, file(L"\\maps");
//     if (!getRelPath(L"\\maps\\index.txt", L"\\sounds\\bell.wav", shorter)) return; // "..\sounds\bell.wav"
//     buildFullPath(L"\\maps\\index.txt", shorter, whole);                          // "\sounds\bell.wav"
//     CUtil::AppendPath(file, L"city.idx");                                         // "\maps\city.idx"
#ifndef KORVANE_BASE_PATH_H
#define KORVANE_BASE_PATH_H

#include "base/api.h"

#include <afx.h>

// The C library has a macro _tsplitpath that stands for its own _wsplitpath. Its header is read first, so that the
// macro cannot come back later, and then gives way to the function below: a host that includes both, in either order,
// compiles and gets this one. The C library's is still to be had under its real name, _wsplitpath.
#include <tchar.h>
#undef _tsplitpath

// Takes `path` apart. Each output may be null and is then left out; otherwise `drive` holds 3 TCHARs and each of `dir`,
// `fname` and `ext` 256, which is what is written at most, the terminating zero included. A null `path` is an empty
// one.
//
//   drive  the first two characters when the second is ":", else empty
//   dir    from there up to and with the last "\" or "/", else empty
//   fname  from there up to the last ".", or to the end when there is none behind the directory
//   ext    from that "." on, with it; else empty
KORVANE_API void _tsplitpath(const TCHAR* path, TCHAR* drive, TCHAR* dir, TCHAR* fname, TCHAR* ext);

// The way from the folder of `base` (its file name does not count) to the file `target`, in `result`. Returns 1; or 0,
// with `result` as it was, when the two have different drives. Drives and folders compare with case. Only "\" separates
// folders here, each is trimmed of blanks, and the empty one before a leading "\" counts as one.
KORVANE_API int getRelPath(CString base, CString target, CString& result);

// The path of `relative` as seen from the folder of `base`, in `result`. Always returns 1. A `relative` with a drive or
// a leading "\" is returned as it is. Only ".." at its beginning goes up, and never above what `base` has: then the
// result begins with what is left of `relative`, behind the drive. "." and later ".." stay in the path. Folders are
// told apart as in getRelPath, so the empty one before a leading "\" can be gone up from too; ".." alone is a file
// name.
KORVANE_API int buildFullPath(CString base, CString relative, CString& result);

class KORVANE_API CUtil
{
public:
    // Appends `more` to `path`, with a "\" between them unless one side has it already. Both having it leaves both; an
    // empty text has none, so two empty ones give "\". `more` may be, or lie in, `path` itself.
    static void AppendPath(CString& path, CString& more);
    static void AppendPath(CString& path, const TCHAR* more);
};

#endif
