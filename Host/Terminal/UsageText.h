// What --help and --version print, and the short usage after a wrong command line.
#pragma once

namespace vx {

extern const char kUsageText[];
extern const char kHelpText[];
extern const char kVersionText[];

}  // namespace vx
