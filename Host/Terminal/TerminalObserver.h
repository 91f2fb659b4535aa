// What volume-host prints while a session runs and when it has ended: the explorer's end on
// standard output, what went wrong on standard error, in one line each.
//
// Threads: that of the session.
#pragma once

#include "HostObserver.h"
#include "OpeningProgress.h"

#include <optional>
#include <string>

namespace vx {

class TerminalObserver : public HostObserver {
public:
    void OnProgress(const ChannelProgress &progress) override;
    bool OnTried(const TrialResult &result) override;
    void OnStarted() override { _hasStarted = true; }
    void OnNotSent() override;
    void OnOpened(const TrialResult &result) override;
    void OnDamage(const ChannelDamage &damage) override;
    void OnReportsLost(uint64_t count) override;
    void OnNotice() override;

    // Returns the exit status. Damage, or a volume that stayed shut, is the status of a session
    // that ended well otherwise.
    int ReportEnd(const SessionEnd &end);

private:
    void TakeResult(const TrialResult &result);
    int ReportEndOfKind(const SessionEnd &end);
    int StatusOfVolume() const;

    std::optional<OpeningProgress> _progress;
    bool _hasStarted = false;
    bool _isShut = false;
    bool _isDamaged = false;
};

}  // namespace vx
