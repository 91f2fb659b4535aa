#include "StopSignal.h"

namespace vx {

void StopSignal::Raise()
{
    {
        const MutexLock guard(_mutex);
        _raised = true;
    }
    _changed.NotifyAll();
}

bool StopSignal::IsRaised() const
{
    const MutexLock guard(_mutex);
    return _raised;
}

bool StopSignal::WaitFor(PollInterval interval) const
{
    const auto deadline = std::chrono::steady_clock::now() + interval;
    const MutexLock guard(_mutex);
    while (!_raised && _changed.WaitUntil(_mutex, deadline)) {
    }
    return _raised;
}

}  // namespace vx
