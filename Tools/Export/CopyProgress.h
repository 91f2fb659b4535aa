// The progress line of an export that several workers draw. Threads: any.
#pragma once

#include "ExportPlan.h"
#include "Mutex.h"
#include "ProgressLine.h"

namespace vx {

class CopyProgress {
public:
    using Clock = ProgressLine::Clock;

    // verb: "Copying". total: in bytes.
    CopyProgress(const char *verb, const ExportPlan &plan, int64_t total, Clock::time_point start)
        : _plan(plan), _line(verb, stderr, total, start)
    {
    }

    // bytes: how many more of the file are done.
    void Show(ExportPlan::Number number, int64_t bytes);

private:
    const ExportPlan &_plan;
    Mutex _mutex;
    ProgressLine _line VX_GUARDED_BY(_mutex);
    int64_t _done VX_GUARDED_BY(_mutex) = 0;
};

}  // namespace vx
