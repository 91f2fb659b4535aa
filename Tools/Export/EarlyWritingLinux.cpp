#include "EarlyWriting.h"

#include <fcntl.h>

namespace vx {

void BeginWriting(int file, int64_t offset, int64_t length)
{
    (void)sync_file_range(file, offset, length, SYNC_FILE_RANGE_WRITE);
}

}  // namespace vx
