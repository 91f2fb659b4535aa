#include "LineText.h"

#include "CodePoints.h"
#include "TerminalText.h"

namespace vx {
namespace {

std::string_view WithoutSpaceAround(std::string_view text)
{
    constexpr std::string_view kSpace(" \t\r\n\0", 5);
    const size_t first = text.find_first_not_of(kSpace);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kSpace) - first + 1);
}

}  // namespace

std::string LineText(std::string_view text)
{
    std::string line;
    for (std::string_view left = WithoutSpaceAround(text); !left.empty();) {
        const char32_t character = TakeCharacter(&left);
        const bool isText = character != kInvalidCharacter && !DrivesText(character);
        AppendUtf8(isText ? character : kReplacementCharacter, &line);
    }
    return line;
}

}  // namespace vx
