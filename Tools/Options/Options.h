// The command line of volume-export as one value.
//
// Errors: one line without a line end, ready to follow "volume-export: ".
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
    std::string secret;              // as given; empty if it is to be asked for
    bool asksSecret = false;         // the secret was given as "-"
    std::string keyFile;             // the path of a startup key; empty for other kinds
    std::string destination;         // kExport only, as given
    bool recursive = false;          // kList only, as is the next
    bool json = false;               //
    bool verify = false;             // kExport only, as are the next two
    bool verbose = false;            //
    bool skipsSpaceCheck = false;    //
    std::vector<std::string> paths;  // as given; none means the root
};

// arguments: without the program's name. Returns nothing for a wrong command line, and error says
// why. --help and --version win over everything after them.
std::optional<Options> ParseOptions(const std::vector<std::string> &arguments, std::string *error);

}  // namespace vx
