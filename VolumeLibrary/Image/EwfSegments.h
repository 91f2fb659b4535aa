// The files that an E01 image consists of, and whether they are all there and complete.
#pragma once

#include "OpenError.h"

#include <string>
#include <vector>

namespace vx {

// path: of the first file. files receives all of them, in order, when there is no error.
// Errors, each with the file named: kImageTruncated if one is missing or ends early,
// kPermissionDenied if one may not be read, kContainerNotSupported if path is that of a later one,
// kReadFailed.
OpenError FindEwfSegments(const std::string &path, std::vector<std::string> *files);

}  // namespace vx
