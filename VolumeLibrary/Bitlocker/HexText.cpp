#include "HexText.h"

#include <algorithm>

namespace vx::bitlocker {
namespace {

bool IsBetweenDigits(char sign)
{
    return std::string_view(" \t\r\n:-").find(sign) != std::string_view::npos;
}

}  // namespace

bool IsHexText(std::string_view text)
{
    return std::all_of(text.begin(), text.end(),
                       [](char sign) { return HexValue(sign) >= 0 || IsBetweenDigits(sign); });
}

size_t CountHexDigits(std::string_view text)
{
    return static_cast<size_t>(
        std::count_if(text.begin(), text.end(), [](char sign) { return HexValue(sign) >= 0; }));
}

std::string HexDigitsText(std::string_view text)
{
    return std::to_string(CountHexDigits(text)) + (IsHexText(text) ? "" : " and other characters");
}

std::optional<KeyMaterial> BytesFromHex(std::string_view text)
{
    const size_t digits = CountHexDigits(text);
    if (digits == 0 || digits % 2 != 0)
        return std::nullopt;
    KeyMaterial bytes(digits / 2);
    size_t taken = 0;
    for (const char sign : text) {
        const int value = HexValue(sign);
        if (value < 0 && !IsBetweenDigits(sign))
            return std::nullopt;
        if (value < 0)
            continue;
        uint8_t &byte = bytes.Data()[taken++ / 2];
        byte = static_cast<uint8_t>(byte << 4 | value);
    }
    return bytes;
}

}  // namespace vx::bitlocker
