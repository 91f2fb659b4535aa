// A file that an image names: a part of it, or its parent. Only ordinary files in the image's own
// folder are read. A path to elsewhere, a link, a FIFO or a device is refused and named, so that an
// image of unknown origin can neither block the program nor make it read other files.
#pragma once

#include "Error.h"

#include <string>

namespace vx {

// The path of such a file. image: the path of the image. role: "its part", for messages. Errors:
// kUnsupportedContainer for what is refused, kTruncatedImage for a file that is missing, and
// kSystemError.
Result<std::string> PathBeside(const std::string &image, const std::string &role,
                               const std::string &name);

// A name out of an image for a message: "?" replaces control characters, which could harm a
// terminal.
std::string ShownName(std::string name);

}  // namespace vx
