// A file read as an export reads it, chunk after chunk whatever a read answers, and what is known
// of it afterwards.
#pragma once

#include "OwnedVolume.h"
#include "VolumeReader.h"

#include <string>
#include <utility>
#include <vector>

namespace vx {

using Lost = std::vector<std::pair<uint64_t, uint64_t>>;  // places and lengths in the file

struct Salvaged {
    bool opened = false;
    std::string bytes;
    uint64_t done = 0;  // what the reads said
    bool good = true;   // all of them
    Lost lost;          // what the volume said
};

Salvaged Salvage(OwnedVolume &volume, const std::u16string &path, uint32_t chunk = 4u << 20);

// The contents with zeros in place of what is lost.
std::string WithZeros(std::string contents, const Lost &lost);

// A test failure unless all is right but what is lost, which is zeros and was reported.
void ExpectLost(const Salvaged &salvaged, const std::string &contents, const Lost &lost);

}  // namespace vx
