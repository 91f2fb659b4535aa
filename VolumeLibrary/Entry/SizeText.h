// A number of bytes in words, for messages: "512 bytes", "60 MiB", "40.0 GiB".
#pragma once

#include <cstdint>
#include <string>

namespace vx {

std::string SizeText(uint64_t bytes);

}  // namespace vx
