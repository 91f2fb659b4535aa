// The volume master key and the key of the sectors of the volumes that the maker makes.
#pragma once

#include "Method.h"
#include "Secret.h"

#include <string>

namespace vx::bitlocker {

std::string MasterKeyText();
std::string SectorKeyText(Method method = Method::kAes128Xts);

Secret MasterKey(const std::string &text);
Secret SectorKey(const std::string &text);

// Another key of the same length.
std::string WithOtherDigit(std::string text);

}  // namespace vx::bitlocker
