#include "VolumeChoice.h"

#include <sys/stat.h>

namespace vx {
namespace {

bool Exists(const std::string &path)
{
    struct stat found;
    return lstat(path.c_str(), &found) == 0;
}

// -1 for what is no digit.
int ValueOfDigit(char digit)
{
    if (digit >= '0' && digit <= '9')
        return digit - '0';
    const char lower = static_cast<char>(digit | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

// Nothing for a text with anything but digits, or a number that is too large.
std::optional<uint64_t> NumberOf(const std::string &digits, unsigned base)
{
    uint64_t number = 0;
    for (const char digit : digits) {
        const int value = ValueOfDigit(digit);
        if (value < 0 || static_cast<unsigned>(value) >= base ||
            __builtin_mul_overflow(number, base, &number) ||
            __builtin_add_overflow(number, static_cast<unsigned>(value), &number))
            return std::nullopt;
    }
    return digits.empty() ? std::nullopt : std::optional<uint64_t>(number);
}

std::optional<uint64_t> OffsetOf(const std::string &text)
{
    constexpr size_t kPrefix = 2;
    const std::string prefix = text.substr(0, kPrefix);
    const bool isHexadecimal = prefix == "0x" || prefix == "0X";
    return isHexadecimal ? NumberOf(text.substr(kPrefix), 16) : NumberOf(text, 10);
}

}  // namespace

VolumeChoice VolumeChoice::Parse(const std::string &device)
{
    constexpr size_t kMostDigits = 4;
    const size_t mark = device.find_last_of("#@");
    if (mark == std::string::npos || Exists(device))
        return {device};
    const std::string path = device.substr(0, mark);
    const std::string text = device.substr(mark + 1);
    if (device[mark] == '@') {
        const auto offset = OffsetOf(text);
        return offset ? VolumeChoice{path, 0, offset} : VolumeChoice{device};
    }
    const auto number = text.size() <= kMostDigits ? NumberOf(text, 10) : std::nullopt;
    return number ? VolumeChoice{path, static_cast<size_t>(*number)} : VolumeChoice{device};
}

}  // namespace vx
