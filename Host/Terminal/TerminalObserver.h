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

    // Returns the exit status.
    int ReportEnd(const SessionEnd &end);

private:
    int ReportEndOfKind(const SessionEnd &end);

    std::optional<OpeningProgress> _progress;
    bool _hasStarted = false;
};

}  // namespace vx
