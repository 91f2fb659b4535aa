#include "SessionsOnThreads.h"

#include "BackgroundWork.h"
#include "ThreadChecks.h"

namespace vx {

// On the session's thread.
class SessionsOnThreads::Observer : public HostObserver {
public:
    explicit Observer(SessionListener *listener) : _listener(listener) {}

    void OnProgress(const ChannelProgress &progress) override
    {
        CallOnMain([to = _listener, progress] { to->OnProgress(progress); });
    }
    // What could not be tried may open in the explorer nevertheless.
    bool OnTried(const TrialResult &result) override
    {
        CallOnMain([to = _listener, result] { to->OnTried(result); });
        return result.opened || !result.wasTried;
    }
    void OnStarted() override
    {
        CallOnMain([to = _listener] { to->OnStarted(); });
    }
    void OnOpened(const TrialResult &result) override
    {
        CallOnMain([to = _listener, result] { to->OnOpened(result); });
    }
    void OnDamage(const ChannelDamage &damage) override
    {
        CallOnMain([to = _listener, damage] { to->OnDamage(damage); });
    }
    void OnReportsLost(uint64_t count) override
    {
        CallOnMain([to = _listener, count] { to->OnReportsLost(count); });
    }

private:
    SessionListener *const _listener;
};

SessionsOnThreads::SessionsOnThreads(HostPrograms programs) : _programs(std::move(programs)) {}

SessionsOnThreads::~SessionsOnThreads() = default;

void SessionsOnThreads::Start(const std::string &volume, const std::string &kind,
                              TypedSecret *secret, SessionListener *listener)
{
    AssertMainThread();
    // The one before has reported its end.
    _thread.reset();
    _observer = std::make_unique<Observer>(listener);
    auto request = std::make_unique<HostRequest>();
    request->programs = _programs;
    request->volume = volume;
    request->kind = kind;
    for (const char *byte = secret->Text(); *byte != '\0'; ++byte)
        request->secret.Append(*byte);
    secret->Wipe();
    _thread = std::make_unique<SessionThread>(
        std::move(request), *_observer, [listener](const SessionEnd &end) {
            CallOnMain([listener, end] { listener->OnEnded(end); });
        });
}

void SessionsOnThreads::Cancel()
{
    AssertMainThread();
    if (_thread != nullptr)
        _thread->Cancel();
}

}  // namespace vx
