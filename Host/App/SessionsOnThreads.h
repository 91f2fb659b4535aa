// Runs sessions on threads of their own and hands what they report to the main thread.
//
// Ownership: owns the running session; borrows its listener, which outlives it. Threads: main
// thread.
#pragma once

#include "HostRequest.h"
#include "HostServices.h"
#include "SessionThread.h"

#include <memory>
#include <optional>

namespace vx {

class SessionsOnThreads : public SessionRunner {
public:
    explicit SessionsOnThreads(HostPrograms programs);
    ~SessionsOnThreads() override;
    SessionsOnThreads(const SessionsOnThreads &) = delete;
    SessionsOnThreads &operator=(const SessionsOnThreads &) = delete;

    void Start(const std::string &volume, const std::string &kind, TypedSecret *secret,
               SessionListener *listener) override;
    void Cancel() override;

private:
    class Observer;

    const HostPrograms _programs;
    std::unique_ptr<Observer> _observer;
    std::unique_ptr<SessionThread> _thread;  // before its observer goes
};

}  // namespace vx
