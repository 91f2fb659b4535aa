#include "InputBytes.h"

#include "AwaitReadable.h"
#include "EventPipe.h"

#include <cerrno>
#include <signal.h>
#include <unistd.h>

namespace vx {

bool InputBytes::Read(char *byte)
{
    while (Await()) {
        const ssize_t count = read(_input, byte, 1);
        if (count >= 0)
            return count == 1;
        if (errno != EINTR && errno != EAGAIN) {
            _error = errno;
            return false;
        }
    }
    return false;
}

// False: a signal asked the program to end.
bool InputBytes::Await()
{
    for (;;) {
        const Readable ready = AwaitReadable(_input, _events.GetDescriptor());
        // An earlier child may end meanwhile.
        if (ready.second && (_signal = NextSignal()) != 0)
            return false;
        if (ready.first)
            return true;
    }
}

// The signal that asks the program to end; 0 if the event was another one.
int InputBytes::NextSignal()
{
    const int event = _events.Await(std::nullopt).value_or(SIGTERM);
    return event == SIGCHLD ? 0 : event;
}

}  // namespace vx
