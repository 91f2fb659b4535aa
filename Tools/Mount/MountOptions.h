// The command line of volume-mount.
//
//     volume-mount disk.img --unlock recovery - /mnt/disk  ->  volume "disk.img", folder
//     "/mnt/disk",
//                                                              secret asked for
//     volume-mount disk.img                                ->  error "a folder to mount on is
//     missing"
//
// Errors: one line without a line end, ready to follow "volume-mount: ".
#pragma once

#include "ArgumentReader.h"

#include <optional>
#include <string>
#include <vector>

namespace vx {

struct MountOptions {
    enum class Action { kHelp, kVersion, kMount };

    Action action = Action::kMount;
    std::string volume;
    std::string folder;
    Unlocking unlocking;
    bool background = false;
    bool allowOther = false;
};

// arguments: without the program's name. Nothing for a wrong command line, and error says why.
// --help and --version win over everything after them.
std::optional<MountOptions> ParseMountOptions(const std::vector<std::string> &arguments,
                                              std::string *error);

}  // namespace vx
