// Waits until at least one of two descriptors can be read, which includes the end of input. May
// return early with neither.
#pragma once

namespace vx {

struct Readable {
    bool first = false;
    bool second = false;
};

Readable AwaitReadable(int first, int second);

}  // namespace vx
