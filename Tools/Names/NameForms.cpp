#include "NameForms.h"

#include <algorithm>

namespace vx {
namespace {

// Longer ones are no extensions but names with a dot.
constexpr size_t kLongestExtension = 32;

bool IsInsideCharacter(char byte)
{
    return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// The first bytes, without a part of a character at the end.
std::string Cut(const std::string &text, size_t length)
{
    if (length >= text.size())
        return text;
    while (length > 0 && IsInsideCharacter(text[length]))
        --length;
    return text.substr(0, length);
}

size_t StartOfExtension(const std::string &name, size_t longest)
{
    const size_t dot = name.rfind('.');
    // Where names are short, a number must fit beside the extension.
    const bool isOne = dot != std::string::npos && dot > 0 &&
                       name.size() - dot <= std::min(kLongestExtension, longest / 2);
    return isOne ? dot : name.size();
}

// The start, cut until the whole fits.
std::string Joined(const std::string &start, const std::string &end, size_t longest)
{
    return Cut(start, longest - std::min(longest, end.size())) + end;
}

std::string NumberAfter(const char *separator, unsigned number)
{
    return number < 2 ? "" : separator + std::to_string(number);
}

}  // namespace

std::string MarkedName(const std::string &name, const std::string &mark, size_t longest)
{
    const size_t extension = StartOfExtension(name, longest);
    return Joined(name.substr(0, extension), mark + name.substr(extension), longest);
}

std::string PartialName(const std::string &name, unsigned number, size_t longest)
{
    return Joined("." + name, NumberAfter(".", number) + ".partial", longest);
}

std::string DamagedName(const std::string &name, unsigned number, size_t longest)
{
    return MarkedName(name, " (damaged" + NumberAfter(" ", number) + ")", longest);
}

}  // namespace vx
