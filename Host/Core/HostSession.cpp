#include "HostSession.h"

#include "CPipeDataWrapper.h"
#include "HostLock.h"
#include "TerminalText.h"
#include "VolumeTrial.h"
#include "_MSG_DATA_PACKAGE.h"

#include <algorithm>
#include <cstring>
#include <fcntl.h>
#include <signal.h>

namespace vx {
namespace {

using std::chrono::milliseconds;
using std::chrono::seconds;

constexpr char kConnectorName[] = "VolumeHost";
constexpr char kUnknownPlace[] =
    "the system does not say where this program is, so the explorer beside it is not found";
constexpr int kReadFlags = O_CREAT | O_RDONLY | O_NONBLOCK;
constexpr int kWriteFlags = O_CREAT | O_WRONLY | O_NONBLOCK;

// The explorer sends its notice and ends at once, while the link is polled once a second: its end
// is often seen before a notice that was sent long ago.
constexpr milliseconds kNoticeGrace = 2 * kPollInterval + milliseconds(500);
constexpr seconds kEndAfterNotice(10);
constexpr seconds kEndAfterRequest(5);
constexpr seconds kSendPatience(10);
constexpr milliseconds kSendRetry(50);

Deadline After(milliseconds time)
{
    return Deadline::clock::now() + time;
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

void RemoveKnown(const std::vector<std::string> &known, std::vector<std::string> *warnings)
{
    const auto isKnown = [&](const std::string &warning) {
        return std::find(known.begin(), known.end(), warning) != known.end();
    };
    warnings->erase(std::remove_if(warnings->begin(), warnings->end(), isKnown), warnings->end());
}

}  // namespace

HostSession::HostSession(EventPipe &events, HostObserver &observer, const LinkPaths &paths)
    : _pipe(events),
      _observer(observer),
      _paths(paths),
      _events(events),
      _sink(events),
      _explorer(events)
{
}

SessionEnd HostSession::Run(HostRequest *request)
{
    if (request->programs.explorer.empty()) {
        request->secret.Wipe();
        return {SessionEndKind::kNotStarted, 0, kUnknownPlace};
    }
    const HostLock lock(_paths.read + ".lock");
    const std::string error = lock.IsHeld() ? MakeFifoPair(_paths) : lock.GetError();
    if (!error.empty()) {
        request->secret.Wipe();
        return {SessionEndKind::kLinkTaken, 0,           TerminalText(error), true,
                lock.IsHeldByAnother(),     lock.Owner()};
    }
    SessionEnd end = RunLocked(request);
    request->secret.Wipe();
    return end;
}

SessionEnd HostSession::RunLocked(HostRequest *request)
{
    VolumeTrial trial(_pipe, _events, _observer);
    trial.Run(*request);
    // After an interruption the user wants no window, and needs no reason.
    const bool isWanted = !_events.IsInterrupted() && _observer.OnTried(trial.Result());
    _events.Look();
    if (!isWanted || _events.IsInterrupted()) {
        RemoveFifoPair(_paths);
        return _events.IsInterrupted()
                   ? SessionEnd{SessionEndKind::kInterrupted, _events.Interruption(), ""}
                   : SessionEnd{SessionEndKind::kRefused, 0, trial.Result().reason};
    }
    _server.reset(CLibPipeConnectionCreator::createLibPipeServer(&_sink));
    _server->addConnector(kConnectorName, _paths.read.c_str(), kReadFlags, _paths.write.c_str(),
                          kWriteFlags);
    SessionEnd end = RunExplorer(request, &trial);
    _server->removeConnector(kConnectorName);
    return end;
}

SessionEnd HostSession::RunExplorer(HostRequest *request, VolumeTrial *trial)
{
    HostChannel channel;
    const std::string error = Start(*request, *trial, &channel);
    request->secret.Wipe();
    trial->WipeKey();
    if (!error.empty())
        return {SessionEndKind::kNotStarted, 0, TerminalText(error)};
    const TrialResult tried = trial->Result();
    _events.Listen(&channel,
                   [&](const ChannelReport &report) { Take(report, tried, request->volume); });
    _observer.OnStarted();
    const bool isSent = !request->sendCode || Send(*request->sendCode);
    if (!isSent)
        _observer.OnNotSent();
    SessionEnd end = AwaitEnd();
    _events.TakeLastReports();
    _events.Listen(nullptr, nullptr);
    // One that was told to end says no farewell, and what it lacks is no news then.
    const bool wasInterrupted = end.kind == SessionEndKind::kInterrupted;
    if (!channel.Error().empty() || (channel.MayLackReports() && !wasInterrupted))
        _observer.OnReportsLost(0);
    end.isSent = isSent;
    return end;
}

// Returns an empty text, or why the explorer does not run.
std::string HostSession::Start(const HostRequest &request, const VolumeTrial &trial,
                               HostChannel *channel)
{
    const bool hasKey = trial.KeyDigits().Size() > 0;
    const ChannelOpening opening = {request.volume.c_str(), hasKey ? "vmk" : request.kind.c_str(),
                                    hasKey ? trial.KeyDigits().Text() : request.secret.Text()};
    if (!channel->Prepare(opening))
        return channel->Error();
    const Inheritance inheritance(channel->ChildDescriptor());
    const std::string number = std::to_string(inheritance.Number());
    // The explorer does not look at its last argument.
    const std::string own = std::to_string(getpid());
    const std::string &program = request.programs.explorer;
    const int error =
        trial.TakesTexts()
            ? _explorer.Start(program, {opening.volume, opening.kind, opening.secret, own.c_str()})
            : _explorer.Start(program,
                              {opening.volume, kChannelUnlockKind, number.c_str(), own.c_str()},
                              &inheritance);
    channel->CloseChildDescriptor();
    return error == 0 ? "" : "cannot start " + program + ": " + strerror(error);
}

void HostSession::Take(const ChannelReport &report, const TrialResult &tried,
                       const std::string &volume)
{
    if (const auto *damage = std::get_if<ChannelDamage>(&report)) {
        _observer.OnDamage(*damage);
    } else if (const auto *loss = std::get_if<ChannelLoss>(&report)) {
        _observer.OnReportsLost(loss->count);
    } else if (const auto *opened = std::get_if<ChannelOpened>(&report)) {
        TrialResult result = ResultOf(*opened, volume);
        RemoveKnown(tried.warnings, &result.warnings);
        if (!tried.wasTried || result.opened != tried.opened || !result.warnings.empty())
            _observer.OnOpened(result);
    }
}

bool HostSession::Send(uint32_t code)
{
    const std::string message = MessageOf(code);
    IIPCConnector *connector = _server->getConnector(kConnectorName);
    const Deadline deadline = After(kSendPatience);
    const auto over = [this] { return _events.IsInterrupted() || _explorer.HasEnded(); };
    while (Deadline::clock::now() < deadline) {
        if (connector->SendMsg_async(message.data(), static_cast<int>(message.size()),
                                     kAsyncMessageId))
            return true;
        if (_events.Await(over, After(kSendRetry)))
            break;
    }
    return false;
}

SessionEnd HostSession::AwaitEnd()
{
    const auto hasEvent = [this] { return _events.HasNotice() || _events.IsInterrupted(); };
    _events.Await([this, hasEvent] { return hasEvent() || _explorer.HasEnded(); }, std::nullopt);
    _events.Await(hasEvent, After(kNoticeGrace));
    if (_events.IsInterrupted())
        return FinishInterrupted();
    if (_events.HasNotice())
        return FinishAfterNotice();
    return {SessionEndKind::kNoNotice, 0, _explorer.DescribeEnd()};
}

SessionEnd HostSession::FinishAfterNotice()
{
    _observer.OnNotice();
    _events.Await([this] { return _explorer.HasEnded() || _events.IsInterrupted(); },
                  After(kEndAfterNotice));
    if (_events.IsInterrupted())
        return FinishInterrupted();
    if (_explorer.HasEnded())
        return {SessionEndKind::kQuit, 0, _explorer.DescribeEnd()};
    EndExplorer();
    return {SessionEndKind::kEndedByHost, 0, _explorer.DescribeEnd()};
}

SessionEnd HostSession::FinishInterrupted()
{
    const int signal = _events.Interruption();
    EndExplorer();
    return {SessionEndKind::kInterrupted, signal, _explorer.DescribeEnd()};
}

// Sends SIGTERM first; a second interruption or a timeout kills.
void HostSession::EndExplorer()
{
    _events.ForgetInterruption();
    _explorer.Signal(SIGTERM);
    _events.Await([this] { return _explorer.HasEnded() || _events.IsInterrupted(); },
                  After(kEndAfterRequest));
    _explorer.Kill();
}

}  // namespace vx
