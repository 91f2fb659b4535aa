// Remembers what a session reports, in its order.
#pragma once

#include "HostObserver.h"

#include <functional>
#include <string>
#include <vector>

class RecordingObserver : public vx::HostObserver {
public:
    void OnProgress(const vx::ChannelProgress &progress) override
    {
        Add("progress " + std::to_string(progress.done) + " of " + std::to_string(progress.total));
    }
    bool OnTried(const vx::TrialResult &result) override
    {
        Add(result.opened ? "opened" : "shut: " + result.reason);
        return wantsExplorer;
    }
    void OnStarted() override
    {
        Add("started");
        if (onStarted)
            onStarted();
    }
    void OnNotSent() override { Add("not sent"); }
    void OnOpened(const vx::TrialResult &result) override
    {
        Add(result.opened ? "explorer opened" : "explorer did not open: " + result.reason);
        for (const std::string &warning : result.warnings)
            Add("warning " + warning);
    }
    void OnDamage(const vx::ChannelDamage &damage) override { Add("damage " + damage.path); }
    void OnReportsLost(uint64_t count) override { Add("lost " + std::to_string(count)); }
    void OnNotice() override { Add("notice"); }

    void Add(const std::string &line) { lines.push_back(line); }

    std::vector<std::string> lines;
    bool wantsExplorer = true;
    std::function<void()> onStarted;
};
