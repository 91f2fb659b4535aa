// The command line of volume-export as one value.
//
// Errors: a text that says in one line what is wrong, ready to follow "volume-export: ".
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace vx {

struct Options {
    enum class Action { kHelp, kVersion, kList, kExport };

    Action action = Action::kHelp;
    std::string volume;
    std::string unlockKind = "none";
    std::string secret;
    bool asksSecret = false;         // the secret was given as "-"
    std::string destination;         // kExport only, as given
    bool recursive = false;          // kList only, as is the next
    bool json = false;               //
    bool verify = false;             // kExport only, as are the next two
    bool verbose = false;            //
    bool skipsSpaceCheck = false;    //
    std::vector<std::string> paths;  // as given; none means the root
};

// arguments: without the program's name. Nothing is returned for a wrong command line, and error
// says why. --help and --version win over everything that stands after them.
std::optional<Options> ParseOptions(const std::vector<std::string> &arguments, std::string *error);

}  // namespace vx
