#include "ChildProcess.h"

#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>

#include "ResidentMemory.h"

extern char **environ;

namespace {

std::string ReadAll(int descriptor)
{
    std::string text;
    std::array<char, 4096> buffer;
    while (true) {
        const ssize_t count = read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return text;
        text.append(buffer.data(), static_cast<size_t>(count));
    }
}

bool EndedWell(pid_t child, rusage *usage)
{
    int status = 0;
    while (wait4(child, &status, 0, usage) < 0) {
        if (errno != EINTR)
            return false;
    }
    return WIFEXITED(status) && WEXITSTATUS(status) == 0;
}

}  // namespace

ChildResult RunChild(const std::vector<std::string> &arguments)
{
    int ends[2];
    if (pipe(ends) != 0)
        return {false, 0, "", 0};
    std::vector<char *> argv;
    argv.reserve(arguments.size() + 1);
    for (const std::string &argument : arguments)
        argv.push_back(const_cast<char *>(argument.c_str()));
    argv.push_back(nullptr);

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);

    const auto start = std::chrono::steady_clock::now();
    pid_t child = -1;
    const int error = posix_spawnp(&child, argv[0], &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    ChildResult result = {false, 0, error == 0 ? ReadAll(ends[0]) : "", 0};
    close(ends[0]);
    rusage usage = {};
    result.succeeded = error == 0 && EndedWell(child, &usage);
    result.peakBytes = PeakBytes(usage);
    result.seconds =
        std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
    return result;
}
