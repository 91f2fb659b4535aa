// The library's end of the channel, in the child process.
//
// A host that does not read, or is gone, never blocks the child: what does not fit is kept up to a
// bound, then dropped and counted.
// Ownership: owns the descriptor, which is close-on-exec from the constructor on.
// Threads: any; reports of several threads do not mix. ReadOpening may throw std::bad_alloc.
#pragma once

#include "ChannelMessages.h"
#include "Mutex.h"
#include "UniqueFd.h"

#include <chrono>
#include <optional>
#include <string>

namespace vx {

class ChildChannel {
public:
    // What waits for a host that does not read.
    static constexpr size_t kMostUnsentBytes = size_t{1} << 20;

    // The texts of an opening, in memory that is kept out of the swap space and overwritten.
    class Opening;

    // The inherited descriptor that this number names; none if it is no plain decimal number, or
    // not that of a connected stream socket. One that is close-on-exec was not inherited, or was
    // taken before.
    static UniqueFd Inherited(const char *number);

    explicit ChildChannel(UniqueFd descriptor);

    // Waits no longer than patience. False: what arrived is no opening, or nothing did.
    bool ReadOpening(Opening *opening, std::chrono::milliseconds patience);
    // Progress that does not fit is forgotten, since more will come.
    void Report(const ChannelReport &report) noexcept;
    // Tries again to send what is kept. True if nothing is left.
    bool SendKept() noexcept;
    // The same, and waits for the host no longer than patience: before the process ends.
    bool SendKept(std::chrono::milliseconds patience) noexcept;
    // The process ends: the last message, unless some report could not be sent. Does not wait.
    void SayFarewell() noexcept;
    // The host has closed its end. Descriptor: for poll(); it becomes readable then.
    bool HasEnded();
    int Descriptor() const { return _descriptor.Get(); }

private:
    bool Receive(uint8_t *place, size_t size, std::chrono::steady_clock::time_point deadline);
    bool Skip(size_t size, std::chrono::steady_clock::time_point deadline);
    void Keep(const ChannelReport &report) VX_REQUIRES(_mutex);
    void KeepKey(const ChannelMasterKey &report) VX_REQUIRES(_mutex);
    bool Send() VX_REQUIRES(_mutex);
    bool SendReports() VX_REQUIRES(_mutex);
    bool SendKey() VX_REQUIRES(_mutex);
    bool SendFrom(const char *bytes, size_t size, size_t *sent) VX_REQUIRES(_mutex);
    void KeepLoss() VX_REQUIRES(_mutex);

    const UniqueFd _descriptor;
    Mutex _mutex;
    std::string _unsent VX_GUARDED_BY(_mutex);
    size_t _sent VX_GUARDED_BY(_mutex) = 0;  // of _unsent
    ProtectedBytes _key VX_GUARDED_BY(_mutex);
    size_t _sentOfKey VX_GUARDED_BY(_mutex) = 0;
    uint64_t _dropped VX_GUARDED_BY(_mutex) = 0;
    bool _isBroken VX_GUARDED_BY(_mutex) = false;  // nothing can be sent any more
};

class ChildChannel::Opening {
public:
    // Valid as long as this.
    const ChannelOpening &Texts() const { return _texts; }

private:
    friend class ChildChannel;
    bool Parse(ProtectedBytes body, size_t size);

    ProtectedBytes _body;
    ChannelOpening _texts;
};

}  // namespace vx
