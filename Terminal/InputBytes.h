// The bytes of an input, one at a time, so that what follows a line is left to others; until the
// input ends or a signal asks the program to end.
//
// Ownership: borrows the descriptor and the events. Threads: the main thread, with a SignalWatch on
// the same events.
#pragma once

namespace vx {

class EventPipe;

class InputBytes {
public:
    InputBytes(int input, EventPipe &events) : _input(input), _events(events) {}

    // Waits for the next byte. False: the input ended or cannot be read, or a signal came.
    bool Read(char *byte);
    // The errno of an input that cannot be read; 0 otherwise.
    int Error() const { return _error; }
    // The signal that ended the reading; 0 if none did.
    int Signal() const { return _signal; }

private:
    bool Await();
    int NextSignal();

    const int _input;
    EventPipe &_events;
    int _signal = 0;
    int _error = 0;
};

}  // namespace vx
