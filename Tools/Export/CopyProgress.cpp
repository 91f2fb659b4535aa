#include "CopyProgress.h"

#include "ExportProgress.h"
#include "PlanText.h"

namespace vx {

void CopyProgress::Show(ExportPlan::Number number, int64_t bytes)
{
    const auto now = Clock::now();
    const MutexLock lock(_mutex);
    _done = AddSizes(_done, bytes);
    // Making a path costs more than a line that is not due.
    if (_line.IsDue(now))
        _line.Show(_done, ShownPathOf(_plan, number), now);
}

}  // namespace vx
