#include "VolumeCheck.h"

#include "IVolume.h"
#include "OpenFailureText.h"
#include "UniqueFd.h"

#include <cerrno>
#include <csignal>
#include <dlfcn.h>
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
    const size_t slash = program.rfind('/', bundleEnd);
    const std::string folder = slash == std::string::npos ? "." : program.substr(0, slash);
    return folder + "/libBitLockerWapper.dylib";
}

// What the process that tries to open the volume tells: why it does not, or, behind this mark,
// what was noticed when it did.
constexpr char kOpened = '\0';

std::string TryToOpen(const std::string &path, const vx::HostOptions &options)
{
    void *library = dlopen(path.c_str(), RTLD_LAZY);
    if (!library)
        return std::string("the volume library does not load: ") + dlerror();
    const auto entry =
        reinterpret_cast<OpenBitlockerDeviceFunction>(dlsym(library, "open_bitlocker_device"));
    if (!entry)
        return "the volume library has no entry \"open_bitlocker_device\": " + path;
    IVolume *volume = nullptr;
    const int32_t status =
        entry(options.volume.c_str(), options.kind.c_str(), options.secret.c_str(), &volume);
    if (status != 0)
        return "cannot open " + options.volume + ": " + OpenFailureText(library, status);
    if (!volume)
        return "the volume library gave no volume";
    std::string told(1, kOpened);
    for (const std::string &warning : OpenWarnings(library))
        told += warning + "\n";
    return told;
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

std::string ReadAll(int descriptor)
{
    std::string text;
    char buffer[512];
    while (true) {
        const ssize_t count = read(descriptor, buffer, sizeof(buffer));
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return text;
        text.append(buffer, static_cast<size_t>(count));
    }
}

void TakeWarnings(const std::string &told, std::vector<std::string> *warnings)
{
    std::istringstream lines(told.substr(1));
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

std::string WhyVolumeStaysShut(const std::string &program, const HostOptions &options,
                               std::vector<std::string> *warnings)
{
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
        // Ctrl-C ends a try that takes long; the host's own handlers would only take note of it.
        for (int signalNumber : {SIGINT, SIGQUIT, SIGTERM, SIGHUP})
            signal(signalNumber, SIG_DFL);
        WriteAll(ends[1], TryToOpen(path, options));
        _exit(0);
    }
    writing.Close();
    std::string reason = ReadAll(reading.Get());
    if (!AwaitEnd(process))
        return "the volume library ended unexpectedly";
    if (reason.empty() || reason.front() != kOpened)
        return reason;
    TakeWarnings(reason, warnings);
    return "";
}

}  // namespace vx
