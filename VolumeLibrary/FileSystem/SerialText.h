// The serial number of a volume as Windows shows it: "1A2B-3C4D".
#pragma once

#include <cstdint>
#include <cstdio>
#include <string>

namespace vx {

inline std::string SerialText(uint32_t serial)
{
    char text[16];
    std::snprintf(text, sizeof text, "%04X-%04X", serial >> 16, serial & 0xFFFF);
    return text;
}

}  // namespace vx
