// One run of the explorer, seen from the host: sets the link up, tries the volume, starts the
// explorer with what the trial has found, waits for its end, and removes everything.
//
// The secret reaches the explorer over a channel, never in its arguments; if the trial derived the
// key of the volume, the explorer gets that, and nothing is derived twice. Only a volume library
// that knows no channel gets the secret in the arguments.
//
// Ownership: borrows the events, which a SignalWatch or another thread fills, and the observer.
// Threads: the one that made it. It needs no handler of SIGCHLD; that must not be ignored.
#pragma once

#include "FifoPair.h"
#include "HostObserver.h"
#include "HostRequest.h"
#include "QuitNoticeSink.h"
#include "SessionEvents.h"
#include "SpawnedProcess.h"
#include "libPipeWrapper.h"

#include <memory>

namespace vx {

class VolumeTrial;

class HostSession {
public:
    // paths: the FIFOs as the host uses them; those of the product if they are not given.
    HostSession(EventPipe &events, HostObserver &observer, const LinkPaths &paths = {});

    // Once. Returns when the explorer has ended, or will not be started. The secret of the request
    // is overwritten before the observer hears that the explorer has started.
    SessionEnd Run(HostRequest *request);

private:
    SessionEnd RunLocked(HostRequest *request);
    SessionEnd RunExplorer(HostRequest *request, VolumeTrial *trial);
    std::string Start(const HostRequest &request, const VolumeTrial &trial, HostChannel *channel);
    void Take(const ChannelReport &report, const TrialResult &tried, const std::string &volume);
    bool Send(uint32_t code);
    SessionEnd AwaitEnd();
    SessionEnd FinishAfterNotice();
    SessionEnd FinishInterrupted();
    void EndExplorer();

    EventPipe &_pipe;
    HostObserver &_observer;
    const LinkPaths _paths;
    SessionEvents _events;
    QuitNoticeSink _sink;
    std::unique_ptr<ILibPipeServer> _server;
    SpawnedProcess _explorer;
};

}  // namespace vx
