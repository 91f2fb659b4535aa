// Cancels a long operation from another thread or from a signal handler. The caller makes a flag
// for the operation, which checks it now and then and ends with kCancelled.
//
// Flags are numbered as they are made. RaiseAll notes the last number, so it needs no list of flags
// and never raises a later one. Threads: any. RaiseAll is async-signal-safe.
#pragma once

#include <atomic>
#include <cstdint>

namespace vx {

class CancelFlag {
public:
    CancelFlag() : _number(++_lastMade) {}
    ~CancelFlag() = default;
    CancelFlag(const CancelFlag &) = delete;
    CancelFlag &operator=(const CancelFlag &) = delete;

    bool IsRaised() const { return _number <= _lastRaised; }

    // Raises every flag that exists now.
    static void RaiseAll()
    {
        const uint64_t last = _lastMade;
        uint64_t raised = _lastRaised;
        while (raised < last && !_lastRaised.compare_exchange_weak(raised, last)) {
        }
    }

private:
    using Number = std::atomic<uint64_t>;
    static_assert(Number::is_always_lock_free, "a signal handler may not wait for a lock");

    static inline Number _lastMade{0};
    static inline Number _lastRaised{0};

    const uint64_t _number;
};

// flag: may be null.
inline bool IsCancelled(const CancelFlag *flag)
{
    return flag != nullptr && flag->IsRaised();
}

}  // namespace vx
