// VHD images: those of fixed size, which are raw images with a footer, and those that grow, with a
// header and a table of blocks. A differencing one also needs its parent, a VHD image with the
// identifier that it names.
//
// Format: "Virtual Hard Disk Image Format Specification", Microsoft, version 1.0, 2006. All
// numbers are big-endian; footer and header have a checksum each. The header must fit its own. A
// footer that does not, or cannot be read, is replaced by its copy at the beginning of the file;
// without a copy the image is assumed to be one of fixed size. Sizes and places are checked against
// the file's size; no number of the image decides how much memory is used, but for 4 KiB of each of
// eight paths.
#pragma once

#include "Container.h"
#include "ParentImage.h"

#include <optional>
#include <string_view>

namespace vx {

// Whether the file has the mark of the footer, at its end or at its beginning.
bool IsVhdImage(const ByteSource &file);

constexpr std::string_view kVhdMark = "conectix";

// Where the footer at the end of the file lacks its mark although all the rest of it fits its
// checksum.
std::optional<uint64_t> PlaceOfLostVhdMark(const ByteSource &file);

// The files of the container are those of the parents. Errors: kTruncatedImage if an image that
// grows ends early, kDamagedContainer, those of the file's reads and of the parent.
Result<Container> OpenVhd(const std::shared_ptr<const ByteSource> &file,
                          const ParentOpener &openParent);

}  // namespace vx
