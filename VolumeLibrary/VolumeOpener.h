// Chooses the kind of volume for what a caller wants opened. Each kind is a class of its own.
#pragma once

#include "OpenError.h"
#include "OwnedVolume.h"

#include <memory>

namespace vx {

// The three texts of the library's entry, UTF-8, none of them null.
struct OpenRequest {
    const char *device;
    const char *unlockKind;
    const char *secret;
};

// volume receives the opened volume when there is no error, and is not touched otherwise.
// May throw std::bad_alloc.
OpenError OpenVolume(const OpenRequest &request, std::unique_ptr<OwnedVolume> *volume);

}  // namespace vx
