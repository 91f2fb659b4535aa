// The progress of a long task, for the user.
//
// On a terminal one line is redrawn, at most ten times a second and clipped to the terminal's
// width. Elsewhere a plain line is written every five seconds. Threads: one at a time.
#pragma once

#include "LiveLine.h"

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <string>

namespace vx {

class ProgressLine {
public:
    using Clock = std::chrono::steady_clock;

    // verb: "Copying". stream: borrowed; what is drawn depends on whether it is a terminal.
    // total: in bytes.
    ProgressLine(const char *verb, FILE *stream, int64_t total, Clock::time_point start);
    ~ProgressLine() = default;
    ProgressLine(const ProgressLine &) = delete;
    ProgressLine &operator=(const ProgressLine &) = delete;

    // file: the current one, as TerminalText gives it. Shows something only when it is due.
    void Show(int64_t done, const std::string &file, Clock::time_point now);
    // Whether Show would show something.
    bool IsDue(Clock::time_point now) const { return now >= _nextDue; }

    // The line without its file: "Copying  42 %  10.0 of 24.0 MiB  5.2 MiB/s  0:03 left"
    std::string Text(int64_t done, Clock::time_point now) const;

private:
    const char *const _verb;
    FILE *const _stream;
    LiveLine _line;
    const int64_t _total;
    const Clock::time_point _start;
    Clock::time_point _nextDue;
};

}  // namespace vx
