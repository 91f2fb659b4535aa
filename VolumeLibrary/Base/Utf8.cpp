#include "Utf8.h"

namespace vx {

void AppendUtf8(char32_t point, std::string *bytes)
{
    const auto append = [bytes](char32_t byte) { bytes->push_back(static_cast<char>(byte)); };
    if (point < 0x80) {
        append(point);
        return;
    }
    const int tails = point < 0x800 ? 1 : point < 0x10000 ? 2 : 3;
    constexpr char32_t kLead[] = {0, 0xC0, 0xE0, 0xF0};
    append(kLead[tails] | point >> (6 * tails));
    for (int shift = 6 * (tails - 1); shift >= 0; shift -= 6)
        append(0x80 | (point >> shift & 0x3F));
}

}  // namespace vx
