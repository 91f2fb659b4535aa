// E01 and S01 images: the files that one consists of, and whether they are all there and complete.
// How they hold the disk: EwfLayout.h, EwfSource.h.
#pragma once

#include "ByteView.h"
#include "Container.h"

#include <string_view>

namespace vx {

constexpr std::string_view kEwfMark("EVF\x09\x0D\x0A\xFF\x00", 8);

// Whether the first bytes of a file are those of an E01 image, or of one of its kind.
bool IsEwfImage(ByteView head);
// Whether the first bytes but for the mark are those of the first part of one.
bool IsEwfBesideItsMark(ByteView head);

// path: of the first file. Every file must be a regular one; only some are open at a time
// (FilePool.h). Notes: what the files do not hold, or did not when they were made. Errors, with the
// file named: kTruncatedImage if a file is missing or ends early, kUnsupportedContainer if path is
// that of a later one or a file is that of another image, kDamagedContainer, kSystemError.
Result<Container> OpenEwf(const std::string &path, uint32_t retries);

}  // namespace vx
