#include "EarlyWriting.h"

namespace vx {

// There is no such request; the system soon begins by itself.
void BeginWriting(int, int64_t, int64_t) {}

}  // namespace vx
