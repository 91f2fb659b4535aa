// VDI images: those of fixed size and those that grow. One that holds only what was changed since
// another image does not name that one, only its identifier, and is refused with it.
//
// Format: the header of version 1.1 as block/vdi.c of QEMU documents it; numbers are little-endian.
// Blocks that were discarded read as zeros. Memory: that of VdiMap.
#pragma once

#include "ByteView.h"
#include "Container.h"

#include <string_view>

namespace vx {

constexpr std::string_view kVdiMark("\x7F\x10\xDA\xBE", 4);
constexpr size_t kVdiMarkAt = 64;

// Whether the first bytes of a file are those of a VDI image, of any version.
bool IsVdiImage(ByteView head);
// Whether all but the mark is as in the header of one of version 1.
bool IsVdiBesideItsMark(ByteView head);

// A note says how much of the disk is missing from a file that was cut short, another one how many
// blocks the map lacks. Errors:
// kTruncatedImage if the file ends within the header or the map; kUnsupportedContainer for another
// version or a differencing image; kDamagedContainer; those of the file's reads.
Result<Container> OpenVdi(const std::shared_ptr<const ByteSource> &file);

}  // namespace vx
