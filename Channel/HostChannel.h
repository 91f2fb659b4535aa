// The host's end of the channel.
//
// Ownership: owns both descriptors until the child has its own. Both are close-on-exec; the one for
// the child is made inheritable by the spawn alone.
// Threads: one at a time. Errors: Error is one line without a line end. Read may throw
// std::bad_alloc.
#pragma once

#include "ChannelWire.h"
#include "UniqueFd.h"

#include <optional>
#include <string>

namespace vx {

class HostChannel {
public:
    // Makes the pair and writes the opening into it, which never blocks: the child finds it there.
    // No copy of the secret is made in this process. False: Error says why. To be called once.
    bool Prepare(const ChannelOpening &opening);

    // For the spawn, and for poll(). Descriptor: -1 once the channel has ended, which poll() skips.
    int ChildDescriptor() const { return _child.Get(); }
    int Descriptor() const { return _own.Get(); }
    // Once the child has started.
    void CloseChildDescriptor() { _child.Close(); }

    // Never blocks. Nothing if no whole report has arrived, or only messages that were skipped;
    // then HasEnded says whether one can still come, and poll() when.
    std::optional<ChannelReport> Read();
    bool HasEnded() const { return _hasEnded; }

    // Reports may be missing: a volume opened, and the library has not said yet that all that was
    // known is reported, or sent what is no sound message.
    bool MayLackReports() const { return (_isOpen && !_hasFarewell) || !_error.empty(); }

    // Of Prepare; and after the end, if what arrived last was not a sound message: the reports are
    // not complete then. Empty after an end in order.
    const std::string &Error() const { return _error; }

private:
    enum class Next { kNothing, kReport, kSkipped };

    Next ReadMessage(std::optional<ChannelReport> *report);
    bool Fill(uint8_t *place, size_t size, size_t *have);
    bool BeginBody();
    uint8_t *BodyPlace();
    bool IsInOrder(const ChannelReport &report);
    void End(const char *error);

    UniqueFd _own;
    UniqueFd _child;
    uint8_t _header[kChannelHeaderBytes] = {};
    size_t _haveOfHeader = 0;
    ChannelHeader _message;
    std::string _body;
    ProtectedBytes _keyBody;  // in place of _body
    size_t _haveOfBody = 0;
    bool _hasOpened = false;
    bool _isOpen = false;  // it ended well
    bool _hasKey = false;
    bool _hasFarewell = false;
    bool _hasEnded = false;
    std::string _error;
};

}  // namespace vx
