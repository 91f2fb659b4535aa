#include "ChildProcess.h"

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>

extern char **environ;

namespace {

std::vector<char *> Pointers(std::vector<std::string> &texts)
{
    std::vector<char *> all;
    all.reserve(texts.size() + 1);
    for (std::string &text : texts)
        all.push_back(&text[0]);
    all.push_back(nullptr);
    return all;
}

// This process's variables, except those that are set again.
std::vector<std::string> EnvironmentWith(const std::vector<std::string> &added)
{
    std::vector<std::string> all = added;
    for (char **variable = environ; *variable != nullptr; ++variable) {
        const std::string name(*variable, strcspn(*variable, "=") + 1);
        const auto anew = std::find_if(added.begin(), added.end(), [&](const std::string &each) {
            return each.compare(0, name.size(), name) == 0;
        });
        if (anew == added.end())
            all.push_back(*variable);
    }
    return all;
}

std::string ReadAll(int descriptor)
{
    std::string all;
    char buffer[4096];
    for (ssize_t got = 1; got > 0;) {
        got = read(descriptor, buffer, sizeof(buffer));
        all.append(buffer, got > 0 ? static_cast<size_t>(got) : 0);
    }
    return all;
}

}  // namespace

ChildResult RunChild(const std::vector<std::string> &arguments,
                     const std::vector<std::string> &environment)
{
    ChildResult result;
    std::vector<std::string> argumentTexts = arguments;
    std::vector<std::string> variableTexts = EnvironmentWith(environment);
    int ends[2];
    if (pipe(ends) != 0)
        return result;

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    posix_spawn_file_actions_addclose(&actions, ends[0]);
    posix_spawn_file_actions_addclose(&actions, ends[1]);
    pid_t child = 0;
    const int failed = posix_spawn(&child, arguments[0].c_str(), &actions, nullptr,
                                   Pointers(argumentTexts).data(), Pointers(variableTexts).data());
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
    if (failed == 0) {
        result.output = ReadAll(ends[0]);
        int status = 0;
        if (waitpid(child, &status, 0) == child && WIFEXITED(status))
            result.status = WEXITSTATUS(status);
    }
    close(ends[0]);
    return result;
}
