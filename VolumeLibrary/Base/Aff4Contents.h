// Distinguishes an AFF4 image from any other ZIP archive, by the names of its members: one of
// container.description and information.turtle is there. They are looked for in both ends of the
// archive's directory, which lies at the end of the file and may be long.
//
// Format: "AFF4 Standard" 1.0; APPNOTE of ZIP. Memory: 128 KiB. Reads no more than that.
#pragma once

#include "ByteSource.h"

namespace vx {

// source: a ZIP archive. What cannot be read is not recognised.
bool IsAff4Archive(const ByteSource &source);

}  // namespace vx
