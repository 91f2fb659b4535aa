#include "HostOpening.h"

#include "Mutex.h"
#include "ReportingVolume.h"
#include "StatusOfError.h"
#include "UnlockKind.h"

#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace vx {
namespace {

constexpr std::chrono::seconds kPatience(10);

// What is known of open files, and what is kept for a host that was slow, goes when the process
// ends, if it can go at once.
class LastReports {
public:
    LastReports() = default;
    ~LastReports()
    {
        const MutexLock lock(_mutex);
        for (const Opened &opened : _opened) {
            opened.ofOpenFiles->ReportTo(*opened.channel);
            opened.channel->SayFarewell();
        }
    }
    LastReports(const LastReports &) = delete;
    LastReports &operator=(const LastReports &) = delete;

    void Expect(std::shared_ptr<ChildChannel> channel, std::shared_ptr<OpenFileDamage> ofOpenFiles)
    {
        const MutexLock lock(_mutex);
        _opened.push_back({std::move(channel), std::move(ofOpenFiles)});
    }

private:
    struct Opened {
        std::shared_ptr<ChildChannel> channel;
        std::shared_ptr<OpenFileDamage> ofOpenFiles;
    };

    Mutex _mutex;
    std::vector<Opened> _opened VX_GUARDED_BY(_mutex);
};

// Passes progress to the host, and to whoever the caller named.
struct HostProgress {
    ChildChannel &channel;
    ProgressReceiver next;

    static void Report(void *context, VolumeOpeningStep step, uint64_t done, uint64_t total,
                       uint32_t seconds)
    {
        const auto &self = *static_cast<HostProgress *>(context);
        self.channel.Report(ChannelProgress{static_cast<uint32_t>(step), done, total, seconds});
        if (self.next.function != nullptr)
            self.next.function(self.next.context, step, done, total, seconds);
    }
};

Result<OpenedVolume> OpenTexts(ChildChannel *channel, const OpenRequest &request)
{
    ChildChannel::Opening opening;
    if (!channel->ReadOpening(&opening, kPatience))
        return Error{Status::kMalformedSecret,
                     "the host did not say over its channel what to open"};
    const ChannelOpening &texts = opening.Texts();
    if (IsHostChannel(texts.kind))
        return Error{Status::kUnsupportedUnlockKind, ""};
    HostProgress progress{*channel, request.options.progress};
    OpenRequest fromHost = {texts.volume, texts.kind, texts.secret, request.cancel,
                            request.options};
    fromHost.options.progress = {HostProgress::Report, &progress};
    return OpenVolume(fromHost);
}

ChannelOpened Answer(const Result<OpenedVolume> &opened)
{
    if (!opened)
        return {static_cast<int32_t>(StatusOfError(opened.Failure())), opened.Failure().detail};
    return {0, NotesText(opened->notes)};
}

}  // namespace

Result<OpenedVolume> OpenForHost(const OpenRequest &request)
{
    UniqueFd descriptor = ChildChannel::Inherited(request.secret);
    if (!descriptor)
        return Error{Status::kMalformedSecret,
                     "it is not the number of a socket that this process has inherited"};
    const auto channel = std::make_shared<ChildChannel>(std::move(descriptor));
    try {
        Result<OpenedVolume> opened = OpenTexts(channel.get(), request);
        const ChannelOpened answer = Answer(opened);
        // Without a volume nothing more is reported, and the channel ends here.
        if (opened) {
            auto volume = std::make_unique<ReportingVolume>(std::move(opened->volume), channel);
            static LastReports last;
            last.Expect(channel, volume->OfOpenFiles());
            opened->volume = std::move(volume);
        }
        channel->Report(answer);
        return opened;
    } catch (const std::bad_alloc &) {
        channel->Report(ChannelOpened{static_cast<int32_t>(VolumeLibraryStatus::kOutOfMemory), ""});
        throw;
    }
}

}  // namespace vx
