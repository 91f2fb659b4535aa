// Disks, facts and sessions that a test decides about, in place of the system's.
//
// Threads: main thread, except for what HostServices.h says is called on any.
#pragma once

#include "HostServices.h"
#include "Mutex.h"

#include <atomic>
#include <map>
#include <string>
#include <vector>

namespace vxtest {

class StandInDisks : public vx::DiskListing {
public:
    std::vector<vx::AttachedVolume> List() override;
    void Watch(std::function<void()> changed) override;

    // As if a disk came or went.
    void Set(const std::vector<vx::AttachedVolume> &attached);
    // A list that is asked for from now on waits.
    void Hold() { _holds = true; }
    void Release() { _holds = false; }
    int Listed() const { return _listed; }

private:
    std::atomic<bool> _holds{false};
    std::atomic<int> _listed{0};
    vx::Mutex _mutex;
    std::vector<vx::AttachedVolume> _attached VX_GUARDED_BY(_mutex);
    std::function<void()> _changed;
};

class StandInFacts : public vx::FactsReading {
public:
    vx::DiskFacts Read(const std::string &volume, const std::atomic<bool> &cancel) override;

    void Set(const std::string &volume, const vx::DiskFacts &facts);
    // Every reading that begins meanwhile waits, even if it is cancelled.
    void Hold() { _holds = true; }
    bool IsHolding() const { return _isHolding; }
    void Release() { _holds = false; }

private:
    std::atomic<bool> _holds{false};
    std::atomic<bool> _isHolding{false};
    vx::Mutex _mutex;
    std::map<std::string, vx::DiskFacts> _facts VX_GUARDED_BY(_mutex);
};

// Records how it was started; the test says what happens then.
class StandInSessions : public vx::SessionRunner {
public:
    void Start(const std::string &volume, const std::string &kind, vx::TypedSecret *secret,
               vx::SessionListener *listener) override;
    void Cancel() override { ++cancelled; }

    int started = 0;
    int cancelled = 0;
    std::string volume;
    std::string kind;
    std::string secret;
    vx::SessionListener *listener = nullptr;
};

class StandInRights : public vx::RightAsking {
public:
    bool CanAsk(const std::string &path) override
    {
        return canAsk && path.compare(0, 5, "/dev/") == 0;
    }
    std::string Command(const std::string &path) override;
    vx::RightAnswer Ask(const std::string &device, const std::atomic<bool> &cancel) override;

    bool canAsk = true;
    std::function<vx::RightAnswer()> answer;  // on a thread of its own
};

// The facts of an encrypted volume, with these protectors: "password", "recovery-password",
// "external-key", "tpm".
vx::VolumeFacts EncryptedVolume(const std::string &address,
                                const std::vector<std::string> &protectors);
vx::VolumeFacts PlainVolume(const std::string &address, const std::string &label);

}  // namespace vxtest
