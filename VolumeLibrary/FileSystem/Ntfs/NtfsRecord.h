// One record of the master file table, and its attributes.
//
// Every number is checked before it is used: the record ends at an attribute that does not lie
// inside. Threads: unchanging; a view borrows the record.
// Source of the layouts: the documentation of the Linux-NTFS project, "NTFS Documentation", "File
// Record" and "Attribute Header".
#pragma once

#include "ByteView.h"

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

namespace vx {

// A reference to a record: its number in the low 48 bits, its sequence in the others.
using NtfsReference = uint64_t;
constexpr uint64_t NtfsNumber(NtfsReference reference)
{
    return reference & 0xFFFFFFFFFFFF;
}
constexpr uint16_t NtfsSequence(NtfsReference reference)
{
    return static_cast<uint16_t>(reference >> 48);
}

// Records and blocks of an index carry a check number at the end of each sector, which shows
// whether all of them were written. The bytes that belong there are kept at the front: this puts
// them back. False if the sectors were not written together.
bool ApplyNtfsFixups(std::vector<uint8_t> *bytes);

// Whether the name, in UTF-16 as a disk has it, is this one.
bool IsNtfsName(ByteView stored, std::u16string_view name);

enum class NtfsType : uint32_t {
    kStandardInformation = 0x10,
    kAttributeList = 0x20,
    kFileName = 0x30,
    kVolumeName = 0x60,
    kVolumeInformation = 0x70,
    kData = 0x80,
    kIndexRoot = 0x90,
    kIndexAllocation = 0xA0,
    kBitmap = 0xB0,
    kReparsePoint = 0xC0,
};

struct NtfsAttribute {
    static constexpr uint16_t kCompressed = 0x00FF;
    static constexpr uint16_t kEncrypted = 0x4000;

    NtfsType type = NtfsType::kData;
    ByteView name;  // UTF-16; empty for most
    uint16_t flags = 0;
    bool isResident = false;
    ByteView value;  // resident: the bytes; otherwise the list of runs
    // Of those that are not resident:
    uint64_t firstCluster = 0;  // in the stream; sizes are only given where this is 0
    unsigned compressionShift = 0;
    uint64_t size = 0;  // bytes
    uint64_t initialised = 0;
};

class NtfsRecord {
public:
    // bytes: of the whole record, with the ends of its sectors put right. Nothing if this is no
    // record in use.
    static std::optional<NtfsRecord> Parse(std::vector<uint8_t> bytes);

    uint16_t Sequence() const;
    bool IsFolder() const;
    // The record that this one continues; 0 for one that stands for itself.
    NtfsReference Base() const;

    // Whether every attribute can be read, up to the mark after the last one, and none seems to be
    // lost. For a record without a list of attributes, in which every attribute is whole.
    bool IsWhole() const;
    // The attribute of this type and name whose first cluster is the given one, after as many
    // others of them as are to be passed over.
    std::optional<NtfsAttribute> Find(NtfsType type, std::u16string_view name,
                                      uint64_t firstCluster = 0, size_t others = 0) const;

    // Every attribute of this type, in the order of the record.
    void Visit(NtfsType type, const std::function<void(const NtfsAttribute &)> &visit) const;

private:
    explicit NtfsRecord(std::vector<uint8_t> bytes);
    size_t FirstOffset() const;
    size_t LengthAt(size_t offset) const;
    bool IsEndAt(size_t offset) const;
    std::optional<NtfsAttribute> AttributeAt(size_t offset, size_t length) const;

    std::vector<uint8_t> _bytes;
};

}  // namespace vx
