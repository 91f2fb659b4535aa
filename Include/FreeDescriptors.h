// Whether a program has the descriptors that it will need. AppKit ends a program by a signal, or
// lets it hang, where one cannot be opened.
//
// Threads: before any other thread runs.
#pragma once

#include "UniqueFd.h"

#include <fcntl.h>
#include <vector>

namespace vx {

// Whether so many can be open beside those that are.
inline bool AreDescriptorsFree(size_t count)
{
    std::vector<UniqueFd> opened;
    while (opened.size() < count) {
        opened.emplace_back(open("/dev/null", O_RDONLY | O_CLOEXEC));
        if (!opened.back())
            return false;
    }
    return true;
}

}  // namespace vx
