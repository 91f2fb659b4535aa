// What is known of the damage of files that are still open, so that it can be reported even if the
// process ends before they are closed.
//
// It is a copy: nobody has to wait for a file that is being read. Threads: any. Errors: Note may
// throw std::bad_alloc.
#pragma once

#include "ChildChannel.h"
#include "Mutex.h"

#include <map>

namespace vx {

class OpenFileDamage {
public:
    // All that is known of this file now.
    void Note(const void *file, ChannelDamage damage);
    void Forget(const void *file) noexcept;
    // Reports what is known, once.
    void ReportTo(ChildChannel &channel) noexcept;

private:
    Mutex _mutex;
    std::map<const void *, ChannelDamage> _known VX_GUARDED_BY(_mutex);
};

}  // namespace vx
