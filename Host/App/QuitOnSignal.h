// Ends the application in its usual way when a signal asks for it, so that a session is cancelled
// and leaves nothing behind. A second signal ends it at once.
//
// Ownership: lives as long as the process. Threads: made on the main thread, before others.
#pragma once

#include "EventPipe.h"
#include "SignalWatch.h"

#include <string>

namespace vx {

class QuitOnSignal {
public:
    QuitOnSignal();

    // Empty, or one line: why no signal would end the application in order.
    const std::string &Error() const { return _error; }

private:
    void PassOn();

    EventPipe _events;
    const SignalWatch _watch{_events};
    std::string _error;
};

}  // namespace vx
