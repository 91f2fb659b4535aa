#include "AttachedDisks.h"
#include "DiskEvents.h"
#include "SystemFolders.h"
#include "UniqueFd.h"

#include <fcntl.h>
#include <system_error>
#include <thread>

namespace vx {

class AttachedDisksWatch::Thread {
public:
    explicit Thread(std::function<void()> changed)
        : _changed(std::move(changed)), _events(DiskEvents::In(CurrentSystemFolders()))
    {
        int ends[2];
        if (pipe2(ends, O_CLOEXEC) != 0)
            return;
        _stop = UniqueFd(ends[0]);
        _stopEnd = UniqueFd(ends[1]);
        try {
            _thread = std::thread([this] { Run(); });
        } catch (const std::system_error &) {  // no thread is available
        }
    }
    ~Thread()
    {
        _stopEnd.Close();
        if (_thread.joinable())
            _thread.join();
    }
    Thread(const Thread &) = delete;
    Thread &operator=(const Thread &) = delete;

private:
    void Run()
    {
        while (_events->Await(_stop.Get()))
            _changed();
    }

    const std::function<void()> _changed;
    const std::unique_ptr<DiskEvents> _events;
    UniqueFd _stop;  // readable once the other end is closed
    UniqueFd _stopEnd;
    std::thread _thread;
};

AttachedDisksWatch::AttachedDisksWatch(std::function<void()> changed)
    : _thread(std::make_unique<Thread>(std::move(changed)))
{
}

AttachedDisksWatch::~AttachedDisksWatch() = default;

}  // namespace vx
