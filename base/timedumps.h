// Dumps of FILETIME and SYSTEMTIME, for the library's own sources: not exported and not part of korvanelib.h.
//
// Same frame and rules as base/dumps.h.
#ifndef KORVANE_BASE_TIMEDUMPS_H
#define KORVANE_BASE_TIMEDUMPS_H

#include "base/logutil.h"

#include <windows.h>

// The time as FileTimeToSystemTime breaks it down; zeros when it cannot.
CStreamWriter& operator<<(CStreamWriter& rWriter, const FILETIME& rTime);
// "\n" day "/" month "/" year "  " hour ":" minute ":" second ":" milliseconds "\n", nothing padded.
CStreamWriter& operator<<(CStreamWriter& rWriter, const SYSTEMTIME& rTime);

#endif
