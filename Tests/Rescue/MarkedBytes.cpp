#include "MarkedBytes.h"

#include <cstdio>

namespace vx {
namespace {

// Takes that many hexadecimal digits off the front.
std::optional<uint64_t> TakeDigits(std::string_view *text, size_t count)
{
    uint64_t value = 0;
    for (size_t i = 0; i < count; ++i) {
        const char digit = (*text)[i];
        if (digit >= '0' && digit <= '9')
            value = value * 16 + static_cast<uint64_t>(digit - '0');
        else if (digit >= 'a' && digit <= 'f')
            value = value * 16 + static_cast<uint64_t>(digit - 'a' + 10);
        else
            return std::nullopt;
    }
    text->remove_prefix(count);
    return value;
}

}  // namespace

std::string MarkedBytes(unsigned file, size_t count)
{
    std::string bytes;
    bytes.reserve(count + kMarkBytes);
    char mark[kMarkBytes + 1];
    while (bytes.size() < count) {
        std::snprintf(mark, sizeof mark, "R%03x:%010llx\n", file & 0xFFF,
                      static_cast<unsigned long long>(bytes.size()) & 0xFFFFFFFFFF);
        bytes.append(mark, kMarkBytes);
    }
    bytes.resize(count);
    return bytes;
}

std::optional<Mark> MarkIn(std::string_view bytes)
{
    if (bytes.size() < kMarkBytes || bytes[0] != 'R' || bytes[4] != ':' || bytes[15] != '\n')
        return std::nullopt;
    std::string_view digits = bytes.substr(1);
    const auto file = TakeDigits(&digits, 3);
    digits.remove_prefix(1);
    const auto offset = TakeDigits(&digits, 10);
    if (!file || !offset || *offset % kMarkBytes != 0)
        return std::nullopt;
    return Mark{static_cast<unsigned>(*file), *offset};
}

}  // namespace vx
