#include "SecretPrompt.h"

#include "EventPipe.h"

#include <poll.h>
#include <signal.h>
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
    struct pollfd wanted[] = {{_terminal, POLLIN, 0}, {_events.GetDescriptor(), POLLIN, 0}};
    for (;;) {
        if (poll(wanted, 2, -1) <= 0)
            continue;
        // The end of a child that was there before this program asks for nothing.
        if ((wanted[1].revents & POLLIN) && (_signal = NextSignal()) != 0)
            return false;
        if (wanted[0].revents != 0)
            return true;
    }
}

}  // namespace vx
