// VHD images: of fixed size, a raw image with a footer; and those that grow, with a header and a
// table of blocks. A differencing one is refused with the name of its parent.
//
// Format: "Virtual Hard Disk Image Format Specification", Microsoft, version 1.0, 2006. All
// numbers are big-endian; footer and header have a checksum each, which must fit. All sizes and
// places are checked against the file's size before anything is read with them; nothing is
// allocated by a number of the image. Names in the image are shown and never opened.
#pragma once

#include "ByteSource.h"
#include "Error.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

struct VhdImage {
    std::shared_ptr<const ByteSource> disk;
    std::vector<std::string> notes;  // damage that did not prevent opening, a line each
};

// Whether it is one: by its footer, or by the copy of it that an image that grows begins with.
bool IsVhdImage(const ByteSource &file);

// Errors: kImageTruncated if one that grows ends early, kContainerNotSupported for a differencing
// one, kReadFailed.
Error OpenVhd(const std::shared_ptr<const ByteSource> &file, VhdImage *image);

}  // namespace vx
