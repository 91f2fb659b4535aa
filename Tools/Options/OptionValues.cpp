#include "OptionValues.h"

#include <algorithm>
#include <cctype>
#include <cstddef>

namespace vx {
namespace {

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

// One digit at least, and nothing else.
std::optional<int64_t> ReadNumber(const std::string &text)
{
    if (text.empty() || !std::all_of(text.begin(), text.end(), IsDigit))
        return std::nullopt;
    int64_t number = 0;
    for (const char digit : text) {
        if (__builtin_mul_overflow(number, 10, &number) ||
            __builtin_add_overflow(number, digit - '0', &number))
            return std::nullopt;
    }
    return number;
}

}  // namespace

std::optional<int64_t> ReadSize(const std::string &text)
{
    static const std::string kUnits = "KMGTP";
    const bool hasUnit = !text.empty() && !IsDigit(text.back());
    auto size = ReadNumber(text.substr(0, text.size() - (hasUnit ? 1 : 0)));
    if (!hasUnit || !size)
        return size;
    const char unit = static_cast<char>(toupper(static_cast<unsigned char>(text.back())));
    const size_t power = kUnits.find(unit);
    if (power == std::string::npos)
        return std::nullopt;
    const int64_t factor = int64_t{1} << 10 * (power + 1);
    return __builtin_mul_overflow(*size, factor, &*size) ? std::nullopt : size;
}

std::optional<uint32_t> ReadCount(const std::string &text, uint32_t highest)
{
    const auto number = ReadNumber(text);
    if (!number || *number > highest)
        return std::nullopt;
    return static_cast<uint32_t>(*number);
}

std::optional<uint32_t> ReadMilliseconds(const std::string &text, uint32_t highest)
{
    const size_t point = text.find('.');
    std::string digits = point == std::string::npos ? "0" : text.substr(point + 1);
    if (digits.size() > 3)
        return std::nullopt;
    const auto seconds = ReadCount(text.substr(0, point), highest / 1000);
    const auto rest = ReadCount(digits.append(digits.empty() ? 0 : 3 - digits.size(), '0'), 999);
    if (!seconds || !rest || *seconds * 1000 + *rest > highest)
        return std::nullopt;
    return *seconds * 1000 + *rest;
}

}  // namespace vx
