// A volume's mount, from the call that makes it to its end: by unmounting, or by SIGINT, SIGTERM or
// SIGHUP.
//
// Ownership: borrows the tree. Unmounts when it goes, also under use: what programs have open then
// fails. One at a time in a process, since libfuse keeps the session for its signal handlers.
// Threads: the main thread; serving starts others, which end before it returns.
#pragma once

#include "FuseTree.h"

#include <string>

namespace vx {

class MountSession {
public:
    struct Settings {
        std::string folder;  // absolute
        std::string volume;  // as the table of mounts shall name it
        bool allowsOther = false;
    };

    explicit MountSession(FuseTree &tree) : _tree(tree) {}
    ~MountSession();
    MountSession(const MountSession &) = delete;
    MountSession &operator=(const MountSession &) = delete;

    // False: error says why in one line.
    bool Mount(const Settings &settings, std::string *error);
    // Until the end. False: the connection to the kernel failed.
    bool Serve();

private:
    FuseTree &_tree;
    fuse_session *_session = nullptr;
    bool _handlesSignals = false;
    bool _isMounted = false;
};

}  // namespace vx
