// Brings the secret of a command line from where the user has it: the line itself, the terminal, a
// file or an inherited descriptor.
//
// Ownership: borrows the events. Threads: the main thread, with a SignalWatch on the same events.
// Errors: one line without a line end, which does not repeat the secret.
#pragma once

#include "SecretPrompt.h"
#include "Unlocking.h"

#include <string>

namespace vx {

class SecretReader {
public:
    using Answer = SecretPrompt::Answer;

    // asking: the descriptor on which "-" is answered.
    SecretReader(int asking, EventPipe &events) : _asking(asking), _events(events) {}

    // A descriptor of the command line is closed afterwards, unless it is standard input. volume:
    // as the user named it. Another answer than kGiven leaves secret empty; Error says why then.
    Answer Read(const Unlocking &unlocking, const std::string &volume, TypedSecret *secret);
    const std::string &Error() const { return _error; }
    // 0 if no signal interrupted it.
    int InterruptingSignal() const { return _signal; }

private:
    Answer Copy(const std::string &word, TypedSecret *secret);
    Answer ReadFile(const std::string &path, const std::string &question, TypedSecret *secret);
    Answer ReadFrom(SecretPrompt *prompt, const std::string &question, TypedSecret *secret);
    Answer Refuse(Answer answer, const std::string &error);

    const int _asking;
    EventPipe &_events;
    int _signal = 0;
    std::string _error;
};

// The same for a program that asks on standard input: a signal ends the process as if it were not
// caught, with the terminal restored and the secret overwritten. Returns an exit status, and error
// says why: kExitSuccess; kExitUsage, no secret was given; kExitNotOpened, none could be asked for.
int ReadSecret(const Unlocking &unlocking, const std::string &volume, TypedSecret *secret,
               std::string *error);

}  // namespace vx
