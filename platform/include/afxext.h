// afxext.h - the header under which hosts look for the framework's extensions: property sheets.
#ifndef AFXEXT_H
#define AFXEXT_H

#include "afxdlgs.h"

#endif
