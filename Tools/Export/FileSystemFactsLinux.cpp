// A position beyond the largest file is refused by lseek, which changes nothing. File systems in
// user space (FUSE) allow every position; those for FAT are known by their type in
// /proc/self/mountinfo (proc(5)).
#include "FileSystemFacts.h"

#include <algorithm>
#include <fstream>
#include <limits>
#include <string>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

namespace vx {
namespace {

constexpr int64_t kLargestOnFat = (int64_t{1} << 32) - 1;

// "fuse.fusefat", "vfat"; not "exfat".
bool IsFat(const std::string &type)
{
    return type.find("fat") != std::string::npos && type.find("exfat") == std::string::npos;
}

// "42 27 0:39 / /mnt rw - fuse.fusefat fusefat rw" → "fuse.fusefat", if the device is that of the
// line.
std::string TypeIn(const std::string &line, const std::string &device)
{
    constexpr char kMark[] = " - ";
    const size_t mark = line.find(kMark);
    if (mark == std::string::npos || line.find(" " + device + " ") >= mark)
        return "";
    const size_t start = mark + sizeof(kMark) - 1;
    return line.substr(start, line.find(' ', start) - start);
}

bool LiesOnFat(int file)
{
    struct stat found;
    if (fstat(file, &found) != 0)
        return false;
    const std::string device =
        std::to_string(major(found.st_dev)) + ":" + std::to_string(minor(found.st_dev));
    std::ifstream mounts("/proc/self/mountinfo");
    for (std::string line; std::getline(mounts, line);) {
        if (IsFat(TypeIn(line, device)))
            return true;
    }
    return false;
}

bool MayReach(int file, int64_t position)
{
    return lseek(file, position, SEEK_SET) == position;
}

}  // namespace

int64_t LargestFileBySystem(int file)
{
    int64_t reached = 0;
    int64_t beyond = std::numeric_limits<int64_t>::max();
    if (MayReach(file, beyond))
        reached = beyond;
    while (beyond - reached > 1) {
        const int64_t middle = reached + (beyond - reached) / 2;
        (MayReach(file, middle) ? reached : beyond) = middle;
    }
    lseek(file, 0, SEEK_SET);
    return std::min(reached, LargestFileByKind(file));
}

int64_t LargestFileByKind(int folder)
{
    return LiesOnFat(folder) ? kLargestOnFat : std::numeric_limits<int64_t>::max();
}

timespec ModificationOf(const struct stat &file)
{
    return file.st_mtim;
}

}  // namespace vx
