// A startup key file (.BEK): one external key and the identifier of the protector it opens.
#pragma once

#include "Error.h"
#include "Guid.h"
#include "KeyMaterial.h"

#include <string>

namespace vx::bitlocker {

struct StartupKeyFile {
    // No such file is longer; more is not read.
    static constexpr size_t kLargest = 64 * 1024;

    Guid identifier;
    KeyMaterial key;  // 32 bytes

    // Errors: MalformedSecret.
    static Result<StartupKeyFile> parse(ByteView bytes);
    // Errors: MalformedSecret, SystemError.
    static Result<StartupKeyFile> read(const std::string &path);
};

}  // namespace vx::bitlocker
