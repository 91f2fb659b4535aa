// What the disk says of one folder entry. The platform's file reads it with one system call.
#pragma once

#include <cstdint>
#include <ctime>
#include <sys/stat.h>

namespace vx {

struct EntryStat {
    mode_t mode = 0;    // type and permissions
    uint64_t size = 0;  // bytes
    timespec modified = {};
    timespec accessed = {};
    timespec created = {};  // birth; the last change of the entry where no birth is recorded
};

// Describes the entry name of the open folder; a link is described itself and not followed. Returns
// false, and errno says why, when it cannot be described.
bool StatEntry(int folder, const char *name, EntryStat *stat);

}  // namespace vx
