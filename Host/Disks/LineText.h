// A text of a disk or a program as one line for people.
//
// Threads: any.
#pragma once

#include <string>
#include <string_view>

namespace vx {

// Valid UTF-8 without spaces at its ends. Invalid bytes, and characters that would end the line or
// reorder what stands around it, become U+FFFD.
// " Flash\xFFDisk  " → "Flash\uFFFDDisk"
std::string LineText(std::string_view text);

}  // namespace vx
