// Keeps SIGPIPE from ending the process while a scope writes to a pipe without a reader.
//
// The signal is blocked in the calling thread alone, and one that the scope raised is taken
// back before the mask is restored, so the host's own handling of SIGPIPE is never touched.
// A signal that was pending before stays pending. A descriptor that SilenceSigPipe can silence does
// not need this; it does no harm there.
#pragma once

#include <signal.h>

namespace vx {

class SigPipeBlock {
public:
    SigPipeBlock();
    ~SigPipeBlock();
    SigPipeBlock(const SigPipeBlock &) = delete;
    SigPipeBlock &operator=(const SigPipeBlock &) = delete;

private:
    sigset_t _former;
    bool _wasPending;
};

}  // namespace vx
