// The two FIFO files of the link, made before the explorer starts and for this user alone, so
// that no other user can write into the link. A FIFO of this user that remains from an earlier
// host is replaced: the explorer of that host may still run on it, and must neither receive the
// messages for this one nor be mistaken for it. Anything else at the path is an error, and is
// left alone.
//
// Threads: that of the session.
#pragma once

#include "LinkFifos.h"

#include <string>

namespace vx {

struct LinkPaths {
    std::string read = kExplorerToHost;
    std::string write = kHostToExplorer;
};

// Makes both or neither. Only for the holder of the HostLock: no other host uses what it replaces.
// Returns an empty text, or one line on what is in the way.
std::string MakeFifoPair(const LinkPaths &paths);

// Only after MakeFifoPair has succeeded.
void RemoveFifoPair(const LinkPaths &paths);

}  // namespace vx
