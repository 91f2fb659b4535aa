// Reads a byte source here and there, in pieces of many sizes, up to a number of steps.
#pragma once

#include "ByteSource.h"

namespace vx {

// Holds that a failure has a text and that a byte that was read twice was the same both times.
void VisitSource(const ByteSource &source);

}  // namespace vx
