// Asks for a secret on a terminal without echo, or reads it as one line of another input. Bytes
// after the line are not consumed, nor after 64 KiB of it.
//
// The terminal is restored however the question ends: by an answer, the end of input or a signal.
// It cannot be suspended meanwhile, which would leave the shell without echo.
//
// Ownership: borrows the descriptor and the events. Threads: the main thread, with a SignalWatch on
// the same events.
#pragma once

#include "InputBytes.h"
#include "TypedSecret.h"

#include <string>

namespace vx {

class SecretPrompt {
public:
    enum class Answer {
        kGiven,
        kNone,         // an empty line, or the end of input
        kTooLong,      // more than TypedSecret::kMostBytes
        kZeroByte,     // which would end the text before its end
        kUnreadable,   // the input cannot be read
        kNotAsked,     // no descriptors are left to wait for the answer
        kInterrupted,  // by InterruptingSignal
    };

    // input: of a terminal, which shows the question then; or of anything else.
    SecretPrompt(int input, EventPipe &events) : _input(input), _bytes(input, events) {}

    // secret: receives the line without its end, and is empty for any other answer than kGiven.
    Answer Ask(const std::string &question, TypedSecret *secret);
    // 0 if no signal interrupted the question.
    int InterruptingSignal() const { return _bytes.Signal(); }

    // One line for the user: why the answer is no secret.
    static const char *RefusalText(Answer answer);

private:
    Answer AskOnTerminal(const std::string &question, TypedSecret *secret);
    Answer ReadLine(TypedSecret *secret);

    const int _input;
    InputBytes _bytes;
};

// What every program asks, e.g. "Secret (password) for disk.img: ".
std::string SecretQuestion(const std::string &kind, const std::string &volume);

// Asks on standard input. A signal ends the process as if it were not caught, with the terminal
// restored and the secret overwritten.
SecretPrompt::Answer AskOnStandardInput(const std::string &question, TypedSecret *secret);

}  // namespace vx
