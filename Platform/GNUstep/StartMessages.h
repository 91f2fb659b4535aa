// The library's remarks while it connects to the display.
//
// Where no window manager runs it writes a line for each of fifteen styles of windows: that it
// could not find out how wide their decorations are. There are none. Everything else is written as
// before. Threads: main thread, while no other thread writes.
#pragma once

namespace vx {

// Holds those lines back for as long as it lives.
class StartMessages {
public:
    StartMessages();
    ~StartMessages();
    StartMessages(const StartMessages &) = delete;
    StartMessages &operator=(const StartMessages &) = delete;
};

}  // namespace vx
