// A number of bytes in words, for messages: "1 byte", "512 bytes"; from 1 MiB on rounded, as
// "60 MiB", "40.0 GiB".
#pragma once

#include <cstdint>
#include <string>

namespace vx {

std::string RoundedSizeText(uint64_t bytes);

// For the user, of a volume that lacks its last bytes.
std::string CutText(uint64_t missingBytes);

}  // namespace vx
