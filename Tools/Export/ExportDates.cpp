#include "ExportDates.h"

#include "FileTimes.h"

namespace vx {

void ExportDates::Give(Number number, int file)
{
    const int error = _isWanted ? SetTimes(file, _plan.At(number)) : 0;
    if (error == 0)
        return;
    const MutexLock lock(_mutex);
    if (_failures.count++ == 0) {
        _failures.first = number;
        _failures.error = error;
    }
}

ExportDates::Failures ExportDates::All() const
{
    const MutexLock lock(_mutex);
    return _failures;
}

}  // namespace vx
