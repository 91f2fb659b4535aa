#include "VolumeChoice.h"

#include <sys/stat.h>

namespace vx {

VolumeChoice VolumeChoice::Parse(const std::string &device)
{
    constexpr size_t kMostDigits = 4;
    struct stat found;
    const size_t mark = device.rfind('#');
    if (mark == std::string::npos || lstat(device.c_str(), &found) == 0)
        return {device, 0};
    const std::string digits = device.substr(mark + 1);
    if (digits.empty() || digits.size() > kMostDigits ||
        digits.find_first_not_of("0123456789") != std::string::npos)
        return {device, 0};
    return {device.substr(0, mark), static_cast<size_t>(std::stoul(digits))};
}

}  // namespace vx
