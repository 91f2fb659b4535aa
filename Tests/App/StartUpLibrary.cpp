// A volume library that keeps what it was asked and answers what the test has laid out.
#include "StartUpLibrary.h"

extern "C" __attribute__((visibility("default"))) StartUpLibrary start_up_library = {};

extern "C" __attribute__((visibility("default"))) int32_t
open_bitlocker_device(const char *first, const char *second, const char *third, IVolume **volume)
{
    start_up_library.arguments = {first, second, third};
    if (start_up_library.opening != nullptr)
        start_up_library.opening();
    *volume = start_up_library.volume;
    return start_up_library.status;
}
