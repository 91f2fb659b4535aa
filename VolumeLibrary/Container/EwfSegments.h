// The files that an E01 or S01 image consists of, and whether they are all there and complete.
#pragma once

#include "Error.h"
#include "EwfLayout.h"
#include "EwfSource.h"

#include <string>
#include <vector>

namespace vx {

// path: of the first file. files receives all of them, in order, and layout what they hold, when
// there is no error. A file must be a regular one; only some are open at a time (FilePool.h).
// Errors, each with the file named: kImageTruncated if one is missing or ends early,
// kPermissionDenied if one may not be read, kContainerNotSupported if path is that of a later one,
// kReadFailed.
Error OpenEwfFiles(const std::string &path, std::vector<EwfFile> *files, EwfLayout *layout);

}  // namespace vx
