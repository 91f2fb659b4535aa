// Asks for a secret on a terminal without showing what is typed. The terminal is put back as
// it was however the question ends: an answer, the end of input, or a signal. It cannot be
// suspended meanwhile, which would leave the shell without echo.
//
// Ownership: borrows the terminal's descriptor and the events. Threads: the main thread, with
// a SignalWatch on the same events.
#pragma once

#include <optional>
#include <string>

namespace vx {

class EventPipe;

class SecretPrompt {
public:
    SecretPrompt(int terminal, EventPipe &events) : _terminal(terminal), _events(events) {}

    // The line without its end, or nothing: interrupted, or not a terminal.
    std::optional<std::string> Ask(const std::string &question);
    // The signal that interrupted the question; 0 if none did.
    int InterruptingSignal() const { return _signal; }

private:
    bool ReadLine(std::string &line);
    bool AwaitInput();
    int NextSignal();

    const int _terminal;
    EventPipe &_events;
    int _signal = 0;
};

}  // namespace vx
