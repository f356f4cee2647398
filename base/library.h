// InitLib and DeInitLib: the start and the end of a host's use of the library.
//
// Threads    call both on the one thread that uses the library.
// Errors     none are reported. A log file that cannot be opened sends the log to the debugger output.
#ifndef KORVANE_BASE_LIBRARY_H
#define KORVANE_BASE_LIBRARY_H

#include "base/api.h"

// Call it before anything else of the library. Makes theLogStream a new writer on logFileName (see CStreamWriter; ""
// sends the log to the debugger output) and CRegistryKey's four root keys new objects.
// Nothing owns the writer: a second call leaves the first one alive with its file open, and opens its own path afresh.
// Root keys that a host still holds stay alive as long as it holds them. theLogStream is null when memory is out.
KORVANE_API void InitLib(const char* logFileName);

// Sets theLogStream to null. Neither the writer nor its file is closed: a host that wants that deletes the writer
// first.
KORVANE_API void DeInitLib();

#endif
