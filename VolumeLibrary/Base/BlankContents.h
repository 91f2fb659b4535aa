// Recognises a blank disk or image: only zeros, or only bytes of 0xFF.
#pragma once

#include "KnownContents.h"

namespace vx {

// Null if something else is in it, or if a part of what is examined cannot be read. Up to 64 MiB
// are read as a whole; of more, the first MiB, the last one and 256 places between them, so that a
// large disk takes no time.
const KnownContents *FindBlankContents(const ByteSource &source);

}  // namespace vx
