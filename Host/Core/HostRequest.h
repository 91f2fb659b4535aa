// What a session is to open, and with which programs.
//
// Ownership: the session that runs it overwrites the secret as soon as it needs it no longer.
// Neither copied nor moved: the secret stays at one place.
// Threads: filled on one, then that of the session alone.
#pragma once

#include "TypedSecret.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vx {

// Where the programs are that belong together.
struct HostPrograms {
    std::string explorer;  // the program inside of the bundle
    std::string trial;     // volume-trial
    std::string info;      // volume-info
};

// Those beside the running program, or beside the bundle that it is in; empty paths if the system
// does not say where that is.
HostPrograms InstalledPrograms();

struct HostRequest {
    HostPrograms programs = InstalledPrograms();
    std::string volume;
    std::string kind = "none";  // of the unlock
    TypedSecret secret;
    std::optional<uint32_t> sendCode;  // of a message for the explorer
};

}  // namespace vx
