// Gives the files and folders of an export their dates, and remembers whether that failed: it fails
// for all of them, as a rule, and is reported once.
//
// Ownership: borrows the plan. Threads: any; the queries when the workers have ended.
#pragma once

#include "ExportPlan.h"
#include "Mutex.h"

#include <cstdint>

namespace vx {

class ExportDates {
public:
    using Number = ExportPlan::Number;

    struct Failures {
        int64_t count = 0;
        Number first = ExportPlan::kNone;
        int error = 0;  // the errno of that one
    };

    // isWanted: false leaves all dates alone.
    ExportDates(const ExportPlan &plan, bool isWanted) : _plan(plan), _isWanted(isWanted) {}

    bool AreWanted() const { return _isWanted; }
    // file: the open copy of the entry.
    void Give(Number number, int file);
    Failures All() const;

private:
    const ExportPlan &_plan;
    const bool _isWanted;
    mutable Mutex _mutex;
    Failures _failures VX_GUARDED_BY(_mutex);
};

}  // namespace vx
