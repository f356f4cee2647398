// Puts the library on the list of the modules in which the framework looks for resources, as long as it is loaded.
#include "controls/module.h"

#include <afxwin.h>

namespace {

const CDynLinkLibrary g_resources(LibraryModule());

} // namespace
