// A host that forgot UNICODE: compiled when the build is configured, and refused.
#include "korvanelib.h"
