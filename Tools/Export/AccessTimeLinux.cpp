#include "KeptAccessTime.h"

namespace vx {

timespec AccessTimeOf(const struct stat &file)
{
    return file.st_atim;
}

}  // namespace vx
