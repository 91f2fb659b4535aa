// The array of entries of which the metadata consists, and its nested arrays.
//
// Views point into the bytes that were parsed; the owner of the bytes must outlive them.
#pragma once

#include "ByteView.h"
#include "Error.h"

#include <vector>

namespace vx::bitlocker {

enum class EntryType : uint16_t {
    Property = 0x0000,
    Protector = 0x0002,
    WrappedSectorKey = 0x0003,
    ExternalKey = 0x0006,
    Description = 0x0007,
    VolumeHeader = 0x000f,
};

enum class ValueType : uint16_t {
    Key = 0x0001,
    Text = 0x0002,
    StretchKey = 0x0003,
    UseKey = 0x0004,
    Wrapped = 0x0005,
    Protector = 0x0008,
    ExternalKey = 0x0009,
    OffsetAndSize = 0x000f,
};

struct MetadataEntry {
    EntryType type = EntryType::Property;
    ValueType valueType = ValueType::Key;
    ByteView data;  // behind the eight bytes of the entry's header

    // The nested array; empty for values that have none.
    ByteView nested() const;
};

// Arrays may nest so deep; more is damage.
constexpr int kDeepestNesting = 3;

// The entries of one array in stored order; what is inside them is checked too and can be
// parsed without failing. depth: of this array, 1 for the outermost.
// Errors: DamagedMetadata for an entry that is too short, reaches behind the end or nests too
// deep.
Result<std::vector<MetadataEntry>> parseEntries(ByteView bytes, int depth = 1);

}  // namespace vx::bitlocker
