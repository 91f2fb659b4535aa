#include "BriefRead.h"

#include "UniqueFd.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>

namespace vx {
namespace {

using Clock = std::chrono::steady_clock;

constexpr size_t kMostBytes = 65536;

// False at the end, on an error, and once the text is as long as it may be.
bool readPart(int file, std::string &text)
{
    char part[4096];
    ssize_t count;
    do
        count = read(file, part, std::min(sizeof part, kMostBytes - text.size()));
    while (count < 0 && errno == EINTR);
    if (count > 0)
        text.append(part, static_cast<size_t>(count));
    return count > 0;
}

bool isReadableBefore(int file, Clock::time_point deadline)
{
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now()).count();
        pollfd waited = {file, POLLIN, 0};
        const int ready = left <= 0 ? 0 : poll(&waited, 1, static_cast<int>(left));
        if (ready >= 0 || errno != EINTR)
            return ready > 0;
    }
}

// The child's id; -1: not started.
pid_t start(const std::vector<std::string> &command, int output)
{
    std::vector<char *> arguments;
    arguments.reserve(command.size() + 1);
    for (const std::string &argument : command)
        arguments.push_back(const_cast<char *>(argument.c_str()));
    arguments.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // The host's channel among them, which is not closed on execution yet.
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
    pid_t child = -1;
    if (posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0)
        child = -1;
    posix_spawn_file_actions_destroy(&actions);
    return child;
}

void end(pid_t child)
{
    kill(child, SIGKILL);
    while (waitpid(child, nullptr, 0) < 0 && errno == EINTR)
        ;
}

}  // namespace

std::string briefContentsOf(const std::string &path)
{
    const UniqueFd file(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    struct stat found = {};
    if (!file || fstat(file.Get(), &found) != 0 || !S_ISREG(found.st_mode))
        return {};
    std::string text;
    while (readPart(file.Get(), text))
        ;
    return text;
}

std::string briefOutputOf(const std::vector<std::string> &command,
                          std::chrono::milliseconds patience)
{
    const Clock::time_point deadline = Clock::now() + patience;
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0)
        return {};
    const UniqueFd input(ends[0]);
    UniqueFd output(ends[1]);
    const pid_t child = start(command, output.Get());
    output.Close();
    if (child < 0)
        return {};
    std::string text;
    bool isInTime = true;
    do
        isInTime = isReadableBefore(input.Get(), deadline);
    while (isInTime && readPart(input.Get(), text));
    end(child);
    return isInTime ? text : std::string();
}

}  // namespace vx
