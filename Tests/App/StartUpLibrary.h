// What the test and the library of the start-up's suite share: the library exports one of these as
// "start_up_library".
#pragma once

#include "IVolume.h"

#include <array>
#include <cstdint>
#include <string>

struct StartUpLibrary {
    // Of the one call.
    std::array<std::string, 3> arguments;
    // Called when the program opens the volume, null for nothing.
    void (*opening)() = nullptr;
    // The answer.
    IVolume *volume = nullptr;
    int32_t status = 0;
};
