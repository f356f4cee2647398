// What the samples in the headers take for granted: things that a host has.
#ifndef KORVANE_TESTS_DOCS_GIVEN_H
#define KORVANE_TESTS_DOCS_GIVEN_H

#include <korvanelib.h>

extern HDC dc;
extern const TCHAR* path;
extern CString title;
extern CSmartPtr<KorvaneDB::CRow> row;
extern _variant_t value;
extern long hr;

#endif
