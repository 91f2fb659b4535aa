// One open file of a folder volume.
//
// A file that has become shorter since it was opened, or since its size was last requested, cannot
// be read beyond its new end.
// Ownership: owns the descriptor, shares the folder's presence. Threads: files do not share
// anything else.
#pragma once

#include "CarefulReader.h"
#include "FolderPresence.h"
#include "UniqueFd.h"
#include "VolumeFile.h"

#include <memory>

namespace vx {

class FolderFile final : public VolumeFile, private RawReader {
public:
    // file: open for reading. presence: of the folder that it lies in; may be null.
    explicit FolderFile(UniqueFd file, std::shared_ptr<FolderPresence> presence = nullptr);

    std::optional<int64_t> Size() const override;

protected:
    int64_t KnownSize() const override { return _knownSize; }
    uint32_t ReadAt(int64_t position, char *buffer, uint32_t count, ByteRanges *unread) override;

private:
    Outcome ReadOnce(uint64_t offset, char *buffer, size_t count) const override;
    bool IsThere() const override;

    const UniqueFd _file;
    const std::shared_ptr<FolderPresence> _presence;
    mutable int64_t _knownSize = 0;
    mutable uint64_t _end = 0;  // where the last read found the file to end
    const CarefulReader _reader;
};

}  // namespace vx
