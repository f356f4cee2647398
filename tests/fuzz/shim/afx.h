// The framework's strings and times, without files and windows.
#ifndef KORVANE_FUZZ_AFX_H
#define KORVANE_FUZZ_AFX_H

#include "afx_api.h"
#include "afx_object.h"
#include "afx_except.h"
#include "afx_string.h"
#include "afx_time.h"
#include "afx_resource.h"

#endif
