// The disk in a VMDK file that grows: a directory names tables, and these name the pieces
// ("grains") of the disk, packed or not. A grain that no table names is zeros.
//
// What is checked: every table and grain lies within the file. No number of the file decides how
// much memory is used, but for one packed grain of at most 2 MiB. The marker of a packed grain must
// name its sector on the disk, and it is unpacked into room for one grain. If a table cannot be
// read, its copy is; where the two differ, and where a place is claimed twice, VmdkPlaces decides.
//
// Ownership: shares the file. Threads: any number at a time; reads of parts of packed grains take
// turns. Errors: kSystemError with "read at" and the place in this file's part of the disk, EIO for
// what is damaged or lies beyond the end of the file, otherwise the errno of the file.
#pragma once

#include "ByteSource.h"
#include "Mutex.h"
#include "VmdkHeader.h"
#include "VmdkPlaces.h"

#include <memory>
#include <utility>
#include <vector>

namespace vx {

class VmdkGrains final : public ByteSource {
public:
    VmdkGrains(std::shared_ptr<const ByteSource> file, const VmdkHeader &header, VmdkPlaces places)
        : _file(std::move(file)), _header(header), _places(std::move(places))
    {
    }

    uint64_t Size() const override { return _header.capacity * VmdkHeader::kSector; }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    static constexpr uint64_t kNone = ~uint64_t{0};

    // For each of some grains, one after the other, the sector of the file where it lies; 0 if
    // there is none.
    struct Sectors {
        static constexpr size_t kMost = 64;  // 4 MiB of usual grains
        size_t count = 0;
        uint32_t at[kMost] = {};
    };

    uint64_t GrainBytes() const { return _header.grain * VmdkHeader::kSector; }
    // Those of the range, as far as they are in one table.
    Error Find(uint64_t offset, size_t count, Sectors *sectors) const;
    Error Compare(uint64_t number, Sectors *sectors) const;
    ByteRange GrainsOf(uint32_t sector, uint64_t offset, size_t count) const;
    Error FindIn(uint64_t directory, uint64_t number, Sectors *sectors) const;
    Error ReadNumbers(uint64_t sector, uint64_t index, Sectors *numbers) const;
    // How many of count bytes, which begin in the given grain, lie side by side in the file, or
    // are zeros, or are packed as one.
    size_t SideBySide(const Sectors &sectors, size_t grain, uint64_t offset, size_t count) const;
    Error ReadRun(uint32_t sector, uint64_t offset, uint8_t *place, size_t count) const;
    Error CopyPacked(uint32_t sector, uint64_t offset, uint8_t *place, size_t count) const;
    // place has room for a whole grain.
    Error Unpack(uint32_t sector, uint64_t number, uint8_t *place) const;

    const std::shared_ptr<const ByteSource> _file;
    const VmdkHeader _header;
    const VmdkPlaces _places;
    mutable Mutex _mutex;
    mutable uint64_t _kept VX_GUARDED_BY(_mutex) = kNone;
    mutable std::vector<uint8_t> _grain VX_GUARDED_BY(_mutex);
};

}  // namespace vx
