// The receiving end of a drag from another program over the X server (freedesktop.org,
// "Drag-and-Drop Protocol for the X Window System", version 5), for files only.
//
// It has a connection and a window of its own, which the windows it serves name as their proxy.
// What another program sends is taken as it comes, and none is waited for: one that stalls in the
// middle of a drag holds up nothing. Ownership: borrows the target. Threads: one. Places are pixels
// from the upper left corner of the screen; paths are as the system has them.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace vx {

class DropTarget {
public:
    virtual ~DropTarget() = default;

    // window: one that was adopted. False: the pointer shows that nothing is taken.
    virtual bool wouldTake(uint32_t window, int x, int y,
                           const std::vector<std::string> &paths) = 0;
    // Where it would be taken last. False: the other program shows that it was not taken.
    virtual bool take(uint32_t window, int x, int y, const std::vector<std::string> &paths) = 0;
};

class DropReceiver {
public:
    explicit DropReceiver(DropTarget &target);
    ~DropReceiver();
    DropReceiver(const DropReceiver &) = delete;
    DropReceiver &operator=(const DropReceiver &) = delete;

    // Becomes readable when there is something to serve; -1: there is no X server.
    int descriptor() const;
    // A window of this process, by its number at the server. False: the server does not know it, or
    // not yet.
    bool adopt(uint32_t window);
    // All that has come. Never waits for another program.
    void serve();

private:
    class Protocol;
    std::unique_ptr<Protocol> _protocol;
};

}  // namespace vx
