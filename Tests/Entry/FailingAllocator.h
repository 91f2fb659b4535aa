// Lets an allocation of this thread fail on purpose. The test program's operator new asks here.
#pragma once

namespace vx {

// While it exists, the allocation of this thread with the given number, counted from 0, throws
// std::bad_alloc, or what no code expects; all others succeed. One at a time.
class FailAllocation {
public:
    enum class As { kOutOfMemory, kDefect };

    explicit FailAllocation(long number, As failure = As::kOutOfMemory);
    ~FailAllocation();
    FailAllocation(const FailAllocation &) = delete;
    FailAllocation &operator=(const FailAllocation &) = delete;

    // True once the allocation has failed.
    bool Happened() const;
};

}  // namespace vx
