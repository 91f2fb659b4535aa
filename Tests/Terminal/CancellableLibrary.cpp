// A volume library whose opening lasts until it is cancelled. The secret is a folder: its file
// "process" receives the number of the process and then its FIFO "opening" is opened, or made as a
// file, when the opening starts, and a file "cancelled" is made when it was cancelled. The kind
// "deaf" does not react; "numb" does not, and makes the process ignore signals.
#include "IVolume.h"

#include <atomic>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <string>
#include <unistd.h>

namespace {

constexpr int32_t kCancelled = 9;
constexpr unsigned kLook = 1000;                 // microseconds
constexpr unsigned kLongest = 60 * 1000 * 1000;  // the same

std::atomic<bool> g_isCancelled{false};

void Create(const std::string &path)
{
    close(open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600));
}

}  // namespace

extern "C" __attribute__((visibility("default"))) void volume_library_cancel_opening()
{
    g_isCancelled = true;
}

extern "C" __attribute__((visibility("default"))) int32_t
open_bitlocker_device(const char *, const char *kind, const char *secret, IVolume **volume)
{
    *volume = nullptr;
    const std::string folder = secret;
    std::ofstream(folder + "/process") << getpid();
    const bool isNumb = strcmp(kind, "numb") == 0;
    const bool isDeaf = isNumb || strcmp(kind, "deaf") == 0;
    for (const int number : {SIGINT, SIGTERM, SIGHUP, SIGALRM}) {
        if (isNumb)
            signal(number, SIG_IGN);
    }
    Create(folder + "/opening");
    for (unsigned waited = 0; waited < kLongest && (isDeaf || !g_isCancelled); waited += kLook)
        usleep(kLook);
    if (!g_isCancelled)
        return 1;
    Create(folder + "/cancelled");
    return kCancelled;
}
