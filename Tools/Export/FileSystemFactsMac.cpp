#include "FileSystemFacts.h"

#include <limits>
#include <unistd.h>

namespace vx {
namespace {

constexpr long kMostBits = 63;

}  // namespace

// The bits include one for the sign.
int64_t LargestFileBySystem(int file)
{
    const long bits = fpathconf(file, _PC_FILESIZEBITS);
    if (bits <= 1 || bits > kMostBits)
        return std::numeric_limits<int64_t>::max();
    return (int64_t{1} << (bits - 1)) - 1;
}

int64_t LargestFileByKind(int folder)
{
    return LargestFileBySystem(folder);
}

timespec ModificationOf(const struct stat &file)
{
    return file.st_mtimespec;
}

}  // namespace vx
