// Whether the folder that a folder volume shows is still there: it can be removed, and what it lies
// on unmounted or unplugged, while the volume is open.
//
// Ownership: borrows the open folder. Threads: any number at a time.
#pragma once

#include <atomic>

namespace vx {

class FolderPresence {
public:
    explicit FolderPresence(int folder) : _folder(folder) {}

    // Checks the folder after something in it has failed. errno stays as it was.
    void Check();
    // Once it was found gone it stays so.
    bool IsGone() const { return _isGone.load(std::memory_order_relaxed); }

private:
    bool IsThere() const;

    const int _folder;
    std::atomic<bool> _isGone{false};
};

}  // namespace vx
