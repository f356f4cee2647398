// The identifiers of the host that the pages speak of, for C++ and for resource scripts.
#ifndef KORVANE_TESTS_DOCS_RESOURCE_H
#define KORVANE_TESTS_DOCS_RESOURCE_H

#define IDD_BOAT 101
#define IDD_PLACES 102
#define IDC_LENGTH 1001
#define IDC_HARBOUR 1002
#define IDC_LINK 1003
#define IDC_TIP 1004

#endif
