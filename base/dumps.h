// Diagnostic dumps: write the platform's object-store and synchronisation records to a log writer, labelled.
//
// Each returns the writer it was given, after: heading, IncTabs, the fields, DecTabs, "\n}\n". Numbers are signed, as
// all of the writer's. Text fields are read up to their terminator, or whole when they have none.
//
// Ownership  nothing is kept; the memory that a record points at is the caller's and must be there.
// Threads    one thread at a time, as the writer.
// Errors     none are reported. The conversions' results are not tested: a FILETIME that is none is a time of zeros.
#ifndef KORVANE_BASE_DUMPS_H
#define KORVANE_BASE_DUMPS_H

#include "base/logutil.h"

#include <windows.h>
#include <windbase.h>
#include <cesync.h>

// OBJNOTIFY. Its oidInfo is not written to the given writer but to theLogStream, as a trace line of base/logutil, 185.
KORVANE_API CStreamWriter& operator<<(CStreamWriter& rWriter, const tagObjNotify& rNotify);
// CEOIDINFO: the fields of the member that wObjType names. Its heading says OBJNOTIFY too.
KORVANE_API CStreamWriter& operator<<(CStreamWriter& rWriter, const _CEOIDINFO& rInfo);
// OBJTYPEINFO
KORVANE_API CStreamWriter& operator<<(CStreamWriter& rWriter, const tagObjTypeInfo& rInfo);
// FINDOBJINFO. REQUIRES: poid null or cUnChg + cChg entries long; lpbVolumeID null or cbVolumeID bytes long.
KORVANE_API CStreamWriter& operator<<(CStreamWriter& rWriter, const tagFindObjInfo& rInfo);
// REPLSETUP
KORVANE_API CStreamWriter& operator<<(CStreamWriter& rWriter, const _tagReplSetup& rSetup);

#endif
