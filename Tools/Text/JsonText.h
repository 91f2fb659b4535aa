// Text as JSON writes it.
#pragma once

#include <string>
#include <string_view>

namespace vx {

// A JSON string with its quotes, in valid UTF-8 whatever the text is: quotes, backslashes and
// control characters are escaped, a lone surrogate becomes U+FFFD. u"a\"b" → "\"a\\\"b\""
std::string JsonText(std::u16string_view text);
// The same for UTF-8; each byte that is not valid becomes U+FFFD.
std::string JsonText(std::string_view text);

}  // namespace vx
