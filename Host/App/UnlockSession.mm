#include "UnlockSession.h"

#include "ThreadChecks.h"

#include <cassert>

namespace vx {

void UnlockSession::Start(const std::string &volume, const std::string &kind, TypedSecret *secret)
{
    AssertMainThread();
    assert(!_isRunning);
    _volume = volume;
    _whyNotTried.clear();
    _damage = DamageList();
    // It may already call while it starts.
    _isRunning = true;
    _runner->Start(volume, kind, secret, this);
}

void UnlockSession::Cancel()
{
    AssertMainThread();
    if (_isRunning)
        _runner->Cancel();
}

void UnlockSession::OnProgress(const ChannelProgress &progress)
{
    [_delegate sessionHasProgress:progress];
}

void UnlockSession::OnTried(const TrialResult &result)
{
    AssertMainThread();
    if (!result.opened && result.wasTried)
        return [_delegate sessionWasRefused:result];
    if (result.opened)
        [_delegate sessionHasOpened];
    _whyNotTried = result.opened ? "" : result.reason;
    _damage.AddWarnings(result.warnings);
}

void UnlockSession::OnStarted()
{
    [_delegate sessionHasStarted];
}

// The explorer shows nothing if it did not open.
void UnlockSession::OnOpened(const TrialResult &result)
{
    AssertMainThread();
    _damage.AddWarnings(result.warnings);
    if (result.opened)
        return [_delegate sessionHasOpened];
    [_delegate sessionWasRefused:result];
    Cancel();
}

void UnlockSession::OnDamage(const ChannelDamage &damage)
{
    AssertMainThread();
    _damage.Add(damage);
}

void UnlockSession::OnReportsLost(uint64_t count)
{
    AssertMainThread();
    _damage.AddLost(count);
}

void UnlockSession::OnEnded(const SessionEnd &end)
{
    AssertMainThread();
    _isRunning = false;
    [_delegate sessionHasEnded:end];
}

}  // namespace vx
