// One open file of the mounted tree: bytes at any position, all of them right or none.
//
// Reads of one file run at the same time, each with a handle of its own that is opened when it is
// first needed: the kernel asks for the next piece of a file while the one before is decrypted.
// Once a read has failed there is one handle, and reads follow each other: two readers in one bad
// area of a disk would try more of it.
//
// Ownership: borrows the volume. Threads: any. Memory: at most mostReads handles.
// Errors: an errno, 0 for none. Units: bytes.
#pragma once

#include "Mutex.h"
#include "OpenVolumeFile.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vx {

class MountedFile {
public:
    static constexpr size_t kMostReads = 8;

    // path: on the volume. mostReads: at a time; 1 where the path may lead to another file
    // meanwhile. Null if it does not open, or has no valid size.
    static std::unique_ptr<MountedFile> Open(IVolume &volume, const std::u16string &path,
                                             size_t mostReads = kMostReads);

    // When it was opened.
    int64_t Size() const { return _size; }
    // done: how many bytes the file has there, up to count; all of them are in the buffer then.
    int Read(int64_t position, char *buffer, uint32_t count, uint32_t *done);

private:
    struct Handle {
        OpenVolumeFile file;
        int64_t position = 0;
    };
    using OwnedHandle = std::unique_ptr<Handle>;

    MountedFile(IVolume &volume, const std::u16string &path, size_t mostReads);

    OwnedHandle OpenHandle() const;
    OwnedHandle Begin(int64_t position);
    OwnedHandle Take(int64_t position);
    OwnedHandle TakeIdle(int64_t position) VX_REQUIRES(_mutex);
    void NoteNotOpened();
    void End(OwnedHandle handle, bool isRead);

    IVolume &_volume;
    const std::u16string _path;
    int64_t _size = 0;
    Mutex _mutex;
    Condition _changed;
    std::vector<OwnedHandle> _idle VX_GUARDED_BY(_mutex);
    size_t _running VX_GUARDED_BY(_mutex) = 0;
    size_t _mostReads VX_GUARDED_BY(_mutex);
};

}  // namespace vx
