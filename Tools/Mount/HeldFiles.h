// The files that the kernel has open. A connection can end before it has closed all of them: what
// is left is closed with this, before the volume goes.
//
// Threads: any.
#pragma once

#include "MountedFile.h"
#include "Mutex.h"

#include <memory>
#include <unordered_map>

namespace vx {

class HeldFiles {
public:
    // The file stays open until it is closed by this address.
    MountedFile *Hold(std::unique_ptr<MountedFile> file)
    {
        const MutexLock lock(_mutex);
        MountedFile *held = file.get();
        _files.emplace(held, std::move(file));
        return held;
    }
    void Close(MountedFile *file)
    {
        std::unique_ptr<MountedFile> closed;
        const MutexLock lock(_mutex);
        const auto held = _files.find(file);
        if (held == _files.end())
            return;
        closed = std::move(held->second);
        _files.erase(held);
    }

private:
    Mutex _mutex;
    std::unordered_map<MountedFile *, std::unique_ptr<MountedFile>> _files VX_GUARDED_BY(_mutex);
};

}  // namespace vx
