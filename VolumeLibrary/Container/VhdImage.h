// VHD images: those of fixed size, which are raw images with a footer, and those that grow, with a
// header and a table of blocks. A differencing image is refused with the name of its parent.
//
// Format: "Virtual Hard Disk Image Format Specification", Microsoft, version 1.0, 2006. All
// numbers are big-endian; footer and header have a checksum each. The header must fit its own. A
// footer that does not is replaced by its copy at the beginning of the file; without a copy the
// image is assumed to be one of fixed size. Sizes and places are checked against the file's size;
// no number of the image decides how much memory is used, but for 4 KiB of a path. Names in the
// image are shown and never opened.
#pragma once

#include "Container.h"

namespace vx {

// Whether the file has the mark of the footer, at its end or at its beginning.
bool IsVhdImage(const ByteSource &file);

// Errors: kTruncatedImage if an image that grows ends early, kUnsupportedContainer for a
// differencing one, kDamagedContainer, those of the file's reads.
Result<Container> OpenVhd(const std::shared_ptr<const ByteSource> &file);

}  // namespace vx
