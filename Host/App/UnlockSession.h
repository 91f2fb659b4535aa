// One session after another, for a window: runs it, collects what could not be read, and passes its
// events on.
//
// Ownership: borrows runner and delegate. Threads: main thread only.
#pragma once

#include "DamageList.h"
#include "HostServices.h"

#import <Foundation/Foundation.h>

namespace vx {
class UnlockSession;
}

@protocol UnlockSessionDelegate
- (void)sessionHasProgress:(const vx::ChannelProgress &)progress;
// It stays shut; the session is about to end.
- (void)sessionWasRefused:(const vx::TrialResult &)result;
- (void)sessionHasOpened;
- (void)sessionHasStarted;
- (void)sessionHasEnded:(const vx::SessionEnd &)end;
@end

namespace vx {

class UnlockSession : public SessionListener {
public:
    UnlockSession(SessionRunner *runner, id<UnlockSessionDelegate> delegate)
        : _runner(runner), _delegate(delegate)
    {
    }

    // One at a time.
    void Start(const std::string &volume, const std::string &kind, TypedSecret *secret);
    void Cancel();

    bool IsRunning() const { return _isRunning; }
    // Of the last session.
    const std::string &Volume() const { return _volume; }
    const DamageList &Damage() const { return _damage; }
    // Empty if the volume was tried.
    const std::string &WhyNotTried() const { return _whyNotTried; }

    void OnProgress(const ChannelProgress &progress) override;
    void OnTried(const TrialResult &result) override;
    void OnStarted() override;
    void OnOpened(const TrialResult &result) override;
    void OnDamage(const ChannelDamage &damage) override;
    void OnReportsLost(uint64_t count) override;
    void OnEnded(const SessionEnd &end) override;

private:
    SessionRunner *const _runner;
    id<UnlockSessionDelegate> const _delegate;
    bool _isRunning = false;
    std::string _volume;
    std::string _whyNotTried;
    DamageList _damage;
};

}  // namespace vx
