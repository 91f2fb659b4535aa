// What a program reports when the volume library did not open a volume, or opened it and noticed
// damage.
//
// Threads: call these on the thread that called the library's entry.
#pragma once

#include "VolumeLibraryStatus.h"

#include <dlfcn.h>

#include <algorithm>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

// What the library adds to the status of the last opening; empty if nothing, or if the library is
// an older one. library: the handle of the loaded library.
inline std::string OpenDetail(void *library)
{
    const auto lastError = reinterpret_cast<VolumeLibraryLastErrorFunction>(
        dlsym(library, "volume_library_last_error"));
    const char *detail = lastError == nullptr ? nullptr : lastError();
    return detail == nullptr ? "" : detail;
}

// After a success: what was noticed, one line each.
inline std::vector<std::string> OpenWarningLines(const std::string &detail)
{
    std::vector<std::string> warnings;
    std::istringstream lines(detail);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty())
            warnings.push_back(line);
    }
    return warnings;
}

inline std::vector<std::string> OpenWarnings(void *library)
{
    return OpenWarningLines(OpenDetail(library));
}

// The status in words and what the library adds to it, in the order that reads well.
inline std::string OpenFailureWords(int32_t status, const std::string &detail)
{
    std::string text = VolumeLibraryStatusText(status);
    if (detail.empty())
        return text;
    const bool isAboutKeyFile =
        std::any_of(std::begin(kKeyFileDetails), std::end(kKeyFileDetails),
                    [&](const char *beginning) { return detail.rfind(beginning, 0) == 0; });
    return isAboutKeyFile ? detail + ": " + text : text + ": " + detail;
}

// The status in words, what the library adds to it, and its number:
// "the volume is not encrypted: open it with "none" (status 20)",
// "the startup key file /k.BEK: there is nothing at this path (status 3)"
inline std::string OpenFailureText(int32_t status, const std::string &detail)
{
    return OpenFailureWords(status, detail) + " (status " + std::to_string(status) + ")";
}

// library: the handle of the loaded library.
inline std::string OpenFailureText(void *library, int32_t status)
{
    return OpenFailureText(status, OpenDetail(library));
}
