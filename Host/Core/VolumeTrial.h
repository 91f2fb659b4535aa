// Opens a volume on trial, before the explorer does. The explorer does not report why it cannot
// show a volume: its window stays empty. So the library that it will load is tried first, in a
// process of its own, which ends with all of its memory and keys, and whose crash on a damaged
// volume does not end the host. It also ends if the host does, however that happens.
//
// Ownership: borrows all that it is made with. Threads: that of the session.
#pragma once

#include "HostObserver.h"
#include "HostRequest.h"
#include "ProtectedBytes.h"

#include <string>

namespace vx {

class EventPipe;
class SessionEvents;
class SpawnedProcess;

class VolumeTrial {
public:
    VolumeTrial(EventPipe &pipe, SessionEvents &events, HostObserver &observer)
        : _pipe(pipe), _events(events), _observer(observer)
    {
    }

    // Returns when the trial is over, or has been ended after an interruption; that takes less
    // than a second. An explorer outside of a bundle is not tried for.
    void Run(const HostRequest &request);

    // Of a trial that was not interrupted.
    const TrialResult &Result() const { return _result; }
    // The master key as a text of the kind "vmk"; empty if there is none.
    const ProtectedBytes &KeyDigits() const { return _keyDigits; }
    void WipeKey() { _keyDigits.Wipe(); }
    // Whether the library gets what it opens from the explorer's arguments alone; known even if the
    // volume could not be tried.
    bool TakesTexts() const { return _takesTexts; }

private:
    void Open(const HostRequest &request, const std::string &library);
    void Await(SpawnedProcess &process);
    void Take(const ChannelReport &report, const std::string &volume);
    void NotTried(const std::string &reason);

    EventPipe &_pipe;
    SessionEvents &_events;
    HostObserver &_observer;
    TrialResult _result;
    bool _hasAnswer = false;
    ProtectedBytes _keyDigits;
    bool _takesTexts = false;
};

// What the library reported of an opening, in words, escaped: its process reads hostile disks.
TrialResult ResultOf(const ChannelOpened &opened, const std::string &volume);

}  // namespace vx
