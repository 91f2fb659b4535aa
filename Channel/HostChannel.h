// The host's end of the channel.
//
// Ownership: owns both descriptors until the child has its own. Both are close-on-exec; the one for
// the child is made inheritable by the spawn alone.
// Threads: one at a time. Errors: Error is one line without a line end.
#pragma once

#include "ChannelMessages.h"
#include "UniqueFd.h"

#include <optional>
#include <string>

namespace vx {

class HostChannel {
public:
    // Makes the pair and writes the opening into it, which never blocks: the child finds it there.
    // No copy of the secret stays in this process. False: Error says why.
    bool Prepare(const ChannelOpening &opening);

    // For the spawn, and for poll().
    int ChildDescriptor() const { return _child.Get(); }
    int Descriptor() const { return _own.Get(); }
    // Once the child has started.
    void CloseChildDescriptor() { _child.Close(); }

    // Never blocks. Nothing if no whole report has arrived; then HasEnded says whether one can
    // still come.
    std::optional<ChannelReport> Read();
    bool HasEnded() const { return _hasEnded; }

    const std::string &Error() const { return _error; }

private:
    UniqueFd _own;
    UniqueFd _child;
    std::string _received;
    bool _hasEnded = false;
    std::string _error;
};

}  // namespace vx
