// Entries of the metadata.
#pragma once

#include "ByteView.h"

namespace vx::bitlocker::maker {

// 2026-01-02 as a FILETIME.
constexpr uint64_t kSomeTime = 134118720000000000;

std::vector<uint8_t> MakeEntry(uint16_t type, uint16_t valueType, ByteView data);
// A property with a plain key.
std::vector<uint8_t> MakeKeyEntry(uint16_t keyKind, ByteView key);

}  // namespace vx::bitlocker::maker
