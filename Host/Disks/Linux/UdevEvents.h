// What libudev reports of block devices: udev's own events, which come when its database is up to
// date, and the kernel's, which come where no udev runs too.
//
// A disk that is attached causes a run of events; they are one as long as they follow each other
// closely, and for a second at most.
// Source: udev_monitor_new_from_netlink(3).
#pragma once

#include "DiskEvents.h"

#include <libudev.h>

namespace vx {

class UdevEvents : public DiskEvents {
public:
    UdevEvents();

    bool Await(int stop) override;

private:
    template <auto Release>
    struct Releasing {
        template <typename Object>
        void operator()(Object *object) const
        {
            Release(object);
        }
    };
    using Monitor = std::unique_ptr<udev_monitor, Releasing<udev_monitor_unref>>;

    enum class Awaited { kStop, kEvent, kNothing };

    Monitor MakeMonitor(const char *source) const;
    // milliseconds: negative for no limit.
    Awaited AwaitOne(int stop, int milliseconds) const;

    std::unique_ptr<udev, Releasing<udev_unref>> _udev;
    Monitor _fromUdev;
    Monitor _fromKernel;
};

}  // namespace vx
