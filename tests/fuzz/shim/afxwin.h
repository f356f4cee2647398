#include "afx.h"
