#include "SecretPrompt.h"

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <termios.h>
#include <unistd.h>

namespace vx {
namespace {

termios terminalBefore;

// Only calls that are safe in a signal handler. The handler was reset when it was entered, and
// the signal ends the program as soon as it may be delivered again.
void RestoreAndRaise(int number)
{
    tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
    raise(number);
}

// Standard input, which is a terminal, without echo for as long as this lives.
class SilentTerminal {
public:
    SilentTerminal()
    {
        tcgetattr(STDIN_FILENO, &terminalBefore);
        struct sigaction action = {};
        action.sa_handler = &RestoreAndRaise;
        action.sa_flags = static_cast<int>(SA_RESETHAND);
        sigemptyset(&action.sa_mask);
        for (size_t i = 0; i < kSignalCount; ++i)
            sigaction(kSignals[i], &action, &_before[i]);
        termios silent = terminalBefore;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_lflag |= ECHONL;
        // While the program is suspended the terminal would stay silent for the shell.
        silent.c_cc[VSUSP] = _POSIX_VDISABLE;
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &silent);
    }
    ~SilentTerminal()
    {
        tcsetattr(STDIN_FILENO, TCSAFLUSH, &terminalBefore);
        for (size_t i = 0; i < kSignalCount; ++i)
            sigaction(kSignals[i], &_before[i], nullptr);
    }
    SilentTerminal(const SilentTerminal &) = delete;
    SilentTerminal &operator=(const SilentTerminal &) = delete;

private:
    static constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP, SIGQUIT};
    static constexpr size_t kSignalCount = sizeof(kSignals) / sizeof(kSignals[0]);

    struct sigaction _before[kSignalCount] = {};
};

// Byte by byte, since what follows the line is not ours.
bool ReadLine(std::string *line)
{
    line->reserve(256);
    for (;;) {
        char byte = 0;
        const ssize_t got = read(STDIN_FILENO, &byte, 1);
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return !line->empty();
        if (byte == '\n')
            return true;
        line->push_back(byte);
    }
}

}  // namespace

bool AskSecret(const std::string &question, std::string *secret)
{
    WipeSecret(secret);
    bool answered = false;
    if (isatty(STDIN_FILENO) != 0) {
        const SilentTerminal silence;
        fputs(question.c_str(), stderr);
        fflush(stderr);
        answered = ReadLine(secret);
    } else {
        answered = ReadLine(secret);
    }
    if (!secret->empty() && secret->back() == '\r')
        secret->pop_back();
    return answered;
}

void WipeSecret(std::string *secret)
{
    // Volatile, or the compiler would leave out writes that nobody reads.
    for (volatile char &byte : *secret)
        byte = 0;
    secret->clear();
}

}  // namespace vx
