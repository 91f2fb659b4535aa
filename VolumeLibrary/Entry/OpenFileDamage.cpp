#include "OpenFileDamage.h"

#include <utility>

namespace vx {

void OpenFileDamage::Note(const void *file, ChannelDamage damage)
{
    const MutexLock lock(_mutex);
    _known[file] = std::move(damage);
}

void OpenFileDamage::Forget(const void *file) noexcept
{
    const MutexLock lock(_mutex);
    _known.erase(file);
}

void OpenFileDamage::ReportTo(ChildChannel &channel) noexcept
{
    std::map<const void *, ChannelDamage> known;
    {
        const MutexLock lock(_mutex);
        known.swap(_known);
    }
    while (!known.empty()) {
        const ChannelReport report(std::move(known.begin()->second));
        known.erase(known.begin());
        channel.Report(report);
    }
}

}  // namespace vx
