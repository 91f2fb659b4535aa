// What a program tells a person when the volume library did not open a volume.
//
// Threads: to be called on the thread that called the library's entry.
#pragma once

#include "VolumeLibraryStatus.h"

#include <dlfcn.h>

#include <string>

// library: the handle of the loaded library. The status in words, what the library adds to it,
// and its number: "the recovery password is malformed: group 3 has 5 digits (status 25)"
inline std::string OpenFailureText(void *library, int32_t status)
{
    std::string text = VolumeLibraryStatusText(status);
    const auto lastError = reinterpret_cast<VolumeLibraryLastErrorFunction>(
        dlsym(library, "volume_library_last_error"));
    const char *detail = lastError == nullptr ? nullptr : lastError();
    if (detail != nullptr && *detail != '\0')
        text += std::string(": ") + detail;
    return text + " (status " + std::to_string(status) + ")";
}
