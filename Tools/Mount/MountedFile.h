// One open file of the mounted tree: bytes at any position, all of them right or none.
//
// Ownership: borrows the volume. Threads: any; reads of one file wait for each other.
// Errors: an errno, 0 for none. Units: bytes.
#pragma once

#include "Mutex.h"
#include "OpenVolumeFile.h"

#include <cstdint>
#include <memory>
#include <string>

namespace vx {

class MountedFile {
public:
    // path: on the volume. Null if it does not open, or has no valid size.
    static std::unique_ptr<MountedFile> Open(IVolume &volume, const std::u16string &path);

    // When it was opened.
    int64_t Size() const { return _size; }
    // done: how many bytes the file has there, up to count; all of them are in the buffer then.
    int Read(int64_t position, char *buffer, uint32_t count, uint32_t *done);

private:
    MountedFile(IVolume &volume, const std::u16string &path) : _file(volume, path) {}

    int64_t _size = 0;
    Mutex _mutex;
    OpenVolumeFile _file VX_GUARDED_BY(_mutex);
    int64_t _position VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
