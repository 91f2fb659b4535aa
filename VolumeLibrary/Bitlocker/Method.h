// The encryption methods of sectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vx::bitlocker {

enum class Method : uint16_t {
    None = 0x0000,  // on a decrypted volume
    Aes128Elephant = 0x8000,
    Aes256Elephant = 0x8001,
    Aes128Cbc = 0x8002,
    Aes256Cbc = 0x8003,
    Aes128Xts = 0x8004,
    Aes256Xts = 0x8005,
};

// The length of the sector key as stored, in bytes; 0 for a method that is not known.
size_t sectorKeySize(Method method);
// "AES-128-XTS"; "unknown method 0x1234"
std::string methodName(Method method);

}  // namespace vx::bitlocker
