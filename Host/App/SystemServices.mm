#include "SystemServices.h"

#include "ReadingRight.h"
#include "SessionsOnThreads.h"

namespace vx {
namespace {

class SystemDisks : public DiskListing {
public:
    std::vector<AttachedVolume> List() override { return ListAttachedVolumes(); }
    void Watch(std::function<void()> changed) override
    {
        _watch.reset();
        if (changed)
            _watch = std::make_unique<AttachedDisksWatch>(std::move(changed));
    }

private:
    std::unique_ptr<AttachedDisksWatch> _watch;
};

class InfoProgram : public FactsReading {
public:
    explicit InfoProgram(std::string path) : _path(std::move(path)) {}
    DiskFacts Read(const std::string &volume, const std::atomic<bool> &cancel) override
    {
        return ReadDiskFacts(_path, volume, cancel);
    }

private:
    const std::string _path;
};

class DesktopRights : public RightAsking {
public:
    bool CanAsk(const std::string &path) override
    {
        return CanAskForReadingRight() && IsDevice(path);
    }
    std::string Command(const std::string &path) override { return ReadingRightCommandFor(path); }
    RightAnswer Ask(const std::string &device, const std::atomic<bool> &cancel) override
    {
        const RightRequest request = AskForReadingRight(device, cancel);
        return {request.answer == RightRequest::Answer::kGranted,
                request.answer != RightRequest::Answer::kMissing, request.text};
    }
};

}  // namespace

HostServices SystemServices()
{
    return SystemServicesWith(InstalledPrograms());
}

HostServices SystemServicesWith(const HostPrograms &programs)
{
    HostServices services;
    services.disks = std::make_unique<SystemDisks>();
    services.facts = std::make_unique<InfoProgram>(programs.info);
    services.sessions = std::make_unique<SessionsOnThreads>(programs);
    services.rights = std::make_unique<DesktopRights>();
    return services;
}

}  // namespace vx
