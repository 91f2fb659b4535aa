// One open file of a folder volume.
// Ownership: owns the descriptor. Threads: files do not share anything.
#pragma once

#include "UniqueFd.h"
#include "VolumeFile.h"

#include <utility>

namespace vx {

class FolderFile final : public VolumeFile {
public:
    // file: open for reading.
    explicit FolderFile(UniqueFd file) : _file(std::move(file)) {}

    std::optional<int64_t> Size() const override;

protected:
    bool ReadAt(int64_t position, char *buffer, uint32_t count, uint32_t *done) override;

private:
    UniqueFd _file;
};

}  // namespace vx
