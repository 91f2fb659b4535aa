// What a session waits for: the events of its pipe and the reports of a channel. Remembers which
// interruption and whether the quit notice has come.
//
// Ownership: borrows the pipe and the channel. Threads: the one that first awaits.
#pragma once

#include "EventPipe.h"
#include "HostChannel.h"

#include <functional>
#include <optional>

namespace vx {

class SessionEvents {
public:
    using Condition = std::function<bool()>;
    using ReportFunction = std::function<void(const ChannelReport &)>;

    explicit SessionEvents(EventPipe &pipe) : _pipe(pipe) {}

    // From now on passes on the reports of this channel; null: of none.
    void Listen(HostChannel *channel, ReportFunction report);
    // Returns whether the condition holds; false only once the deadline has passed.
    bool Await(const Condition &condition, std::optional<Deadline> deadline);
    // Takes the events that are there.
    void Look();
    // Passes on the reports that have arrived, of a child that sends no more.
    void TakeLastReports();

    bool HasNotice() const { return _hasNotice; }
    bool IsInterrupted() const { return _interruption.has_value(); }
    // The signal's number; 0 for a cancellation.
    int Interruption() const { return _interruption.value_or(0); }
    void ForgetInterruption() { _interruption.reset(); }

private:
    bool TakeReport();
    void Take(int event);

    EventPipe &_pipe;
    HostChannel *_channel = nullptr;
    ReportFunction _report;
    bool _hasNotice = false;
    std::optional<int> _interruption;
};

}  // namespace vx
