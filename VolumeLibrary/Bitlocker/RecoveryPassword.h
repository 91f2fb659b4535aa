// The recovery password: 48 digits in eight groups of six, each group a multiple of 11.
#pragma once

#include "Error.h"
#include "KeyMaterial.h"

#include <string_view>

namespace vx::bitlocker {

// The 16 bytes that the groups stand for. text: UTF-8. The digits may be full-width ones; between
// the groups there may be dashes and blanks of any kind, or nothing. Errors: kMalformedSecret; the
// detail names every group that is wrong, from 1 on, or the number of digits where no group is
// known: "groups 3 and 7 are mistyped", "there are 47 digits instead of 48". It never repeats them.
Result<KeyMaterial> ParseRecoveryPassword(std::string_view text);

}  // namespace vx::bitlocker
