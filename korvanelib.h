// korvanelib.h: the one header that a host includes.
//
// Call InitLib (base/library.h) before anything else. Each header says what it needs and what it promises.
#ifndef KORVANE_KORVANELIB_H
#define KORVANE_KORVANELIB_H

#include "base/api.h"
#include "base/bytestream.h"
#include "base/dumps.h"
#include "base/errorutil.h"
#include "base/library.h"
#include "base/logutil.h"
#include "base/numparse.h"
#include "base/ownerinfo.h"
#include "base/path.h"
#include "base/pockettime.h"
#include "base/refcount.h"
#include "base/scopetracer.h"
#include "base/sizedarray.h"
#include "base/smartptr.h"
#include "base/split.h"
#include "base/stream.h"
#include "base/stringext.h"

#include "controls/aboutdialog.h"
#include "controls/flatcombobox.h"
#include "controls/floatedit.h"
#include "controls/hyperlink.h"
#include "controls/scrolldialog.h"
#include "controls/tooltip.h"

#include "korvanedb/connection.h"
#include "korvanedb/row.h"
#include "korvanedb/table.h"

#include "graphics/icon.h"
#include "graphics/image.h"
#include "graphics/resource.h"

#include "registry/regkey.h"
#include "registry/registrykey.h"

#endif
