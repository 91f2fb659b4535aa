// What a program tells a person when the volume library did not open a volume.
//
// Threads: to be called on the thread that called the library's entry.
#pragma once

#include "VolumeLibraryStatus.h"

#include <dlfcn.h>

#include <string>

// The status in words and what the library adds to it, in the order in which they make sense.
inline std::string OpenFailureWords(int32_t status, const std::string &detail)
{
    const std::string text = VolumeLibraryStatusText(status);
    if (detail.empty())
        return text;
    const bool isAboutKeyFile = detail.rfind(kStartupKeyFileDetail, 0) == 0;
    return isAboutKeyFile ? detail + ": " + text : text + ": " + detail;
}

// library: the handle of the loaded library. The status in words, what the library adds to it,
// and its number: "the volume is not encrypted: open it with "none" (status 20)",
// "the startup key file /k.BEK: there is nothing at this path (status 3)"
inline std::string OpenFailureText(void *library, int32_t status)
{
    const auto lastError = reinterpret_cast<VolumeLibraryLastErrorFunction>(
        dlsym(library, "volume_library_last_error"));
    const char *detail = lastError == nullptr ? nullptr : lastError();
    return OpenFailureWords(status, detail == nullptr ? "" : detail) + " (status " +
           std::to_string(status) + ")";
}
