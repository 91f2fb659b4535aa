#include "HostSession.h"

#include "CPipeDataWrapper.h"
#include "ExitStatus.h"
#include "HostLock.h"
#include "ThreadChecks.h"
#include "VolumeCheck.h"
#include "_MSG_DATA_PACKAGE.h"

#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <signal.h>

namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr char kConnectorName[] = "VolumeHost";
constexpr int kReadFlags = O_CREAT | O_RDONLY | O_NONBLOCK;
constexpr int kWriteFlags = O_CREAT | O_WRONLY | O_NONBLOCK;

// The explorer sends its notice and ends at once, while the link is polled once a second: its end
// is often seen before a notice that was sent long ago.
constexpr milliseconds kNoticeGrace = 2 * vx::kPollInterval + milliseconds(500);
constexpr seconds kEndAfterNotice(10);
constexpr seconds kEndAfterRequest(5);
constexpr seconds kSendPatience(10);
constexpr milliseconds kSendRetry(50);

vx::Deadline After(milliseconds time)
{
    return vx::Deadline::clock::now() + time;
}

void Report(const std::string &line)
{
    printf("volume-host: %s\n", line.c_str());
    fflush(stdout);
}

void Complain(const std::string &line)
{
    fprintf(stderr, "volume-host: %s\n", line.c_str());
}

std::string InterruptionText(int signal)
{
    return "interrupted by signal " + std::to_string(signal);
}

// The text of a message with a command code, known or not, and no payload.
std::string MessageOf(uint32_t code)
{
    CCommandDataWrapper<char> record = {static_cast<COMMAND_TYPE>(code), 0, 0, 0};
    record.length = CPipeDataWrapper::GetCommandDataLen(code);
    std::string message(kPipeMessageSize, '\0');
    memcpy(message.data(), &record, sizeof(record));
    return message;
}

}  // namespace

namespace vx {

HostSession::HostSession(EventPipe &events, const LinkPaths &paths)
    : _events(events), _paths(paths), _sink(events)
{
    AssertMainThread();
}

int HostSession::Run(const std::string &program, const OpeningTexts &texts,
                     std::optional<uint32_t> sendCode, const std::function<void()> &onStarted)
{
    AssertMainThread();
    const HostLock lock(_paths.read + ".lock");
    const std::string error = lock.IsHeld() ? MakeFifoPair(_paths) : lock.GetError();
    if (!error.empty()) {
        Complain(error);
        return kExitLinkTaken;
    }
    // Before the connector's thread runs: the check forks this process.
    if (!CheckVolume(program, texts)) {
        RemoveFifoPair(_paths);
        Report(InterruptionText(_interruptedBy) + "; the explorer was not started");
        return kExitSignalBase + _interruptedBy;
    }
    _server.reset(CLibPipeConnectionCreator::createLibPipeServer(&_sink));
    _server->addConnector(kConnectorName, _paths.read.c_str(), kReadFlags, _paths.write.c_str(),
                          kWriteFlags);
    const int status = RunLinked(program, texts, sendCode, onStarted);
    _server->removeConnector(kConnectorName);
    return status;
}

// False if a signal came: the user wants no window, and needs no reason.
bool HostSession::CheckVolume(const std::string &program, const OpeningTexts &texts)
{
    std::vector<std::string> warnings;
    const std::string reason = WhyVolumeDoesNotOpen(program, texts, &warnings, &_events);
    if (Await([this] { return _interruptedBy != 0; }, Deadline::clock::now()))
        return false;
    for (const std::string &warning : warnings)
        Complain("warning: " + warning);
    if (!reason.empty())
        Complain(reason + "; the window will be empty");
    return true;
}

int HostSession::RunLinked(const std::string &program, const OpeningTexts &texts,
                           std::optional<uint32_t> sendCode, const std::function<void()> &onStarted)
{
    // The explorer does not look at its last argument.
    const std::string own = std::to_string(getpid());
    const int error =
        _explorer.Start(program, {texts.volume, texts.kind, texts.secret, own.c_str()});
    onStarted();
    if (error != 0) {
        Complain("cannot start " + program + ": " + strerror(error));
        return kExitNotStarted;
    }
    const bool sent = !sendCode || Send(*sendCode);
    const int status = AwaitEnd();
    return sent || status >= kExitSignalBase ? status : static_cast<int>(kExitNotSent);
}

bool HostSession::Send(uint32_t code)
{
    const std::string message = MessageOf(code);
    IIPCConnector *connector = _server->getConnector(kConnectorName);
    const Deadline deadline = After(kSendPatience);
    const auto over = [this] { return _interruptedBy != 0 || _explorer.HasEnded(); };
    while (Deadline::clock::now() < deadline) {
        if (connector->SendMsg_async(message.data(), static_cast<int>(message.size()),
                                     kAsyncMessageId))
            return true;
        if (Await(over, After(kSendRetry)))
            break;
    }
    Complain("could not send the message: the explorer is not reading");
    return false;
}

int HostSession::AwaitEnd()
{
    const auto hasEvent = [this] { return _noticed || _interruptedBy != 0; };
    Await([this, hasEvent] { return hasEvent() || _explorer.HasEnded(); }, std::nullopt);
    Await(hasEvent, After(kNoticeGrace));
    if (_interruptedBy != 0)
        return FinishInterrupted();
    if (_noticed)
        return FinishAfterNotice();
    Report("the explorer ended without a quit notice (" + _explorer.DescribeEnd() + ")");
    return kExitNoNotice;
}

int HostSession::FinishAfterNotice()
{
    Report("the explorer sent its quit notice");
    Await([this] { return _explorer.HasEnded() || _interruptedBy != 0; }, After(kEndAfterNotice));
    if (_interruptedBy != 0)
        return FinishInterrupted();
    if (_explorer.HasEnded())
        return kExitSuccess;
    EndExplorer();
    Complain("the explorer did not end after its quit notice and was ended");
    return kExitEndedByHost;
}

int HostSession::FinishInterrupted()
{
    const int signal = _interruptedBy;
    EndExplorer();
    Report(InterruptionText(signal) + "; the explorer was ended");
    return kExitSignalBase + signal;
}

// Sends SIGTERM first; a second interruption or a timeout kills.
void HostSession::EndExplorer()
{
    _interruptedBy = 0;
    _explorer.Signal(SIGTERM);
    Await([this] { return _explorer.HasEnded() || _interruptedBy != 0; }, After(kEndAfterRequest));
    _explorer.Kill();
}

template <typename Condition>
bool HostSession::Await(Condition condition, std::optional<Deadline> deadline)
{
    while (!condition()) {
        const std::optional<int> event = _events.Await(deadline);
        if (!event)
            return condition();
        if (*event == EventPipe::kQuitNotice)
            _noticed = true;
        else if (*event != SIGCHLD)
            _interruptedBy = *event;
    }
    return true;
}

}  // namespace vx
