#include "StopSignal.h"

namespace vx {

void StopSignal::Raise()
{
    {
        const std::lock_guard<std::mutex> guard(_mutex);
        _raised = true;
    }
    _changed.notify_all();
}

bool StopSignal::IsRaised() const
{
    const std::lock_guard<std::mutex> guard(_mutex);
    return _raised;
}

bool StopSignal::WaitFor(PollInterval interval) const
{
    std::unique_lock<std::mutex> guard(_mutex);
    return _changed.wait_for(guard, interval, [this] { return _raised; });
}

}  // namespace vx
