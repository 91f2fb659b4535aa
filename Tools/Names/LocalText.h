// Names of a volume as text of this machine.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vx {

// In UTF-8. False if the name is not valid text: it holds half a character, or a zero.
bool LocalTextOf(std::u16string_view name, std::string *text);

// "a\b/c" → "a", "b", "c"; nothing for what is not there between two separators, nor for ".".
std::vector<std::string> PartsOf(const std::string &text);

}  // namespace vx
