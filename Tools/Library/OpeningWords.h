// What a call of the volume library that opens something came to, in words.
//
// library: the handle of the loaded one. Each function is called on the thread that called the
// library, after that call. The texts are one line each, safe for a terminal.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

// "cannot open NAME: the status in words: the detail (status N)". verb: "open".
std::string OpeningFailure(void *library, const char *verb, const std::string &volume,
                           int32_t status);

// The library has returned success and no volume.
std::string NoVolumeFailure(const std::string &volume);

// What the library noticed; each begins with the volume's name.
std::vector<std::string> OpeningWarnings(void *library, const std::string &volume);

}  // namespace vx
