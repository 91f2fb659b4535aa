// The recovery password: 48 digits in eight groups of six, each group a multiple of 11.
#pragma once

#include "Error.h"
#include "KeyMaterial.h"

#include <string_view>

namespace vx::bitlocker {

// The 16 bytes that the groups stand for. text: UTF-8. Between the groups there may be dashes and
// spaces of any kind, or nothing. Errors: MalformedSecret; the detail names the first group that is
// wrong, from 1 on, or the number of digits where no group can be told.
Result<KeyMaterial> parseRecoveryPassword(std::string_view text);

}  // namespace vx::bitlocker
