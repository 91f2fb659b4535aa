#include "StepProgress.h"

#include <algorithm>
#include <limits>

namespace vx {
namespace {

constexpr auto kBetweenReports = std::chrono::milliseconds(250);

}  // namespace

StepProgress::StepProgress(const ProgressReceiver &receiver, VolumeOpeningStep step, uint64_t total)
    : _receiver(receiver), _step(step), _total(total)
{
    if (_receiver.function != nullptr)
        _receiver.function(_receiver.context, _step, 0, _total, 0);
}

uint32_t StepProgress::WholeSeconds(Clock::duration taken, uint64_t done) const
{
    const double seconds = std::chrono::duration<double>(taken).count() *
                           static_cast<double>(_total) / static_cast<double>(done);
    const double most = std::numeric_limits<uint32_t>::max();
    return static_cast<uint32_t>(std::min(seconds + 0.5, most));
}

void StepProgress::Report(uint64_t done)
{
    const Clock::time_point now = Clock::now();
    if (_receiver.function == nullptr || done == 0 || now - _reported < kBetweenReports)
        return;
    _reported = now;
    _receiver.function(_receiver.context, _step, done, _total, WholeSeconds(now - _start, done));
}

}  // namespace vx
