#include "DamageMark.h"

#include <sys/xattr.h>

namespace vx {

bool MarkDamaged(int file)
{
    return fsetxattr(file, kDamageMark, "", 0, 0, 0) == 0;
}

bool IsMarkedDamaged(int file)
{
    return fgetxattr(file, kDamageMark, nullptr, 0, 0, 0) >= 0;
}

}  // namespace vx
