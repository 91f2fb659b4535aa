// What a character of a written key stands for.
#pragma once

namespace vx::bitlocker {

// A digit, also of a full-width one, or one of RecoveryPasswordGroups::kSeparator for dashes and
// blanks of any kind, and kOther.
char PlainSign(char32_t character);

}  // namespace vx::bitlocker
