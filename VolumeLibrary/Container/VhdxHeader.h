// The header of a VHDX file, of which there are two: the one that is valid and has the higher
// sequence number counts.
//
// Format: [MS-VHDX], sections 2.2.1 and 2.2.2; numbers are little-endian, checksums are CRC-32C.
#pragma once

#include "ByteSource.h"
#include "Guid.h"

#include <string_view>

namespace vx {

struct VhdxHeader {
    uint64_t sequence = 0;
    Guid dataWrite;  // changes with the contents of the disk: a child knows its parent by it
    Guid log;        // zeros: there is nothing to replay
    uint16_t logVersion = 0;
    uint16_t version = 0;
    uint32_t logBytes = 0;
    uint64_t logAt = 0;
    bool isOnlyOne = false;  // the other one is damaged

    bool HasLog() const { return log != Guid{}; }
};

// A place or size of a VHDX file is a multiple of this. The first one holds the headers.
constexpr uint64_t kVhdxUnit = uint64_t{1} << 20;

// Whether the file has the mark at its beginning or, whatever its beginning is but a boot sector, a
// valid header.
bool IsVhdxImage(const ByteSource &file);

// Errors: those of the file's reads; kTruncatedImage; kDamagedContainer if none of the headers is
// valid; kUnsupportedContainer for another version of the format.
Result<VhdxHeader> ReadVhdxHeader(const ByteSource &file);

// For a VHDX image that contradicts itself: kDamagedContainer.
Error DamagedVhdx(std::string_view what);

// For one that ends before its tables do: kTruncatedImage.
Error CutVhdx();

}  // namespace vx
