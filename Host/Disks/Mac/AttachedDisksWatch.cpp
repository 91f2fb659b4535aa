// Disk Arbitration calls back on a serial queue, once for each disk; what comes closely together is
// one change.
//
// Source: Apple, "Disk Arbitration Programming Guide" and the documentation of DASession.
#include "AttachedDisks.h"
#include "CfOwner.h"

#include <DiskArbitration/DiskArbitration.h>
#include <dispatch/dispatch.h>

namespace vx {
namespace {

constexpr int64_t kQuietNanoseconds = 200 * 1000 * 1000;

// Used on the queue only. A call that was planned before the end keeps it alive.
struct Announcements {
    std::function<void()> changed;
    dispatch_queue_t queue = dispatch_queue_create("attached-disks", nullptr);
    bool isPlanned = false;
    bool isEnded = false;

    ~Announcements() { dispatch_release(queue); }
};

using Shared = std::shared_ptr<Announcements>;

void Announce(void *context)
{
    const std::unique_ptr<Shared> planned(static_cast<Shared *>(context));
    Announcements &announcements = **planned;
    announcements.isPlanned = false;
    if (!announcements.isEnded)
        announcements.changed();
}

void PlanAnnouncement(const Shared &announcements)
{
    if (announcements->isPlanned || announcements->isEnded)
        return;
    announcements->isPlanned = true;
    dispatch_after_f(dispatch_time(DISPATCH_TIME_NOW, kQuietNanoseconds), announcements->queue,
                     new Shared(announcements), Announce);
}

void CameOrWent(DADiskRef, void *context)
{
    PlanAnnouncement(*static_cast<Shared *>(context));
}

void Changed(DADiskRef, CFArrayRef, void *context)
{
    PlanAnnouncement(*static_cast<Shared *>(context));
}

void End(void *context)
{
    (*static_cast<Shared *>(context))->isEnded = true;
}

}  // namespace

class AttachedDisksWatch::Thread {
public:
    explicit Thread(std::function<void()> changed)
        : _announcements(std::make_shared<Announcements>()),
          _session(DASessionCreate(kCFAllocatorDefault))
    {
        _announcements->changed = std::move(changed);
        if (!_session)
            return;
        DARegisterDiskAppearedCallback(_session.Get(), nullptr, CameOrWent, &_announcements);
        DARegisterDiskDisappearedCallback(_session.Get(), nullptr, CameOrWent, &_announcements);
        DARegisterDiskDescriptionChangedCallback(_session.Get(), nullptr, nullptr, Changed,
                                                 &_announcements);
        DASessionSetDispatchQueue(_session.Get(), _announcements->queue);
    }
    // The queue does one thing after the other, so nothing is under way after it.
    ~Thread()
    {
        if (_session)
            DASessionSetDispatchQueue(_session.Get(), nullptr);
        dispatch_sync_f(_announcements->queue, &_announcements, End);
    }
    Thread(const Thread &) = delete;
    Thread &operator=(const Thread &) = delete;

private:
    Shared _announcements;
    const CfOwner<DASessionRef> _session;
};

AttachedDisksWatch::AttachedDisksWatch(std::function<void()> changed)
    : _thread(std::make_unique<Thread>(std::move(changed)))
{
}

AttachedDisksWatch::~AttachedDisksWatch() = default;

}  // namespace vx
