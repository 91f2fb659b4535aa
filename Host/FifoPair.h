// The two FIFO files of the link, made before the explorer starts and for this user alone, so
// that no other user can write into the link. A FIFO of this user that an earlier host left
// behind is replaced: the explorer of that host may still be running on it, and must neither
// take this one's messages nor be taken for it. Anything else at the path is in the way, and
// is left alone.
#pragma once

#include <string>

namespace vx {

struct LinkPaths {
    std::string read;   // explorer to host
    std::string write;  // host to explorer
};

// Makes both or neither. Only for the holder of the HostLock: nobody else uses what it replaces.
// Returns an empty text, or one line on what is in the way.
std::string MakeFifoPair(const LinkPaths &paths);

// For the maker of both, as long as nothing else removes them.
void RemoveFifoPair(const LinkPaths &paths);

}  // namespace vx
