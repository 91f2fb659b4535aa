#include "ListComparison.h"

#include <algorithm>
#include <poll.h>
#include <tuple>

namespace vx {
namespace {

constexpr int kPauseMilliseconds = 500;

bool IsSame(const AttachedVolume &a, const AttachedVolume &b)
{
    const auto parts = [](const AttachedVolume &volume) {
        return std::tie(volume.path, volume.disk, volume.diskName, volume.label, volume.fileSystem,
                        volume.bytes, volume.isEncrypted, volume.isRemovable, volume.isReadable,
                        volume.isSystem);
    };
    return parts(a) == parts(b);
}

}  // namespace

bool ListComparison::Await(int stop)
{
    struct pollfd wanted = {stop, POLLIN, 0};
    while (poll(&wanted, 1, kPauseMilliseconds) <= 0) {
        std::vector<AttachedVolume> volumes = ListAttachedVolumes();
        if (std::equal(volumes.begin(), volumes.end(), _known.begin(), _known.end(), IsSame))
            continue;
        _known = std::move(volumes);
        return true;
    }
    return false;
}

}  // namespace vx
