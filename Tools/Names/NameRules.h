// Which names a destination allows.
#pragma once

#include "DestinationTraits.h"

#include <string>
#include <string_view>

namespace vx {

// Whether the name is certainly short, allowed and without separators; a quick look at most names.
bool IsPlainName(std::u16string_view name, const DestinationTraits &traits);

// Whether it is not too long.
bool Fits(const std::string &name, const DestinationTraits &traits);

// The name with "_" in place of each refused character and of a refused end, and after the name of
// a device: "a:b" → "a_b", "a." → "a_", "nul.txt" → "nul_.txt"
std::string AllowedName(const std::string &name, const DestinationTraits &traits);

}  // namespace vx
