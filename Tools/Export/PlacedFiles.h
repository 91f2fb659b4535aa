// The files that this run has put into the destination, so that none of them replaces another: two
// paths of a volume can lead to one file here, "a\b" and "a/b", or "A" and "a" if case makes no
// difference.
//
// A file is recognised by its identity, and if the file system does not keep identities, by the
// places of those whose names differ only in case or normal form.
// Threads: one at a time.
#pragma once

#include "LocalFile.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unordered_map>

namespace vx {

class PlacedFiles {
public:
    // path: relative to the destination. arrival: a number of the caller's.
    void Add(const FileIdentity &identity, const std::string &path, size_t arrival);

    // The arrival that the file standing at the path is; nothing if it was there before. root: the
    // destination.
    std::optional<size_t> At(int root, const std::string &path, const struct stat &found) const;

private:
    struct Placed {
        std::string path;
        size_t arrival;
    };

    std::map<FileIdentity, size_t> _byIdentity;
    std::unordered_multimap<std::string, Placed> _byFoldedPath;
};

}  // namespace vx
