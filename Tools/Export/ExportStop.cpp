#include "ExportStop.h"

#include "StopRequest.h"

#include <cerrno>
#include <cstring>

namespace vx {
namespace {

bool IsFull(int error)
{
    return error == ENOSPC || error == EDQUOT;
}

}  // namespace

bool ExportStop::IsDue()
{
    if (_reason != Reason::kNone)
        return true;
    if (StopRequest::Signal() != 0)
        Set(Reason::kSignal);
    else if (_volume.IsGone())
        Set(Reason::kDiskGone);
    return _reason != Reason::kNone;
}

void ExportStop::NoteError(int error)
{
    if (IsFull(error))
        Set(Reason::kDiskFull);
}

void ExportStop::Set(Reason reason)
{
    Reason none = Reason::kNone;
    _reason.compare_exchange_strong(none, reason);
}

std::string DestinationErrorText(int error)
{
    return IsFull(error) ? "the disk is full" : strerror(error);
}

}  // namespace vx
