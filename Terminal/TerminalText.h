// Text of a volume as it may be shown: nothing in it can drive the terminal, end a row or
// reorder what stands around it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vx {

// As UTF-8. Escaped are the backslash, control characters, line and paragraph separators and
// the marks that change the direction of text; a lone surrogate becomes U+FFFD.
// u"a\\b\n" → "a\\\\b\\n", u"\x1b[2J" → "\\x1b[2J", u"\u202e" → "\\u202e"
std::string TerminalText(std::u16string_view text);

// The same for UTF-8 of this machine, with the bytes above 127 as they are.
std::string TerminalText(const std::string &text);

// The end of a shown text that fits into so many columns of a terminal, with "…" in front if
// something was left out. "abcdef", 4 → "…def"
std::string ClipFront(const std::string &text, size_t columns);

// Columns of a terminal: wide characters take two, marks that combine none.
size_t ColumnsOf(const std::string &text);

}  // namespace vx
