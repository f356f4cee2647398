// volume_edits.h - volumes to begin with, and lists of edits that damage them.
//
// An input that were a volume's whole file would be long, and nearly every change of it would fall on bytes that nobody
// looks at. So an input names one of a few volumes and a list of edits: a field of a page's head, a key of an entry, the
// root of a tree, a checksum that is right again.
#ifndef KORVANE_FUZZ_VOLUME_EDITS_H
#define KORVANE_FUZZ_VOLUME_EDITS_H

#include "target.h"

#include <vector>

namespace fuzz {

constexpr unsigned kVolumes = 4;

// One of the volumes, made by the store when it is first asked for.
const std::vector<uint8_t>& Volume(unsigned nVolume);

// Takes a list of edits off the input: their number in a byte, then each.
void EditVolume(std::vector<uint8_t>& image, CInput& input);

} // namespace fuzz

#endif
