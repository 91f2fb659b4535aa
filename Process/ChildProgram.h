// Runs a program of the system or of this package, and takes what it prints.
//
// The child gets the three standard descriptors and no other; its standard input is empty. What it
// prints is bounded, and a cancellation ends it.
// Threads: any; a call takes as long as the child.
#pragma once

#include <atomic>
#include <string>
#include <vector>

namespace vx {

struct ChildEnd {
    enum class Kind {
        kExited,      // number: the exit status
        kSignalled,   // number: the signal
        kNotStarted,  // number: an errno
        kCancelled,
        kTooMuch,  // ended since it printed too much on its standard output
        kUnknown,  // somebody else in this process has taken its status
    };

    Kind kind = Kind::kUnknown;
    int number = 0;
    std::string output;
    std::string errors;  // the first 64 KiB

    bool ExitedWith(int status) const { return kind == Kind::kExited && number == status; }
};

// program: a path, or a name that is looked up in PATH. outputLimit: in bytes.
ChildEnd RunChildProgram(const std::string &program, const std::vector<std::string> &arguments,
                         size_t outputLimit, const std::atomic<bool> &cancel);

}  // namespace vx
