// Makes the groups of six digits of a text right, so that mutated recovery passwords are found.
#pragma once

#include "ByteView.h"

#include <string>

namespace vx {

// The text as it is in the file, with each number of six digits lowered to what a group may be.
inline std::string WithRightGroups(ByteView text)
{
    constexpr size_t kDigits = 6;
    constexpr unsigned kLargest = 720885;
    std::string right(reinterpret_cast<const char *>(text.data), text.size);
    for (size_t at = 0; at + kDigits <= right.size();) {
        size_t end = at;
        while (end < right.size() && right[end] >= '0' && right[end] <= '9')
            ++end;
        for (; at + kDigits <= end; at += kDigits) {
            const auto value = static_cast<unsigned>(std::stoul(right.substr(at, kDigits)));
            const unsigned lowered = value > kLargest ? kLargest : value - value % 11;
            const std::string digits = std::to_string(1000000 + lowered);
            right.replace(at, kDigits, digits, 1, kDigits);
        }
        at = end + 1;
    }
    return right;
}

}  // namespace vx
