// The command line of volume-host.
//
//     volume-host disk.img --unlock password -   ->  volume "disk.img", kind "password", secret
//                                                    asked for
//     volume-host disk.img password -            ->  the same, in an older form
//     volume-host                                ->  error "a volume is missing"
#pragma once

#include "Unlocking.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vx {

struct HostOptions {
    std::string volume;
    Unlocking unlocking;
    std::string explorer;  // path of the explorer's program; empty: the one beside this program
    std::optional<uint32_t> sendCode;
    bool help = false;
    bool version = false;
};

struct CommandLine {
    HostOptions options;
    std::string error;  // one line without a line end; empty: the options are good
};

// arguments: without the program's own name. --help and --version win over everything after them.
CommandLine ParseCommandLine(const std::vector<std::string> &arguments);

}  // namespace vx
