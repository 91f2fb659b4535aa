#include "StopRequest.h"

#include <atomic>
#include <cerrno>
#include <unistd.h>

namespace vx {
namespace {

std::atomic<int> signalReceived{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler writes it");

// On a terminal the cursor is at the end of the progress line.
constexpr char kNewLineAndNotice[] =
    "\nStopping after the current piece; Ctrl-C again ends at once.\n";
constexpr size_t kNewLine = 1;
size_t noticeStart = 0;  // set before the handler is installed

}  // namespace

StopRequest::StopRequest()
{
    signalReceived = 0;
    noticeStart = isatty(STDERR_FILENO) != 0 ? 0 : kNewLine;
    struct sigaction action = {};
    action.sa_handler = &StopRequest::OnSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (size_t i = 0; i < kSignalCount; ++i) {
        sigaction(kSignals[i], nullptr, &_before[i]);
        // A signal that the caller ignores, as nohup does, stays ignored.
        if (_before[i].sa_handler != SIG_IGN)
            sigaction(kSignals[i], &action, nullptr);
    }
}

StopRequest::~StopRequest()
{
    for (size_t i = 0; i < kSignalCount; ++i)
        sigaction(kSignals[i], &_before[i], nullptr);
}

int StopRequest::Signal()
{
    return signalReceived;
}

// Only calls that are safe in a signal handler.
void StopRequest::OnSignal(int number)
{
    int none = 0;
    if (!signalReceived.compare_exchange_strong(none, number)) {
        signal(number, SIG_DFL);
        raise(number);
        return;
    }
    const int error = errno;
    const ssize_t written = write(STDERR_FILENO, kNewLineAndNotice + noticeStart,
                                  sizeof(kNewLineAndNotice) - 1 - noticeStart);
    (void)written;
    errno = error;
}

}  // namespace vx
