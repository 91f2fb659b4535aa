// Stops a long operation from another thread or from a signal handler. Whoever starts the operation
// makes a flag of its own for it; the operation borrows the flag, looks at it now and then, and
// ends with kCancelled.
//
// Flags are numbered in the order of their making, so RaiseAll needs no list of them: it notes the
// last number and concerns no flag that is made later. Threads: any. RaiseAll is async-signal-safe.
#pragma once

#include <atomic>
#include <cstdint>

namespace vx {

class CancelFlag {
public:
    CancelFlag() : _number(++_lastMade) {}
    CancelFlag(const CancelFlag &) = delete;
    CancelFlag &operator=(const CancelFlag &) = delete;

    void Raise() { _isRaised = true; }
    bool IsRaised() const { return _isRaised || _number <= _lastRaised; }

    // Raises every flag that there is.
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
    std::atomic<bool> _isRaised{false};
};

// flag: may be null.
inline bool IsCancelled(const CancelFlag *flag)
{
    return flag != nullptr && flag->IsRaised();
}

}  // namespace vx
