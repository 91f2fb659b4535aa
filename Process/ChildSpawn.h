// Starts a program as a child process: which descriptors it gets beside those that programs
// inherit, and which signals. None is blocked in it.
//
// Ownership: the caller's is the child, to be waited for. Threads: one at a time.
// Errors: an errno, of the first step that failed; nothing was started then.
#pragma once

#include <set>
#include <spawn.h>
#include <string>
#include <sys/types.h>
#include <vector>

namespace vx {

class ChildSpawn {
public:
    // Signals that this process ignores. SIGPIPE has its default effect in every child.
    enum class IgnoredSignals {
        kStayIgnored,
        kHaveDefaults,
    };

    explicit ChildSpawn(IgnoredSignals ignored);
    ~ChildSpawn();
    ChildSpawn(const ChildSpawn &) = delete;
    ChildSpawn &operator=(const ChildSpawn &) = delete;

    // The child has the descriptor by this number, which must not be the same.
    void Give(int descriptor, int number);
    // Its standard input is empty.
    void GiveNoInput();
    // After all were given: it gets no other descriptor but the three standard ones.
    void CloseOthers();

    // Once, either of them. program: a path. vector: see ArgumentVector.
    int Start(const std::string &program, const std::vector<char *> &vector, pid_t *child);
    // program: a path, or a name that is looked up in PATH.
    int StartNamed(const std::string &program, const std::vector<char *> &vector, pid_t *child);

private:
    void Keep(int error);

    posix_spawn_file_actions_t _actions;
    posix_spawnattr_t _attributes;
    short _flags = POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF;
    std::set<int> _given;
    int _error = 0;
};

// The system's way to close every descriptor from 3 on in the child but those given. An errno.
int CloseOthersInChild(const std::set<int> &given, posix_spawn_file_actions_t *actions,
                       short *flags);

}  // namespace vx
