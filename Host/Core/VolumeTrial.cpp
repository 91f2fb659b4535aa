#include "VolumeTrial.h"

#include "LibraryChannel.h"
#include "OpenFailureText.h"
#include "PathText.h"
#include "SessionEvents.h"
#include "SpawnedProcess.h"
#include "TerminalText.h"
#include "TrialProgram.h"

#include <chrono>
#include <csignal>
#include <cstring>

namespace vx {
namespace {

// An opening that is cancelled returns within milliseconds, and its keys are overwritten.
constexpr std::chrono::milliseconds kEndAfterInterruption(700);

// "/x/FileExplorer.app/FileExplorer" -> "/x/libBitLockerWapper.dylib"; empty outside a bundle.
std::string LibraryBeside(const std::string &program)
{
    const size_t bundleEnd = program.rfind(".app/");
    if (bundleEnd == std::string::npos)
        return "";
    return FolderOf(program.substr(0, bundleEnd)) + "/libBitLockerWapper.dylib";
}

}  // namespace

void VolumeTrial::Run(const HostRequest &request)
{
    const std::string library = LibraryBeside(request.programs.explorer);
    if (library.empty())
        return NotTried("");
    _takesTexts = !KnowsChannel(library);
    if (request.programs.trial.empty())
        return NotTried("the volume was not tried: the system does not say where volume-trial is");
    Open(request, library);
}

void VolumeTrial::Open(const HostRequest &request, const std::string &library)
{
    HostChannel channel;
    if (!channel.Prepare({request.volume.c_str(), request.kind.c_str(), request.secret.Text()}))
        return NotTried("the volume was not tried: " + channel.Error());
    const Inheritance inheritance(channel.ChildDescriptor());
    const std::string number = std::to_string(inheritance.Number());
    SpawnedProcess process(_pipe);
    const std::string &program = request.programs.trial;
    const int error = process.Start(program, {library.c_str(), number.c_str()}, &inheritance);
    channel.CloseChildDescriptor();
    if (error != 0)
        return NotTried("the volume was not tried: cannot start " + program + ": " +
                        strerror(error));
    _events.Listen(&channel, [&](const ChannelReport &report) { Take(report, request.volume); });
    Await(process);
    _events.Listen(nullptr, nullptr);
}

void VolumeTrial::Await(SpawnedProcess &process)
{
    const auto hasEnded = [&] { return process.HasEnded(); };
    _events.Await([&] { return hasEnded() || _events.IsInterrupted(); }, std::nullopt);
    _events.Look();
    if (_events.IsInterrupted()) {
        process.Signal(SIGTERM);
        _events.Await(hasEnded, Deadline::clock::now() + kEndAfterInterruption);
        return;
    }
    _events.TakeLastReports();
    if (!_hasAnswer && process.ExitStatus() == kTrialWrongUse)
        NotTried("the volume was not tried: volume-trial did not get what it is to open");
    else if (!_hasAnswer)
        _result.reason = "the volume library ended unexpectedly";
}

void VolumeTrial::Take(const ChannelReport &report, const std::string &volume)
{
    if (const auto *progress = std::get_if<ChannelProgress>(&report)) {
        _observer.OnProgress(*progress);
    } else if (const auto *opened = std::get_if<ChannelOpened>(&report)) {
        _hasAnswer = true;
        _result = ResultOf(*opened, volume);
    } else if (const auto *key = std::get_if<ChannelMasterKey>(&report)) {
        _keyDigits = key->Digits();
    }
}

void VolumeTrial::NotTried(const std::string &reason)
{
    _result.wasTried = false;
    _result.reason = TerminalText(reason);
}

TrialResult ResultOf(const ChannelOpened &opened, const std::string &volume)
{
    TrialResult result;
    result.opened = opened.status == 0;
    if (result.opened) {
        result.warnings = OpenWarningLines(opened.detail);
        for (std::string &warning : result.warnings)
            warning = TerminalText(warning);
    } else if (opened.status == kNoVolumeLibrary) {
        result.reason = TerminalText(opened.detail);
    } else {
        result.status = opened.status;
        result.reason = TerminalText("cannot open " + volume + ": " +
                                     OpenFailureText(opened.status, opened.detail));
    }
    return result;
}

}  // namespace vx
