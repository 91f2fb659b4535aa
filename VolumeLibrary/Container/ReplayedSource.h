// A file with changes that are known but were not written to it, as a log describes them.
//
// A change is a range of zeros, or a page of 4096 bytes whose middle lies elsewhere in the file.
// Where the file is shorter than the changes and the given size say, it is zeros.
//
// Ownership: shares the file. Threads: any number at a time. Memory: 40 bytes for each of at most
// kMostChanges changes, and a page of the stack. Units: bytes. Errors: those of the file.
#pragma once

#include "ByteSource.h"
#include "PaddedSource.h"

#include <array>
#include <map>
#include <memory>
#include <vector>

namespace vx {

class FileChanges {
public:
    static constexpr size_t kMostChanges = size_t{1} << 14;
    static constexpr uint64_t kPageBytes = 4096;

    struct Change {
        uint64_t begin = 0;
        uint64_t end = 0;
        uint64_t storedAt = 0;  // of a page: where it lies in the file; 0: zeros
        // What stands at the beginning and at the end of a page instead of what is stored there.
        std::array<uint8_t, 8> first = {};
        std::array<uint8_t, 4> last = {};
    };

    // A later change takes the place of earlier ones. begin and end: multiples of a page; end is
    // not before begin. False if there are too many.
    bool Add(const Change &change);
    // In the order of the file, without overlaps.
    std::vector<Change> Take() const;

private:
    void Split(uint64_t at);

    std::map<uint64_t, Change> _changes;
};

class ReplayedSource final : public ByteSource {
public:
    // size: the least size of the file.
    ReplayedSource(const std::shared_ptr<const ByteSource> &file, const FileChanges &changes,
                   uint64_t size);

    uint64_t Size() const override { return _file.Size(); }
    Error ReadAt(uint64_t offset, void *buffer, size_t count) const override;

private:
    using Change = FileChanges::Change;

    Error ReadChanged(const Change &change, uint64_t offset, uint8_t *place, size_t count) const;

    const std::vector<Change> _changes;
    const PaddedSource _file;
};

}  // namespace vx
