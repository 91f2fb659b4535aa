// The word by which a volume of a described disk is opened.
#pragma once

#include "DiskReport.h"

#include <string>

namespace vx {

// path: what was described, as given; of a disk with several volumes "#2" follows it. As the word
// of a command.
std::string VolumeAddress(const std::string &path, const DiskReport &report,
                          const DiskVolumeReport &volume);

}  // namespace vx
