// A key that is stored encrypted under another key (AES-256-CCM).
#pragma once

#include "ByteView.h"
#include "KeyMaterial.h"

#include <array>
#include <optional>
#include <vector>

namespace vx::bitlocker {

struct WrappedKey {
    std::array<uint8_t, 12> nonce{};
    std::array<uint8_t, 16> mac{};
    std::vector<uint8_t> ciphertext;

    // From the data of an entry with wrapped data; none if that is too short.
    static std::optional<WrappedKey> Parse(ByteView data);

    // The key inside. None if the 32 bytes of unwrappingKey are the wrong key, if the stored bytes
    // are damaged or if the result is not a key.
    std::optional<KeyMaterial> Unwrap(ByteView unwrappingKey) const;
};

}  // namespace vx::bitlocker
