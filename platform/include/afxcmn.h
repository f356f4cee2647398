// afxcmn.h - the header under which hosts look for the common controls: the system's own declarations.
#ifndef AFXCMN_H
#define AFXCMN_H

#include "afxwin.h"

#include <commctrl.h>

#endif
