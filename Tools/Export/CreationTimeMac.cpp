// Source: the manual page fsetattrlist(2), ATTR_CMN_CRTIME.
#include "FileTimes.h"

#include <cerrno>
#include <sys/attr.h>
#include <unistd.h>

namespace vx {

int SetCreationTime(int file, timespec created)
{
    attrlist wanted = {};
    wanted.bitmapcount = ATTR_BIT_MAP_COUNT;
    wanted.commonattr = ATTR_CMN_CRTIME;
    const bool isSet = fsetattrlist(file, &wanted, &created, sizeof(created), 0) == 0;
    // Not every file system keeps it.
    return isSet || errno == ENOTSUP ? 0 : errno;
}

}  // namespace vx
