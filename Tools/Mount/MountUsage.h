// What --help and --version of volume-mount print, and the short usage after a wrong command line.
#pragma once

namespace vx {

extern const char kMountUsage[];
extern const char kMountHelp[];
extern const char kMountVersion[];

}  // namespace vx
