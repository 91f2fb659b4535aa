#include "SessionThread.h"

#include "HostSession.h"

#include <system_error>

namespace vx {

SessionThread::SessionThread(std::unique_ptr<HostRequest> request, HostObserver &observer,
                             Ended ended, const LinkPaths &paths)
    : _request(std::move(request)), _ended(std::move(ended))
{
    if (!_events.Error().empty()) {
        _request->secret.Wipe();
        _ended({SessionEndKind::kNotStarted, 0, _events.Error()});
        return;
    }
    try {
        _thread = std::thread([this, &observer, paths] { Run(observer, paths); });
    } catch (const std::system_error &error) {
        _request->secret.Wipe();
        _ended({SessionEndKind::kNotStarted, 0, std::string("no thread is left: ") + error.what()});
    }
}

SessionThread::~SessionThread()
{
    if (!_thread.joinable())
        return;
    Cancel();
    _thread.join();
}

void SessionThread::Cancel()
{
    _events.Post(EventPipe::kCancel);
}

void SessionThread::Run(HostObserver &observer, const LinkPaths &paths)
{
    _ended(HostSession(_events, observer, paths).Run(_request.get()));
}

}  // namespace vx
