// A file of favourites, to hand on to another device: what the library's binary streams write.
//
//     magic (4 bytes, "AtlF"), version (2 bytes, 1), count (4 bytes), then for each favourite
//     the country's code (a text) and the sum (8 bytes)
//
// Errors     0, or the string resource of the sentence to tell; %1 in it is the path. Files are not trusted: a file
//            that is damaged anywhere is refused as a whole.
#ifndef KORVANE_SAMPLES_ATLAS_FAVOURITESFILE_H
#define KORVANE_SAMPLES_ATLAS_FAVOURITESFILE_H

#include "world.h"

UINT ExportFavourites(const CString& path, const std::vector<CFavourite>& favourites);
// favourites is as it was when the file is refused.
UINT ImportFavourites(const CString& path, std::vector<CFavourite>& favourites);

#endif
