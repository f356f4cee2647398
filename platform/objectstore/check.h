// check.h - a volume looked at as a whole: pages, keys, records, sort orders, counts.
//
// Threads    takes its own accesses; the volume must not be held.
// Errors     ERROR_FILE_CORRUPT with a sentence on the first contradiction; others: the check could not be made.
#ifndef KORVANESTORE_CHECK_H
#define KORVANESTORE_CHECK_H

#include "openvolume.h"

namespace store {

DWORD CheckVolume(COpenVolume& volume, std::wstring& strProblem);

} // namespace store

#endif
