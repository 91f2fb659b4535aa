#include "SignalWatch.h"

#include "EventPipe.h"
#include "ThreadChecks.h"

#include <atomic>

namespace {

std::atomic<vx::EventPipe *> g_events{nullptr};

void PostSignal(int signal)
{
    if (vx::EventPipe *events = g_events)
        events->Post(signal);
}

}  // namespace

namespace vx {

SignalWatch::SignalWatch(EventPipe &events)
{
    AssertMainThread();
    g_events = &events;
    for (int signal : {SIGINT, SIGQUIT, SIGTERM, SIGHUP, SIGCHLD})
        Handle(signal, PostSignal);
    Handle(SIGPIPE, SIG_IGN);
}

SignalWatch::~SignalWatch()
{
    AssertMainThread();
    for (const auto &entry : _former)
        sigaction(entry.first, &entry.second, nullptr);
    g_events = nullptr;
}

void SignalWatch::Handle(int signal, void (*handler)(int))
{
    struct sigaction former;
    sigaction(signal, nullptr, &former);
    // An ignored SIGCHLD would also take the child's status away.
    if (former.sa_handler == SIG_IGN && signal != SIGCHLD)
        return;
    struct sigaction action = {};
    action.sa_handler = handler;
    sigemptyset(&action.sa_mask);
    action.sa_flags = SA_RESTART;
    sigaction(signal, &action, nullptr);
    _former[signal] = former;
}

}  // namespace vx
