#include "UdevEvents.h"

#include <chrono>
#include <iterator>
#include <poll.h>

namespace vx {
namespace {

using Clock = std::chrono::steady_clock;

constexpr int kQuietMilliseconds = 200;
constexpr std::chrono::seconds kLongestRun(1);

int DescriptorOf(udev_monitor *monitor)
{
    return monitor == nullptr ? -1 : udev_monitor_get_fd(monitor);
}

void TakeEvents(udev_monitor *monitor)
{
    while (udev_device *device = udev_monitor_receive_device(monitor))
        udev_device_unref(device);
}

}  // namespace

UdevEvents::UdevEvents()
    : _udev(udev_new()), _fromUdev(MakeMonitor("udev")), _fromKernel(MakeMonitor("kernel"))
{
}

UdevEvents::Monitor UdevEvents::MakeMonitor(const char *source) const
{
    if (!_udev)
        return nullptr;
    Monitor monitor(udev_monitor_new_from_netlink(_udev.get(), source));
    if (!monitor ||
        udev_monitor_filter_add_match_subsystem_devtype(monitor.get(), "block", nullptr) < 0 ||
        udev_monitor_enable_receiving(monitor.get()) < 0)
        return nullptr;
    return monitor;
}

UdevEvents::Awaited UdevEvents::AwaitOne(int stop, int milliseconds) const
{
    struct pollfd wanted[] = {{stop, POLLIN, 0},
                              {DescriptorOf(_fromUdev.get()), POLLIN, 0},
                              {DescriptorOf(_fromKernel.get()), POLLIN, 0}};
    if (poll(wanted, std::size(wanted), milliseconds) <= 0)
        return Awaited::kNothing;
    if (wanted[0].revents != 0)
        return Awaited::kStop;
    if (wanted[1].revents != 0)
        TakeEvents(_fromUdev.get());
    if (wanted[2].revents != 0)
        TakeEvents(_fromKernel.get());
    return Awaited::kEvent;
}

bool UdevEvents::Await(int stop)
{
    Awaited awaited = Awaited::kNothing;
    while (awaited == Awaited::kNothing)
        awaited = AwaitOne(stop, -1);
    const Clock::time_point end = Clock::now() + kLongestRun;
    while (awaited == Awaited::kEvent && Clock::now() < end)
        awaited = AwaitOne(stop, kQuietMilliseconds);
    return awaited != Awaited::kStop;
}

}  // namespace vx
