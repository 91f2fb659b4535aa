#include "OpeningInterruption.h"

#include "EndingSignal.h"
#include "ThreadChecks.h"
#include "VolumeReport.h"

#include <atomic>
#include <cerrno>
#include <dlfcn.h>
#include <unistd.h>

namespace vx {
namespace {

using CancelFunction = VolumeLibraryCancelOpeningFunction;

constexpr unsigned kSecondsToReturn = 1;

std::atomic<CancelFunction> cancelOpening{nullptr};
std::atomic<int> signalReceived{0};
static_assert(std::atomic<CancelFunction>::is_always_lock_free &&
                  std::atomic<int>::is_always_lock_free,
              "a signal handler uses them");

CancelFunction CancelFunctionOf(void *library)
{
    constexpr char kName[] = "volume_library_cancel_opening";
    return library == nullptr ? nullptr : reinterpret_cast<CancelFunction>(dlsym(library, kName));
}

// Only calls that are safe in a signal handler.
void OnSignal(int number)
{
    if (number == SIGALRM)
        EndBySignal(signalReceived);
    int none = 0;
    if (!signalReceived.compare_exchange_strong(none, number))
        return;
    const int error = errno;
    alarm(kSecondsToReturn);
    cancelOpening.load()();
    errno = error;
}

}  // namespace

OpeningInterruption::OpeningInterruption(void *library)
    : _isActive(CancelFunctionOf(library) != nullptr)
{
    AssertMainThread();
    signalReceived = 0;
    if (!_isActive)
        return;
    cancelOpening = CancelFunctionOf(library);
    struct sigaction action = {};
    action.sa_handler = OnSignal;
    action.sa_flags = SA_RESTART;
    sigemptyset(&action.sa_mask);
    for (size_t i = 0; i < kSignalCount; ++i) {
        sigaction(kSignals[i], nullptr, &_former[i]);
        if (_former[i].sa_handler != SIG_IGN || kSignals[i] == SIGALRM)
            sigaction(kSignals[i], &action, nullptr);
    }
}

OpeningInterruption::~OpeningInterruption()
{
    AssertMainThread();
    if (!_isActive)
        return;
    alarm(0);
    for (size_t i = 0; i < kSignalCount; ++i)
        sigaction(kSignals[i], &_former[i], nullptr);
}

int OpeningInterruption::Signal()
{
    AssertMainThread();
    return signalReceived;
}

}  // namespace vx
