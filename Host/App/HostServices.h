// What the window needs of the system, behind interfaces, so that tests can stand in.
//
// Threads: main thread unless a function says otherwise. Units: bytes. Texts are UTF-8.
#pragma once

#include "AttachedDisks.h"
#include "HostObserver.h"
#include "TypedSecret.h"
#include "VolumeFacts.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace vx {

// What a session reports to its window; on the main thread, in the order of HostObserver.
class SessionListener {
public:
    virtual ~SessionListener() = default;

    virtual void OnProgress(const ChannelProgress &progress) = 0;
    // The explorer is started only if it has opened, or could not be tried.
    virtual void OnTried(const TrialResult &result) = 0;
    virtual void OnStarted() = 0;
    virtual void OnOpened(const TrialResult &result) = 0;
    virtual void OnDamage(const ChannelDamage &damage) = 0;
    virtual void OnReportsLost(uint64_t count) = 0;
    // Last, and always once for each session.
    virtual void OnEnded(const SessionEnd &end) = 0;
};

class SessionRunner {
public:
    virtual ~SessionRunner() = default;

    // One session at a time. The secret is copied and wiped. Without a thread OnEnded says so.
    virtual void Start(const std::string &volume, const std::string &kind, TypedSecret *secret,
                       SessionListener *listener) = 0;
    // Ends the trial or the explorer soon; OnEnded still comes.
    virtual void Cancel() = 0;
};

class DiskListing {
public:
    virtual ~DiskListing() = default;

    // Any thread.
    virtual std::vector<AttachedVolume> List() = 0;
    // changed: any thread. Replaces an earlier one; null ends the watch.
    virtual void Watch(std::function<void()> changed) = 0;
};

class FactsReading {
public:
    virtual ~FactsReading() = default;

    // Any thread.
    virtual DiskFacts Read(const std::string &volume, const std::atomic<bool> &cancel) = 0;
};

struct RightAnswer {
    bool isGranted = false;
    bool canBeAsked = true;  // false: nothing on this system that could give it
    std::string text;        // why it was not granted
};

// The right to read a disk, which the desktop may give, or an image.
class RightAsking {
public:
    virtual ~RightAsking() = default;

    // Whether the desktop can be asked: on some systems, and for a disk.
    virtual bool CanAsk(const std::string &path) = 0;
    // What a user types into a terminal instead; empty if there is no such command.
    virtual std::string Command(const std::string &path) = 0;
    // Any thread; takes as long as the user.
    virtual RightAnswer Ask(const std::string &device, const std::atomic<bool> &cancel) = 0;
};

struct HostServices {
    std::unique_ptr<DiskListing> disks;
    std::unique_ptr<FactsReading> facts;
    std::unique_ptr<SessionRunner> sessions;
    std::unique_ptr<RightAsking> rights;
};

}  // namespace vx
