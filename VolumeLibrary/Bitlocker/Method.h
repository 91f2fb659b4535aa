// The encryption methods of sectors.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace vx::bitlocker {

enum class Method : uint16_t {
    kNone = 0x0000,  // on a decrypted volume
    kAes128Elephant = 0x8000,
    kAes256Elephant = 0x8001,
    kAes128Cbc = 0x8002,
    kAes256Cbc = 0x8003,
    kAes128Xts = 0x8004,
    kAes256Xts = 0x8005,
};

// The length of the sector key as stored, in bytes; 0 for a method that is not known.
size_t SectorKeySize(Method method);
// "AES-128-XTS"; "unknown method 0x1234"
std::string MethodName(Method method);

}  // namespace vx::bitlocker
