// An event that happens once and can be waited for.
//
// Threads: any.
#pragma once

#include <condition_variable>
#include <mutex>

namespace vx {

class Completion {
public:
    void Complete()
    {
        const std::lock_guard<std::mutex> lock(_mutex);
        _isComplete = true;
        _changed.notify_all();
    }
    // Returns once Complete was called; at once if it was called before.
    void Wait()
    {
        std::unique_lock<std::mutex> lock(_mutex);
        _changed.wait(lock, [this] { return _isComplete; });
    }

private:
    std::mutex _mutex;
    std::condition_variable _changed;
    bool _isComplete = false;
};

}  // namespace vx
