// Encrypts a key under another key, as the format stores it.
#pragma once

#include "ByteView.h"

namespace vx::bitlocker::maker {

// The data of an entry with wrapped data. wrappingKey: 32 bytes; nonce: 12; entryType: of the
// entry that is wrapped, 0 as a rule.
std::vector<uint8_t> WrapKey(ByteView wrappingKey, ByteView nonce, uint16_t keyKind, ByteView key,
                             uint16_t entryType = 0);

}  // namespace vx::bitlocker::maker
