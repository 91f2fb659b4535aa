// The folders below the destination of an export. Each is opened from its parent folder, name by
// name, so that a path may be longer than the system accepts in one call.
//
// A link in the place of a folder is followed only if what it leads to lies in the destination: the
// folder is opened, and its parents are asked until the destination is met. The exported folder is
// never entered, unless the destination lies in it. A FIFO or a device is never opened.
//
// Ownership: owns its descriptors; a folder stays open as long as somebody holds it, and at most
// kMostKept beyond that. Threads: any, once it is open.
// Errors: a reason in words, ready to follow a colon.
#pragma once

#include "LocalFile.h"
#include "Mutex.h"
#include "UniqueFd.h"

#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <sys/stat.h>

namespace vx {

class DestinationTree {
public:
    using Folder = std::shared_ptr<const UniqueFd>;
    static constexpr size_t kMostKept = 64;

    // source: the plain folder that is exported; empty if it is none.
    explicit DestinationTree(const std::string &source);

    // path: absolute. The destination itself may be a link. False: errno.
    bool Open(const std::string &path);

    enum class Missing { kMake, kFail };
    // The folder at a path below the destination, "a/b", or the destination itself for "". Null:
    // reason says why, and error receives errno, or a negative number for a link.
    Folder Enter(const std::string &path, Missing missing, std::string *reason, int *error);

    // The destination itself.
    int Root() const { return _root->Get(); }

private:
    struct Kept {
        Folder folder;
        uint64_t lastUse;
    };

    Folder NearestKept(const std::string &path, size_t *length);
    Folder Keep(const std::string &path, UniqueFd folder);
    UniqueFd EnterBelow(int folder, const std::string &name, Missing missing) const;
    UniqueFd FollowLink(int folder, const std::string &name) const;
    bool LiesInDestination(int folder) const;
    bool IsSource(const struct stat &folder) const;
    bool LeadsIntoSource(int folder) const;

    FileIdentity _source = {0, 0};
    bool _hasSource = false;
    Folder _root = std::make_shared<const UniqueFd>();

    Mutex _mutex;
    std::map<std::string, Kept> _kept VX_GUARDED_BY(_mutex);
    uint64_t _uses VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
