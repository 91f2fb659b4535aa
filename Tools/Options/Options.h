// The command line of volume-export as one value.
//
// Errors: one line without a line end, ready to follow "volume-export: ".
#pragma once

#include "Unlocking.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vx {

// One --include or --exclude.
struct ChoiceRule {
    bool includes = false;
    std::string pattern;  // never empty
};

struct Options {
    enum class Action { kHelp, kVersion, kList, kExport };

    std::string volume;
    Unlocking unlocking;
    // Unlocking::KeyPaths, as far as they are known.
    std::vector<std::string> keyPaths;
    std::vector<std::string> paths;  // as given; none means the root
    Action action = Action::kHelp;

    // kList only.
    bool recursive = false;
    bool json = false;

    bool IsRaw() const { return !raw.empty(); }
    // Below the destination; empty without --raw.
    std::string RawName() const { return raw.substr(raw.rfind('/') + 1); }

    // kExport only, as the paths at the end.
    bool streams = false;
    bool noTimes = false;
    bool noEmptyFolders = false;
    bool verify = false;
    bool resume = false;
    bool sync = false;
    bool dryRun = false;
    bool verbose = false;
    bool skipsSpaceCheck = false;

    // What is listed or exported; sizes in bytes, times in 100 ns since 1601-01-01 00:00 UTC.
    std::vector<ChoiceRule> rules;   // in the order given
    std::optional<int64_t> minSize;  // at least this
    std::optional<int64_t> maxSize;  // at most this
    std::optional<uint64_t> newer;   // modified then or later
    std::optional<uint64_t> older;   // modified before then

    // How a damaged disk is read.
    std::string map;                   // a path as given, empty for none, as all paths below
    std::optional<uint32_t> retries;   // how often a place that failed is read again
    std::optional<uint32_t> skipSlow;  // milliseconds after which a read is slow

    // A folder; of --raw that of the file.
    std::string destination;
    std::string raw;  // the file that the volume itself goes to
    std::string manifest;
    std::string report;
    std::string writeMap;
};

// arguments: without the program's name. Returns nothing for a wrong command line, and error says
// why. --help and --version win over everything after them.
std::optional<Options> ParseOptions(const std::vector<std::string> &arguments, std::string *error);

}  // namespace vx
