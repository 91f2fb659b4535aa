// Whether an export must end before its plan does, and why: the user asks for it, the destination
// is full, or the volume's disk is gone. The first reason stays.
//
// Ownership: borrows the volume. Threads: any.
#pragma once

#include "ObservedVolume.h"

#include <atomic>
#include <string>

namespace vx {

class ExportStop {
public:
    enum class Reason { kNone, kSignal, kDiskFull, kDiskGone };

    explicit ExportStop(const ObservedVolume &volume) : _volume(volume) {}

    // Asked before every file and every chunk.
    bool IsDue();
    // error: an errno of the destination.
    void NoteError(int error);

    bool IsDiskGone() const { return _volume.IsGone(); }
    Reason Why() const { return _reason; }

private:
    void Set(Reason reason);

    const ObservedVolume &_volume;
    std::atomic<Reason> _reason{Reason::kNone};
};

// An errno of the destination in words.
std::string DestinationErrorText(int error);

}  // namespace vx
