// Whether the pointer's buttons are pressed, as the display says at this moment. A control that is
// pressed waits for the release; on a busy machine the library now and then misses that of a short
// click, and would wait until the next one. Threads: main thread only.
#pragma once

namespace vx {

// True also if the display cannot be asked.
bool isAnyButtonPressed();

}  // namespace vx
