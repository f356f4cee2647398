// A volume with tables of the bench's records, made by the device's calls alone.
#ifndef KORVANE_BENCHES_STORE_CATALOGUE_H
#define KORVANE_BENCHES_STORE_CATALOGUE_H

#include "store.h"

#include <windbase.h>

namespace stores {

// The properties of Record, in its order.
constexpr CEPROPID kProperties[] = {MAKELONG(CEVT_I4, 0),     MAKELONG(CEVT_UI2, 1),    MAKELONG(CEVT_R8, 2),
                                    MAKELONG(CEVT_LPWSTR, 3), MAKELONG(CEVT_LPWSTR, 4), MAKELONG(CEVT_FILETIME, 5)};
constexpr WORD kFields = 6;
constexpr CEPROPID kIdProperty = kProperties[0], kNameProperty = kProperties[3];

// "records", "records1", "records2" ...
void TableName(uint32_t table, wchar_t* name);

// Ends the program when a call failed.
void Must(bool succeeded, const char* what);

// A new volume in place of what is there; unmounted again.
void MakeVolume(const wchar_t* path, uint32_t tables);
// Of a volume file that nobody has open.
uint64_t SizeOf(const wchar_t* path);
void CompactVolume(const wchar_t* path);

} // namespace stores

#endif
