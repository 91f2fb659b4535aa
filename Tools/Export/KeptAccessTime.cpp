#include "KeptAccessTime.h"

namespace vx {

KeptAccessTime::KeptAccessTime(int file) : _file(file), _accessed{0, UTIME_OMIT}
{
    struct stat found;
    if (fstat(file, &found) == 0)
        _accessed = AccessTimeOf(found);
}

KeptAccessTime::~KeptAccessTime()
{
    const timespec times[] = {_accessed, {0, UTIME_OMIT}};
    (void)futimens(_file, times);
}

}  // namespace vx
