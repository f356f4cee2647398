#include "oleauto.h"
