// A startup key file (.BEK): one external key and the identifier of the protector it opens.
#pragma once

#include "Error.h"
#include "Guid.h"
#include "KeyMaterial.h"

#include <string>

namespace vx::bitlocker {

struct StartupKeyFile {
    // What the detail of an error begins with when the file, not the volume, cannot be read.
    static constexpr char kDetail[] = "the startup key file ";
    // No such file is longer; more is not read.
    static constexpr size_t kLargest = 64 * 1024;

    Guid identifier;
    KeyMaterial key;  // 32 bytes

    // Errors: kMalformedSecret.
    static Result<StartupKeyFile> Parse(ByteView bytes);
    // Errors: kMalformedSecret, kSystemError.
    static Result<StartupKeyFile> Read(const std::string &path);
};

}  // namespace vx::bitlocker
