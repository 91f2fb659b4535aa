// A text in a field of fixed size, as reports have them: UTF-8, with a zero at its end, cut between
// two characters if it is longer.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <string_view>

namespace vx {

// How many bytes of the text are left if it may have this many.
inline size_t CutLength(std::string_view text, size_t most)
{
    if (text.size() <= most)
        return text.size();
    while (most > 0 && (static_cast<unsigned char>(text[most]) & 0xC0) == 0x80)
        --most;
    return most;
}

template <size_t Size>
void PutText(std::string_view text, char (&field)[Size])
{
    text = text.substr(0, text.find('\0'));
    const size_t length = CutLength(text, Size - 1);
    std::memcpy(field, text.data(), length);
    std::fill(field + length, field + Size, '\0');
}

}  // namespace vx
