// What a host shows its user while a session runs. volume-host prints it, the unlock window shows
// it.
//
// Threads: all functions are called on the thread that runs the session, in the order below; the
// observer passes them on. Texts are UTF-8, for people, one line each and escaped (TerminalText.h);
// those of a ChannelDamage are the disk's own and are not.
#pragma once

#include "ChannelMessages.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vx {

// How the trial of a volume ended, before the explorer is started.
struct TrialResult {
    bool opened = false;
    int32_t status = 0;                 // a VolumeLibraryStatus; 0 too if there was no answer
    std::string reason;                 // why it stays shut; empty if it opened
    std::vector<std::string> warnings;  // damage that was noticed
    bool wasTried = true;  // false: it could not be, and the explorer may open it nevertheless
};

enum class SessionEndKind {
    kQuit,         // the explorer sent its quit notice and ended
    kNoNotice,     // it ended without one
    kRefused,      // the volume did not open and the observer did not want the explorer then
    kLinkTaken,    // another host runs, or the link's paths are in the way
    kNotStarted,   // the explorer could not be started
    kEndedByHost,  // it sent its notice, did not end, and was ended
    kInterrupted,  // by a signal or a cancellation; the explorer was ended or never started
};

struct SessionEnd {
    SessionEndKind kind = SessionEndKind::kQuit;
    int signal = 0;      // of kInterrupted; 0 if the session was cancelled
    std::string text;    // how the explorer ended, "exit status 3", or the error
    bool isSent = true;  // false: the message for the explorer could not be sent
    // Of kLinkTaken. isHeld: another host runs; otherwise a path is in the way.
    bool isHeld = false;
    std::string owner = {};  // the other user whose host or file it is; empty if none is known
};

class HostObserver {
public:
    virtual ~HostObserver() = default;

    virtual void OnProgress(const ChannelProgress &progress) = 0;
    // Whether the explorer shall be started. Without an answer of the volume library (a crash, none
    // beside the explorer) opened is false and status 0.
    virtual bool OnTried(const TrialResult &result) = 0;
    virtual void OnStarted() = 0;
    // The message for the explorer could not be sent.
    virtual void OnNotSent() {}
    // How the explorer's own opening of the volume ended, if the volume was not tried, the trial
    // ended differently or had other warnings; with the warnings that the trial did not have.
    virtual void OnOpened(const TrialResult &result) { (void)result; }
    // What the volume did not give while the explorer ran.
    virtual void OnDamage(const ChannelDamage &damage) = 0;
    // So many were; 0: nobody knows how many.
    virtual void OnReportsLost(uint64_t count) = 0;
    // The explorer's quit notice has come; it is about to end.
    virtual void OnNotice() {}
};

}  // namespace vx
