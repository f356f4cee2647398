// GetOwnerInfo: the name and the company of the device's owner.
//
// They lie in the binary value "Owner" of HKEY_CURRENT_USER\ControlPanel\Owner: two texts, each ended by a zero, the
// name from byte 0 and the company from byte 72 on. At most 768 bytes of the value are read.
//
// Ownership  both texts are copies.
// Threads    any; there is no state.
// Errors     the result; nothing is raised. The last error is the registry's concern and says nothing here.
//
//     CString name, company;
//     if (GetOwnerInfo(name, company)) title = name + L", " + company;
#ifndef KORVANE_BASE_OWNERINFO_H
#define KORVANE_BASE_OWNERINFO_H

#include "base/api.h"

#include <afx.h>

// Returns 1 with both texts set when the record was read. Returns 0 with both as they were when the key or the value is
// missing or cannot be read, or the value is longer than 768 bytes. A record that ends early, or without a zero, is
// read as far as it goes: a text that would begin behind its end is empty.
KORVANE_API int GetOwnerInfo(CString& name, CString& company);

#endif
