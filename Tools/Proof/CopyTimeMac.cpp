#include "CopyTime.h"

namespace vx {

timespec ModifiedOf(const struct stat &file)
{
    return file.st_mtimespec;
}

}  // namespace vx
