#include "SecretPrompt.h"

#include "EventPipe.h"

#include <algorithm>
#include <signal.h>
#include <sys/select.h>
#include <termios.h>
#include <unistd.h>

namespace {

// Switches the echo of a terminal off for one scope.
class EchoOff {
public:
    explicit EchoOff(int terminal) : _terminal(terminal)
    {
        if (tcgetattr(terminal, &_former) == -1)
            return;
        termios silent = _former;
        silent.c_lflag &= ~static_cast<tcflag_t>(ECHO);
        silent.c_cc[VSUSP] = _POSIX_VDISABLE;
        _changed = tcsetattr(terminal, TCSAFLUSH, &silent) == 0;
    }
    ~EchoOff()
    {
        if (_changed)
            tcsetattr(_terminal, TCSAFLUSH, &_former);
    }
    EchoOff(const EchoOff &) = delete;
    EchoOff &operator=(const EchoOff &) = delete;

    bool IsOff() const { return _changed; }

private:
    const int _terminal;
    termios _former = {};
    bool _changed = false;
};

void Show(int terminal, const std::string &text)
{
    const ssize_t written = write(terminal, text.data(), text.size());
    (void)written;
}

}  // namespace

namespace vx {

std::optional<std::string> SecretPrompt::Ask(const std::string &question)
{
    const EchoOff echoOff(_terminal);
    if (!echoOff.IsOff())
        return std::nullopt;
    Show(_terminal, question);
    std::string line;
    const bool answered = ReadLine(line);
    Show(_terminal, "\n");
    return answered ? std::optional<std::string>(line) : std::nullopt;
}

bool SecretPrompt::ReadLine(std::string &line)
{
    while (AwaitInput()) {
        char byte;
        if (read(_terminal, &byte, 1) != 1 || byte == '\n')
            return true;
        line += byte;
    }
    return false;
}

// The signal that asks the program to end; 0 if the event was another one.
int SecretPrompt::NextSignal()
{
    const int event = _events.Await(std::nullopt).value_or(SIGTERM);
    return event == SIGCHLD ? 0 : event;
}

// False: a signal asked the program to end.
bool SecretPrompt::AwaitInput()
{
    // Not poll, which does not know terminals on macOS.
    const int events = _events.GetDescriptor();
    for (;;) {
        fd_set wanted;
        FD_ZERO(&wanted);
        FD_SET(_terminal, &wanted);
        FD_SET(events, &wanted);
        if (select(std::max(_terminal, events) + 1, &wanted, nullptr, nullptr, nullptr) <= 0)
            continue;
        // The end of a child that was there before this program asks for nothing.
        if (FD_ISSET(events, &wanted) && (_signal = NextSignal()) != 0)
            return false;
        if (FD_ISSET(_terminal, &wanted))
            return true;
    }
}

}  // namespace vx
