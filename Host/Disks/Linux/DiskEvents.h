// Waits until a disk or a partition comes, goes or changes.
//
// Threads: one at a time.
#pragma once

#include <memory>

namespace vx {

struct SystemFolders;

class DiskEvents {
public:
    virtual ~DiskEvents() = default;

    // stop: a descriptor. False once it can be read; true after an event.
    virtual bool Await(int stop) = 0;

    // Of the system through udev and the kernel; of a stand-in by looking at it again and again.
    static std::unique_ptr<DiskEvents> In(const SystemFolders &folders);
};

}  // namespace vx
