// Why the explorer will not be able to show a volume. The explorer is silent about that: its
// window stays empty. So the host tries the volume library first.
//
// The library is the one that the explorer will load. It is called in a process of its own,
// which takes its memory, its keys and, on a damaged volume, its troubles with it.
// Threads: the main thread, before others are started. Errors: the result is a sentence for a
// person, empty if the volume opens. Then there may be warnings: damage that was noticed.
#pragma once

#include "CommandLine.h"

#include <string>
#include <vector>

namespace vx {

// program: the explorer, inside its bundle; outside of one nothing is tried.
// warnings: may be null; receives a line each.
std::string WhyVolumeStaysShut(const std::string &program, const HostOptions &options,
                               std::vector<std::string> *warnings = nullptr);

}  // namespace vx
