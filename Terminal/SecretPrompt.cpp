#include "SecretPrompt.h"

#include "EndingSignal.h"
#include "EventPipe.h"
#include "SignalWatch.h"
#include "TerminalText.h"
#include "ThreadChecks.h"

#include <signal.h>
#include <termios.h>
#include <unistd.h>

namespace {

// What is longer is not read to its end, which an input that is no text may not have. Bytes.
constexpr size_t kLongestLine = 65536;

// A terminal without echo and suspension for one scope.
class SilentTerminal {
public:
    explicit SilentTerminal(int terminal) : _terminal(terminal)
    {
        struct sigaction ignored = {};
        ignored.sa_handler = SIG_IGN;
        sigemptyset(&ignored.sa_mask);
        sigaction(SIGTSTP, &ignored, &_formerSuspension);
        tcgetattr(terminal, &_former);
        termios silent = _former;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_cc[VSUSP] = _POSIX_VDISABLE;
        tcsetattr(terminal, TCSAFLUSH, &silent);
    }
    ~SilentTerminal()
    {
        tcsetattr(_terminal, TCSAFLUSH, &_former);
        sigaction(SIGTSTP, &_formerSuspension, nullptr);
    }
    SilentTerminal(const SilentTerminal &) = delete;
    SilentTerminal &operator=(const SilentTerminal &) = delete;

private:
    const int _terminal;
    termios _former = {};
    struct sigaction _formerSuspension = {};
};

void Show(int terminal, const std::string &text)
{
    const ssize_t written = write(terminal, text.data(), text.size());
    (void)written;
}

}  // namespace

namespace vx {

SecretPrompt::Answer SecretPrompt::Ask(const std::string &question, TypedSecret *secret)
{
    AssertMainThread();
    secret->Wipe();
    const Answer answer = isatty(_input) != 0 ? AskOnTerminal(question, secret) : ReadLine(secret);
    if (answer != Answer::kGiven)
        secret->Wipe();
    return answer;
}

SecretPrompt::Answer SecretPrompt::AskOnTerminal(const std::string &question, TypedSecret *secret)
{
    const SilentTerminal silence(_input);
    Show(_input, question);
    const Answer answer = ReadLine(secret);
    Show(_input, "\n");
    return answer;
}

SecretPrompt::Answer SecretPrompt::ReadLine(TypedSecret *secret)
{
    bool fits = true;
    bool hasZero = false;
    char byte = 0;
    for (size_t left = kLongestLine; left > 0 && _bytes.Read(&byte) && byte != '\n'; --left) {
        hasZero = hasZero || byte == 0;
        fits = secret->Append(byte) && fits;
    }
    byte = 0;
    if (InterruptingSignal() != 0)
        return Answer::kInterrupted;
    if (_bytes.Error() != 0)
        return Answer::kUnreadable;
    if (!fits)
        return Answer::kTooLong;
    if (hasZero)
        return Answer::kZeroByte;
    if (!secret->IsEmpty() && secret->Last() == '\r')
        secret->RemoveLast();
    return secret->IsEmpty() ? Answer::kNone : Answer::kGiven;
}

const char *SecretPrompt::RefusalText(Answer answer)
{
    switch (answer) {
    case Answer::kGiven:
        return "";
    case Answer::kNone:
        return "no secret was given";
    case Answer::kTooLong:
        return "the secret is longer than 4095 bytes";
    case Answer::kZeroByte:
        return "the secret contains a zero byte";
    case Answer::kUnreadable:
        return "the secret cannot be read from there";
    case Answer::kNotAsked:
        return "the secret cannot be asked for: too many files are open";
    case Answer::kInterrupted:
        return "interrupted";
    }
    return "";
}

std::string SecretQuestion(const std::string &kind, const std::string &volume)
{
    return "Secret (" + TerminalText(kind) + ") for " + TerminalText(volume) + ": ";
}

SecretPrompt::Answer AskOnStandardInput(const std::string &question, TypedSecret *secret)
{
    AssertMainThread();
    EventPipe events;
    if (!events.Error().empty())
        return SecretPrompt::Answer::kNotAsked;
    SecretPrompt prompt(STDIN_FILENO, events);
    const SignalWatch watch(events);
    const SecretPrompt::Answer answer = prompt.Ask(question, secret);
    if (answer == SecretPrompt::Answer::kInterrupted)
        EndBySignal(prompt.InterruptingSignal());
    return answer;
}

}  // namespace vx
