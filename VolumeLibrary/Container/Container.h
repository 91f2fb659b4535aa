// Opens the file or device that holds a disk or a volume, for reading only.
//
// A block device and raw images are read directly, also those in several parts (named by the
// first one: x.001, x.aa, ...). E01 and S01 (EwfSource.h), VHD (VhdImage.h) and VMDK images
// (VmdkImage.h) are read by code of this folder, which trusts nothing that an image says; libraries
// of others are left with zlib streams (ZlibStream.h).
#pragma once

#include "ByteSource.h"
#include "Error.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

struct Container {
    std::shared_ptr<const ByteSource> source;
    std::vector<std::string> notes;  // damage that did not prevent opening, a line each
    // If it seems to be a later part of an image: the name of the first one. It opens all the
    // same, since such a name proves nothing.
    std::string firstPart;
    // What it is read from. A VMDK may name further files.
    std::vector<std::string> files = {};
};

// Errors: kSystemError, with what to do about it where a permission is missing; kNotAVolume for
// what is neither a file nor a block device, kUnsupportedContainer, kTruncatedImage for one that
// ends early or lacks a part, kDamagedContainer.
Result<Container> OpenContainer(const std::string &path);

}  // namespace vx
