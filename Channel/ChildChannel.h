// The library's end of the channel, in the child process.
//
// A host that does not read, or is gone, never blocks the child: what does not fit is kept up to a
// bound, then dropped and counted.
// Ownership: owns the descriptor, which is close-on-exec from the constructor on.
// Threads: any; reports of several threads do not mix.
#pragma once

#include "ChannelMessages.h"
#include "Mutex.h"
#include "UniqueFd.h"

#include <chrono>
#include <string>

namespace vx {

class ChildChannel {
public:
    // The texts of an opening, in memory that is kept out of the swap space and overwritten.
    class Opening;

    explicit ChildChannel(UniqueFd descriptor);

    // Waits no longer than patience. False: what arrived is no opening, or nothing did.
    bool ReadOpening(Opening *opening, std::chrono::milliseconds patience);
    void Report(const ChannelReport &report);
    // The host has closed its end.
    bool HasEnded();

private:
    Mutex _mutex;
    UniqueFd _descriptor VX_GUARDED_BY(_mutex);
    std::string _unsent VX_GUARDED_BY(_mutex);
    uint64_t _dropped VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
