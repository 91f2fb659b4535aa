#include "SessionEvents.h"

#include <csignal>

namespace vx {

void SessionEvents::Listen(HostChannel *channel, ReportFunction report)
{
    _channel = channel;
    _report = std::move(report);
}

bool SessionEvents::Await(const Condition &condition, std::optional<Deadline> deadline)
{
    while (!condition()) {
        // A child that reports without end must not keep an event waiting.
        const bool hasReport = TakeReport();
        const int other = _channel == nullptr ? -1 : _channel->Descriptor();
        const auto event =
            hasReport ? _pipe.Await(Deadline::clock::now()) : _pipe.Await(deadline, other);
        if (event)
            Take(*event);
        else if (deadline && Deadline::clock::now() >= *deadline)
            return condition();
    }
    return true;
}

void SessionEvents::Look()
{
    while (const auto event = _pipe.Await(Deadline::clock::now()))
        Take(*event);
}

void SessionEvents::TakeLastReports()
{
    while (TakeReport()) {
    }
}

bool SessionEvents::TakeReport()
{
    const auto report = _channel == nullptr ? std::nullopt : _channel->Read();
    if (report)
        _report(*report);
    return report.has_value();
}

void SessionEvents::Take(int event)
{
    if (event == EventPipe::kQuitNotice)
        _hasNotice = true;
    else if (event == EventPipe::kCancel)
        _interruption = 0;
    else if (event != SIGCHLD)
        _interruption = event;
}

}  // namespace vx
