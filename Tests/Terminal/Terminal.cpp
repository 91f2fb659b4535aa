#include "Terminal.h"

#include "Eventually.h"

#include <cstdlib>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>

Terminal::Terminal()
{
    _master = posix_openpt(O_RDWR | O_NOCTTY);
    grantpt(_master);
    unlockpt(_master);
    _slavePath = ptsname(_master);
    _slave = open(_slavePath.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
    fcntl(_master, F_SETFD, FD_CLOEXEC);
    fcntl(_master, F_SETFL, O_NONBLOCK);
}

Terminal::~Terminal()
{
    close(_slave);
    close(_master);
}

void Terminal::Type(const std::string &text) const
{
    if (write(_master, text.data(), text.size()) != static_cast<ssize_t>(text.size()))
        abort();
}

bool Terminal::Echoes() const
{
    termios state = {};
    tcgetattr(_slave, &state);
    return state.c_lflag & ECHO;
}

std::string Terminal::AwaitShown(const std::string &text)
{
    Eventually([&] {
        char bytes[256];
        const ssize_t count = read(_master, bytes, sizeof(bytes));
        _shown.append(bytes, count > 0 ? static_cast<size_t>(count) : 0);
        return _shown.find(text) != std::string::npos;
    });
    return _shown;
}
