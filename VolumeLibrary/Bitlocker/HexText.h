// Bytes that are written as hexadecimal digits.
#pragma once

#include "KeyMaterial.h"

#include <optional>
#include <string>
#include <string_view>

namespace vx::bitlocker {

// 0 to 15; -1 for what is no hexadecimal digit.
constexpr int HexValue(char sign)
{
    if (sign >= '0' && sign <= '9')
        return sign - '0';
    if (sign >= 'a' && sign <= 'f')
        return sign - 'a' + 10;
    return sign >= 'A' && sign <= 'F' ? sign - 'A' + 10 : -1;
}

// Two digits for each byte; blanks, ends of lines, colons and dashes between digits are passed
// over. None if there is another character or an odd number of digits.
std::optional<KeyMaterial> BytesFromHex(std::string_view text);

// Whether there is nothing but digits and what may be between them.
bool IsHexText(std::string_view text);
// How many digits the text has, whatever else is in it.
size_t CountHexDigits(std::string_view text);
// The same in words: "63", "64 and other characters".
std::string HexDigitsText(std::string_view text);

}  // namespace vx::bitlocker
