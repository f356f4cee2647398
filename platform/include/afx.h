// afx.h - the part of the application framework that has no windows: objects, exceptions, text, time, files, archives.
#ifndef AFX_H
#define AFX_H

#include "afx_api.h"
#include "afx_object.h"
#include "afx_except.h"
#include "afx_string.h"
#include "afx_time.h"
#include "afx_file.h"
#include "afx_archive.h"
#include "afx_resource.h"

#endif
