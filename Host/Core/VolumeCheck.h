// Why the explorer will not be able to show a volume. The explorer does not report it: its window
// stays empty. So the host tries the volume library first.
//
// The library is the one that the explorer will load. It is called in a child process, which ends
// with all of its memory and keys, and whose crash on a damaged volume does not end the host.
// Threads: the main thread, before others are started. Errors: the result is one line for the user,
// empty if the volume opens. Then there may be warnings: damage that was noticed.
#pragma once

#include "OpeningTexts.h"

#include <string>
#include <vector>

namespace vx {

class EventPipe;

// program: the explorer, inside its bundle; outside of one nothing is tried.
// warnings: may be null; receives a line each.
// events: may be null. Its first signal is passed on to the child, so that the wait ends, and is
// posted again for the caller.
std::string WhyVolumeDoesNotOpen(const std::string &program, const OpeningTexts &texts,
                                 std::vector<std::string> *warnings = nullptr,
                                 EventPipe *events = nullptr);

}  // namespace vx
