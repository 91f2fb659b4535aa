// Deals the files of a plan out to the workers, in the plan's order: small ones several at a time,
// so that neighbours stay together, a large one alone, so that a disk is read in one place. While
// a large file is copied nothing else is.
//
// Ownership: borrows the plan. Threads: any.
#pragma once

#include "ExportPlan.h"
#include "Mutex.h"

#include <vector>

namespace vx {

class CopyCursor {
public:
    using Number = ExportPlan::Number;

    // Files above this many bytes are large.
    static constexpr int64_t kLarge = int64_t{4} << 20;
    static constexpr size_t kMostTogether = 16;

    explicit CopyCursor(const ExportPlan &plan) : _plan(plan) {}

    // Waits until there is something to copy. False: there is nothing more. After the files are
    // copied, GiveBack is called.
    bool Take(std::vector<Number> *files);
    void GiveBack();
    // Nothing more is dealt out.
    void End();

private:
    void SkipFolders() VX_REQUIRES(_mutex);
    int64_t SizeOf(Number number) const;

    const ExportPlan &_plan;
    Mutex _mutex;
    Condition _changed;
    Number _next VX_GUARDED_BY(_mutex) = ExportPlan::kRoot;
    size_t _taken VX_GUARDED_BY(_mutex) = 0;
    bool _hasLarge VX_GUARDED_BY(_mutex) = false;
};

}  // namespace vx
