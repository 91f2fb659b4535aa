// The files that a VMDK image consists of, and whether they are all there and complete.
#pragma once

#include "Bitlocker/ByteSource.h"
#include "OpenError.h"

#include <string>
#include <vector>

namespace vx {

// path and image: of the file that was given, which holds the disk itself or a text that names the
// files which do. notes receives a line for each file of which a part of the disk is missing that
// can be told from the rest; reading it fails. Errors: kImageTruncated with the file named if one
// is missing or ends so early that nothing can be read, kReadFailed. What is damaged otherwise
// is left to who reads the image.
OpenError CheckVmdkFiles(const std::string &path, const bitlocker::ByteSource &image,
                         std::vector<std::string> *notes);

}  // namespace vx
