// Reads a byte source at various places in pieces of many sizes, up to a number of steps.
#pragma once

#include "ByteSource.h"

namespace vx {

// Requires that a failure has a text and that reading a byte twice gives the same.
void VisitSource(const ByteSource &source);

}  // namespace vx
