#include "RoundedSizeText.h"

#include <cstdio>

namespace vx {

std::string RoundedSizeText(uint64_t bytes)
{
    constexpr uint64_t kMiB = uint64_t{1} << 20;
    constexpr uint64_t kGiB = uint64_t{1} << 30;
    if (bytes < kMiB)
        return std::to_string(bytes) + (bytes == 1 ? " byte" : " bytes");
    if (bytes < kGiB)
        return std::to_string(bytes / kMiB) + " MiB";
    char text[32];
    std::snprintf(text, sizeof text, "%.1f GiB", static_cast<double>(bytes) / double{kGiB});
    return text;
}

std::string CutText(uint64_t missingBytes)
{
    return "the image or device ends " + RoundedSizeText(missingBytes) +
           " before the volume does; what lies there cannot be read";
}

}  // namespace vx
