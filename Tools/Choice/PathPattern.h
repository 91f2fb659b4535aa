// The pattern of one --include or --exclude, with the meaning that rsync gives it.
//
// A pattern with a "/" that is not its last byte, or with "**", is for the path; any other for the
// name alone. A leading "/" binds it to the root; without one it matches the end of a path that
// begins after any slash, the one before the first name included. A "/" at its end makes it one for
// folders; "***" there also matches the folder whose contents it matches. Without "*", "?" and "["
// a pattern is taken as it is, backslashes included.
// Source: rsync(1), "PATTERN MATCHING RULES".
// Threads: any number.
#pragma once

#include "Wildcards.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace vx {

class PathPattern {
public:
    explicit PathPattern(const std::string &pattern);

    // path: from the root, without a leading "/", e.g. "Users/anna".
    bool Matches(std::string_view path, bool isFolder) const;

    // Whether the name, the last part of a path, is enough for Matches.
    bool IsForNames() const { return !_isForPaths; }

private:
    // Where in a path the pattern begins to match.
    enum class Begin { kRoot, kSlashOfRoot, kAnyPart, kLastParts };

    std::string _text;  // without the slashes at its two ends
    bool _isForFolders = false;
    bool _isForPaths = false;
    bool _hasWildcards = false;
    bool _matchesContents = false;  // ends with "***"
    size_t _slashes = 0;
    Begin _begin = Begin::kLastParts;
    Wildcards _wildcards;
};

}  // namespace vx
