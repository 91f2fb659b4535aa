#include "VolumeCheck.h"

#include "EndingSignal.h"
#include "EventPipe.h"
#include "IVolume.h"
#include "OpenFailureText.h"
#include "OpeningInterruption.h"
#include "OpeningProgress.h"
#include "PathText.h"
#include "ThreadChecks.h"
#include "UniqueFd.h"

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
#include <iterator>
#include <poll.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace {

// "/x/FileExplorer.app/FileExplorer" -> "/x/libBitLockerWapper.dylib"; empty outside a bundle.
std::string LibraryBeside(const std::string &program)
{
    const size_t bundleEnd = program.rfind(".app/");
    if (bundleEnd == std::string::npos)
        return "";
    return vx::FolderOf(program.substr(0, bundleEnd)) + "/libBitLockerWapper.dylib";
}

// The first byte that the child writes if the volume opened; warnings follow, a line each. What
// begins otherwise is the reason why it did not open.
constexpr char kOpened = '\0';

std::string TryToOpen(void *library, const std::string &path, const vx::OpeningTexts &texts)
{
    const auto entry =
        reinterpret_cast<OpenBitlockerDeviceFunction>(dlsym(library, "open_bitlocker_device"));
    if (!entry)
        return "the volume library has no entry \"open_bitlocker_device\": " + path;
    IVolume *volume = nullptr;
    const int32_t status = entry(texts.volume, texts.kind, texts.secret, &volume);
    if (status != 0)
        return std::string("cannot open ") + texts.volume + ": " + OpenFailureText(library, status);
    if (!volume)
        return "the volume library returned no volume";
    std::string report(1, kOpened);
    for (const std::string &warning : OpenWarnings(library))
        report += warning + "\n";
    return report;
}

std::string LoadAndTryToOpen(const std::string &path, const vx::OpeningTexts &texts)
{
    void *library = dlopen(path.c_str(), RTLD_LAZY);
    if (!library)
        return std::string("the volume library does not load: ") + dlerror();
    std::string report;
    {
        vx::OpeningProgress progress;
        progress.RequestFrom(library);
        const vx::OpeningInterruption interruption(library);
        report = TryToOpen(library, path, texts);
    }
    if (vx::OpeningInterruption::Signal() != 0)
        vx::EndBySignal(vx::OpeningInterruption::Signal());
    return report;
}

// In the child. The host's handlers would only record a signal; an ignored one stays ignored.
void RestoreSignals()
{
    for (int number : {SIGINT, SIGQUIT, SIGTERM, SIGHUP}) {
        struct sigaction action;
        if (sigaction(number, nullptr, &action) == 0 && action.sa_handler != SIG_IGN)
            signal(number, SIG_DFL);
    }
}

void WriteAll(int descriptor, const std::string &text)
{
    size_t written = 0;
    while (written < text.size()) {
        const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
        if (count <= 0)
            return;
        written += static_cast<size_t>(count);
    }
}

// Returns false once there is nothing more to read.
bool ReadSome(int descriptor, std::string *text)
{
    char buffer[512];
    const ssize_t count = read(descriptor, buffer, sizeof(buffer));
    if (count > 0)
        text->append(buffer, static_cast<size_t>(count));
    return count > 0 || (count < 0 && errno == EINTR);
}

// Returns whether the event was a signal that asks the host to end; it is passed on and posted
// again.
bool PassSignalOn(vx::EventPipe &events, pid_t process)
{
    const int event = events.Await(std::nullopt).value_or(SIGCHLD);
    if (event == SIGCHLD)
        return false;
    kill(process, event);
    events.Post(event);
    return true;
}

// What the child writes until it ends.
std::string ReadReport(int descriptor, pid_t process, vx::EventPipe *events)
{
    std::string text;
    struct pollfd wanted[] = {{descriptor, POLLIN, 0},
                              {events == nullptr ? -1 : events->GetDescriptor(), POLLIN, 0}};
    while (true) {
        if (poll(wanted, std::size(wanted), -1) < 0)
            continue;
        if (wanted[0].revents != 0 && !ReadSome(descriptor, &text))
            return text;
        if (events != nullptr && wanted[1].revents != 0 && PassSignalOn(*events, process))
            wanted[1] = {-1, 0, 0};
    }
}

void TakeWarnings(const std::string &report, std::vector<std::string> *warnings)
{
    std::istringstream lines(report.substr(1));
    for (std::string line; warnings != nullptr && std::getline(lines, line);)
        warnings->push_back(line);
}

// Whether the process ended by itself.
bool AwaitEnd(pid_t process)
{
    int status = 0;
    while (waitpid(process, &status, 0) < 0) {
        if (errno != EINTR)
            return false;
    }
    return WIFEXITED(status);
}

}  // namespace

namespace vx {

std::string WhyVolumeDoesNotOpen(const std::string &program, const OpeningTexts &texts,
                                 std::vector<std::string> *warnings, EventPipe *events)
{
    AssertMainThread();
    const std::string path = LibraryBeside(program);
    int ends[2];
    if (path.empty() || pipe(ends) != 0)
        return "";
    const UniqueFd reading(ends[0]);
    UniqueFd writing(ends[1]);
    const pid_t process = fork();
    if (process < 0)
        return "";
    if (process == 0) {
        RestoreSignals();
        WriteAll(ends[1], LoadAndTryToOpen(path, texts));
        _exit(0);
    }
    writing.Close();
    std::string report = ReadReport(reading.Get(), process, events);
    if (!AwaitEnd(process))
        return "the volume library ended unexpectedly";
    if (report.empty() || report.front() != kOpened)
        return report;
    TakeWarnings(report, warnings);
    return "";
}

}  // namespace vx
