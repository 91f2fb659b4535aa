// The files of an image of many parts, of which only some are open at a time: there may be more
// parts than a process may have open files. At most half of that limit is used for parts, or
// kLeastOpen if that is more. An export in the same process recognises an open part and does not
// write to it.
//
// A file that was closed meanwhile is opened again when it is read, and must still be the same one:
// device, inode, size and time of the last write. Descriptors are not inherited by other programs.
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

    // The caller has checked that the path leads to a regular file, since opening a FIFO would wait
    // for a writer. Errors: kSystemError with the errno of the call that failed. A read of the file
    // fails in the same way, and with ESTALE if another file took its place.
    Result<std::shared_ptr<const ByteSource>> Open(const std::string &path);

private:
    class File;
    using Handle = std::shared_ptr<const ByteSource>;

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
