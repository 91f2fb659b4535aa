// Text of a volume, safe to print: nothing in it can control the terminal, end a row or reorder the
// text around it.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace vx {

// Whether the character is no text but does something to it: control characters, direction marks,
// separators of lines, language tags.
bool DrivesText(char32_t character);

// As UTF-8. Escaped are the backslash, control characters, line and paragraph separators and
// the marks that change the direction of text; a lone surrogate becomes U+FFFD.
// u"a\\b\n" → "a\\\\b\\n", u"\x1b[2J" → "\\x1b[2J", u"\u202e" → "\\u202e"
std::string TerminalText(std::u16string_view text);

// The same for UTF-8; bytes that are not valid, as names on this machine may have them, stay as
// they are.
std::string TerminalText(const std::string &text);

// The end of a shown text that fits into the given columns of a terminal, after "…" if something
// was left out. "abcdef", 4 → "…def"
std::string ClipFront(const std::string &text, size_t columns);

// Columns on a terminal: wide characters take two, combining marks none.
size_t ColumnsOf(const std::string &text);

}  // namespace vx
