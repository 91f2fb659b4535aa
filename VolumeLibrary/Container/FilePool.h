// The files of an image of many parts, of which only some are open at a time: there may be more
// parts than a process may have open files. Half of those may be parts, and kLeastOpen in any case.
// A part that is open cannot be taken for the target of an export in the same process.
//
// A file that was closed meanwhile is opened again when it is read, and must be the one that it
// was: the same device, inode, size and time of the last write. Descriptors are closed when another
// program is started.
//
// Ownership: each file keeps the pool. Threads: any number at a time.
#pragma once

#include "ByteSource.h"
#include "Mutex.h"

#include <memory>
#include <string>
#include <vector>

namespace vx {

class FilePool : public std::enable_shared_from_this<FilePool> {
public:
    static constexpr size_t kLeastOpen = 16;

    static std::shared_ptr<FilePool> Make();

    // A regular file of the image; what the path leads to must have been looked at before, since a
    // FIFO would wait for somebody to write. Errors: SystemError with the errno of the call that
    // failed. Reads of the file fail with ESTALE once it was exchanged, and as opening does.
    Result<std::shared_ptr<const ByteSource>> Open(const std::string &path);

private:
    class File;
    using Handle = std::shared_ptr<const ByteSource>;

    // An open file, and whose it is.
    struct Place {
        const File *owner = nullptr;
        Handle handle;
        uint64_t lastUse = 0;
    };

    FilePool();
    Handle Find(const File *owner);
    void Keep(const File *owner, Handle handle);
    void Forget(const File *owner);

    const size_t _mostOpen;
    Mutex _mutex;
    std::vector<Place> _places VX_GUARDED_BY(_mutex);
    uint64_t _uses VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
