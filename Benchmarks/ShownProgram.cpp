#include "ShownProgram.h"

#include <chrono>
#include <cstdio>
#include <thread>

#include "BackgroundProcess.h"

namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::chrono::seconds kPatience(30);
constexpr std::chrono::seconds kRest(2);  // unchanged for this long: at rest
// Each look costs the server some time that the program may be waiting for.
constexpr milliseconds kBetweenLooks(4);

// The server takes a dead program's window down in its own time.
bool WaitForEmptyDisplay(DisplayClient &display)
{
    const Clock::time_point start = Clock::now();
    while (display.Picture() != 0) {
        if (Clock::now() - start > kPatience)
            return false;
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return true;
}

void Complain(BackgroundProcess &process, const char *expected)
{
    fprintf(stderr, "volume-bench: the program %s before its window %s\n",
            process.Runs() ? "ran out of time" : "ended", expected);
}

}  // namespace

uint64_t RestingPicture(const std::vector<std::string> &command, DisplayClient &display)
{
    if (!WaitForEmptyDisplay(display))
        return 0;
    const Clock::time_point start = Clock::now();
    BackgroundProcess process(command);
    uint64_t seen = 0;
    Clock::time_point since = start;
    while (process.Runs() && Clock::now() - start < kPatience) {
        const uint64_t now = display.Picture();
        if (now != seen)
            since = Clock::now();
        seen = now;
        if (seen != 0 && Clock::now() - since > kRest)
            return seen;
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return Complain(process, "came to rest"), 0;
}

double SecondsUntilShown(const std::vector<std::string> &command, DisplayClient &display,
                         uint64_t picture)
{
    if (picture == 0 || !WaitForEmptyDisplay(display))
        return -1;
    const Clock::time_point start = Clock::now();
    BackgroundProcess process(command);
    while (process.Runs() && Clock::now() - start < kPatience) {
        if (display.Picture() == picture)
            return std::chrono::duration<double>(Clock::now() - start).count();
        std::this_thread::sleep_for(kBetweenLooks);
    }
    return Complain(process, "showed what it showed before"), -1;
}
