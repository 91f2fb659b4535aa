// Reads copies again from the disk that they lie on.
//
// Ownership: owns its buffer. Threads: one at a time.
#pragma once

#include "Sha256Stream.h"

#include <functional>
#include <string>
#include <vector>

namespace vx {

// Writes what memory still holds of the file, and makes the system forget it, so that the next
// read comes from the disk. A file system in memory has no other place to read from. False: errno.
// Threads: any.
bool LeaveMemory(int file);

class CopyOnDisk {
public:
    // After each piece, with the number of its bytes; false stops the reading.
    using Advance = std::function<bool(int64_t bytes)>;

    CopyOnDisk();

    enum class End { kWhole, kFailed, kStopped };
    // The hash and the size of an open file, from its beginning. kFailed: errno.
    End Hash(int file, const Advance &advance, Sha256Digest *digest, int64_t *size);

private:
    std::vector<unsigned char> _buffer;
    Sha256Stream _stream;
};

}  // namespace vx
