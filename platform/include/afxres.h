// afxres.h - the header under which hosts' resource scripts look for the system's names and IDC_STATIC.
#ifndef AFXRES_H
#define AFXRES_H

#ifdef RC_INVOKED
#include <winresrc.h>
#endif

#ifndef IDC_STATIC
#define IDC_STATIC (-1) // controls that nobody asks for
#endif

#endif
