// The folders below the destination of an export. Each is opened from its parent folder, name by
// name, so that a path may be longer than the system accepts in one call.
//
// A link in the place of a folder is followed, unless it leads into the exported folder. The
// exported folder itself is never entered, unless the destination lies in it.
//
// Ownership: owns its descriptors. Threads: one at a time.
// Errors: a reason in words, ready to follow a colon.
#pragma once

#include "LocalFile.h"
#include "UniqueFd.h"

#include <string>
#include <sys/stat.h>

namespace vx {

class DestinationTree {
public:
    // source: the plain folder that is exported; empty if it is none.
    explicit DestinationTree(const std::string &source);

    // path: absolute. False: errno.
    bool Open(const std::string &path);

    enum class Missing { kMake, kFail };
    // The folder at a path below the destination, "a/b", or the destination itself for "". Open
    // until the next call; -1: reason says why, and error receives errno.
    int Enter(const std::string &path, Missing missing, std::string *reason, int *error);

    // The destination itself.
    int Root() const { return _root.Get(); }
    // Bytes that a name in it may have.
    size_t LongestName() const;

private:
    UniqueFd EnterBelow(const UniqueFd &folder, const std::string &name, Missing missing);
    UniqueFd FollowLink(const UniqueFd &folder, const std::string &name);
    bool IsSource(const struct stat &folder) const;
    bool LeadsIntoSource(int folder) const;

    FileIdentity _source = {0, 0};
    bool _hasSource = false;
    UniqueFd _root;
    UniqueFd _folder;  // the one that was entered last, unless that is the root
    std::string _path;
};

}  // namespace vx
