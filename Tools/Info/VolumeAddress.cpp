#include "VolumeAddress.h"

#include "ShellWord.h"

#include <algorithm>

namespace vx {

std::string VolumeAddress(const std::string &path, const DiskReport &report,
                          const DiskVolumeReport &volume)
{
    const auto end = report.volumes + report.volumeCount;
    const auto opens = [](const DiskVolumeReport &other) { return other.number != 0; };
    const bool isChoice = std::count_if(report.volumes, end, opens) > 1;
    return ShellWord(isChoice ? path + "#" + std::to_string(volume.number) : path);
}

}  // namespace vx
