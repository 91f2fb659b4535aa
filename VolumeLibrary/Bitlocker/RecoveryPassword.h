// The recovery password: 48 digits in eight groups of six, each group a multiple of 11.
#pragma once

#include "Error.h"
#include "KeyMaterial.h"

#include <string_view>

namespace vx::bitlocker {

// The 16 bytes that the groups stand for. Between the groups there may be dashes, spaces or
// nothing. Errors: MalformedSecret; the detail names the first group that is wrong, from 1 on.
Result<KeyMaterial> parseRecoveryPassword(std::string_view text);

}  // namespace vx::bitlocker
