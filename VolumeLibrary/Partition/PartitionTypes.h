// What the type of a partition stands for, in words.
//
// The types are documented publicly: those of a GUID table in the UEFI Specification ("GPT
// Partition Entry"), in Microsoft's documentation of PARTITION_INFORMATION_GPT and in the
// Discoverable Partitions Specification of the UAPI group; the numbers of an MBR in Microsoft's
// "Disk Partition Types" and in the lists of util-linux.
#pragma once

#include "Guid.h"

#include <cstdint>
#include <string>

namespace vx {

// "Basic data partition"; the GUID in capitals of one that is not known.
std::string GptTypeName(const Guid &type);
// "NTFS or exFAT"; the number of one that is not known, "0xA5".
std::string MbrTypeName(uint8_t type);

}  // namespace vx
