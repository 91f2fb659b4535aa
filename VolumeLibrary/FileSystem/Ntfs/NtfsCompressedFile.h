// A file that NTFS keeps compressed, unit by unit.
//
// A unit that takes all its clusters is stored as it is, one that takes some is compressed and
// one that takes none is zeros. If a compressed unit is damaged or cannot be read whole, the chunks
// before the damage are given.
// Ownership: shares the source. Threads: as VolumeFile; takes no lock. Memory: two units.
#pragma once

#include "ExtentFile.h"

namespace vx {

class NtfsCompressedFile final : public VolumeFile {
public:
    // unitBytes: at most kLargestUnit.
    static constexpr uint64_t kLargestUnit = uint64_t{1} << 20;
    NtfsCompressedFile(std::shared_ptr<const ByteSource> source, FileExtents extents,
                       uint32_t unitBytes);

    std::optional<int64_t> Size() const override { return static_cast<int64_t>(_extents.size); }
    void VisitPlaces(const StoredPlaceVisitor &visit) const override;

protected:
    int64_t KnownSize() const override { return static_cast<int64_t>(_extents.size); }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) override;

private:
    void LoadUnit(uint64_t number);
    void ReadUnit(uint64_t position);
    void ReadPacked(uint64_t position, uint32_t stored);

    static constexpr uint64_t kNoUnit = ~uint64_t{0};

    const std::shared_ptr<const ByteSource> _source;
    const FileExtents _extents;
    const uint32_t _unitBytes;
    uint64_t _loaded = kNoUnit;
    std::vector<uint8_t> _unit;
    ByteRanges _unread;  // of the unit, with places in the file
    std::vector<uint8_t> _packed;
};

}  // namespace vx
