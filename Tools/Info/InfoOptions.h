// The command line of volume-info as one value.
//
// Errors: one line without a line end, ready to follow "volume-info: ".
#pragma once

#include "ArgumentReader.h"

#include <optional>
#include <string>
#include <vector>

namespace vx {

struct InfoOptions {
    enum class Action { kHelp, kVersion, kDescribe, kSearch };

    Action action = Action::kDescribe;
    std::string volume;
    bool opens = false;  // a kind and a secret were given
    Unlocking unlocking;
    bool json = false;
    bool showsRecoveryPasswords = false;
};

// arguments: without the program's name. Returns nothing for a wrong command line, and error says
// why. --help and --version win over everything after them.
std::optional<InfoOptions> ParseInfoOptions(const std::vector<std::string> &arguments,
                                            std::string *error);

}  // namespace vx
