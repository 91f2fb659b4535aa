#include "Wtf8.h"

#include "Utf8.h"

namespace vx {
namespace {

char32_t UnitAt(ByteView units, size_t index)
{
    return units.data[2 * index] | static_cast<char32_t>(units.data[2 * index + 1]) << 8;
}

}  // namespace

std::string Wtf8FromUtf16(ByteView units)
{
    std::string bytes;
    const size_t count = units.size / 2;
    bytes.reserve(count);
    for (size_t i = 0; i < count; ++i) {
        char32_t point = UnitAt(units, i);
        const char32_t next = i + 1 < count ? UnitAt(units, i + 1) : 0;
        if (point >= 0xD800 && point < 0xDC00 && next >= 0xDC00 && next < 0xE000) {
            point = 0x10000 + ((point - 0xD800) << 10) + (next - 0xDC00);
            ++i;
        }
        AppendUtf8(point, &bytes);
    }
    return bytes;
}

bool IsEntryName(const std::string &name)
{
    return !name.empty() && name != "." && name != ".." && name.find('/') == std::string::npos &&
           name.find('\0') == std::string::npos;
}

}  // namespace vx
