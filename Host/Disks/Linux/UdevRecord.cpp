#include "UdevRecord.h"

#include <algorithm>
#include <charconv>

namespace vx {
namespace {

// The byte that "\x20" at the front of the text stands for, or -1.
int EscapedByte(std::string_view text)
{
    constexpr size_t kLength = 4;
    if (text.size() < kLength || text[0] != '\\' || text[1] != 'x')
        return -1;
    unsigned byte = 0;
    const auto end = text.data() + kLength;
    const auto result = std::from_chars(text.data() + 2, end, byte, 16);
    return result.ec == std::errc() && result.ptr == end ? static_cast<int>(byte) : -1;
}

}  // namespace

std::string UdevRecord::Value(std::string_view name) const
{
    const std::string wanted = "E:" + std::string(name) + "=";
    for (std::string_view left = _text; !left.empty();) {
        const std::string_view line = left.substr(0, left.find('\n'));
        if (line.substr(0, wanted.size()) == wanted)
            return std::string(line.substr(wanted.size()));
        left.remove_prefix(std::min(left.size(), line.size() + 1));
    }
    return "";
}

std::string UdevRecord::DecodedValue(std::string_view name) const
{
    const std::string value = Value(name);
    std::string decoded;
    for (std::string_view left = value; !left.empty();) {
        const int byte = EscapedByte(left);
        decoded.push_back(byte < 0 ? left[0] : static_cast<char>(byte));
        left.remove_prefix(byte < 0 ? 1 : 4);
    }
    return decoded;
}

}  // namespace vx
