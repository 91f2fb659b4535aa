// Reads a file as an export does, chunk by chunk even if a read fails, and keeps what is known of
// it afterwards.
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
    uint64_t done = 0;  // bytes, as the reads reported
    bool good = true;   // whether every read succeeded
    Lost lost;          // what the volume reported
};

Salvaged Salvage(OwnedVolume &volume, const std::u16string &path, uint32_t chunk = 4u << 20);

// The contents with zeros in place of what is lost.
std::string WithZeros(std::string contents, const Lost &lost);

// A test failure unless the contents are right, and zero and reported where lost.
void ExpectLost(const Salvaged &salvaged, const std::string &contents, const Lost &lost);

}  // namespace vx
