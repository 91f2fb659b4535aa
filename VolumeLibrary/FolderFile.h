// One open file of a folder volume, read at a position of its own.
// Ownership: owns the descriptor. Threads: one at a time; files do not share anything.
// Positions and sizes are bytes; a position is never negative and may lie past the end.
#pragma once

#include "UniqueFd.h"

#include <cstdint>
#include <optional>
#include <utility>

namespace vx {

class FolderFile {
public:
    enum class Origin : uint32_t { kStart = 0, kPosition = 1 };

    // file: open for reading.
    explicit FolderFile(UniqueFd file) : _file(std::move(file)) {}

    // Reads until count bytes are there or the file ends, and moves the position by what was
    // read, which done receives. False only on an error of the disk.
    bool Read(void *buffer, uint32_t count, uint32_t *done);
    // False, and nothing moves, for an unknown origin or a result that is negative or too large.
    bool Move(int64_t distance, uint32_t origin);

    int64_t Position() const { return _position; }
    // The size at this moment; nothing if the system does not tell.
    std::optional<int64_t> Size() const;

private:
    UniqueFd _file;
    int64_t _position = 0;
};

}  // namespace vx
