#include "CopyOnDisk.h"

#include <fcntl.h>
#include <unistd.h>

namespace vx {

// Reads of a descriptor with F_NOCACHE leave nothing in memory (fcntl(2) of macOS).
bool LeaveMemory(int file)
{
    return fsync(file) == 0 && fcntl(file, F_NOCACHE, 1) == 0;
}

}  // namespace vx
