#include "CopyCursor.h"

#include <algorithm>

namespace vx {

bool CopyCursor::Take(std::vector<Number> *files)
{
    files->clear();
    const MutexLock lock(_mutex);
    SkipFolders();
    while (_next != ExportPlan::kNone && (_hasLarge || (_taken > 0 && SizeOf(_next) > kLarge)))
        _changed.Wait(_mutex);
    if (_next == ExportPlan::kNone)
        return false;
    ++_taken;
    _hasLarge = SizeOf(_next) > kLarge;
    int64_t bytes = 0;
    do {
        files->push_back(_next);
        bytes += SizeOf(_next);
        _next = _plan.Next(_next);
        SkipFolders();
    } while (_next != ExportPlan::kNone && files->size() < kMostTogether &&
             bytes + SizeOf(_next) <= kLarge);
    return true;
}

void CopyCursor::GiveBack()
{
    const MutexLock lock(_mutex);
    --_taken;
    _hasLarge = false;
    _changed.NotifyAll();
}

void CopyCursor::End()
{
    const MutexLock lock(_mutex);
    _next = ExportPlan::kNone;
    _changed.NotifyAll();
}

// Large enough is the same as large; the volume may say anything.
int64_t CopyCursor::SizeOf(Number number) const
{
    return std::clamp<int64_t>(_plan.At(number).size, 0, kLarge + 1);
}

void CopyCursor::SkipFolders()
{
    while (_next != ExportPlan::kNone && _plan.At(_next).IsFolder())
        _next = _plan.Next(_next);
}

}  // namespace vx
