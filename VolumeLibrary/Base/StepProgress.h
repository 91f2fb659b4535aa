// Reports to the program how far one step of an opening is: once before it begins, then a few times
// a second at most.
//
// The duration is estimated from what was done so far. Threads: that of the opening.
#pragma once

#include "VolumeOpeningOptions.h"

#include <chrono>

namespace vx {

// Who hears it; nobody without a function.
struct ProgressReceiver {
    VolumeOpeningProgressFunction function = nullptr;
    void *context = nullptr;
};

class StepProgress {
public:
    StepProgress(const ProgressReceiver &receiver, VolumeOpeningStep step, uint64_t total);

    // done: of the total.
    void Report(uint64_t done);

private:
    using Clock = std::chrono::steady_clock;

    uint32_t WholeSeconds(Clock::duration taken, uint64_t done) const;

    const ProgressReceiver _receiver;
    const VolumeOpeningStep _step;
    const uint64_t _total;
    const Clock::time_point _start = Clock::now();
    Clock::time_point _reported;
};

}  // namespace vx
