#include "SigPipeBlock.h"

#include <cerrno>
#include <pthread.h>

namespace {

sigset_t OnlySigPipe()
{
    sigset_t set;
    sigemptyset(&set);
    sigaddset(&set, SIGPIPE);
    return set;
}

bool SigPipeIsPending()
{
    sigset_t pending;
    return sigpending(&pending) == 0 && sigismember(&pending, SIGPIPE) == 1;
}

}  // namespace

namespace vx {

SigPipeBlock::SigPipeBlock() : _wasPending(SigPipeIsPending())
{
    const sigset_t set = OnlySigPipe();
    pthread_sigmask(SIG_BLOCK, &set, &_former);
}

SigPipeBlock::~SigPipeBlock()
{
    const int error = errno;
    const sigset_t set = OnlySigPipe();
    int taken = 0;
    if (!_wasPending && SigPipeIsPending())
        sigwait(&set, &taken);
    pthread_sigmask(SIG_SETMASK, &_former, nullptr);
    errno = error;
}

}  // namespace vx
