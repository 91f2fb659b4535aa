// The other process of the two-process tests: link-peer MODE READ-FIFO WRITE-FIFO.
#include "CPipeFileExplorerClientWrapper.h"
#include "Eventually.h"
#include "LinkFixture.h"
#include "RecordingSink.h"
#include "libPipe.h"

#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <signal.h>
#include <unistd.h>

namespace {

struct Paths {
    const char *read;
    const char *write;
};

using Received = RecordingSink::Received;

void Answer(const Received &request)
{
    const std::string reply =
        Padded("reply to " + std::to_string(request.id) + " " + request.body.c_str());
    request.from->SendMsg_async(reply.data(), kWholeMessage, request.id);
}

// Serves until it is killed.
int Serve(const Paths &paths, const std::function<void(const Received &)> &action)
{
    RecordingSink sink;
    sink.OnMessage(action);
    std::unique_ptr<ILibPipeServer> server(
        CLibPipeConnectionCreator::createLibPipeServer(&sink, kFast));
    server->addConnector("peer", paths.read, kReadFlags, paths.write, kWriteFlags);
    for (;;)
        pause();
}

// Answers the second request before the first.
int ServeReversed(const Paths &paths)
{
    auto held = std::make_shared<std::vector<Received>>();
    return Serve(paths, [held](const Received &request) {
        held->push_back(request);
        if (held->size() < 2)
            return;
        Answer((*held)[1]);
        Answer((*held)[0]);
    });
}

// Answers the request once an asynchronous message follows it.
int ServeLate(const Paths &paths)
{
    auto held = std::make_shared<std::vector<Received>>();
    return Serve(paths, [held](const Received &message) {
        if (message.id == kAsyncMessageId)
            Answer(held->at(0));
        else
            held->push_back(message);
    });
}

int SendNotice(const Paths &paths)
{
    RecordingSink sink;
    CPipeFileExplorerClientWrapper link(&sink, kFast);
    link.initClient("notice", paths.read, kReadFlags, paths.write, kWriteFlags);
    return Eventually([&] { return link.SendCmd_async(&kExplorerQuitNotice); }) ? 0 : 1;
}

// Exit status 3: the send returned false, and did not wait for a polling interval.
int SendNoticeToNobody(const Paths &paths)
{
    CPipeFileExplorerClientWrapper *link = CPipeFileExplorerClientWrapper::getInstance();
    link->initClient("nobody", paths.read, kReadFlags, paths.write, kWriteFlags);
    const auto begin = std::chrono::steady_clock::now();
    const bool sent = link->SendCmd_async(&kExplorerQuitNotice);
    const bool delayed = std::chrono::steady_clock::now() - begin >= vx::kPollInterval;
    return sent ? 1 : delayed ? 2 : 3;
}

// A sink that tells when it is called after its end, as a static object.
class MortalSink : public IIPCEvent {
public:
    ~MortalSink() override { _alive = false; }
    void OnCommand_Reply(IIPCConnector *, const char *, int) override
    {
        if (!_alive)
            abort();
        ++_count;
        // The longer a call takes, the likelier the process ends during one.
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
        if (!_alive)
            abort();
        if (_exits)
            exit(0);
    }

    std::atomic<int> _count{0};
    std::atomic<bool> _exits{false};

private:
    std::atomic<bool> _alive{true};
};

// Ends the process in the middle of a flood, with the sink and the link as static objects.
int EndInAFlood(const Paths &paths, bool fromTheSink)
{
    static MortalSink sink;
    static CPipeFileExplorerClientWrapper link(&sink, std::chrono::milliseconds(0));
    sink._exits = fromTheSink;
    link.initClient("flood", paths.read, kReadFlags, paths.write, kWriteFlags);
    const bool ended = Eventually([&] { return sink._count > 5; });
    return ended ? 0 : 1;
}

// The explorer's own link, at its own pace.
int EndTheExplorersLinkInAFlood(const Paths &paths)
{
    CPipeFileExplorerClientWrapper *link = CPipeFileExplorerClientWrapper::getInstance();
    link->initClient("explorer", paths.read, kReadFlags, paths.write, kWriteFlags);
    return Eventually([&] { return link->SendCmd_async(&kExplorerQuitNotice); }) ? 0 : 1;
}

}  // namespace

int main(int argc, char *argv[])
{
    if (argc != 4)
        return 64;
    const Paths paths = {argv[2], argv[3]};
    const std::map<std::string, std::function<int()>> modes = {
        {"answer", [&] { return Serve(paths, Answer); }},
        {"answer-reversed", [&] { return ServeReversed(paths); }},
        {"answer-late", [&] { return ServeLate(paths); }},
        {"die-on-request", [&] { return Serve(paths, [](const Received &) { _exit(7); }); }},
        {"notice", [&] { return SendNotice(paths); }},
        {"notice-to-nobody", [&] { return SendNoticeToNobody(paths); }},
        {"end-in-flood", [&] { return EndInAFlood(paths, false); }},
        {"end-from-sink", [&] { return EndInAFlood(paths, true); }},
        {"end-explorers-link", [&] { return EndTheExplorersLinkInAFlood(paths); }},
    };
    const auto mode = modes.find(argv[1]);
    return mode == modes.end() ? 64 : mode->second();
}
