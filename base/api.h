// KORVANE_API: marks what korvaneLib.dll exports.
//
// A host that includes korvanelib.h imports; only the library's own build, which defines KORVANE_BUILDING, exports.
#ifndef KORVANE_BASE_API_H
#define KORVANE_BASE_API_H

#if !defined(UNICODE) || !defined(_UNICODE)
#error korvaneLib is UTF-16 throughout, as the device is: define UNICODE and _UNICODE for the whole build.
#endif

#ifdef KORVANE_BUILDING
#define KORVANE_API __declspec(dllexport)
#else
#define KORVANE_API __declspec(dllimport)
#endif

#endif
