#include "Arrivals.h"

namespace vx {
namespace {

constexpr unsigned kStateBits = 3;
constexpr uint8_t kStateMask = (1u << kStateBits) - 1;

}  // namespace

void Arrivals::Set(ExportPlan::Number number, const Arrival &arrival)
{
    _states[number] = static_cast<uint8_t>(static_cast<unsigned>(arrival.obstacle) << kStateBits |
                                           static_cast<unsigned>(arrival.state));
    const bool isPlain =
        arrival.reason.empty() && arrival.copy.empty() && arrival.size == _plan.At(number).size;
    if (isPlain)
        return;
    const MutexLock lock(_mutex);
    _details[number] = {arrival.size, arrival.kind, arrival.reason, arrival.copy, arrival.unread};
}

Arrival::State Arrivals::StateOf(ExportPlan::Number number) const
{
    return static_cast<Arrival::State>(_states[number] & kStateMask);
}

Arrival Arrivals::At(ExportPlan::Number number) const
{
    Arrival arrival;
    arrival.state = StateOf(number);
    arrival.obstacle = static_cast<VolumeObstacle>(_states[number] >> kStateBits);
    arrival.size = _plan.At(number).size;
    const MutexLock lock(_mutex);
    const auto detail = _details.find(number);
    if (detail == _details.end())
        return arrival;
    arrival.size = detail->second.size;
    arrival.kind = detail->second.kind;
    arrival.reason = detail->second.reason;
    arrival.copy = detail->second.copy;
    arrival.unread = detail->second.unread;
    return arrival;
}

}  // namespace vx
