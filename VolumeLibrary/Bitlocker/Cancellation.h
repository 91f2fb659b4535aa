// A flag by which another thread stops a long operation; borrowed, may be absent.
#pragma once

#include <atomic>

namespace vx::bitlocker {

using CancelFlag = std::atomic<bool>;

inline bool IsCancelled(const CancelFlag *flag)
{
    return flag != nullptr && flag->load(std::memory_order_relaxed);
}

}  // namespace vx::bitlocker
