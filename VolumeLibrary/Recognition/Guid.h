// A GUID in the order of its bytes on the disk (the first three groups little-endian).
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace vx {

struct Guid {
    std::array<uint8_t, 16> bytes{};

    // The usual form in small letters: 4967d63b-2e29-4ad8-8399-f6a339e3d001
    std::string Text() const;
    // The same in capitals, as in the name of a startup key file.
    std::string Capitals() const;
    // The first eight digits in capitals, by which Windows names a key: 4967D63B
    std::string KeyId() const { return Capitals().substr(0, 8); }

    bool operator==(const Guid &other) const { return bytes == other.bytes; }
    bool operator!=(const Guid &other) const { return bytes != other.bytes; }
};

}  // namespace vx
