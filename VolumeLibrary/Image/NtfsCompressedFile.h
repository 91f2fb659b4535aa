// A file that NTFS keeps compressed, unit by unit.
//
// A unit that takes all its clusters is stored as it is, one that takes some is compressed and
// one that takes none is zeros.
// Ownership: shares the source. Threads: as VolumeFile; takes no lock. Memory: two units.
#pragma once

#include "ExtentFile.h"

namespace vx {

class NtfsCompressedFile final : public VolumeFile {
public:
    // unitBytes: at most kLargestUnit.
    static constexpr uint64_t kLargestUnit = uint64_t{1} << 20;
    NtfsCompressedFile(std::shared_ptr<const bitlocker::ByteSource> source, FileExtents extents,
                       uint32_t unitBytes);

    std::optional<int64_t> Size() const override { return static_cast<int64_t>(_extents.size); }

protected:
    bool ReadAt(int64_t position, char *buffer, uint32_t count, uint32_t *done) override;

private:
    bool LoadUnit(uint64_t number);
    bool ReadUnit(uint64_t position);

    static constexpr uint64_t kNoUnit = ~uint64_t{0};

    const std::shared_ptr<const bitlocker::ByteSource> _source;
    const FileExtents _extents;
    const uint32_t _unitBytes;
    uint64_t _loaded = kNoUnit;
    std::vector<uint8_t> _unit;
    std::vector<uint8_t> _packed;
};

}  // namespace vx
