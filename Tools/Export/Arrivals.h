// How the files of an export ended, by their numbers in the plan: a byte for each, and more only
// for those of which there is more to say.
//
// Threads: Set on any, once for each number; At when the workers have ended.
#pragma once

#include "ExportPlan.h"
#include "ExportReport.h"
#include "Mutex.h"
#include "VolumeReports.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace vx {

struct Arrival {
    enum class State : uint8_t {
        kNotReached,    // the export ended before it
        kArrived,       // whole; the copy noticed no damage
        kAlreadyThere,  // from an earlier export
        kDamaged,       // a copy is there, and not whole
        kFailed,        // there is no copy
        kUnopened,      // the volume did not open it; the obstacle says why, if it is known
        kUnfinished,    // the export stopped inside it; there is no copy
    };

    State state = State::kNotReached;
    VolumeObstacle obstacle = VolumeObstacle::kNone;
    FailureKind kind = FailureKind::kDestination;
    int64_t size = 0;               // in bytes, of the opened file
    std::string reason;             // follows a colon; empty for kArrived and kUnopened
    std::string copy;               // its name, if that is not the planned one
    std::vector<ByteRange> unread;  // what is zero in the copy
};

class Arrivals {
public:
    explicit Arrivals(const ExportPlan &plan) : _plan(plan), _states(plan.Size()) {}

    void Set(ExportPlan::Number number, const Arrival &arrival);
    Arrival At(ExportPlan::Number number) const;
    Arrival::State StateOf(ExportPlan::Number number) const;

private:
    struct Detail {
        int64_t size;
        FailureKind kind;
        std::string reason;
        std::string copy;
        std::vector<ByteRange> unread;
    };

    const ExportPlan &_plan;
    std::vector<uint8_t> _states;  // with the obstacle in the upper bits
    mutable Mutex _mutex;
    std::unordered_map<ExportPlan::Number, Detail> _details VX_GUARDED_BY(_mutex);
};

}  // namespace vx
