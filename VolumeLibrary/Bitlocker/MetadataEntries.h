// The array of entries that the metadata consists of, and its nested arrays.
//
// Views point into the bytes that were parsed; the owner of the bytes must outlive them.
#pragma once

#include "ByteView.h"
#include "Error.h"

#include <vector>

namespace vx::bitlocker {

enum class EntryType : uint16_t {
    kProperty = 0x0000,
    kProtector = 0x0002,
    kWrappedSectorKey = 0x0003,
    kExternalKey = 0x0006,
    kDescription = 0x0007,
    kVolumeHeader = 0x000f,
};

enum class ValueType : uint16_t {
    kKey = 0x0001,
    kText = 0x0002,
    kStretchKey = 0x0003,
    kUseKey = 0x0004,
    kWrapped = 0x0005,
    kProtector = 0x0008,
    kExternalKey = 0x0009,
    kOffsetAndSize = 0x000f,
};

struct MetadataEntry {
    EntryType type = EntryType::kProperty;
    ValueType valueType = ValueType::kKey;
    ByteView data;  // after the eight bytes of the entry's header

    // The nested array; empty for values that have none.
    ByteView Nested() const;
};

// The deepest nesting of arrays; more is damage.
constexpr int kDeepestNesting = 3;

// The entries of one array in stored order; what is inside them is checked too and can be
// parsed without failing. depth: of this array, 1 for the outermost.
// Errors: kDamagedMetadata for an entry that is too short, reaches beyond the end or nests too
// deeply.
Result<std::vector<MetadataEntry>> ParseEntries(ByteView bytes, int depth = 1);

}  // namespace vx::bitlocker
